#pragma once
#include <cstdint>
#include <vector>

#include "platform/metadata/byte_ranges.h"
#include "platform/metadata/tiff_directory.h"

namespace quellor::metadata {

/// Which bytes of a block are in use by what stays in it, and which were by what goes.
///
/// Three ways to go: what is dropped gives way to whatever stays; what is removed must not be in the output, so that a
/// byte that stays and is removed is a conflict; what is spared stays unless it is removed.
class ExifUsage {
 public:
  explicit ExifUsage(const TiffBlock& block);

  void keep(std::size_t position, std::size_t size) { kept_.add(position, size); }
  void drop(std::size_t position, std::size_t size) { dropped_.add(position, size); }
  void remove(std::size_t position, std::size_t size) { removed_.add(position, size); }

  /// What something that stays may refer to.
  void spare(const std::vector<ByteRange>& ranges);

  /// Every byte that is not kept or spared.
  void dropAll() { drop(0, block_.bytes.size()); }

  /// The value, where it stands outside its entry.
  void keepValue(const TiffEntry& entry);
  void removeValue(const TiffEntry& entry);

  /// The directory with its values.
  void removeDirectory(const TiffDirectory& directory);

  /// A thumbnail's directory with its values and the image that it refers to.
  void dropThumbnail(const TiffDirectory& directory);

  /// Whether a byte that stays belongs to what is removed as well.
  [[nodiscard]] bool conflicts() const;

  /// The bytes that nobody needs any more.
  [[nodiscard]] std::vector<ByteRange> wiped() const;

  /// Whether everything that is kept as it was, at its place, is the same in `edited`.
  [[nodiscard]] bool keptIsUnchangedIn(ByteView edited) const;

 private:
  void dropImageData(const TiffDirectory& directory, std::uint16_t offsetsTag, std::uint16_t sizesTag);
  [[nodiscard]] std::vector<std::uint32_t> numbers(const TiffDirectory& directory, std::uint16_t tag) const;

  TiffBlock block_;
  ByteRanges kept_;       // also the places of directories that are written anew
  ByteRanges unchanged_;  // the part of it that is not written
  ByteRanges spared_;
  ByteRanges dropped_;
  ByteRanges removed_;
};

}  // namespace quellor::metadata
