#pragma once
#include <optional>

#include "platform/heif/container.h"
#include "platform/heif/item_properties.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

namespace quellor::formats {

/// The size in the frame header of a JPEG-coded item; absent when there is none that can be read.
std::optional<heif::ImageSize> declaredJpegSize(const heif::Container& container, const heif::Item& item);

/// The samples of a JPEG-coded item (ISO/IEC 23008-12, annex H), read as strictly as a JPEG file: absent when any of
/// them is damaged or missing. Throws std::bad_alloc.
Outcome<Raster> decodeJpegItem(const heif::Container& container, const heif::Item& item);

}  // namespace quellor::formats
