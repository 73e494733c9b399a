#pragma once
#include <optional>

#include "platform/formats/heic_encoder_settings.h"
#include "platform/heif/output_file.h"
#include "platform/values/raster.h"

namespace quellor {

/// A HEIF file whose primary image is the raster, with its alpha as an auxiliary image. The raster is as
/// pixels::encodingForm() gives it: planar, grey or YCbCr 4:2:0, 8 or 10 bits. `quality` from 0.0 to 1.0.
/// Absent when the encoder fails or threads run out. Throws MissingModule, std::bad_alloc.
std::optional<heif::OutputFile> encodeHeic(const Raster& raster, double quality);

/// The same with a grid of the caller's choice instead of encodingGridFor().
std::optional<heif::OutputFile> encodeHeic(const Raster& raster, double quality, const EncodingGrid& grid);

/// The size that the encoder is given for an image's: even, because 4:2:0 has no odd sizes, and at least one
/// coding tree unit.
std::uint32_t codedSizeOf(std::uint32_t size);

/// The quality of an image for which none is asked: keeps a phone photo near its size.
inline constexpr double kDefaultQuality = 0.8;

/// The encoder's constant rate factor for a quality from 0.0 to 1.0: 50.5 for 0.0, 34 for 0.5, about 24 for 0.8 and
/// 22 for 0.85, 10 for 1.0; strictly decreasing. The curve runs through what callers know these numbers to mean: 0.85
/// gives a quarter of the size that other tools' "85" (a factor of 7.5) gives, 1.0 turns a phone photo of 2.7 MB into
/// about 13 MB.
double rateFactorFor(double quality);

}  // namespace quellor
