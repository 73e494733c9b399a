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

}  // namespace quellor
