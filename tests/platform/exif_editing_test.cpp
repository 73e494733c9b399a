#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/metadata/exif_editor.h"
#include "tests/support/byte_texts.h"
#include "tests/support/metadata_reading.h"
#include "tests/support/tiff_structure.h"

namespace quellor {
namespace {

using namespace metadata;
using test_support::bytesOf;
using test_support::exifProperties;
using test_support::TiffStructure;
using test_support::valueOf;
using testing::Optional;
using Entry = TiffStructure::Entry;

constexpr std::uint16_t kUnknownType = 99;

std::optional<Bytes> edited(const Bytes& block, const ExifEdit& edit) {
  const auto directories = readExifDirectories(block);
  if (!directories) throw std::invalid_argument("not an Exif block");
  return editedExif(*directories, edit);
}

bool holds(const Bytes& block, std::string_view text) {
  return std::search(block.begin(), block.end(), text.begin(), text.end()) != block.end();
}

bool holds(const Bytes& block, const Bytes& run) {
  return std::search(block.begin(), block.end(), run.begin(), run.end()) != block.end();
}

/// A block as cameras write it: two directories with values between them, GPS, Interoperability and a thumbnail.
struct Photo {
  explicit Photo(bool bigEndian) : structure(bigEndian) {
    const TiffStructure& s = structure;
    latitude = TiffStructure::joined(
        {s.number(52, 4), s.number(1, 4), s.number(31, 4), s.number(1, 4), s.number(123456, 4), s.number(10000, 4)});
    std::vector<Entry> gps = {TiffStructure::textEntry(1, "N"), {2, 5, 3, latitude}};
    std::vector<Entry> interoperability = {TiffStructure::textEntry(1, "R98")};
    std::vector<Entry> exif = {s.rationalEntry(33434, 1, 125), TiffStructure::undefinedEntry(37500, bytesOf(note)),
                               s.longEntry(40965, 0), TiffStructure::textEntry(42036, "Some lens")};
    std::vector<Entry> first = {TiffStructure::textEntry(271, "Maker Inc"),
                                TiffStructure::textEntry(272, "Model One"),
                                s.shortEntry(274, 6),
                                TiffStructure::textEntry(305, "Firmware 1.0"),
                                s.longEntry(34665, 0),
                                s.longEntry(34853, 0)};
    std::vector<Entry> second = {s.shortEntry(259, 6), s.longEntry(513, 0), s.longEntry(514, 0)};

    const std::uint32_t exifAt = s.end() + TiffStructure::sizeOf(first);
    const std::uint32_t interoperabilityAt = exifAt + TiffStructure::sizeOf(exif);
    const std::uint32_t gpsAt = interoperabilityAt + TiffStructure::sizeOf(interoperability);
    const std::uint32_t secondAt = gpsAt + TiffStructure::sizeOf(gps);
    const std::uint32_t thumbnailAt = secondAt + TiffStructure::sizeOf(second);
    first[4] = s.longEntry(34665, exifAt);
    first[5] = s.longEntry(34853, gpsAt);
    exif[2] = s.longEntry(40965, interoperabilityAt);
    second[1] = s.longEntry(513, thumbnailAt);
    second[2] = s.longEntry(514, static_cast<std::uint32_t>(thumbnail.size()));
    structure.directory(first, secondAt).directory(exif).directory(interoperability).directory(gps).directory(second);
    block = TiffStructure::joined({structure.bytes(), bytesOf(thumbnail)});
    tail = gpsAt;
  }

  static constexpr std::string_view note = "A note that nobody knows the form of";
  static constexpr std::string_view thumbnail = "\xFF\xD8 thumbnail \xFF\xD9";
  TiffStructure structure;
  Bytes latitude;
  Bytes block;
  std::size_t tail;  // where GPS directory, IFD1 and thumbnail begin
};

class ExifEditing : public testing::TestWithParam<bool> {
 protected:
  ExifEditing() : photo_(GetParam()), s_(GetParam()) {}

  Photo photo_;
  TiffStructure s_;
};

INSTANTIATE_TEST_SUITE_P(ByteOrders, ExifEditing, testing::Bool(),
                         [](const auto& order) { return order.param ? "BigEndian" : "LittleEndian"; });

TEST_P(ExifEditing, LeavesABlockAloneThatNeedsNoChange) {
  const Bytes block =
      s_.directory({TiffStructure::textEntry(271, "Maker Inc"), s_.shortEntry(274, 6), s_.longEntry(1, 7)}).bytes();
  EXPECT_EQ(edited(block, {}), block);
  EXPECT_EQ(edited(block, {{}, {}, true, 6}), block);
}

TEST_P(ExifEditing, DropsTheThumbnailAndNothingElse) {
  const auto block = edited(photo_.block, {});
  ASSERT_TRUE(block);
  EXPECT_FALSE(holds(*block, Photo::thumbnail));
  EXPECT_FALSE(readExifDirectories(*block)->thumbnail);
  EXPECT_EQ(exifProperties(*block), exifProperties(photo_.block));
  EXPECT_LT(block->size(), photo_.block.size());
}

TEST_P(ExifEditing, RemovesGpsWithItsDirectoryAndValues) {
  const auto block = edited(photo_.block, {{}, {}, true, {}});
  ASSERT_TRUE(block);
  PropertyDictionary expected = exifProperties(photo_.block);
  expected.remove(property_key::kGps);
  EXPECT_EQ(exifProperties(*block), expected);
  EXPECT_FALSE(holds(*block, photo_.latitude));
  EXPECT_EQ(block->size(), photo_.tail) << "GPS directory, IFD1 and thumbnail stood at the end";
  const auto directories = readExifDirectories(*block);
  EXPECT_EQ(directories->first.find(exif_tag::kGpsPointer), nullptr);
  EXPECT_EQ(directories->interoperability->entries.size(), 1U);
}

TEST_P(ExifEditing, RemovesAGpsDirectoryThatTheExifDirectoryPointsTo) {
  const std::vector<Entry> gps = {{2, 5, 3, photo_.latitude}};
  std::vector<Entry> exif = {s_.rationalEntry(33434, 1, 125), s_.longEntry(34853, 0)};
  const std::uint32_t exifAt = s_.end() + TiffStructure::sizeOf({s_.longEntry(34665, 0)});
  exif[1] = s_.longEntry(34853, exifAt + TiffStructure::sizeOf(exif));
  const Bytes block = s_.directory({s_.longEntry(34665, exifAt)}).directory(exif).directory(gps).bytes();

  const auto without = edited(block, {{}, {}, true, {}});
  ASSERT_TRUE(without);
  EXPECT_FALSE(holds(*without, photo_.latitude));
  EXPECT_FALSE(exifProperties(*without).contains(property_key::kGps));
  EXPECT_THAT(valueOf(exifProperties(*without), "{Exif}", "ExposureTime"), Optional(PropertyValue(Rational{1, 125})));
}

TEST_P(ExifEditing, RemovesEveryGpsDirectoryThatIsPointedTo) {
  std::vector<Entry> first = {s_.longEntry(34853, 0), s_.longEntry(34853, 0), s_.shortEntry(274, 1)};
  const std::vector<Entry> gps = {{2, 5, 3, photo_.latitude}};
  const std::uint32_t at = s_.end() + TiffStructure::sizeOf(first);
  first[0] = s_.longEntry(34853, at);
  first[1] = s_.longEntry(34853, at + TiffStructure::sizeOf(gps));
  const auto block = edited(s_.directory(first).directory(gps).directory(gps).bytes(), {{}, {}, true, {}});
  ASSERT_TRUE(block);
  EXPECT_FALSE(holds(*block, photo_.latitude));
  EXPECT_EQ(readExifDirectories(*block)->first.entries.size(), 1U);
}

TEST_P(ExifEditing, RemovesEntriesOfUnknownTypeWithTheirGpsDirectory) {
  std::vector<Entry> first = {s_.shortEntry(274, 1), s_.longEntry(34853, 0)};
  first[1] = s_.longEntry(34853, s_.end() + TiffStructure::sizeOf(first));
  const Bytes block =
      s_.directory(first).directory({{1, kUnknownType, 4, bytesOf("abcd")}, {2, 5, 3, photo_.latitude}}).bytes();
  const auto without = edited(block, {{}, {}, true, {}});
  ASSERT_TRUE(without);
  EXPECT_FALSE(holds(*without, "abcd"));
}

TEST_P(ExifEditing, WipesEntriesAndValuesAndMovesNothing) {
  const auto block = edited(photo_.block, {{271, 272}, {37500}, false, {}});
  ASSERT_TRUE(block);
  for (const std::string_view gone : {std::string_view("Maker Inc"), std::string_view("Model One"), Photo::note}) {
    EXPECT_FALSE(holds(*block, gone)) << gone;
  }
  EXPECT_TRUE(holds(*block, photo_.latitude));
  const auto before = readExifDirectories(photo_.block);
  const auto after = readExifDirectories(*block);
  EXPECT_EQ(after->first.entries.size(), before->first.entries.size() - 2);
  EXPECT_EQ(after->exif->position, before->exif->position);
  EXPECT_EQ(after->first.find(305)->valuePosition, before->first.find(305)->valuePosition);
  EXPECT_EQ(after->exif->find(42036)->valuePosition, before->exif->find(42036)->valuePosition);
  EXPECT_EQ(after->gps->position, before->gps->position);
}

TEST_P(ExifEditing, RemovesRepeatedEntriesToo) {
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc"),
                                    TiffStructure::textEntry(271, "Other"),
                                    {271, kUnknownType, 1, bytesOf("xyz")},
                                    s_.shortEntry(274, 1)})
                          .bytes();
  const auto without = edited(block, {{271}, {}, false, {}});
  ASSERT_TRUE(without);
  EXPECT_FALSE(holds(*without, "Maker Inc"));
  EXPECT_FALSE(holds(*without, "Other"));
  EXPECT_FALSE(holds(*without, "xyz"));
}

TEST_P(ExifEditing, KeepsEntriesThatItCannotRead) {
  const Entry unknown = {40000, kUnknownType, 3, s_.number(1234, 4)};
  const Entry beyond = {40001, 2, 5000, s_.number(8, 4)};
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc"), unknown, beyond}).bytes();
  const auto without = edited(block, {{271}, {}, false, {}});
  ASSERT_TRUE(without);
  const TiffDirectory first = readExifDirectories(*without)->first;
  ASSERT_EQ(first.entries.size(), 2U);
  EXPECT_EQ(first.entries[0].type, kUnknownType);
  EXPECT_EQ(first.entries[0].count, 3U);
  EXPECT_EQ(first.entries[1].count, 5000U);
}

TEST_P(ExifEditing, KeepsBytesThatAnotherEntryUses) {
  std::vector<Entry> first = {TiffStructure::textEntry(271, "Maker Inc"), {305, 2, 4, {}}, {315, 2, 10, {}}};
  const std::uint32_t valueAt = s_.end() + 2 + 3 * 12 + 4;
  first[2].value = s_.number(valueAt, 4);         // the very value of Make
  first[1] = {305, 2, 5, s_.number(valueAt, 4)};  // the first bytes of it
  const auto block = edited(s_.directory(first).bytes(), {{271}, {}, false, {}});
  ASSERT_TRUE(block);
  EXPECT_THAT(valueOf(exifProperties(*block), "{TIFF}", "Artist"), Optional(PropertyValue("Maker Inc")));

  const auto without = edited(*block, {{315}, {}, false, {}});
  ASSERT_TRUE(without);
  EXPECT_THAT(valueOf(exifProperties(*without), "{TIFF}", "Software"), Optional(PropertyValue("Maker")));
  EXPECT_FALSE(holds(*without, " Inc"));
}

TEST_P(ExifEditing, KeepsBytesOutsideAMakerNoteThatMayBeIts) {
  Bytes block = photo_.block;
  const std::size_t outside = block.size();
  const Bytes more = bytesOf("kept by the note");
  block.insert(block.end(), more.begin(), more.end());
  const auto withNote = edited(block, {{271}, {}, true, {}});
  ASSERT_TRUE(withNote);
  EXPECT_EQ(Bytes(withNote->begin() + static_cast<std::ptrdiff_t>(outside), withNote->end()), more);

  const auto withoutNote = edited(block, {{}, {37500}, false, {}});
  ASSERT_TRUE(withoutNote);
  EXPECT_FALSE(holds(*withoutNote, more));
}

TEST_P(ExifEditing, KeepsBytesOutsideARemovedMakerNoteThatAnotherEntryMayReferTo) {
  const std::vector<Entry> exif = {TiffStructure::undefinedEntry(37500, bytesOf(Photo::note))};
  std::vector<Entry> first = {s_.longEntry(330, 0), s_.longEntry(34665, 0)};
  const std::uint32_t exifAt = s_.end() + TiffStructure::sizeOf(first);
  first[0] = s_.longEntry(330, exifAt + TiffStructure::sizeOf(exif));
  first[1] = s_.longEntry(34665, exifAt);
  const Bytes sub = TiffStructure(GetParam()).directory({s_.shortEntry(259, 7)}).bytes();
  const Bytes block =
      TiffStructure::joined({s_.directory(first).directory(exif).bytes(), Bytes(sub.begin() + 8, sub.end())});
  const auto without = edited(block, {{}, {37500}, false, {}});
  ASSERT_TRUE(without);
  EXPECT_TRUE(holds(*without, Bytes(sub.begin() + 8, sub.end())));
  EXPECT_FALSE(holds(*without, Photo::note));
}

TEST_P(ExifEditing, FindsNoThumbnailWhereTheLinkIsMissing) {
  // The value of the last entry begins where the link belongs.
  const std::uint32_t valueAt = s_.end() + 2 + 2 * 12;
  const Bytes value = bytesOf("first bytes are no link\0");
  Bytes block = s_.directory({s_.shortEntry(274, 1), {305, 2, 23, s_.number(valueAt, 4)}}).bytes();
  block.resize(valueAt);
  block.insert(block.end(), value.begin(), value.end());
  EXPECT_EQ(edited(block, {}), block);
  const auto without = edited(block, {{274}, {}, false, {}});
  ASSERT_TRUE(without);
  EXPECT_THAT(valueOf(exifProperties(*without), "{TIFF}", "Software"),
              Optional(PropertyValue("first bytes are no link")));
}

TEST_P(ExifEditing, WipesAThumbnailInStrips) {
  std::vector<Entry> second = {s_.longEntry(273, 0), s_.shortEntry(279, 5)};
  const std::uint32_t secondAt = s_.end() + TiffStructure::sizeOf({s_.shortEntry(274, 1)});
  second[0] = s_.longEntry(273, secondAt + TiffStructure::sizeOf(second));
  const Bytes block = TiffStructure::joined(
      {s_.directory({s_.shortEntry(274, 1)}, secondAt).directory(second).bytes(), bytesOf("stripOTHER")});
  const auto without = edited(block, {});
  ASSERT_TRUE(without);
  EXPECT_FALSE(holds(*without, "strip"));
  EXPECT_TRUE(holds(*without, "OTHER")) << "nothing says whose these bytes are";
}

TEST_P(ExifEditing, SetsTheOrientationInPlace) {
  const struct {
    const char* what;
    Entry entry;
  } cases[] = {
      {"SHORT", s_.shortEntry(274, 6)},
      {"LONG", s_.longEntry(274, 6)},
      {"BYTE", {274, 1, 1, {6}}},
      {"ASCII", {274, 2, 2, bytesOf("6")}},
      {"of unknown type", {274, kUnknownType, 1, {6}}},
      {"two of them", {274, 3, 2, TiffStructure::joined({s_.number(6, 2), s_.number(6, 2)})}},
      {"four of them", {274, 3, 4, Bytes(8, 6)}},
      {"out of range", s_.shortEntry(274, 0)},
  };
  for (const auto& c : cases) {
    const Bytes block =
        TiffStructure(GetParam()).directory({c.entry, TiffStructure::textEntry(305, "Firmware 1.0")}).bytes();
    const auto turned = edited(block, {{}, {}, false, 8});
    ASSERT_TRUE(turned) << c.what;
    EXPECT_EQ(exifOrientation(*turned), 8) << c.what;
    EXPECT_EQ(turned->size(), block.size()) << c.what;
    EXPECT_EQ(readExifDirectories(*turned)->first.entries[0].type, 3) << c.what;
    EXPECT_THAT(valueOf(exifProperties(*turned), "{TIFF}", "Software"), Optional(PropertyValue("Firmware 1.0")));
  }
}

TEST_P(ExifEditing, SetsEveryOrientationThatIsRepeated) {
  const Bytes block = s_.directory({s_.shortEntry(274, 3), s_.shortEntry(274, 6)}).bytes();
  const Bytes expected = TiffStructure(GetParam()).directory({s_.shortEntry(274, 8), s_.shortEntry(274, 8)}).bytes();
  EXPECT_EQ(edited(block, {{}, {}, false, 8}), expected);
}

TEST_P(ExifEditing, AddsAnOrientationInTheRoomOfARemovedEntry) {
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc"), s_.shortEntry(296, 2)}).bytes();
  const auto turned = edited(block, {{271}, {}, false, 6});
  EXPECT_EQ(turned, TiffStructure(GetParam()).directory({s_.shortEntry(274, 6), s_.shortEntry(296, 2)}).bytes());
}

TEST_P(ExifEditing, AddsAnOrientationInANewFirstDirectoryAtTheEnd) {
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc."), s_.shortEntry(296, 2)}).bytes();
  const auto turned = edited(block, {{}, {}, false, 6});
  ASSERT_TRUE(turned);
  const TiffDirectory before = readExifDirectories(block)->first;
  const TiffDirectory after = readExifDirectories(*turned)->first;
  EXPECT_EQ(after.position, block.size() + block.size() % 2);
  ASSERT_EQ(after.entries.size(), 3U);
  EXPECT_EQ(after.entries[1].tag, 274);
  EXPECT_EQ(after.nextOffset, 0U);
  EXPECT_EQ(after.find(271)->valuePosition, before.find(271)->valuePosition);
  EXPECT_EQ(exifOrientation(*turned), 6);
  EXPECT_EQ(Bytes(turned->begin() + 8, turned->begin() + 8 + 30), Bytes(30, 0)) << "where the old one stood";
}

TEST_P(ExifEditing, LeavesNothingOfABlockThatLosesItsLastEntry) {
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc")}).bytes();
  EXPECT_EQ(edited(block, {{271}, {}, false, {}}), std::nullopt);
}

TEST_P(ExifEditing, LowersTheCountOfADirectoryThatIsCutShort) {
  Bytes block = s_.directory({s_.shortEntry(256, 1), s_.shortEntry(274, 1), s_.shortEntry(296, 2)}).bytes();
  block.resize(8 + 2 + 2 * 12 + 5);
  EXPECT_EQ(edited(block, {}), block);
  const auto without = edited(block, {{256}, {}, false, {}});
  ASSERT_TRUE(without);
  const TiffDirectory first = readExifDirectories(*without)->first;
  EXPECT_TRUE(first.complete);
  ASSERT_EQ(first.entries.size(), 1U);
  EXPECT_EQ(first.entries[0].tag, 274);
}

TEST(ExifOrientationBlock, IsTheSmallestBlock) {
  EXPECT_EQ(exifOrientationBlock(6), TiffStructure(true).directory({TiffStructure(true).shortEntry(274, 6)}).bytes());
}

}  // namespace
}  // namespace quellor
