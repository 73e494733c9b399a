#pragma once
#include <cstdint>
#include <optional>
#include <span>

#include "platform/image.h"

/// The seam between the program and the library that converts samples: a loadable module, like the codecs.
///
/// How both functions read a raster:
/// - Luma and colour differences are taken by matrix and range of the raster's coding (ITU-T H.273, 8.3). An
///   unspecified matrix counts as that of BT.601 (number 6), and so does the identity of a raster with subsampled
///   colour differences, which cannot be. The identity without subsampling makes the components green, blue and red.
/// - The factor of a subsampling (1, 2 or 4 in each direction) is what makes a component's size of the image's and
///   the phase, rounded up. A half may have one sample more, as some decoders leave it after a crop: it counts as what
///   lies beyond the image's edge.
/// - Colour differences are brought to another resolution by linear interpolation between their places, which
///   Raster::chromaSiting and Raster::chromaPhase give: free of overshoot, and what other decoders do.
/// - Red, green, blue, inks and alpha always have full range. A sample above the greatest value of its depth counts
///   as that value.
/// Large images are worked on by as many threads as there are processors, each for a slice of rows; besides its
/// result a function needs memory for a few rows.
namespace quellor {

/// The functions that the pixel module exports. None throws, all are free of state.
struct PixelEngine {
  /// Draws an image of three colour components into `pixels`: red, green, blue and a fourth byte per pixel, 8 bits
  /// each, rows of exactly width * 4 bytes from the top. Rounded to nearest, once; 8-bit RGB stays sample for sample.
  /// No colour space is converted. Colour that alpha has not been multiplied into is multiplied by it (composited
  /// over black), premultiplied colour stays as it is; the fourth byte is 255.
  ///
  /// `pixels` has width * height * 4 bytes. False, with undefined `pixels`, for grey and CMYK, for a raster whose
  /// components do not fit its size, for matrices without a known conversion and where memory runs out.
  bool (*drawRgbx)(const Raster& raster, std::span<std::uint8_t> pixels) noexcept;

  /// The raster as an encoder takes it: planar YCbCr 4:2:0 or one grey plane, and alpha as a plane of the same depth,
  /// multiplied into the colour or not as before. 8 bits for 8-bit input, 10 bits for deeper one, rounded to nearest.
  ///
  /// A raster of that form already, without a chroma phase, is handed back with the same planes and owner and with its
  /// own range. Any other becomes full range, and the result's phase is none. YCbCr keeps its matrix and chroma siting;
  /// RGB, and CMYK, which becomes RGB first by the plain complement, become YCbCr by the matrix of BT.601 as in sYCC,
  /// with the siting that decoders infer (left). In every case `coding` and `chromaSiting` of the result say what its
  /// samples are and what the file is to signal; primaries and transfer characteristics are those of the raster.
  ///
  /// Absent for a raster whose components do not fit its size and where memory runs out.
  std::optional<Raster> (*forEncoding)(const Raster& raster) noexcept;
};

/// Name of the function, with C linkage, by which the module hands out its PixelEngine: `const PixelEngine* ()`.
inline constexpr const char* kPixelEngineEntry = "quellorPixelEngine";

}  // namespace quellor
