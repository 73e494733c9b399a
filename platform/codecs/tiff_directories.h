#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/bytes.h"

namespace quellor::tiff {

/// The top-level directories of a TIFF file (TIFF 6.0, section 2) or of a BigTIFF file, as they lie in its bytes.
///
/// The TIFF library converts and rounds the values that it hands out; what has to come byte for byte or with its
/// full precision is read from here. Refers to the bytes that it was read from.
class Directories {
 public:
  /// Absent when the chain of directories is broken: one that leaves the file, has no entry or comes twice.
  static std::optional<Directories> read(ByteView file);

  /// How many directories there are, 1 or more: pages, and reduced copies and masks of them, but no subdirectories.
  [[nodiscard]] std::size_t count() const { return count_; }

  /// The value of an entry of the first directory as it stands in the file, whatever its type. Absent when there is
  /// no such entry, or when its value is empty or outside the file.
  [[nodiscard]] std::optional<ByteView> bytes(std::uint16_t tag) const;

  /// The single SHORT or LONG of an entry of the first directory.
  [[nodiscard]] std::optional<std::uint32_t> integer(std::uint16_t tag) const;

  /// The single RATIONAL of an entry of the first directory; absent when its denominator is zero.
  [[nodiscard]] std::optional<double> rational(std::uint16_t tag) const;

 private:
  struct Entry {
    std::uint16_t tag;
    std::uint16_t type;
    ByteView value;  // empty when it is outside the file
  };

  explicit Directories(ByteView file) : file_(file) {}
  bool readHeader();
  bool readChain();
  void readEntries(std::uint64_t offset, std::uint64_t entryCount);
  [[nodiscard]] Entry entryAt(std::uint64_t offset) const;
  [[nodiscard]] const Entry* find(std::uint16_t tag) const;
  [[nodiscard]] std::optional<std::uint64_t> numberAt(std::uint64_t offset, std::size_t size) const;
  [[nodiscard]] std::uint64_t number(ByteView bytes) const;

  ByteView file_;
  bool bigEndian_ = false;
  bool bigTiff_ = false;
  std::uint64_t firstOffset_ = 0;
  std::size_t count_ = 0;
  std::vector<Entry> entries_;  // of the first directory
};

}  // namespace quellor::tiff
