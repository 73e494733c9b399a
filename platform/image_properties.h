#pragma once
#include <optional>
#include <string>

#include "platform/codecs/codec.h"
#include "platform/metadata/xmp_engine.h"
#include "platform/properties.h"

namespace quellor {

/// The properties of an image, with the keys of platform/properties.h; each is present only where it applies.
/// `profileName` is the description of the embedded ICC profile.
///
/// The dictionary remembers the metadata blocks of the facts, but not an Exif block of which nothing could be read:
/// nobody could remove anything from it, either.
PropertyDictionary imageProperties(const EncodedFacts& facts, const std::optional<std::string>& profileName,
                                   const XmpEngine& xmp);

}  // namespace quellor
