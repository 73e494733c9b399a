#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/described_error.h"
#include "platform/values/bytes.h"

namespace quellor {

/// A file operation failed. The description is a short English sentence that names the file and the reason.
class FileError : public DescribedError {
 public:
  using DescribedError::DescribedError;
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

  /// Whether the effective user may read what is at `path`.
  [[nodiscard]] virtual bool isReadable(const std::string& path) const = 0;

  /// Moves `from` to `to`, atomically refusing anything that exists there (a dangling link, too); afterwards the
  /// directory is synced. Raises FileError, with `from` still in place.
  virtual void moveItem(const std::string& from, const std::string& to) const = 0;

  /// Removes a file. Raises FileError.
  virtual void removeItem(const std::string& path) const = 0;

  /// Writes `parts`, one after the other, as the whole of the file at `path`, replacing what may be there: into a
  /// temporary file of the same directory, in gathered writes, synced, then renamed. Raises FileError, with nothing
  /// left behind and nothing at `path` changed.
  virtual void writeAtomically(const std::string& path, std::span<const ByteView> parts) const = 0;
};

/// The file system of the machine.
class PosixFileManager final : public FileManager {
 public:
  [[nodiscard]] bool fileExists(const std::string& path) const override;
  [[nodiscard]] FileAttributes attributesOfItem(const std::string& path) const override;
  [[nodiscard]] bool isReadable(const std::string& path) const override;
  void moveItem(const std::string& from, const std::string& to) const override;
  void removeItem(const std::string& path) const override;
  void writeAtomically(const std::string& path, std::span<const ByteView> parts) const override;
};

}  // namespace quellor
