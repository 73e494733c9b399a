#pragma once
#include <optional>

#include "platform/heif/container.h"
#include "platform/values/color.h"

namespace quellor::heif {

/// The first property of `type` that belongs to the item, or null.
const Property* findProperty(const Container& container, const Item& item, FourCC type);

struct ImageSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

/// Size from `ispe` (ISO/IEC 23008-12, 6.5.3): before clean aperture, rotation and mirroring.
std::optional<ImageSize> spatialExtents(const Container& container, const Item& item);

/// Size after clean aperture (`clap`), before rotation and mirroring.
std::optional<ImageSize> storedSize(const Container& container, const Item& item);

/// The orientation that irot and imir of the item combine to, in the order in which they stand: 1 to 8 with the
/// meaning of the Exif tag. Absent when the item has neither.
std::optional<int> orientationOf(const Container& container, const Item& item);

/// The embedded ICC profile (`colr` prof or rICC), from the item or, for a grid or an identity derivation without
/// one, from what it is made of. An empty profile counts as none.
std::optional<Bytes> iccProfileOf(const Container& container, const Item& item);

/// The code points of `colr` nclx, found in the same way.
std::optional<Cicp> cicpOf(const Container& container, const Item& item);

/// What is known about the samples of an image without decoding it; of a derived image, about its first input.
struct SampleFormat {
  int bitsPerComponent = 8;
  ColorModel model = ColorModel::rgb;
};
SampleFormat sampleFormatOf(const Container& container, const Item& item);

}  // namespace quellor::heif
