#pragma once
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace quellor {

/// A file operation failed. what() is a short English sentence for people that names the file and the reason.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct FileAttributes {
  std::optional<std::int64_t> size;  // bytes
};

/// Everything that the operations ask of the file system, apart from an image's contents. Paths are bytes as the
/// caller gave them; an empty one, or one with a NUL in it, names nothing.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// Whether anything exists at `path`: a file, a directory, … A symbolic link counts as what it leads to.
  [[nodiscard]] virtual bool fileExists(const std::string& path) const = 0;

  /// Attributes of what `path` leads to. Raises FileError.
  [[nodiscard]] virtual FileAttributes attributesOfItem(const std::string& path) const = 0;
};

/// The file system of the machine.
class PosixFileManager final : public FileManager {
 public:
  [[nodiscard]] bool fileExists(const std::string& path) const override;
  [[nodiscard]] FileAttributes attributesOfItem(const std::string& path) const override;
};

}  // namespace quellor
