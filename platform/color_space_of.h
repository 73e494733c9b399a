#pragma once
#include <optional>
#include <string>

#include "platform/color_space.h"
#include "platform/values/bytes.h"

namespace quellor {

/// What an image's file says of its colours, resolved.
struct ImageColor {
  ColorSpace space;
  /// The description of the embedded profile, where that profile counts: the property `ProfileName`.
  std::optional<std::string> profileName;
};

/// The colour space of an image, from the first of these that says something:
/// 1. the embedded profile `icc`, if it is usable and for images of `model`; its bytes are kept exactly;
/// 2. the code points `cicp` of an RGB image;
/// 3. the model: sRGB, generic grey, generic CMYK.
/// A space of 2 or 3 brings a profile that was built for it, unless there is none (PQ, HLG, CMYK).
/// Throws std::bad_alloc.
ImageColor colorSpaceOf(ColorModel model, const std::optional<Bytes>& icc, const std::optional<Cicp>& cicp);

}  // namespace quellor
