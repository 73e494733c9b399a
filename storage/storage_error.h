#pragma once
#include <exception>
#include <string>
#include <utility>

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

}  // namespace quellor
