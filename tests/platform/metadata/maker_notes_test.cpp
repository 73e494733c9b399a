#include "platform/metadata/maker_notes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/metadata_reading.h"
#include "tests/support/tiff_structure.h"

namespace quellor {
namespace {

using namespace std::string_view_literals;
using test_support::exifProperties;
using test_support::keysOf;
using test_support::TiffStructure;

/// A block, big-endian, whose maker note is `note`; it stands at noteOffset(make).
Bytes blockWithNote(std::string_view make, const Bytes& note) {
  TiffStructure structure(true);
  std::vector<TiffStructure::Entry> first = {TiffStructure::textEntry(271, make), structure.longEntry(0x8769, 0)};
  first[1] = structure.longEntry(0x8769, 8 + TiffStructure::sizeOf(first));
  return structure.directory(first).directory({TiffStructure::undefinedEntry(37500, note)}).bytes();
}

std::uint32_t noteOffset(std::string_view make) {
  const std::vector<TiffStructure::Entry> first = {TiffStructure::textEntry(271, make), {0x8769, 4, 1, Bytes(4)}};
  return 8 + TiffStructure::sizeOf(first) + 2 + 12 + 4;
}

/// A directory of two entries, the SHORT 1 = 5 and the RATIONAL 2 = 7/9. The rational stands right behind the
/// directory, which is at `position` counted from where the offsets count.
Bytes directory(bool bigEndian, std::uint32_t position) {
  const TiffStructure numbers(bigEndian);
  const auto n = [&numbers](std::uint64_t value, std::size_t size) { return numbers.number(value, size); };
  const std::uint32_t rational = position + 2 + 2 * 12 + 4;
  return TiffStructure::joined({n(2, 2), n(1, 2), n(3, 2), n(1, 4), n(5, 2), n(0, 2), n(2, 2), n(5, 2), n(1, 4),
                                n(rational, 4), n(0, 4), n(7, 4), n(9, 4)});
}

Bytes note(std::string_view signature, const Bytes& rest) {
  return TiffStructure::joined({Bytes(signature.begin(), signature.end()), rest});
}

TEST(MakerNotes, AreRecognisedByTheirSignatureOrByTheMakerAndTheirForm) {
  const auto block = [](std::string_view make, std::uint32_t start) { return noteOffset(make) + start; };
  const struct {
    const char* key;
    std::string make;
    Bytes note;
  } cases[] = {
      {"{MakerApple}", "Apple", note("Apple iOS\0\0\1MM"sv, directory(true, 14))},
      {"{MakerNikon}", "NIKON", note("Nikon\0\2\x10\0\0II*\0\x08\0\0\0"sv, directory(false, 8))},
      {"{MakerNikon}", "NIKON", note("Nikon\0\1\0"sv, directory(true, block("NIKON", 8)))},
      {"{MakerNikon}", "NIKON", directory(true, block("NIKON", 0))},
      {"{MakerOlympus}", "OLYMPUS", note("OLYMPUS\0II\3\0"sv, directory(false, 12))},
      {"{MakerOlympus}", "OM", note("OM SYSTEM\0\0\0II\4\0"sv, directory(false, 16))},
      {"{MakerOlympus}", "OLYMPUS", note("OLYMP\0\1\0"sv, directory(true, block("OLYMPUS", 8)))},
      {"{MakerFuji}", "FUJIFILM", note("FUJIFILM\x0C\0\0\0"sv, directory(false, 12))},
      {"{MakerPanasonic}", "Panasonic", note("Panasonic\0\0\0"sv, directory(false, block("Panasonic", 12)))},
      {"{MakerSony}", "SONY", note("SONY DSC \0\0\0"sv, directory(false, block("SONY", 12)))},
      {"{MakerSony}", "SONY", directory(true, block("SONY", 0))},
      {"{MakerPentax}", "PENTAX", note("AOC\0MM"sv, directory(true, block("PENTAX", 6)))},
      {"{MakerPentax}", "RICOH", note("PENTAX \0II"sv, directory(false, 10))},
      {"{MakerCanon}", "Canon", directory(false, block("Canon", 0))},
      {"{MakerMinolta}", "KONICA MINOLTA ", directory(true, block("KONICA MINOLTA ", 0))},
      {"{MakerCasio}", "CASIO", note("QVC\0\0\0"sv, directory(true, block("CASIO", 6)))},
      {"{MakerSamsung}", "samsung", directory(false, 0)},
  };
  for (const auto& c : cases) {
    const std::string keys = keysOf(exifProperties(blockWithNote(c.make, c.note)));
    EXPECT_EQ(keys, std::string("{Exif} {Exif}/MakerNote ") + c.key + " {TIFF} {TIFF}/Make") << c.make;
  }
}

TEST(MakerNotes, OfUnknownMakersStayInExifOnly) {
  const struct {
    const char* why;
    std::string make;
    Bytes note;
  } cases[] = {
      {"unknown maker", "Nobody", directory(true, noteOffset("Nobody"))},
      {"known maker, no directory", "Canon", Bytes(64, 'x')},
      {"known maker, directory longer than the note", "Canon", {0, 9, 0, 1, 0, 3, 0, 0, 0, 1, 0, 0, 0, 0}},
      {"known maker, empty directory", "Canon", Bytes(64, 0)},
      {"signature cut off", "", Bytes{'A', 'p', 'p', 'l', 'e', ' ', 'i', 'O'}},
  };
  for (const auto& c : cases) {
    const std::string keys = keysOf(exifProperties(blockWithNote(c.make, c.note)));
    EXPECT_EQ(keys, "{Exif} {Exif}/MakerNote {TIFF} {TIFF}/Make") << c.why;
  }
}

TEST(MakerNotes, AreRecognisedWhereTheirEntriesCannotBeRead) {
  const struct {
    const char* key;
    Bytes note;
  } cases[] = {
      {"{MakerFuji}", note("FUJIFILM\xFF\xFF\xFF\xFF"sv, {})},
      {"{MakerNikon}", note("Nikon\0\2\x10\0\0XX*\0"sv, {})},
      {"{MakerApple}", note("Apple iOS\0\0\1MM"sv, {})},
      {"{MakerSamsung}", note("STMN100\0\0\0"sv, {})},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(exifProperties(blockWithNote("any", c.note)).contains(c.key)) << c.key;
  }
}

TEST(MakerNotes, ReferToTheValuesOfTheirEntries) {
  const struct {
    const char* what;
    std::string make;
    Bytes note;
    std::optional<std::size_t> rational;  // where it stands, counted from the note
  } cases[] = {
      {"offsets from the block", "Canon", directory(false, noteOffset("Canon")), 30},
      {"offsets from the note", "Apple", note("Apple iOS\0\0\1MM"sv, directory(true, 14)), 44},
      {"an embedded structure", "NIKON", note("Nikon\0\2\x10\0\0II*\0\x08\0\0\0"sv, directory(false, 8)), 48},
      {"an unknown maker", "Nobody", directory(true, noteOffset("Nobody")), 30},
      {"a value outside of the block", "Canon", directory(true, 0x7FFFFFFF), std::nullopt},
      {"no directory", "Canon", Bytes(64, 'x'), std::nullopt},
  };
  for (const auto& c : cases) {
    const Bytes block = blockWithNote(c.make, c.note);
    const auto directories = metadata::readExifDirectories(block);
    const auto* const entry = directories->exif.front().find(metadata::exif_tag::kMakerNote);
    std::vector<metadata::ByteRange> expected;
    if (c.rational) expected.push_back({entry->valuePosition + *c.rational, entry->valuePosition + *c.rational + 8});
    EXPECT_EQ(metadata::makerNoteReferences(directories->block, *entry, c.make), expected) << c.what;
  }
}

}  // namespace
}  // namespace quellor
