#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/metadata/tiff_directory.h"
#include "platform/values/bytes.h"
#include "platform/values/outcome.h"

namespace quellor::tiff {

/// The top-level directories of a classic TIFF file, as they lie in its bytes. Refers to the bytes that it was read
/// from.
///
/// The TIFF library could walk them, too. But it passes over entries that it cannot read, among them those by which a
/// preview is known; it takes a chain that is broken for one that is at its end; and it converts and rounds values
/// that have to come byte for byte or with their full precision.
class Directories {
 public:
  /// Absent when a directory of the chain cannot be read, and for a file whose first picture may be no more than a
  /// preview of the photo: camera raw formats are TIFF files with the sensor's data somewhere and a picture for viewers
  /// in the first directory. Who took that picture for the photo would throw the photo away.
  ///
  /// The first picture is the photo when it does not say that it is a reduced copy, a mask or something else than a
  /// picture or page; when no directory, also below another one, holds sensor data; and when subdirectories hold
  /// nothing but smaller copies of the picture that they belong to, declared as such.
  static Outcome<Directories> read(ByteView file);

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
