#pragma once
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/image_services.h"
#include "storage/pixel_buffer.h"

namespace quellor {

/// What goes wrong between a file and its stored pixels. Deliberately no HelperFailure: responses carry these as
/// "internal_error" with the description as message.
class StorageError : public std::exception {
 public:
  StorageError(int errorCode, std::string errorDescription)
      : code(errorCode), description(std::move(errorDescription)) {}

  static StorageError imageSourceCreateFailed() { return {1, "image_source_create_failed"}; }
  static StorageError noPrimaryImage() { return {2, "no_primary_image"}; }
  static StorageError missingColorSpace() { return {3, "missing_color_space"}; }
  static StorageError invalidDimensions() { return {4, "invalid_dimensions"}; }
  static StorageError rgbaDrawFailed() { return {5, "rgba_draw_failed"}; }

  [[nodiscard]] const char* what() const noexcept override { return description.c_str(); }

  std::string domain = "heic";
  int code;
  std::string description;
};

/// What a response reports about exported pixels.
struct StoragePixelExportMeta {
  std::int64_t width = 0;   // pixels per row, 1 or more
  std::int64_t height = 0;  // rows, 1 or more
  std::string alphaInfo;    // alpha layout of the decoded image; the pixels have lost it
  std::optional<std::string> colorSpaceName;
  std::optional<std::string> iccSHA256;  // 64 lowercase hexadecimal digits
};

/// Decodes image 0 of a file of any known format. Raises StorageError 1 or 2.
Image loadStorageCGImage(const ImageServices& images, const std::string& heicPath);

/// Draws the image into width * 4 * height bytes, rows from the top without padding: red, green, blue of 8 bits each
/// in the image's own colour space, composited over black, and a fourth byte that carries nothing and is never 0.
///
/// Raises StorageError 3 without a colour space, 4 for a size below 1, and 5 where nothing can be drawn: grey and
/// CMYK. Stops the process when the byte count does not fit 64 signed bits.
std::pair<PixelBuffer, StoragePixelExportMeta> normalizeToRGBA8StoragePixels(const ImageServices& images,
                                                                             const Image& image);

/// The name of an alpha layout (AlphaInfo) in responses; "unknown" above 7.
std::string_view alphaInfoLabel(std::uint32_t alphaInfo);

}  // namespace quellor
