#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/metadata/exif_editor.h"
#include "tests/support/byte_texts.h"
#include "tests/support/exif_reading.h"
#include "tests/support/tiff_structure.h"

namespace quellor {
namespace {

using namespace metadata;
using test_support::bytesOf;
using test_support::entriesOf;
using test_support::orientationOf;
using test_support::textOf;
using test_support::TiffStructure;
using Entry = TiffStructure::Entry;

constexpr std::uint16_t kUnknownType = 99;

constexpr ExifEdit kNothing{};
const ExifEdit kNoPosition{{.position = true}, {}};
const ExifEdit kNoMake{{.make = true}, {}};
const ExifEdit kNoNote{{.makerNote = true}, {}};
const ExifEdit kNoCamera{{.make = true, .model = true, .makerNote = true}, {}};

ExifEdit withOrientation(int orientation) { return {{}, orientation}; }

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
  EXPECT_EQ(edited(block, kNothing), block);
  EXPECT_EQ(edited(block, {{.position = true}, 6}), block);
}

TEST_P(ExifEditing, DropsTheThumbnailAndNothingElse) {
  const auto block = edited(photo_.block, kNothing);
  ASSERT_TRUE(block);
  EXPECT_FALSE(holds(*block, Photo::thumbnail));
  EXPECT_TRUE(readExifDirectories(*block)->thumbnails.empty());
  EXPECT_EQ(entriesOf(*block), entriesOf(photo_.block));
  EXPECT_LT(block->size(), photo_.block.size());
}

TEST_P(ExifEditing, RemovesGpsWithItsDirectoryAndValues) {
  const auto block = edited(photo_.block, kNoPosition);
  ASSERT_TRUE(block);
  auto expected = entriesOf(photo_.block);
  std::erase_if(expected,
                [](const auto& entry) { return entry.directory == "GPS" || entry.tag == exif_tag::kGpsPointer; });
  EXPECT_EQ(entriesOf(*block), expected);
  EXPECT_FALSE(holds(*block, photo_.latitude));
  EXPECT_EQ(block->size(), photo_.tail) << "GPS directory, IFD1 and thumbnail stood at the end";
  const auto directories = readExifDirectories(*block);
  EXPECT_EQ(directories->first.find(exif_tag::kGpsPointer), nullptr);
  EXPECT_EQ(directories->interoperability.front().entries.size(), 1U);
}

TEST_P(ExifEditing, RemovesAGpsDirectoryThatTheExifDirectoryPointsTo) {
  const std::vector<Entry> gps = {{2, 5, 3, photo_.latitude}};
  std::vector<Entry> exif = {s_.rationalEntry(33434, 1, 125), s_.longEntry(34853, 0)};
  const std::uint32_t exifAt = s_.end() + TiffStructure::sizeOf({s_.longEntry(34665, 0)});
  exif[1] = s_.longEntry(34853, exifAt + TiffStructure::sizeOf(exif));
  const Bytes block = s_.directory({s_.longEntry(34665, exifAt)}).directory(exif).directory(gps).bytes();

  const auto without = edited(block, kNoPosition);
  ASSERT_TRUE(without);
  EXPECT_FALSE(holds(*without, photo_.latitude));
  EXPECT_TRUE(readExifDirectories(*without)->gps.empty());
  EXPECT_EQ(readExifDirectories(*without)->exif.front().entries.size(), 1U);
}

TEST_P(ExifEditing, RemovesEveryGpsDirectoryThatIsPointedTo) {
  std::vector<Entry> first = {s_.longEntry(34853, 0), s_.longEntry(34853, 0), s_.shortEntry(274, 1)};
  const std::vector<Entry> gps = {{2, 5, 3, photo_.latitude}};
  const std::uint32_t at = s_.end() + TiffStructure::sizeOf(first);
  first[0] = s_.longEntry(34853, at);
  first[1] = s_.longEntry(34853, at + TiffStructure::sizeOf(gps));
  const auto block = edited(s_.directory(first).directory(gps).directory(gps).bytes(), kNoPosition);
  ASSERT_TRUE(block);
  EXPECT_FALSE(holds(*block, photo_.latitude));
  EXPECT_EQ(readExifDirectories(*block)->first.entries.size(), 1U);
}

TEST_P(ExifEditing, RemovesEntriesOfUnknownTypeWithTheirGpsDirectory) {
  std::vector<Entry> first = {s_.shortEntry(274, 1), s_.longEntry(34853, 0)};
  first[1] = s_.longEntry(34853, s_.end() + TiffStructure::sizeOf(first));
  const Bytes block =
      s_.directory(first).directory({{1, kUnknownType, 4, bytesOf("abcd")}, {2, 5, 3, photo_.latitude}}).bytes();
  const auto without = edited(block, kNoPosition);
  ASSERT_TRUE(without);
  EXPECT_FALSE(holds(*without, "abcd"));
}

TEST_P(ExifEditing, WipesEntriesAndValuesAndMovesNothing) {
  const auto block = edited(photo_.block, kNoCamera);
  ASSERT_TRUE(block);
  for (const std::string_view gone : {std::string_view("Maker Inc"), std::string_view("Model One"), Photo::note}) {
    EXPECT_FALSE(holds(*block, gone)) << gone;
  }
  EXPECT_TRUE(holds(*block, photo_.latitude));
  const auto before = readExifDirectories(photo_.block);
  const auto after = readExifDirectories(*block);
  EXPECT_EQ(after->first.entries.size(), before->first.entries.size() - 2);
  EXPECT_EQ(after->exif.front().position, before->exif.front().position);
  EXPECT_EQ(after->first.find(305)->valuePosition, before->first.find(305)->valuePosition);
  EXPECT_EQ(after->exif.front().find(42036)->valuePosition, before->exif.front().find(42036)->valuePosition);
  EXPECT_EQ(after->gps.front().position, before->gps.front().position);
}

TEST_P(ExifEditing, RemovesRepeatedEntriesToo) {
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc"),
                                    TiffStructure::textEntry(271, "Other"),
                                    {271, kUnknownType, 1, bytesOf("xyz")},
                                    s_.shortEntry(274, 1)})
                          .bytes();
  const auto without = edited(block, kNoMake);
  ASSERT_TRUE(without);
  EXPECT_FALSE(holds(*without, "Maker Inc"));
  EXPECT_FALSE(holds(*without, "Other"));
  EXPECT_FALSE(holds(*without, "xyz"));
}

TEST_P(ExifEditing, KeepsEntriesThatCannotBeReadUnlessSomethingIsRemoved) {
  const Entry unknown = {40000, kUnknownType, 3, s_.number(1234, 4)};
  const Entry beyond = {40001, 2, 5000, s_.number(8, 4)};
  const Bytes block =
      s_.directory({TiffStructure::textEntry(271, "Maker Inc"), unknown, beyond, s_.shortEntry(305, 1)}).bytes();
  EXPECT_EQ(edited(block, kNothing), block);
  const auto without = edited(block, kNoMake);
  ASSERT_TRUE(without);
  const TiffDirectory first = readExifDirectories(*without)->first;
  ASSERT_EQ(first.entries.size(), 1U);
  EXPECT_EQ(first.entries[0].tag, 305);
}

TEST_P(ExifEditing, GivesUpWhereWhatGoesIsPartOfWhatStays) {
  const std::uint32_t valueAt = s_.end() + 2 + 2 * 12 + 4;
  const struct {
    const char* what;
    Entry sharing;
  } cases[] = {
      {"the very value", {315, 2, 10, s_.number(valueAt, 4)}},
      {"the first bytes of it", {315, 2, 5, s_.number(valueAt, 4)}},
      {"its last byte and more", {315, 2, 6, s_.number(valueAt + 9, 4)}},
  };
  for (const auto& c : cases) {
    Bytes block = TiffStructure(GetParam()).directory({TiffStructure::textEntry(271, "Maker Inc"), c.sharing}).bytes();
    // The value of the second entry is an offset, not a value of its own.
    std::copy_n(s_.number(valueAt, 4).begin(), 4, block.begin() + 8 + 2 + 8);
    const Bytes offset = c.sharing.value;
    std::copy(offset.begin(), offset.end(), block.begin() + 8 + 2 + 12 + 8);
    block.resize(block.size() + 8);
    EXPECT_EQ(edited(block, kNoMake), std::nullopt) << c.what;
    EXPECT_NE(edited(block, kNothing), std::nullopt) << c.what;
  }
}

TEST_P(ExifEditing, LeavesNothingThatNoEntryLeadsToOnceSomethingIsRemoved) {
  Bytes block = photo_.block;
  const Bytes more = bytesOf("left behind by an editor");
  block.insert(block.end(), more.begin(), more.end());
  for (const ExifEdit& edit : {kNoPosition, kNoMake, kNoNote}) {
    const auto without = edited(block, edit);
    ASSERT_TRUE(without);
    EXPECT_FALSE(holds(*without, more));
  }
  const auto whole = edited(block, kNothing);
  ASSERT_TRUE(whole);
  EXPECT_TRUE(holds(*whole, more)) << "it may be the maker note's";
}

TEST_P(ExifEditing, KeepsWhatAMakerNoteThatStaysRefersTo) {
  // A note in the form of a directory, whose one value stands behind the block.
  const Bytes outside = bytesOf("value of the note");
  std::vector<Entry> first = {TiffStructure::textEntry(271, "Canon"), s_.longEntry(34665, 0), s_.longEntry(34853, 0)};
  const std::uint32_t exifAt = s_.end() + TiffStructure::sizeOf(first);
  const Bytes note(2 + 12 + 4, 0);
  const std::vector<Entry> exif = {TiffStructure::undefinedEntry(37500, note)};
  const std::uint32_t gpsAt = exifAt + TiffStructure::sizeOf(exif);
  const std::vector<Entry> gps = {{2, 5, 3, photo_.latitude}};
  const std::uint32_t outsideAt = gpsAt + TiffStructure::sizeOf(gps);
  first[1] = s_.longEntry(34665, exifAt);
  first[2] = s_.longEntry(34853, gpsAt);
  Bytes block = TiffStructure::joined({s_.directory(first).directory(exif).directory(gps).bytes(), outside});
  const Bytes directory =
      TiffStructure::joined({s_.number(1, 2), s_.number(6, 2), s_.number(2, 2), s_.number(outside.size(), 4),
                             s_.number(outsideAt, 4), s_.number(0, 4)});
  std::copy(directory.begin(), directory.end(), block.begin() + exifAt + 2 + 12 + 4);
  const auto without = edited(block, kNoPosition);
  ASSERT_TRUE(without);
  EXPECT_TRUE(holds(*without, directory));
  EXPECT_TRUE(holds(*without, outside));
  EXPECT_FALSE(holds(*without, photo_.latitude));
  const auto withoutNote = edited(block, kNoNote);
  ASSERT_TRUE(withoutNote);
  EXPECT_FALSE(holds(*withoutNote, outside));
}

TEST_P(ExifEditing, RemovesAMakerNoteWhoseCountRunsPastTheBlock) {
  const std::vector<Entry> exif = {s_.shortEntry(34850, 2), TiffStructure::undefinedEntry(37500, bytesOf(Photo::note))};
  const std::uint32_t exifAt = s_.end() + TiffStructure::sizeOf({s_.longEntry(34665, 0)});
  Bytes block = s_.directory({s_.longEntry(34665, exifAt)}).directory(exif).bytes();
  const Bytes count = s_.number(5000, 4);
  std::copy(count.begin(), count.end(), block.begin() + exifAt + 2 + 12 + 4);
  const auto without = edited(block, kNoNote);
  ASSERT_TRUE(without);
  EXPECT_FALSE(holds(*without, Photo::note));
  EXPECT_EQ(readExifDirectories(*without)->exif.front().entries.size(), 1U);
}

TEST_P(ExifEditing, RemovesThePositionWhateverItsPointerIs) {
  const struct {
    const char* what;
    std::uint16_t type;
    std::uint32_t count;
    std::size_t size;
  } cases[] = {
      {"BYTE", 1, 1, 1},     {"SHORT", 3, 1, 2},  {"SLONG", 9, 1, 4},     {"IFD", 13, 1, 4},
      {"SSHORT", 8, 1, 2},   {"ASCII", 2, 4, 4},  {"UNDEFINED", 7, 4, 4}, {"two LONGs", 4, 2, 4},
      {"no type", 99, 1, 4}, {"FLOAT", 11, 1, 4}, {"no value", 4, 0, 4},
  };
  for (const auto& c : cases) {
    std::vector<Entry> first = {s_.shortEntry(274, 1), {34853, c.type, c.count, Bytes(4)}};
    TiffStructure s(GetParam());
    const std::uint32_t gpsAt = s.end() + TiffStructure::sizeOf(first);
    first[1].value = s.number(gpsAt, c.size);
    const Bytes block = s.directory(first).directory({{2, 5, 3, photo_.latitude}}).bytes();
    const auto without = edited(block, kNoPosition);
    ASSERT_TRUE(without) << c.what;
    EXPECT_FALSE(holds(*without, photo_.latitude)) << c.what;
    EXPECT_EQ(readExifDirectories(*without)->first.entries.size(), 1U) << c.what;
  }
}

TEST_P(ExifEditing, RemovesThePositionBehindABadFirstPointer) {
  for (const std::uint32_t bad : {0U, 0xFFFFFFF0U, 8U}) {
    std::vector<Entry> first = {s_.shortEntry(274, 1), s_.longEntry(34853, bad), s_.longEntry(34853, 0)};
    TiffStructure s(GetParam());
    first[2] = s.longEntry(34853, s.end() + TiffStructure::sizeOf(first));
    const auto without = edited(s.directory(first).directory({{2, 5, 3, photo_.latitude}}).bytes(), kNoPosition);
    ASSERT_TRUE(without) << bad;
    EXPECT_FALSE(holds(*without, photo_.latitude)) << bad;
  }
}

TEST_P(ExifEditing, RemovesAPositionThatIsCutShort) {
  std::vector<Entry> first = {s_.shortEntry(274, 1), s_.longEntry(34853, 0)};
  first[1] = s_.longEntry(34853, s_.end() + TiffStructure::sizeOf(first));
  const std::vector<Entry> gps = {
      TiffStructure::textEntry(1, "N"), {2, 5, 3, photo_.latitude}, {29, 2, 11, bytesOf("2026:01:02\0")}};
  const Bytes block = s_.directory(first).directory(gps).bytes();
  const std::size_t latitudeAt = first[1].value.size() == 4 ? block.size() - 11 - photo_.latitude.size() : 0;
  for (std::size_t size = block.size(); size > latitudeAt; --size) {
    const auto without = edited(Bytes(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(size)), kNoPosition);
    ASSERT_TRUE(without);
    EXPECT_FALSE(holds(*without, Bytes(photo_.latitude.begin(), photo_.latitude.begin() + 4))) << size;
  }
}

TEST_P(ExifEditing, RemovesEntriesThatMayHoldACopy) {
  const struct {
    const char* what;
    std::uint16_t tag;
    ExifEdit edit;
    bool goes;
  } cases[] = {
      {"Photoshop resources", 34377, kNoPosition, true},
      {"sub-directories", 330, kNoPosition, true},
      {"raw data of the maker", 50740, kNoNote, true},
      {"raw data of the maker", 50740, kNoPosition, false},
      {"model of a raw file", 50708, {{.model = true}, {}}, true},
      {"packet", 700, {{.packet = true}, {}}, true},
      {"packet", 700, kNoPosition, false},
  };
  for (const auto& c : cases) {
    const Bytes block =
        TiffStructure(GetParam())
            .directory({s_.shortEntry(274, 1), TiffStructure::undefinedEntry(c.tag, bytesOf("a copy of it"))})
            .bytes();
    const auto without = edited(block, c.edit);
    ASSERT_TRUE(without) << c.what;
    EXPECT_EQ(holds(*without, "a copy of it"), !c.goes) << c.what;
  }
}

TEST_P(ExifEditing, FindsNoThumbnailWhereTheLinkIsMissing) {
  // The value of the last entry begins where the link belongs.
  const std::uint32_t valueAt = s_.end() + 2 + 2 * 12;
  const Bytes value = bytesOf("first bytes are no link\0");
  Bytes block = s_.directory({{271, 2, 3, bytesOf("abc")}, {305, 2, 23, s_.number(valueAt, 4)}}).bytes();
  block.resize(valueAt);
  block.insert(block.end(), value.begin(), value.end());
  EXPECT_EQ(edited(block, kNothing), block);
  const auto without = edited(block, kNoMake);
  ASSERT_TRUE(without);
  EXPECT_EQ(textOf(*without, 305), "first bytes are no link");
}

TEST_P(ExifEditing, WipesAThumbnailInStrips) {
  std::vector<Entry> second = {s_.longEntry(273, 0), s_.shortEntry(279, 5)};
  const std::uint32_t secondAt = s_.end() + TiffStructure::sizeOf({s_.shortEntry(274, 1)});
  second[0] = s_.longEntry(273, secondAt + TiffStructure::sizeOf(second));
  const Bytes block = TiffStructure::joined(
      {s_.directory({s_.shortEntry(274, 1)}, secondAt).directory(second).bytes(), bytesOf("stripOTHER")});
  const auto without = edited(block, kNothing);
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
    const auto turned = edited(block, withOrientation(8));
    ASSERT_TRUE(turned) << c.what;
    EXPECT_EQ(orientationOf(*turned), 8) << c.what;
    EXPECT_EQ(turned->size(), block.size()) << c.what;
    EXPECT_EQ(readExifDirectories(*turned)->first.entries[0].type, 3) << c.what;
    EXPECT_EQ(textOf(*turned, 305), "Firmware 1.0");
  }
}

TEST_P(ExifEditing, SetsEveryOrientationThatIsRepeated) {
  const Bytes block = s_.directory({s_.shortEntry(274, 3), s_.shortEntry(274, 6)}).bytes();
  const Bytes expected = TiffStructure(GetParam()).directory({s_.shortEntry(274, 8), s_.shortEntry(274, 8)}).bytes();
  EXPECT_EQ(edited(block, withOrientation(8)), expected);
}

TEST_P(ExifEditing, AddsAnOrientationInTheRoomOfARemovedEntry) {
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc"), s_.shortEntry(296, 2)}).bytes();
  const auto turned = edited(block, {{.make = true}, 6});
  EXPECT_EQ(turned, TiffStructure(GetParam()).directory({s_.shortEntry(274, 6), s_.shortEntry(296, 2)}).bytes());
}

TEST_P(ExifEditing, AddsAnOrientationInANewFirstDirectoryAtTheEnd) {
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc."), s_.shortEntry(296, 2)}).bytes();
  const auto turned = edited(block, withOrientation(6));
  ASSERT_TRUE(turned);
  const TiffDirectory before = readExifDirectories(block)->first;
  const TiffDirectory after = readExifDirectories(*turned)->first;
  EXPECT_EQ(after.position, block.size() + block.size() % 2);
  ASSERT_EQ(after.entries.size(), 3U);
  EXPECT_EQ(after.entries[1].tag, 274);
  EXPECT_EQ(after.nextOffset, 0U);
  EXPECT_EQ(after.find(271)->valuePosition, before.find(271)->valuePosition);
  EXPECT_EQ(orientationOf(*turned), 6);
  EXPECT_EQ(Bytes(turned->begin() + 8, turned->begin() + 8 + 30), Bytes(30, 0)) << "where the old one stood";
}

TEST_P(ExifEditing, LeavesNothingOfABlockThatLosesItsLastEntry) {
  const Bytes block = s_.directory({TiffStructure::textEntry(271, "Maker Inc")}).bytes();
  EXPECT_EQ(edited(block, kNoMake), std::nullopt);
}

TEST_P(ExifEditing, LowersTheCountOfADirectoryThatIsCutShort) {
  Bytes block = s_.directory({{271, 2, 3, bytesOf("abc")}, s_.shortEntry(274, 1), s_.shortEntry(296, 2)}).bytes();
  block.resize(8 + 2 + 2 * 12 + 5);
  EXPECT_EQ(edited(block, kNothing), block);
  const auto without = edited(block, kNoMake);
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
