#include "platform/formats/tiff_previews.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/values/big_endian.h"

namespace quellor::tiff {
namespace {

using namespace std::string_view_literals;
using metadata::TiffBlock;
using metadata::TiffDirectory;
using metadata::TiffEntry;
using metadata::TiffType;

constexpr std::uint16_t kNewSubfileType = 254;
constexpr std::uint16_t kSubfileType = 255;
constexpr std::uint16_t kImageWidth = 256;
constexpr std::uint16_t kImageLength = 257;
constexpr std::uint16_t kPhotometricInterpretation = 262;
constexpr std::uint16_t kSubIfds = 330;

// Bits of NewSubfileType.
constexpr std::uint32_t kReducedResolution = 1;
constexpr std::uint32_t kSinglePage = 2;

/// More than pyramids of many planes have; deeper nesting and longer lists are nobody's photo.
constexpr std::size_t kMaximumSubdirectories = 1024;

/// Tags that nothing but a raw file has.
constexpr std::array<std::uint16_t, 4> kRawTags = {
    34310,  // Leaf's data block
    50706,  // DNGVersion
    50752,  // how Canon cuts its sensor data into slices
    50885,  // the kind of Canon's reduced raw data
};

bool isSensorData(std::uint32_t photometric) {
  constexpr std::uint32_t kColorFilterArray = 32803;  // TIFF/EP
  constexpr std::uint32_t kLinearRaw = 34892;         // DNG
  return photometric == kColorFilterArray || photometric == kLinearRaw;
}

bool holdsSensorData(const TiffBlock& file, const TiffDirectory& directory) {
  return std::any_of(directory.entries.begin(), directory.entries.end(), [&file](const TiffEntry& entry) {
    if (std::find(kRawTags.begin(), kRawTags.end(), entry.tag) != kRawTags.end()) return true;
    return entry.tag == kPhotometricInterpretation && isSensorData(metadata::unsignedValue(file, entry).value_or(0));
  });
}

/// SubfileType says as a number what NewSubfileType says by bits: 1 for the picture itself, 2 for a reduced one, 3 for
/// a page. 0 is none of its values.
std::optional<std::uint32_t> bitsOfOldType(std::uint32_t type) {
  constexpr std::array<std::uint32_t, 3> kBits = {0, kReducedResolution, kSinglePage};
  return type >= 1 && type <= kBits.size() ? std::optional(kBits[type - 1]) : std::nullopt;
}

/// What a directory says about its picture's role, 0 when it says nothing. Absent when it cannot be read.
std::optional<std::uint32_t> subfileBits(const TiffBlock& file, const TiffDirectory& directory) {
  std::uint32_t bits = 0;
  for (const TiffEntry& entry : directory.entries) {
    if (entry.tag != kNewSubfileType && entry.tag != kSubfileType) continue;
    auto said = metadata::unsignedValue(file, entry);
    if (said && entry.tag == kSubfileType) said = bitsOfOldType(*said);
    if (!said) return std::nullopt;
    bits |= *said;
  }
  return bits;
}

std::optional<std::uint32_t> integer(const TiffBlock& file, const TiffDirectory& directory, std::uint16_t tag) {
  const TiffEntry* const entry = directory.find(tag);
  return entry == nullptr ? std::nullopt : metadata::unsignedValue(file, *entry);
}

bool isReducedCopyOf(const TiffBlock& file, const TiffDirectory& copy, const TiffDirectory& picture) {
  const auto bits = subfileBits(file, copy);
  if (!bits || (*bits & ~kSinglePage) != kReducedResolution) return false;
  const auto width = integer(file, copy, kImageWidth);
  const auto height = integer(file, copy, kImageLength);
  const auto fullWidth = integer(file, picture, kImageWidth);
  const auto fullHeight = integer(file, picture, kImageLength);
  if (!width || !height || !fullWidth || !fullHeight) return false;
  return *width <= *fullWidth && *height <= *fullHeight && (*width < *fullWidth || *height < *fullHeight);
}

/// The offsets of subdirectories, of all of a page's directories at most kMaximumSubdirectories.
class PendingOffsets {
 public:
  /// False when there are too many.
  bool add(std::uint32_t offset) {
    offsets_.push_back(offset);
    return ++added_ <= kMaximumSubdirectories;
  }

  /// Adds what the directory points to. False when a pointer cannot be read.
  bool addSubdirectoriesOf(const TiffBlock& file, const TiffDirectory& directory) {
    for (const TiffEntry& entry : directory.entries) {
      if (entry.tag != kSubIfds) continue;
      const auto type = static_cast<TiffType>(entry.type);
      if (!entry.valueReadable || (type != TiffType::longInteger && type != TiffType::ifd)) return false;
      for (std::size_t i = 0; i + 4 <= entry.valueSize; i += 4) {
        const auto offset = metadata::readU32(file, entry.valuePosition + i);
        if (!offset || !add(*offset)) return false;
      }
    }
    return true;
  }

  std::optional<std::uint32_t> take() {
    if (offsets_.empty()) return std::nullopt;
    const std::uint32_t offset = offsets_.back();
    offsets_.pop_back();
    return offset;
  }

 private:
  std::vector<std::uint32_t> offsets_;
  std::size_t added_ = 0;
};

}  // namespace

bool hasRawFileMark(ByteView file) {
  constexpr std::size_t kHeader = 8;
  if (file.size() < kHeader + 8) return false;
  const ByteView mark = file.subspan(kHeader);
  const bool canon = startsWith(mark, "CR\x02\0"sv) || startsWith(mark, "\xba\xb0\xac\xbb"sv);
  // The fifth or last letter differs among cameras.
  const bool phaseOne =
      (startsWith(mark, "IIII"sv) && startsWith(mark.subspan(5), "waR"sv)) || startsWith(mark, "MMMMRaw"sv);
  return canon || phaseOne;
}

bool isReducedCopyOrMask(const TiffBlock& file, const TiffDirectory& directory) {
  const auto bits = subfileBits(file, directory);
  return !bits || (*bits & ~kSinglePage) != 0;
}

bool isShownByItsOwnPicture(DirectoryReader& reader, const TiffDirectory& directory) {
  const TiffBlock& file = reader.file();
  PendingOffsets pending;
  if (holdsSensorData(file, directory) || !pending.addSubdirectoriesOf(file, directory)) return false;
  while (const auto offset = pending.take()) {
    const auto below = reader.read(*offset);
    if (!below || holdsSensorData(file, *below) || !isReducedCopyOf(file, *below, directory)) return false;
    if (!pending.addSubdirectoriesOf(file, *below)) return false;
    if (below->nextOffset != 0 && !pending.add(below->nextOffset)) return false;
  }
  return true;
}

}  // namespace quellor::tiff
