#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/values/image_facts.h"
#include "tests/support/byte_texts.h"
#include "tests/support/format_samples.h"
#include "tests/support/multi_picture_fixture.h"

namespace quellor {
namespace {

using namespace std::string_literals;
using test_support::bytesOf;
using test_support::encodeJpeg;
using test_support::JpegSpec;
using test_support::MultiPictureEntry;
using test_support::MultiPictureForm;
using test_support::multiPictureIndex;
using test_support::multiPictureJpeg;

constexpr std::uint32_t kUndefined = 0;
constexpr std::uint32_t kLargeThumbnail = 0x010001;
constexpr std::uint32_t kPanorama = 0x020001;
constexpr std::uint32_t kDisparity = 0x020002;
constexpr std::uint32_t kMultiAngle = 0x020003;
constexpr std::uint32_t kOriginal = 0x040000;
constexpr std::uint32_t kGainMap = 0x050000;

std::size_t imagesIn(const Bytes& file) {
  static const ImageFormat& format = test_support::imageFormat("JPEG");
  const auto facts = format.describe(file);
  EXPECT_TRUE(facts);
  return facts ? facts->imageCount : 0;
}

Bytes jpegWith(std::vector<JpegSpec::Segment> segments) {
  JpegSpec spec;
  spec.segments = std::move(segments);
  return encodeJpeg(spec);
}

Bytes jpeg() { return jpegWith({}); }

Bytes jpegWithPacket(const std::string& packet) {
  return jpegWith({{0xE1, bytesOf("http://ns.adobe.com/xap/1.0/\0"s + packet)}});
}

TEST(MultiPictureJpeg, CountsPicturesOfTheirOwn) {
  for (const bool bigEndian : {false, true}) {
    const MultiPictureForm form{.bigEndian = bigEndian};
    EXPECT_EQ(imagesIn(multiPictureJpeg({}, form)), 1U);
    for (const std::uint32_t kind : {kUndefined, kPanorama, kDisparity, kMultiAngle, kOriginal, 0x777777U}) {
      for (const std::uint32_t flags : {0U, 0x20000000U, 0x40000000U, 0x80000000U, 0xC0000000U}) {
        EXPECT_EQ(imagesIn(multiPictureJpeg({{flags | kind, jpeg()}}, form)), 2U) << kind << " " << flags;
      }
    }
    EXPECT_EQ(imagesIn(multiPictureJpeg({{kDisparity, jpeg()}, {kDisparity, jpeg()}}, form)), 3U);
    EXPECT_EQ(imagesIn(multiPictureJpeg(std::vector<MultiPictureEntry>(4000, {kPanorama, jpeg()}), form)), 4001U);
  }
}

TEST(MultiPictureJpeg, LeavesOutLargeThumbnails) {
  for (std::uint32_t size = 0; size < 6; ++size) {
    EXPECT_EQ(imagesIn(multiPictureJpeg({{kLargeThumbnail + size, jpeg()}})), 1U) << size;
  }
  EXPECT_EQ(imagesIn(multiPictureJpeg({{0x40010002, jpeg()}, {kDisparity, jpeg()}})), 2U);
}

constexpr const char* kAdobeSpace = "xmlns:hdrgm=\"http://ns.adobe.com/hdr-gain-map/1.0/\"";

TEST(MultiPictureJpeg, LeavesOutGainMaps) {
  const std::string iso = "urn:iso:std:iso:ts:21496:-1\0"s;
  const Bytes maps[] = {
      jpegWithPacket(kAdobeSpace + " hdrgm:Version=\"1.0\" hdrgm:GainMapMax=\"2\" hdrgm:HDRCapacityMax=\"2\""s),
      jpegWithPacket("<apdi:AuxiliaryImageType>urn:com:apple:photo:2020:aux:hdrgainmap</apdi:AuxiliaryImageType>"),
      jpegWithPacket("AuxiliaryImageType=\"urn:com:samsung:photo:2024:aux:hdrgainmap\""),
      jpegWith({{0xE2, bytesOf(iso + "\0\0\0\0"s + std::string(57, '\1'))}}),
      jpegWith({{0xE1, bytesOf("Exif\0\0II*\0"s)}, {0xE2, bytesOf(iso + "\0\0\0\0\xC0"s)}}),
  };
  for (const Bytes& map : maps) {
    const auto place = static_cast<int>(&map - maps);
    EXPECT_EQ(imagesIn(multiPictureJpeg({{kUndefined, map}})), 1U) << place;
    EXPECT_EQ(imagesIn(multiPictureJpeg({{kUndefined, map}, {kUndefined, jpeg()}})), 2U) << place;
    EXPECT_EQ(imagesIn(multiPictureJpeg({{kPanorama, map}})), 2U) << "the index calls it a picture: " << place;
  }
  EXPECT_EQ(imagesIn(multiPictureJpeg({{kGainMap, jpeg()}})), 1U);
}

TEST(MultiPictureJpeg, CountsPicturesThatOnlyHaveAGainMap) {
  const std::string iso = "urn:iso:std:iso:ts:21496:-1\0"s;
  const Bytes pictures[] = {
      jpegWithPacket(kAdobeSpace + " hdrgm:Version=\"1.0\" Item:Semantic=\"GainMap\""s),
      jpegWithPacket("GainMapMax of nothing known"),
      jpegWith({{0xE2, bytesOf(iso + "\0\0\0\0"s)}}),
      jpegWith({{0xE2, bytesOf(iso)}}),
      jpegWith({{0xE4, bytesOf("http://ns.adobe.com/xap/1.0/\0:aux:hdrgainmap"s)}}),
      jpegWith({{0xE1, bytesOf("Exif\0\0:aux:hdrgainmap"s)}}),
  };
  for (const Bytes& picture : pictures) {
    EXPECT_EQ(imagesIn(multiPictureJpeg({{kUndefined, picture}})), 2U) << &picture - pictures;
  }
}

TEST(MultiPictureJpeg, LooksForGainMapsOnlyInsideTheEntry) {
  // The image ends after two bytes, by its entry; what follows is the next one's.
  const Bytes map = jpegWithPacket(":aux:hdrgainmap");
  EXPECT_EQ(imagesIn(multiPictureJpeg({{kUndefined, {0xFF, 0xD8}}, {kUndefined, map}})), 2U);
}

TEST(MultiPictureJpeg, CountsOnlyEntriesThatPointToAnImageInTheFile) {
  const Bytes plain = multiPictureJpeg({{kDisparity, jpeg()}});
  const auto base = static_cast<std::uint32_t>(test_support::multiPictureBase(plain));
  const auto end = static_cast<std::uint32_t>(plain.size()) - base;
  const auto second = end - static_cast<std::uint32_t>(jpeg().size());
  const auto imagesWith = [](std::uint32_t offset) {
    return imagesIn(multiPictureJpeg({{kDisparity, jpeg(), offset}}));
  };
  ASSERT_EQ(imagesWith(second), 2U);
  for (const std::uint32_t offset :
       {0U, 1U, second - 1, second + 1, second + base, end - 1, end, end + 1, 0x7FFFFFFFU, 0xFFFFFFFFU, 0U - base}) {
    EXPECT_EQ(imagesWith(offset), 1U) << offset;
  }
}

TEST(MultiPictureJpeg, CountsAnImageOnceHoweverOftenItIsListed) {
  const Bytes twice = multiPictureJpeg({{kDisparity, jpeg()}, {kDisparity, {}, 0}});
  const auto offset = twice.size() - test_support::multiPictureBase(twice) - jpeg().size();
  const auto place = static_cast<std::uint32_t>(offset);
  EXPECT_EQ(imagesIn(multiPictureJpeg({{kDisparity, jpeg(), place}, {kDisparity, {}, place}})), 2U);
}

TEST(MultiPictureJpeg, HasOnePictureWhenItsIndexIsBroken) {
  const Bytes file = multiPictureJpeg({{kDisparity, jpeg()}});
  ASSERT_EQ(imagesIn(file), 2U);
  const std::size_t base = test_support::multiPictureBase(file);
  const std::size_t list = base + 8 + 2 + 2 * 12;  // header, entry count, two entries; then the one of the list
  const struct {
    const char* what;
    std::size_t offset;
    std::uint8_t value;
  } cases[] = {
      {"byte order", base, 'M'},
      {"magic", base + 2, 43},
      {"directory at the end", base + 4, 0xFF},
      {"directory outside", base + 7, 0xFF},
      {"no entries", base + 8, 0},
      {"entries without the list", base + 8, 2},
      {"another tag", list, 3},
      {"an unknown type", list + 2, 99},
      {"one byte less than two entries", list + 4, 31},
      {"more entries than there is room for", list + 7, 0xFF},
      {"list outside", list + 11, 0xFF},
  };
  for (const auto& c : cases) EXPECT_EQ(imagesIn(test_support::with(file, c.offset, c.value)), 1U) << c.what;
}

TEST(MultiPictureJpeg, SurvivesEveryCutOfItsIndex) {
  const Bytes index = multiPictureIndex({{kDisparity, {}, 1}}, 0, false);
  for (std::size_t size = 0; size < index.size(); ++size) {
    const Bytes cut(index.begin(), index.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(imagesIn(jpegWith({{0xE2, cut}})), 1U) << size;
  }
}

TEST(MultiPictureJpeg, HasTheIndexOfItsFirstImageOnly) {
  const Bytes inner = multiPictureJpeg({{kDisparity, jpeg()}, {kDisparity, jpeg()}});
  EXPECT_EQ(imagesIn(multiPictureJpeg({{kDisparity, inner}})), 2U);
  Bytes behind = jpeg();
  behind.insert(behind.end(), inner.begin(), inner.end());
  EXPECT_EQ(imagesIn(behind), 1U);
  const MultiPictureForm twoIndexes{.segmentsBehind = {{0xE2, multiPictureIndex({{kDisparity, {}, 1}}, 0, false)}}};
  EXPECT_EQ(imagesIn(multiPictureJpeg({{kDisparity, jpeg()}}, twoIndexes)), 2U);
}

}  // namespace
}  // namespace quellor
