#pragma once
#include <optional>
#include <string>

#include "platform/metadata/metadata_removals.h"
#include "platform/properties.h"
#include "platform/values/image_facts.h"

namespace quellor {

/// The properties of an image, with the keys of platform/properties.h; each is present only where it applies.
/// `profileName` is the description of the embedded ICC profile.
///
/// Of metadata only what this system looks at by name is there, without values: the dictionaries {TIFF}, {Exif}, {GPS},
/// {IPTC} and {Maker…}, {XMP} for a packet; Make and Model in {TIFF} and MakerNote in {Exif}, whether the Exif block or
/// the packet has them.
///
/// The dictionary remembers the metadata blocks of the facts, but not an Exif block of which nothing could be read:
/// nobody could remove anything from it, either.
PropertyDictionary imageProperties(const ImageFacts& facts, const std::optional<std::string>& profileName);

/// The removals that the dictionary carries marks of: `{GPS}` is the position, Make and Model of `{TIFF}` and MakerNote
/// of `{Exif}` are what they are called, a maker dictionary is the maker note, `{XMP}` the packet. A dictionary that
/// was removed as a whole stands for all that it could hold.
MetadataRemovals removalsOf(const PropertyDictionary& properties);

}  // namespace quellor
