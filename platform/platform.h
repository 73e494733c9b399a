#pragma once
#include "platform/file_manager.h"
#include "platform/image_services.h"

namespace quellor {

/// The services that operations are given. Both outlive every call that takes them.
struct Platform {
  const FileManager& files;
  const ImageServices& images;
};

/// The services of the machine. Constructing it opens nothing.
class SystemPlatform {
 public:
  [[nodiscard]] Platform services() const { return {files_, images_}; }

 private:
  PosixFileManager files_;
  SystemImageServices images_;
};

}  // namespace quellor
