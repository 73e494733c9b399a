#include "platform/formats/tiff_directories.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>
#include <utility>
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

/// Whether a file with a TIFF header has the mark of a raw format behind it.
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

/// Whether a directory says that its picture is a smaller copy of another one, a mask or something else than a
/// picture or page, or what it says cannot be read.
bool isReducedCopyOrMask(const TiffBlock& file, const TiffDirectory& directory) {
  const auto bits = subfileBits(file, directory);
  return !bits || (*bits & ~kSinglePage) != 0;
}

/// Reads directories of a classic TIFF file (TIFF 6.0, section 2), each at most once and all together in time
/// proportional to the file.
class DirectoryReader {
 public:
  explicit DirectoryReader(const TiffBlock& file) : file_(file), entriesLeft_(file.bytes.size() / 12) {}

  /// Absent when the directory leaves the file, has no entry or was read before, and when there are too many: more
  /// than 2^20, or with more entries than the file has room for.
  std::optional<TiffDirectory> read(std::uint32_t offset);

  [[nodiscard]] const TiffBlock& file() const { return file_; }

 private:
  TiffBlock file_;
  std::size_t entriesLeft_;
  std::unordered_set<std::uint32_t> seen_;
};

std::optional<TiffDirectory> DirectoryReader::read(std::uint32_t offset) {
  constexpr std::size_t kMaximumDirectories = std::size_t{1} << 20;
  if (seen_.size() == kMaximumDirectories || !seen_.insert(offset).second) return std::nullopt;
  const auto position = metadata::positionOfOffset(file_, offset);
  const auto entryCount = position ? metadata::readU16(file_, *position) : std::nullopt;
  if (!entryCount || *entryCount == 0 || *entryCount > entriesLeft_) return std::nullopt;
  entriesLeft_ -= *entryCount;
  auto directory = metadata::readTiffDirectory(file_, *position);
  const std::size_t nextOffsetPosition = *position + 2 + std::size_t{*entryCount} * 12;
  if (!directory || !metadata::readU32(file_, nextOffsetPosition)) return std::nullopt;
  return directory;
}

/// Why the picture of a directory may be no more than a preview: for sensor data in the directory or below, or another
/// picture below than a smaller copy. Absent when it is none.
std::optional<Refusal> previewRefusal(DirectoryReader& reader, const TiffDirectory& directory) {
  constexpr Refusal kSensorData{"a directory holds sensor data of a raw format"};
  constexpr Refusal kBrokenPointer{"a pointer to subdirectories is broken, or there are too many"};
  const TiffBlock& file = reader.file();
  PendingOffsets pending;
  if (holdsSensorData(file, directory)) return kSensorData;
  if (!pending.addSubdirectoriesOf(file, directory)) return kBrokenPointer;
  while (const auto offset = pending.take()) {
    const auto below = reader.read(*offset);
    if (!below) return Refusal{"a subdirectory is broken"};
    if (holdsSensorData(file, *below)) return kSensorData;
    if (!isReducedCopyOf(file, *below, directory)) {
      return Refusal{"a subdirectory holds no smaller copy of its picture"};
    }
    if (!pending.addSubdirectoriesOf(file, *below)) return kBrokenPointer;
    if (below->nextOffset != 0 && !pending.add(below->nextOffset)) return kBrokenPointer;
  }
  return std::nullopt;
}

}  // namespace

Outcome<Directories> Directories::read(ByteView file) {
  const auto header = metadata::readTiffHeader(file);
  if (!header) return Refusal{"there is no TIFF header"};
  if (hasRawFileMark(file)) return Refusal{"the header of a raw format"};
  Directories directories(header->block);
  DirectoryReader reader(header->block);
  std::uint32_t offset = header->firstDirectoryOffset;
  do {
    auto directory = reader.read(offset);
    if (!directory) return Refusal{"a directory is broken"};
    if (const auto refusal = previewRefusal(reader, *directory)) return *refusal;
    offset = directory->nextOffset;
    if (directories.count_++ != 0) continue;
    if (isReducedCopyOrMask(header->block, *directory)) return Refusal{"the first picture is a reduced copy or a mask"};
    directories.first_ = std::move(*directory);
  } while (offset != 0);
  return directories;
}

std::optional<ByteView> Directories::bytes(std::uint16_t tag) const {
  const TiffEntry* const entry = first_.find(tag);
  if (entry == nullptr || entry->valueSize == 0) return std::nullopt;
  return metadata::valueBytes(file_, *entry);
}

std::optional<std::uint32_t> Directories::integer(std::uint16_t tag) const {
  const TiffEntry* const entry = first_.find(tag);
  return entry == nullptr ? std::nullopt : metadata::unsignedValue(file_, *entry);
}

std::optional<double> Directories::rational(std::uint16_t tag) const {
  const TiffEntry* const entry = first_.find(tag);
  const bool single =
      entry != nullptr && entry->count == 1 && entry->type == static_cast<std::uint16_t>(TiffType::rational);
  if (!single) return std::nullopt;
  const ByteView value = metadata::valueBytes(file_, *entry);
  const std::uint64_t denominator = metadata::readUnsigned(value.subspan(4), file_.order);
  if (denominator == 0) return std::nullopt;
  return static_cast<double>(metadata::readUnsigned(value.first(4), file_.order)) / static_cast<double>(denominator);
}

}  // namespace quellor::tiff
