#pragma once
#include <cstddef>
#include <optional>

#include "platform/image.h"
#include "platform/image_source.h"
#include "platform/properties.h"

namespace quellor {

/// Keys of the properties given to a destination that steer the encoder instead of describing the image.
namespace destination_option {
/// Number from 0.0 to 1.0: how much quality to keep. 0.8 where it is absent.
inline constexpr std::string_view kLossyCompressionQuality = "kCGImageDestinationLossyCompressionQuality";
}  // namespace destination_option

/// A HEIC file that is being made of one image. Nothing is readable in the file until finalize() has succeeded; an
/// unfinished file is left for the caller to remove.
class ImageDestination {
 public:
  virtual ~ImageDestination() = default;

  /// Takes a decoded image, to be encoded with `properties`: its metadata blocks say what the dictionary says. What
  /// cannot be encoded, also for want of memory, shows when finalize() fails. Raises MissingModule
  /// (platform/formats/hevc_modules.h) where the encoder is not installed.
  virtual void addImage(const Image& image, const PropertyDictionary& properties) = 0;

  /// Takes the image as it is coded in its source, bit for bit where it is coded as HEVC; any other image is decoded
  /// and encoded. Without `properties` no metadata is written.
  virtual void addImageFromSource(const ImageSource& source, std::size_t index,
                                  const std::optional<PropertyDictionary>& properties) = 0;

  /// Writes the file: complete, flushed and synced when the result is true. False when there is no image or not
  /// exactly one, when it cannot be encoded, or when the file cannot be written whole.
  [[nodiscard]] virtual bool finalize() = 0;
};

/// A destination for one HEIC image in a new file at `path`, which must not exist: one container writer for images that
/// are copied and images that are encoded. Null when the file cannot be created.
std::unique_ptr<ImageDestination> createHeicDestination(const std::string& path);

}  // namespace quellor
