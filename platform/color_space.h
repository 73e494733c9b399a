#pragma once
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/values/bytes.h"
#include "platform/values/color.h"

namespace quellor {

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
