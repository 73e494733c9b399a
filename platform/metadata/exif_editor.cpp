#include "platform/metadata/exif_editor.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "platform/metadata/exif_usage.h"
#include "platform/metadata/maker_notes.h"
#include "platform/metadata/tiff_writing.h"

namespace quellor::metadata {

namespace {

/// Zeros between values; the values themselves, where they stand outside their entry, have more bytes.
constexpr std::size_t kMaximumPadding = 3;

/// Whether the entry leads to directories that this editor does not look into.
bool leadsElsewhere(const TiffEntry& entry) {
  const auto type = static_cast<TiffType>(entry.type);
  const bool isDirectory = type == TiffType::ifd || type == TiffType::ifd8 || entry.tag == exif_tag::kSubIfds;
  return isDirectory && !exif_tag::isPointer(entry.tag);
}

/// Whether the entry is what is to be removed, or may hold it. `removesAny`: something goes from the block.
bool toBeRemoved(const TiffEntry& entry, const MetadataRemovals& removals, bool removesAny) {
  switch (entry.tag) {
    case exif_tag::kGpsPointer:
      return removals.position;
    case exif_tag::kMake:
      return removals.make;
    case exif_tag::kModel:
    case exif_tag::kUniqueCameraModel:
    case exif_tag::kLocalizedCameraModel:
      return removals.model;
    case exif_tag::kMakerNote:
    case exif_tag::kDngPrivateData:
      return removals.makerNote;
    case exif_tag::kXmp:
      return removals.packet;
    case exif_tag::kPhotoshopResources:
      return removesAny;
    default:
      // Nobody can read it, so nobody misses it; its bytes may be part of what goes.
      return removesAny && (!entry.valueReadable || leadsElsewhere(entry));
  }
}

bool holdsPacket(const ExifDirectories& directories) {
  const auto holds = [](const TiffDirectory& directory) {
    return std::any_of(directory.entries.begin(), directory.entries.end(),
                       [](const TiffEntry& entry) { return entry.tag == exif_tag::kXmp; });
  };
  return holds(directories.first) || std::any_of(directories.exif.begin(), directories.exif.end(), holds) ||
         std::any_of(directories.interoperability.begin(), directories.interoperability.end(), holds);
}

/// A directory that stays, and its entries as they will be.
struct Rewrite {
  TiffDirectory before;
  std::vector<RawTiffEntry> entries;
};

class ExifEditor {
 public:
  ExifEditor(const ExifDirectories& directories, const ExifEdit& edit)
      : directories_(directories),
        block_(directories.block),
        edit_(edit),
        removesAny_(edit.removals.inside() || (edit.removals.packet && holdsPacket(directories))),
        usage_(directories.block) {}

  std::optional<Bytes> run() {
    planRewrites();
    if (first_.entries.empty()) return std::nullopt;
    planGps();
    for (const TiffDirectory& each : directories_.thumbnails) usage_.dropThumbnail(each);
    planPlaces();
    if (usage_.conflicts()) return std::nullopt;
    if (removesAny_) {
      usage_.dropAll();
      spareWhatNotesReferTo(directories_.first);
      for (const TiffDirectory& each : directories_.exif) spareWhatNotesReferTo(each);
    }
    return edited();
  }

 private:
  void planRewrites() {
    first_ = rewriteOf(directories_.first);
    if (edit_.orientation) addOrientation(static_cast<std::uint16_t>(*edit_.orientation));
    for (const TiffDirectory& each : directories_.exif) rewrites_.push_back(rewriteOf(each));
    for (const TiffDirectory& each : directories_.interoperability) rewrites_.push_back(rewriteOf(each));
  }

  Rewrite rewriteOf(const TiffDirectory& directory) {
    Rewrite rewrite{directory, {}};
    for (const TiffEntry& entry : directory.entries) {
      if (toBeRemoved(entry, edit_.removals, removesAny_)) {
        usage_.removeValue(entry);
      } else if (orientationFits(directory, entry)) {
        rewrite.entries.push_back(rawEntry(entry));
      } else {
        rewrite.entries.push_back(newOrientation(entry));
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
    if (entry.standsOutside()) usage_.drop(entry.valuePosition, entry.valueSize);
    return shortTiffEntry(entry.tag, static_cast<std::uint16_t>(*edit_.orientation), block_.order);
  }

  /// Adds the entry that is not there, in the order of tags.
  void addOrientation(std::uint16_t orientation) {
    std::vector<RawTiffEntry>& entries = first_.entries;
    const auto tag = [this](const RawTiffEntry& entry) { return tagOf(entry, block_.order); };
    const auto next = std::find_if(entries.begin(), entries.end(),
                                   [&](const RawTiffEntry& entry) { return tag(entry) >= exif_tag::kOrientation; });
    const auto there = std::find_if(next, entries.end(),
                                    [&](const RawTiffEntry& entry) { return tag(entry) == exif_tag::kOrientation; });
    if (there == entries.end()) entries.insert(next, shortTiffEntry(exif_tag::kOrientation, orientation, block_.order));
  }

  void planGps() {
    for (const TiffDirectory& directory : directories_.gps) {
      if (edit_.removals.position) {
        usage_.removeDirectory(directory);
      } else {
        rewrites_.push_back(rewriteOf(directory));
      }
    }
  }

  [[nodiscard]] bool firstIsMoved() const { return first_.entries.size() > first_.before.entries.size(); }

  /// A removed entry leaves room for a link where there was none.
  [[nodiscard]] bool writesLink(const Rewrite& rewrite) const {
    return hasLink(block_, rewrite.before) || rewrite.entries.size() < rewrite.before.entries.size();
  }

  void planPlaces() {
    if (firstIsMoved()) {
      dropOldPlace(first_);
    } else {
      planPlace(first_);
    }
    for (const Rewrite& rewrite : rewrites_) planPlace(rewrite);
  }

  void dropOldPlace(const Rewrite& rewrite) {
    const std::size_t link = hasLink(block_, rewrite.before) ? kTiffLinkSize : 0;
    usage_.drop(rewrite.before.position, tiffDirectorySize(rewrite.before.entries.size()) + link);
  }

  void planPlace(const Rewrite& rewrite) {
    dropOldPlace(rewrite);
    const std::size_t link = writesLink(rewrite) ? kTiffLinkSize : 0;
    usage_.keep(rewrite.before.position, tiffDirectorySize(rewrite.entries.size()) + link);
  }

  /// The first note of a directory counts: thousands could share the bytes of one.
  void spareWhatNotesReferTo(const TiffDirectory& directory) {
    const TiffEntry* const note = directory.find(exif_tag::kMakerNote);
    if (note == nullptr || edit_.removals.makerNote) return;
    usage_.spare(makerNoteReferences(block_, *note, makeIn(directories_)));
  }

  [[nodiscard]] std::optional<Bytes> edited() const {
    Bytes bytes(block_.bytes.begin(), block_.bytes.end());
    for (const Rewrite& rewrite : rewrites_) {
      writeInPlace(bytes, rewrite, hasLink(block_, rewrite.before) && !removesAny_ ? rewrite.before.nextOffset : 0);
    }
    if (!firstIsMoved()) writeInPlace(bytes, first_, 0);
    wipe(bytes);
    if (!everyPartIsWhole(bytes)) return std::nullopt;
    if (firstIsMoved() && !appendFirst(bytes)) return std::nullopt;
    return bytes;
  }

  void writeInPlace(Bytes& bytes, const Rewrite& rewrite, std::uint32_t next) const {
    // The count of a directory that is cut short promises more entries than there are; it stays so when none goes.
    if (!rewrite.before.complete && !removesAny_) {
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

  /// In a block whose parts overlap, writing one may damage another.
  [[nodiscard]] bool everyPartIsWhole(const Bytes& bytes) const {
    const auto isWhole = [&](const Rewrite& rewrite) {
      std::size_t at = rewrite.before.position + 2;
      return std::all_of(rewrite.entries.begin(), rewrite.entries.end(), [&](const RawTiffEntry& entry) {
        const bool same = at + entry.size() <= bytes.size() &&
                          std::equal(entry.begin(), entry.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
        at += entry.size();
        return same;
      });
    };
    return usage_.keptIsUnchangedIn(bytes) && (firstIsMoved() || isWhole(first_)) &&
           std::all_of(rewrites_.begin(), rewrites_.end(), isWhole);
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
  bool removesAny_;
  ExifUsage usage_;
  Rewrite first_;
  std::vector<Rewrite> rewrites_;  // all other directories that stay
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
