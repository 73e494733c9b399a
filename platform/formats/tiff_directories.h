#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_set>

#include "platform/metadata/tiff_directory.h"
#include "platform/values/bytes.h"

namespace quellor::tiff {

/// Reads directories of a classic TIFF file (TIFF 6.0, section 2), each at most once and all together in time
/// proportional to the file.
class DirectoryReader {
 public:
  explicit DirectoryReader(const metadata::TiffBlock& file) : file_(file), entriesLeft_(file.bytes.size() / 12) {}

  /// Absent when the directory leaves the file, has no entry or was read before, and when there are too many: more
  /// than 2^20, or with more entries than the file has room for.
  std::optional<metadata::TiffDirectory> read(std::uint32_t offset);

  [[nodiscard]] const metadata::TiffBlock& file() const { return file_; }

 private:
  metadata::TiffBlock file_;
  std::size_t entriesLeft_;
  std::unordered_set<std::uint32_t> seen_;
};

/// The top-level directories of a classic TIFF file, as they lie in its bytes.
///
/// The TIFF library converts and rounds the values that it hands out; what has to come byte for byte or with its
/// full precision is read from here. Refers to the bytes that it was read from.
class Directories {
 public:
  /// Absent when a directory of the chain cannot be read, and for a file whose first picture is not the one that the
  /// file is for (platform/formats/tiff_previews.h).
  static std::optional<Directories> read(ByteView file);

  /// How many directories there are, 1 or more: pages, and reduced copies and masks of them, but no subdirectories.
  [[nodiscard]] std::size_t count() const { return count_; }

  /// The value of an entry of the first directory as it stands in the file, whatever its type. Absent when there is
  /// no such entry, or when its value is empty or outside the file.
  [[nodiscard]] std::optional<ByteView> bytes(std::uint16_t tag) const;

  /// The single integer of an entry of the first directory.
  [[nodiscard]] std::optional<std::uint32_t> integer(std::uint16_t tag) const;

  /// The single RATIONAL of an entry of the first directory; absent when its denominator is zero.
  [[nodiscard]] std::optional<double> rational(std::uint16_t tag) const;

 private:
  explicit Directories(const metadata::TiffBlock& file) : file_(file) {}

  metadata::TiffBlock file_;
  metadata::TiffDirectory first_;
  std::size_t count_ = 0;
};

}  // namespace quellor::tiff
