#pragma once
#include <memory>
#include <string>

#include "platform/image_source.h"
#include "platform/module.h"

namespace quellor {

/// Opens image files.
class ImageServices {
 public:
  virtual ~ImageServices() = default;

  /// Null when `path` names no regular file that can be read, when its first bytes are of no known format, or when
  /// its structure is broken. The name of the file says nothing about its format.
  [[nodiscard]] virtual std::unique_ptr<ImageSource> openSource(const std::string& path) const = 0;
};

/// Image services on the codecs of this program.
class CodecImageServices final : public ImageServices {
 public:
  explicit CodecImageServices(ModuleLoader modules) : modules_(std::move(modules)) {}

  [[nodiscard]] std::unique_ptr<ImageSource> openSource(const std::string& path) const override;

 private:
  ModuleLoader modules_;
};

}  // namespace quellor
