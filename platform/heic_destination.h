#pragma once
#include <memory>
#include <optional>
#include <string>

#include "platform/files/file_descriptor.h"
#include "platform/heif/output_file.h"
#include "platform/image_destination.h"

namespace quellor {

/// A destination that writes HEIC: one container writer for images that are copied and images that are encoded.
class HeicDestination final : public ImageDestination {
 public:
  /// Creates the file at `path`, which must not exist; null when it cannot be created.
  static std::unique_ptr<HeicDestination> create(const std::string& path);

  void addImage(const Image& image, const PropertyDictionary& properties) override;
  void addImageFromSource(const ImageSource& source, std::size_t index,
                          const std::optional<PropertyDictionary>& properties) override;
  [[nodiscard]] bool finalize() override;

 private:
  HeicDestination(FileDescriptor file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}

  void accept(std::optional<heif::OutputFile> image);

  FileDescriptor file_;
  std::string path_;
  std::optional<heif::OutputFile> image_;  // what will be written
  int added_ = 0;
};

}  // namespace quellor
