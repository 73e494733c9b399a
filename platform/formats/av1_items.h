#pragma once
#include <optional>

#include "platform/heif/container.h"
#include "platform/heif/item_properties.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

namespace quellor::formats {

/// The greatest size of a frame that the item's sequence header allows, which is that of a still picture. Absent when
/// there is no such header.
std::optional<heif::ImageSize> declaredAv1Size(const heif::Container& container, const heif::Item& item);

/// The samples of an item coded with AV1, as they are coded. Absent when the decoder finds any error, when there is not
/// exactly one picture, and when it is larger than the item declares. Throws std::bad_alloc. May be called on several
/// threads; `threads` is how many this call may use.
Outcome<Raster> decodeAv1Item(const heif::Container& container, const heif::Item& item, unsigned threads);

}  // namespace quellor::formats
