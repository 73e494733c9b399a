#pragma once
#include <cstdint>

namespace quellor {

enum class ColorModel : std::uint8_t { grey, rgb, cmyk };

/// Samples per pixel without alpha: 1, 3 or 4.
constexpr int componentCount(ColorModel model) {
  return model == ColorModel::grey ? 1 : model == ColorModel::rgb ? 3 : 4;
}

inline constexpr std::uint16_t kUnspecifiedCodePoint = 2;  // ITU-T H.273, tables 2 to 4
inline constexpr std::uint16_t kBt601Matrix = 6;           // table 4

/// Coding-independent code points (ITU-T H.273, clause 8).
struct Cicp {
  std::uint16_t colorPrimaries = kUnspecifiedCodePoint;
  std::uint16_t transferCharacteristics = kUnspecifiedCodePoint;
  std::uint16_t matrixCoefficients = kUnspecifiedCodePoint;
  bool fullRange = false;
  friend bool operator==(const Cicp&, const Cicp&) = default;
};

}  // namespace quellor
