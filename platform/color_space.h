#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/bytes.h"

namespace quellor {

enum class ColorModel : std::uint8_t { grey, rgb, cmyk };

/// Samples per pixel without alpha: 1, 3 or 4.
constexpr int componentCount(ColorModel model) {
  return model == ColorModel::grey ? 1 : model == ColorModel::rgb ? 3 : 4;
}

/// Coding-independent code points (ITU-T H.273, clause 8). 2 means unspecified in the first three.
struct Cicp {
  std::uint16_t colourPrimaries = 2;
  std::uint16_t transferCharacteristics = 2;
  std::uint16_t matrixCoefficients = 2;
  bool fullRange = false;
  friend bool operator==(const Cicp&, const Cicp&) = default;
};

/// The colour space of an image: a value, cheap to copy.
class ColorSpace {
 public:
  /// `iccData` may be null: the space has no ICC profile then. `embedded` says that the profile came with the file.
  ColorSpace(ColorModel model, std::optional<std::string> name, std::shared_ptr<const Bytes> iccData, bool embedded)
      : model_(model), name_(std::move(name)), iccData_(std::move(iccData)), embedded_(embedded) {}

  [[nodiscard]] ColorModel model() const { return model_; }

  /// The name of a known space ("kCGColorSpaceSRGB"), else the profile's description, else absent.
  [[nodiscard]] const std::optional<std::string>& name() const { return name_; }

  /// The profile byte for byte, or null. Never points to an empty profile.
  [[nodiscard]] const std::shared_ptr<const Bytes>& iccData() const { return iccData_; }

  /// Whether the image's file carried the profile, as opposed to one that was built for a named space.
  [[nodiscard]] bool embedded() const { return embedded_; }

 private:
  ColorModel model_;
  std::optional<std::string> name_;
  std::shared_ptr<const Bytes> iccData_;
  bool embedded_;
};

}  // namespace quellor
