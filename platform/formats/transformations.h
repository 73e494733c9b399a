#pragma once
#include <optional>

#include "platform/heif/clean_aperture.h"
#include "platform/heif/container.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

/// Transformative properties (ISO/IEC 23008-12, 6.5) applied to samples as they are coded: no sample is made up, so
/// subsampled colour differences stay subsampled, and their phase and siting say where they are.
namespace quellor::formats {

/// An image on its way through transformations and derivations.
struct DecodedImage {
  Raster raster;
  /// The colour differences lie on the last of the columns that they cover instead of the first, which no type of
  /// chroma siting says: what mirroring makes of the usual `left`. See sitedOnLeft().
  bool chromaOnRight = false;
};

/// Leaves only a part of the raster, which lies within it. No sample is copied.
void crop(Raster& raster, const heif::Crop& part);

/// The image turned anticlockwise by quarters. Throws std::bad_alloc.
DecodedImage rotated(const DecodedImage& image, unsigned quarters);

/// The image with left and right exchanged, or else top and bottom. Throws std::bad_alloc.
DecodedImage mirrored(const DecodedImage& image, bool leftAndRight);

/// The same image without `chromaOnRight`: the last of two columns is the first of the two that begin there. Throws
/// std::bad_alloc.
Raster sitedOnLeft(DecodedImage image);

/// Which of them are applied: a turn is reported, not applied, to the image that is shown.
enum class Transformations : std::uint8_t { all, cleanApertureOnly };

/// Whether the item has any of them.
bool isTransformed(const heif::Container& container, const heif::Item& item);

/// Applies those of `item`, in their order. Absent for a clean aperture that leaves nothing and for a property that
/// cannot be read. Throws std::bad_alloc.
Outcome<DecodedImage> transformed(DecodedImage image, const heif::Container& container, const heif::Item& item,
                                  Transformations which);

}  // namespace quellor::formats
