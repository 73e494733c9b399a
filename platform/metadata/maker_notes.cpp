#include "platform/metadata/maker_notes.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace quellor::metadata {

namespace {

using namespace std::string_view_literals;

/// Where a note's directory stands and what its offsets count from.
enum class Layout : std::uint8_t {
  blockOffsets,      // directory at `start`; offsets from the beginning of the Exif block
  noteOffsets,       // directory at `start`; offsets from the beginning of the note
  markedNote,        // as noteOffsets, in the byte order that the mark at `mark` says
  pointedDirectory,  // a little-endian offset of the directory at `start`; offsets from the beginning of the note
  embeddedTiff,      // a whole TIFF structure at `start`
  opaque,            // no plain directory
};

struct MakerFormat {
  std::string_view key;
  std::string_view signature;  // empty: recognised by `make`
  std::string_view make;       // prefix, without regard to case
  Layout layout;
  std::size_t start = 0;
  std::size_t mark = 0;  // of the byte-order mark, for markedNote
};

// The first row that fits counts. The forms are described in the documentation of the maker-note readers that are in
// public use; the makers publish none.
constexpr MakerFormat kFormats[] = {
    {"{MakerApple}", "Apple iOS\0"sv, "", Layout::markedNote, 14, 12},
    {"{MakerNikon}", "Nikon\0\2"sv, "", Layout::embeddedTiff, 10},
    {"{MakerNikon}", "Nikon\0\1"sv, "", Layout::blockOffsets, 8},
    {"{MakerOlympus}", "OLYMPUS\0"sv, "", Layout::markedNote, 12, 8},
    {"{MakerOlympus}", "OM SYSTEM\0\0\0"sv, "", Layout::markedNote, 16, 12},
    {"{MakerOlympus}", "OLYMP\0"sv, "", Layout::blockOffsets, 8},
    {"{MakerFuji}", "FUJIFILM"sv, "", Layout::pointedDirectory, 8},
    {"{MakerPanasonic}", "Panasonic\0"sv, "", Layout::blockOffsets, 12},
    {"{MakerLeica}", "LEICA\0\0\0"sv, "", Layout::blockOffsets, 8},
    {"{MakerLeica}", "LEICA"sv, "", Layout::opaque},
    {"{MakerSony}", "SONY DSC "sv, "", Layout::blockOffsets, 12},
    {"{MakerSony}", "SONY CAM "sv, "", Layout::blockOffsets, 12},
    {"{MakerSony}", "SONY MOBILE"sv, "", Layout::blockOffsets, 12},
    {"{MakerSony}", "SONY PI\0"sv, "", Layout::blockOffsets, 12},
    {"{MakerPentax}", "PENTAX \0"sv, "", Layout::markedNote, 10, 8},
    {"{MakerPentax}", "AOC\0"sv, "", Layout::blockOffsets, 6},
    {"{MakerCasio}", "QVC\0"sv, "", Layout::blockOffsets, 6},
    {"{MakerCasio}", "DCI\0"sv, "", Layout::blockOffsets, 6},
    {"{MakerSigma}", "SIGMA\0"sv, "", Layout::blockOffsets, 10},
    {"{MakerSigma}", "FOVEON\0"sv, "", Layout::blockOffsets, 10},
    {"{MakerRicoh}", "Ricoh\0"sv, "", Layout::blockOffsets, 8},
    {"{MakerRicoh}", "RICOH\0"sv, "", Layout::blockOffsets, 8},
    {"{MakerSamsung}", "STMN"sv, "", Layout::opaque},
    {"{MakerMinolta}", "MLY0"sv, "", Layout::opaque},
    {"{MakerCanon}", "", "Canon", Layout::blockOffsets},
    {"{MakerNikon}", "", "NIKON", Layout::blockOffsets},
    {"{MakerMinolta}", "", "Minolta", Layout::blockOffsets},
    {"{MakerMinolta}", "", "KONICA MINOLTA", Layout::blockOffsets},
    {"{MakerCasio}", "", "CASIO", Layout::blockOffsets},
    {"{MakerSony}", "", "SONY", Layout::blockOffsets},
    {"{MakerSamsung}", "", "SAMSUNG", Layout::noteOffsets},
};

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool beginsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) { return lower(a) == lower(b); });
}

bool beginsWith(ByteView bytes, std::string_view prefix) {
  return bytes.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), bytes.begin(),
                    [](char c, std::uint8_t byte) { return static_cast<std::uint8_t>(c) == byte; });
}

/// A note may be in another byte order than its block. No note has 256 entries, so of the two readings of the entry
/// count the one below that is right.
ByteOrder directoryOrder(const TiffBlock& block, std::size_t position) {
  const auto count = readU16(block, position);
  if (!count || *count < 256 || (*count & 0xFF) != 0) return block.order;
  return block.order == ByteOrder::bigEndian ? ByteOrder::littleEndian : ByteOrder::bigEndian;
}

/// A directory in the block, and how to read it.
struct NoteDirectory {
  TiffBlock block;
  std::size_t position = 0;
};

std::optional<NoteDirectory> locate(const TiffBlock& block, std::size_t note, const MakerFormat& format) {
  const std::size_t start = note + format.start;
  switch (format.layout) {
    case Layout::blockOffsets:
    case Layout::noteOffsets: {
      const std::size_t base = format.layout == Layout::noteOffsets ? note : block.base;
      return NoteDirectory{{block.bytes, directoryOrder(block, start), base}, start};
    }
    case Layout::markedNote: {
      const auto order = readByteOrderMark(block.bytes, note + format.mark);
      return NoteDirectory{{block.bytes, order ? *order : directoryOrder(block, start), note}, start};
    }
    case Layout::pointedDirectory: {
      const TiffBlock inside{block.bytes, ByteOrder::littleEndian, note};
      const auto offset = readU32(inside, start);
      const auto position = offset ? positionOfOffset(inside, *offset) : std::nullopt;
      return position ? std::optional(NoteDirectory{inside, *position}) : std::nullopt;
    }
    case Layout::embeddedTiff: {
      const auto header = readTiffHeader(block.bytes, start);
      const auto position = header ? positionOfOffset(header->block, header->firstDirectoryOffset) : std::nullopt;
      return position ? std::optional(NoteDirectory{header->block, *position}) : std::nullopt;
    }
    case Layout::opaque:
      break;
  }
  return std::nullopt;
}

std::optional<TiffDirectory> readNoteDirectory(const std::optional<NoteDirectory>& where) {
  return where ? readTiffDirectory(where->block, where->position) : std::nullopt;
}

/// Whether bytes that carry no signature have the form of a directory that lies inside the note.
bool looksLikeDirectory(const TiffDirectory& directory, const TiffEntry& note) {
  if (!directory.complete || directory.entries.empty() || note.valueSize < 2) return false;
  if (directory.entries.size() > (note.valueSize - 2) / 12) return false;
  return std::all_of(directory.entries.begin(), directory.entries.end(),
                     [](const TiffEntry& entry) { return tiffTypeSize(entry.type) != 0; });
}

/// A note whose maker is known, and its directory where it has a readable one.
struct Note {
  std::string_view key;
  std::optional<NoteDirectory> where;
  std::optional<TiffDirectory> directory;
};

std::optional<Note> recognise(const TiffBlock& block, const TiffEntry& note, std::string_view make) {
  const ByteView bytes = valueBytes(block, note);
  for (const MakerFormat& format : kFormats) {
    const bool bySignature = !format.signature.empty();
    if (bySignature ? !beginsWith(bytes, format.signature) : !beginsWithIgnoringCase(make, format.make)) continue;
    const auto where = locate(block, note.valuePosition, format);
    auto directory = readNoteDirectory(where);
    if (!bySignature && (!directory || !looksLikeDirectory(*directory, note))) continue;
    return Note{format.key, where, std::move(directory)};
  }
  return std::nullopt;
}

/// The directory of a note that nobody is known to write, where it has the commonest form.
std::optional<TiffDirectory> plainDirectory(const TiffBlock& block, const TiffEntry& note) {
  const TiffBlock inOrder{block.bytes, directoryOrder(block, note.valuePosition), block.base};
  auto directory = readTiffDirectory(inOrder, note.valuePosition);
  if (!directory || !looksLikeDirectory(*directory, note)) return std::nullopt;
  return directory;
}

}  // namespace

std::string makeIn(const ExifDirectories& directories) {
  const TiffEntry* const entry = directories.first.find(exif_tag::kMake);
  if (entry == nullptr) return {};
  const ByteView bytes = valueBytes(directories.block, *entry);
  return {bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0})};
}

std::optional<std::string_view> makerDictionaryKey(const TiffBlock& block, const TiffEntry& note,
                                                   std::string_view make) {
  const auto found = recognise(block, note, make);
  return found ? std::optional(found->key) : std::nullopt;
}

std::vector<ByteRange> makerNoteReferences(const TiffBlock& block, const TiffEntry& note, std::string_view make) {
  if (!note.valueReadable) return {};
  const auto found = recognise(block, note, make);
  const auto directory = found ? found->directory : plainDirectory(block, note);
  std::vector<ByteRange> ranges;
  if (!directory) return ranges;
  for (const TiffEntry& entry : directory->entries) {
    if (entry.standsOutside()) ranges.push_back({entry.valuePosition, entry.valuePosition + entry.valueSize});
  }
  return ranges;
}

}  // namespace quellor::metadata
