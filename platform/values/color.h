#pragma once
#include <cstdint>

namespace quellor {

enum class ColorModel : std::uint8_t { grey, rgb, cmyk };

/// Samples per pixel without alpha: 1, 3 or 4.
constexpr int componentCount(ColorModel model) {
  return model == ColorModel::grey ? 1 : model == ColorModel::rgb ? 3 : 4;
}

/// Coding-independent code points (ITU-T H.273, clause 8). 2 means unspecified in the first three.
struct Cicp {
  std::uint16_t colorPrimaries = 2;
  std::uint16_t transferCharacteristics = 2;
  std::uint16_t matrixCoefficients = 2;
  bool fullRange = false;
  friend bool operator==(const Cicp&, const Cicp&) = default;
};

}  // namespace quellor
