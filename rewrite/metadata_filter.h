#pragma once
#include <cstddef>
#include <optional>

#include "platform/image_source.h"
#include "protocol/records.h"

namespace quellor {

/// The properties of image `index` without what `policy` asks to remove: nothing by default. Absent when the image
/// has no properties, whatever the policy says.
///
/// - removeGPS: the GPS dictionary.
/// - removeXMP: every top-level entry with "xmp" in its key, in any case.
/// - removeMakerMetadata: make and model in the TIFF dictionary, the maker note in the Exif dictionary (both
///   dictionaries stay, even when they are empty then), and every top-level entry with "maker" in its key, in any case.
///
/// What is removed is marked as removed in the result, whether or not the image has it.
///
/// The other flags are not consulted: orientation and colour profile are never removed here.
std::optional<PropertyDictionary> filteredProperties(const ImageSource& source, std::size_t index,
                                                     const std::optional<MetadataPolicy>& policy);

}  // namespace quellor
