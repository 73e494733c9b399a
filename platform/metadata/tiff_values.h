#pragma once
#include <cstddef>
#include <optional>

#include "platform/metadata/tiff_directory.h"
#include "platform/properties.h"

namespace quellor::metadata {

/// Turns the entries of one directory into property values.
///
/// BYTE, SHORT, SBYTE, SSHORT, SLONG and the types of 8 bytes become integers (an unsigned one above 2^63 - 1 a
/// negative one), LONG and IFD an unsigned 32-bit integer, FLOAT and DOUBLE numbers, both RATIONALs fractions, ASCII
/// text up to its first NUL, UNDEFINED bytes. Any other count than 1 of the numeric types becomes a list, except that
/// runs of more than kMaximumByteList BYTEs or SBYTEs are data in all but name and become bytes.
///
/// Entries may share their values, so a small block could promise any amount of data; therefore what a directory
/// yields is bounded: values of as many bytes as the block has, later ones are left out, and kMaximumListValues
/// values in lists, later lists become bytes as stored.
class TiffValueDecoder {
 public:
  static constexpr std::size_t kMaximumByteList = 16;
  static constexpr std::size_t kMaximumListValues = 65536;

  explicit TiffValueDecoder(const TiffBlock& block) : block_(block), bytesLeft_(block.bytes.size()) {}

  /// Absent when the value is not readable.
  std::optional<PropertyValue> decode(const TiffEntry& entry);

 private:
  PropertyValue decodeNumbers(TiffType type, ByteView bytes);

  TiffBlock block_;
  std::size_t bytesLeft_;
  std::size_t listValuesLeft_ = kMaximumListValues;
};

}  // namespace quellor::metadata
