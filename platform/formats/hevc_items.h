#pragma once
#include <optional>

#include "platform/heif/container.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

namespace quellor::formats {

/// The samples of an HEVC-coded item, as they are coded. Absent when the picture is damaged in any way that
/// platform/hevc or libavcodec finds, when its size is not the declared one, and when the decoder is not
/// there. Throws std::bad_alloc. May be called on several threads; `threads` is how many this call may use.
Outcome<Raster> decodeHevcItem(const heif::Container& container, const heif::Item& item, unsigned threads);

/// The same without the samples, by platform/hevc alone: a raster without samples in place of the decoded one. A
/// picture that platform/hevc cannot judge is decoded.
Outcome<Raster> proveHevcItem(const heif::Container& container, const heif::Item& item, unsigned threads);

}  // namespace quellor::formats
