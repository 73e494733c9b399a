#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/bitmap_context.h"
#include "platform/image_destination.h"
#include "platform/image_source.h"

namespace quellor {

/// Opens image files and makes new ones.
class ImageServices {
 public:
  virtual ~ImageServices() = default;

  /// Null when `path` names no regular file that can be read, when its first bytes are of no known format, or when
  /// its structure is broken. The name of the file says nothing about its format.
  [[nodiscard]] virtual std::unique_ptr<ImageSource> openSource(const std::string& path) const = 0;

  /// A destination for one HEIC image in a new file at `path`, which must not exist. Null when the file cannot be
  /// created.
  [[nodiscard]] virtual std::unique_ptr<ImageDestination> createDestination(const std::string& path) const = 0;

  /// A bitmap context of that size over `pixels`; null as bitmapContextOver() has it.
  [[nodiscard]] virtual std::unique_ptr<BitmapContext> createBitmapContext(std::int64_t width, std::int64_t height,
                                                                           const ColorSpace& space,
                                                                           std::span<std::uint8_t> pixels) const = 0;
};

class KnownImages;

/// Image services on the formats of platform/formats/. Remembers which images were found whole, so that a run examines
/// none twice. Not for several threads at once, nor are its sources.
class SystemImageServices final : public ImageServices {
 public:
  SystemImageServices();
  [[nodiscard]] std::unique_ptr<ImageSource> openSource(const std::string& path) const override;
  [[nodiscard]] std::unique_ptr<ImageDestination> createDestination(const std::string& path) const override;
  [[nodiscard]] std::unique_ptr<BitmapContext> createBitmapContext(std::int64_t width, std::int64_t height,
                                                                   const ColorSpace& space,
                                                                   std::span<std::uint8_t> pixels) const override;

 private:
  std::shared_ptr<KnownImages> known_;  // the sources know of them, too
};

}  // namespace quellor
