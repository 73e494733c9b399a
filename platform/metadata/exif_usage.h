#pragma once
#include <cstdint>
#include <vector>

#include "platform/metadata/byte_ranges.h"
#include "platform/metadata/tiff_directory.h"

namespace quellor::metadata {

/// Which bytes of a block are in use by what stays in it, and which were by what goes.
class ExifUsage {
 public:
  explicit ExifUsage(const TiffBlock& block);

  void keep(std::size_t position, std::size_t size) { kept_.add(position, size); }
  void drop(std::size_t position, std::size_t size) { dropped_.add(position, size); }

  /// Every byte that is not kept.
  void dropAll() { drop(0, block_.bytes.size()); }

  /// The value, where it stands outside its entry.
  void keepValue(const TiffEntry& entry);
  void dropValue(const TiffEntry& entry);

  /// The directory with its values.
  void keepDirectory(const TiffDirectory& directory);
  void dropDirectory(const TiffDirectory& directory);

  /// A thumbnail's directory with its values and the image that it refers to.
  void dropThumbnail(const TiffDirectory& directory);

  /// The bytes that nobody needs any more.
  [[nodiscard]] std::vector<ByteRange> wiped() const { return dropped_.without(kept_); }

 private:
  void dropImageData(const TiffDirectory& directory, std::uint16_t offsetsTag, std::uint16_t sizesTag);
  [[nodiscard]] std::vector<std::uint32_t> numbers(const TiffDirectory& directory, std::uint16_t tag) const;

  TiffBlock block_;
  ByteRanges kept_;
  ByteRanges dropped_;
};

/// Whether the link to the next directory is there: it is not where the block ends before it, nor where the
/// directory's own values begin in its place, as some writers have them.
bool hasLink(const TiffBlock& block, const TiffDirectory& directory);

}  // namespace quellor::metadata
