#include "platform/metadata/exif_editor.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "platform/metadata/exif_usage.h"
#include "platform/metadata/tiff_writing.h"

namespace quellor::metadata {

namespace {

/// Directories of one kind that are looked for; a block in order has one, of thumbnails sometimes a few.
constexpr std::size_t kMaximumDirectories = 8;

/// Zeros between values; the values themselves, where they stand outside their entry, have more bytes.
constexpr std::size_t kMaximumPadding = 3;

/// Whether something may stand in the block that the directories do not tell of.
bool mayReferToMore(const TiffEntry& entry) {
  const bool isSubDirectory =
      entry.type == static_cast<std::uint16_t>(TiffType::ifd) || entry.tag == exif_tag::kSubIfds;
  return !entry.valueReadable || (isSubDirectory && !exif_tag::isPointer(entry.tag));
}

/// A directory that stays, and its entries as they will be.
struct Rewrite {
  TiffDirectory before;
  std::vector<RawTiffEntry> entries;
};

class ExifEditor {
 public:
  ExifEditor(const ExifDirectories& directories, const ExifEdit& edit)
      : directories_(directories), block_(directories.block), edit_(edit), usage_(directories.block) {}

  std::optional<Bytes> run() {
    seen_ = {directories_.first.position};
    const auto exif = pointedFrom({directories_.first}, exif_tag::kExifPointer);
    planRewrites(exif);
    if (first_.entries.empty()) return std::nullopt;
    planGps(exif);
    for (const TiffDirectory& each : pointedFrom(exif, exif_tag::kInteroperabilityPointer)) usage_.keepDirectory(each);
    planThumbnails();
    planPlaces();
    return edited();
  }

 private:
  /// The directories that pointers in `directories` lead to, but none for the second time.
  std::vector<TiffDirectory> pointedFrom(const std::vector<TiffDirectory>& directories, std::uint16_t tag) {
    std::vector<TiffDirectory> found;
    for (const TiffDirectory& directory : directories) {
      for (const TiffEntry& entry : directory.entries) {
        if (entry.tag != tag || found.size() == kMaximumDirectories) continue;
        if (auto pointed = unseenDirectory(pointedPosition(block_, entry))) found.push_back(std::move(*pointed));
      }
    }
    return found;
  }

  std::optional<TiffDirectory> unseenDirectory(std::optional<std::size_t> position) {
    if (!position || std::find(seen_.begin(), seen_.end(), *position) != seen_.end()) return std::nullopt;
    seen_.push_back(*position);
    return readTiffDirectory(block_, *position);
  }

  void planRewrites(const std::vector<TiffDirectory>& exif) {
    first_ = rewriteOf(directories_.first, edit_.firstTags);
    if (edit_.orientation) setOrientation(static_cast<std::uint16_t>(*edit_.orientation));
    for (const TiffDirectory& directory : exif) exif_.push_back(rewriteOf(directory, edit_.exifTags));
  }

  Rewrite rewriteOf(const TiffDirectory& directory, const std::set<std::uint16_t>& tags) {
    Rewrite rewrite{directory, {}};
    for (const TiffEntry& entry : directory.entries) {
      const bool leadsToGps = edit_.removeGps && entry.tag == exif_tag::kGpsPointer;
      if (leadsToGps || tags.contains(entry.tag)) {
        usage_.dropValue(entry);
        noteGoes_ = noteGoes_ || (entry.tag == exif_tag::kMakerNote && entry.valueReadable);
      } else {
        refersToMore_ = refersToMore_ || mayReferToMore(entry);
        rewrite.entries.push_back(orientationFits(directory, entry) ? rawEntry(entry) : newOrientation(entry));
      }
    }
    return rewrite;
  }

  /// Whether the entry can stay as it is.
  [[nodiscard]] bool orientationFits(const TiffDirectory& directory, const TiffEntry& entry) const {
    if (!edit_.orientation || entry.tag != exif_tag::kOrientation) return true;
    return directory.position != directories_.first.position ||
           unsignedValue(block_, entry) == static_cast<std::uint32_t>(*edit_.orientation);
  }

  RawTiffEntry rawEntry(const TiffEntry& entry) {
    usage_.keepValue(entry);
    RawTiffEntry raw{};
    const ByteView bytes = block_.bytes.subspan(entry.position, raw.size());
    std::copy(bytes.begin(), bytes.end(), raw.begin());
    return raw;
  }

  RawTiffEntry newOrientation(const TiffEntry& entry) {
    usage_.dropValue(entry);
    return shortTiffEntry(entry.tag, static_cast<std::uint16_t>(*edit_.orientation), block_.order);
  }

  /// Adds the entry that is not there, in the order of tags.
  void setOrientation(std::uint16_t orientation) {
    std::vector<RawTiffEntry>& entries = first_.entries;
    const auto tag = [this](const RawTiffEntry& entry) { return tagOf(entry, block_.order); };
    const auto next = std::find_if(entries.begin(), entries.end(),
                                   [&](const RawTiffEntry& entry) { return tag(entry) >= exif_tag::kOrientation; });
    const auto there = std::find_if(next, entries.end(),
                                    [&](const RawTiffEntry& entry) { return tag(entry) == exif_tag::kOrientation; });
    if (there == entries.end()) entries.insert(next, shortTiffEntry(exif_tag::kOrientation, orientation, block_.order));
  }

  void planGps(const std::vector<TiffDirectory>& exif) {
    std::vector<TiffDirectory> pointing = exif;
    pointing.insert(pointing.begin(), directories_.first);
    for (const TiffDirectory& directory : pointedFrom(pointing, exif_tag::kGpsPointer)) {
      if (edit_.removeGps) {
        usage_.dropDirectory(directory);
      } else {
        usage_.keepDirectory(directory);
      }
    }
  }

  void planThumbnails() {
    if (!hasLink(block_, directories_.first)) return;
    std::uint32_t offset = directories_.first.nextOffset;
    for (std::size_t i = 0; i < kMaximumDirectories && offset != 0; ++i) {
      const auto thumbnail = unseenDirectory(positionOfOffset(block_, offset));
      if (!thumbnail || !isPlausible(*thumbnail)) return;
      usage_.dropThumbnail(*thumbnail);
      for (const std::uint16_t tag : {exif_tag::kExifPointer, exif_tag::kGpsPointer}) {
        for (const TiffDirectory& each : pointedFrom({*thumbnail}, tag)) usage_.dropDirectory(each);
      }
      offset = thumbnail->nextOffset;
    }
  }

  /// A link may lead anywhere; what stands there is wiped only when most of it reads as a directory.
  static bool isPlausible(const TiffDirectory& directory) {
    const auto readable = std::count_if(directory.entries.begin(), directory.entries.end(),
                                        [](const TiffEntry& entry) { return entry.valueReadable; });
    return directory.complete && static_cast<std::size_t>(readable) * 2 >= directory.entries.size();
  }

  [[nodiscard]] bool firstIsMoved() const { return first_.entries.size() > first_.before.entries.size(); }

  /// Bytes that the directory takes at its old place.
  [[nodiscard]] std::size_t oldSize(const Rewrite& rewrite) const {
    return tiffDirectorySize(rewrite.before.entries.size()) + (hasLink(block_, rewrite.before) ? kTiffLinkSize : 0);
  }

  /// A removed entry leaves room for a link where there was none.
  [[nodiscard]] bool writesLink(const Rewrite& rewrite) const {
    return hasLink(block_, rewrite.before) || rewrite.entries.size() < rewrite.before.entries.size();
  }

  void planPlaces() {
    if (firstIsMoved()) {
      usage_.drop(first_.before.position, oldSize(first_));
    } else {
      planPlace(first_);
    }
    for (const Rewrite& rewrite : exif_) planPlace(rewrite);
    if (noteGoes_ && !refersToMore_) usage_.dropAll();
  }

  void planPlace(const Rewrite& rewrite) {
    usage_.drop(rewrite.before.position, oldSize(rewrite));
    const std::size_t link = writesLink(rewrite) ? kTiffLinkSize : 0;
    usage_.keep(rewrite.before.position, tiffDirectorySize(rewrite.entries.size()) + link);
  }

  [[nodiscard]] std::optional<Bytes> edited() const {
    Bytes bytes(block_.bytes.begin(), block_.bytes.end());
    for (const Rewrite& rewrite : exif_) {
      const std::uint32_t next = hasLink(block_, rewrite.before) ? rewrite.before.nextOffset : 0;
      writeInPlace(bytes, rewrite, next);
    }
    if (!firstIsMoved()) writeInPlace(bytes, first_, 0);
    wipe(bytes);
    if (firstIsMoved() && !appendFirst(bytes)) return std::nullopt;
    return bytes;
  }

  void writeInPlace(Bytes& bytes, const Rewrite& rewrite, std::uint32_t next) const {
    // The count of a directory that is cut short promises more entries than there are; it stays so when none goes.
    if (!rewrite.before.complete && rewrite.entries.size() == rewrite.before.entries.size()) {
      writeEntries(bytes, rewrite);
      return;
    }
    const auto link = writesLink(rewrite) ? std::optional(next) : std::nullopt;
    writeTiffDirectory(bytes, rewrite.before.position, rewrite.entries, link, block_.order);
  }

  static void writeEntries(Bytes& bytes, const Rewrite& rewrite) {
    auto at = bytes.begin() + static_cast<std::ptrdiff_t>(rewrite.before.position + 2);
    for (const RawTiffEntry& entry : rewrite.entries) at = std::copy(entry.begin(), entry.end(), at);
  }

  /// Overwrites what has gone with zeros and cuts them off at the end of the block, together with the zeros that
  /// align values.
  void wipe(Bytes& bytes) const {
    const std::vector<ByteRange> ranges = usage_.wiped();
    for (const ByteRange& range : ranges) {
      std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(range.begin),
                bytes.begin() + static_cast<std::ptrdiff_t>(range.end), std::uint8_t{0});
    }
    std::for_each(ranges.rbegin(), ranges.rend(), [&bytes](const ByteRange& range) {
      const ByteView tail = ByteView(bytes).subspan(std::min(range.end, bytes.size()));
      const bool isPadding = std::all_of(tail.begin(), tail.end(), [](std::uint8_t byte) { return byte == 0; });
      if (range.end <= bytes.size() && tail.size() <= kMaximumPadding && isPadding) bytes.resize(range.begin);
    });
  }

  [[nodiscard]] bool appendFirst(Bytes& bytes) const {
    const std::size_t position = bytes.size() + bytes.size() % 2;  // directories begin on even offsets
    const std::size_t end = position + tiffDirectorySize(first_.entries.size()) + kTiffLinkSize;
    if (first_.entries.size() > kTiffMaximumEntries || end > std::numeric_limits<std::uint32_t>::max()) return false;
    bytes.resize(end);
    writeTiffDirectory(bytes, position, first_.entries, 0, block_.order);
    writeUnsigned(bytes, 4, position, 4, block_.order);
    return true;
  }

  const ExifDirectories& directories_;
  const TiffBlock& block_;
  const ExifEdit& edit_;
  ExifUsage usage_;
  std::vector<std::size_t> seen_;  // positions of directories
  Rewrite first_;
  std::vector<Rewrite> exif_;
  bool noteGoes_ = false;
  bool refersToMore_ = false;  // an entry that stays
};

}  // namespace

std::optional<Bytes> editedExif(const ExifDirectories& directories, const ExifEdit& edit) {
  return ExifEditor(directories, edit).run();
}

Bytes exifOrientationBlock(int orientation) {
  constexpr ByteOrder order = ByteOrder::bigEndian;
  Bytes block = {'M', 'M', 0, 42, 0, 0, 0, kTiffHeaderSize};
  block.resize(kTiffHeaderSize + tiffDirectorySize(1) + kTiffLinkSize);
  const RawTiffEntry entry = shortTiffEntry(exif_tag::kOrientation, static_cast<std::uint16_t>(orientation), order);
  writeTiffDirectory(block, kTiffHeaderSize, {entry}, 0, order);
  return block;
}

}  // namespace quellor::metadata
