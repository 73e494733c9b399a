#pragma once
#include <optional>

#include "platform/formats/tiff_file.h"
#include "platform/formats/tiff_layout.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

namespace quellor::tiff {

/// The samples of the current directory, neither turned nor mirrored. Absent when one of them is missing or damaged
/// or when there is no way. Throws std::bad_alloc.
Outcome<Raster> decodeDirectory(TiffFile& file, const Layout& layout);

}  // namespace quellor::tiff
