#pragma once
#include <cstdint>
#include <optional>

#include "platform/formats/tiff_directories.h"
#include "platform/formats/tiff_file.h"
#include "platform/values/color.h"
#include "platform/values/outcome.h"

namespace quellor::tiff {

/// How the samples of a directory get into a raster.
enum class Decoding : std::uint8_t {
  exact,      // grey, RGB or CMYK of 8 or 16 bits: as coded
  converted,  // palettes, grey of less than 8 bits, YCbCr: by the library, to 8-bit grey or RGB
};

/// What the samples of a directory are and how they lie.
struct Layout {
  std::uint32_t width = 0;  // 1 or more, at most kMaximumPixels together with the height
  std::uint32_t height = 0;
  std::uint16_t bits = 1;  // as coded
  std::uint16_t samples = 1;
  ColorModel model = ColorModel::grey;  // after the conversion
  bool minIsWhite = false;
  bool separate = false;  // a plane for each sample
  std::optional<std::uint16_t> alphaSample;
  bool premultiplied = false;
  /// Absent for everything else: it would come out wrong, or nobody knows whether it does.
  Outcome<Decoding> decoding = Refusal{"not looked at"};
};

/// The layout of the first directory, which is the file's current one; absent when the library could not open the file
/// and when the picture has no usable size.
///
/// Alpha is the first extra sample that is declared as alpha, associated or unassociated (TIFF 6.0, section 18).
/// Other extra samples, and those of no declared meaning, are no part of the picture.
Outcome<Layout> layoutOf(const TiffFile& file, const Directories& directories);

}  // namespace quellor::tiff
