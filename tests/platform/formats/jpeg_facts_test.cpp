#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/values/image_facts.h"
#include "tests/support/byte_texts.h"
#include "tests/support/format_samples.h"
#include "tests/support/jpeg_fixture.h"

namespace quellor {
namespace {

using namespace std::string_literals;
using test_support::bytesOf;
using test_support::encodeJpeg;
using test_support::JpegSpec;
using test_support::with;
using Coding = JpegSpec::Coding;

const ImageFormat& jpeg() {
  static const ImageFormat& format = test_support::imageFormat("JPEG");
  return format;
}

JpegSpec withSegments(std::vector<JpegSpec::Segment> segments) {
  JpegSpec spec;
  spec.segments = std::move(segments);
  return spec;
}

TEST(JpegFormat, DescribesSizeAndColor) {
  constexpr std::pair<Coding, ColorModel> kModels[] = {{Coding::grey, ColorModel::grey},
                                                       {Coding::ycbcr, ColorModel::rgb},
                                                       {Coding::rgb, ColorModel::rgb},
                                                       {Coding::cmyk, ColorModel::cmyk},
                                                       {Coding::ycck, ColorModel::cmyk}};
  for (const auto& [coding, model] : kModels) {
    JpegSpec spec;
    spec.coding = coding;
    const auto facts = jpeg().describe(encodeJpeg(spec));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->imageCount, 1U);
    EXPECT_EQ(facts->width, 17U);
    EXPECT_EQ(facts->height, 9U);
    EXPECT_EQ(facts->bitsPerComponent, 8);
    EXPECT_EQ(facts->colorModel, model);
    EXPECT_FALSE(facts->hasAlpha);
    EXPECT_FALSE(facts->orientation);
    EXPECT_FALSE(facts->iccProfile);
  }
}

TEST(JpegFormat, DescribesNothingBrokenBeforeTheFirstScan) {
  const Bytes file = encodeJpeg({});
  const std::size_t scan = test_support::firstPlaceOf(Bytes{0xFF, 0xDA}, file);
  for (std::size_t length = 0; length < scan + 14; ++length) {
    EXPECT_FALSE(jpeg().describe(ByteView(file).first(length))) << length;
  }
  EXPECT_TRUE(jpeg().describe(ByteView(file).first(scan + 14)));
  EXPECT_FALSE(jpeg().describe(with(file, 0, 0)));
}

TEST(JpegFormat, ReportsJfifAndItsDensity) {
  struct Case {
    int unit;
    std::optional<double> dpiWidth;
    std::optional<double> dpiHeight;
  };
  const Case cases[] = {{0, {}, {}}, {1, 300, 72}, {2, 762, 182.88}, {7, {}, {}}};
  for (const Case& expected : cases) {
    JpegSpec spec;
    spec.densityUnit = expected.unit;
    spec.xDensity = 300;
    spec.yDensity = 72;
    const auto facts = jpeg().describe(encodeJpeg(spec));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->dpiWidth, expected.dpiWidth);
    EXPECT_EQ(facts->dpiHeight, expected.dpiHeight);
    EXPECT_EQ(facts->formatDictionary, FormatDictionary::jfif);
  }
}

TEST(JpegFormat, HasNoJfifDictionaryWithoutTheSegment) {
  JpegSpec spec;
  spec.coding = Coding::rgb;
  const auto facts = jpeg().describe(encodeJpeg(spec));
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->formatDictionary, FormatDictionary::none);
  EXPECT_FALSE(facts->dpiWidth);
}

TEST(JpegFormat, FindsTheFirstExifBlockAndXmpPacket) {
  const Bytes exif = bytesOf("MM\0*\0\0\0\x08\0\0"s);
  const Bytes xmp = bytesOf("<x:xmpmeta/>");
  const std::string xmpName = "http://ns.adobe.com/xap/1.0/\0"s;
  const auto facts = jpeg().describe(encodeJpeg(withSegments({{0xE1, bytesOf(xmpName, xmp)},
                                                              {0xE1, bytesOf("Exif\0\0"s, exif)},
                                                              {0xE1, bytesOf("Exif\0\0II*\0"s)},
                                                              {0xE1, bytesOf(xmpName + "later")}})));
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->metadata.exif, exif);
  EXPECT_EQ(facts->metadata.xmp, xmp);
  EXPECT_FALSE(facts->metadata.iptc);
}

TEST(JpegFormat, TakesNothingForExifThatIsNone) {
  const std::string exif = "MM\0*\0\0\0\x08\0\0"s;
  const auto exifOf = [](const std::vector<std::string>& payloads) {
    std::vector<JpegSpec::Segment> segments;
    for (const std::string& payload : payloads) segments.push_back({0xE1, bytesOf(payload)});
    return jpeg().describe(encodeJpeg(withSegments(std::move(segments)))).value().metadata.exif;
  };
  EXPECT_EQ(exifOf({"Exif\0\0"s + exif}), bytesOf(exif));
  EXPECT_EQ(exifOf({"Exif\0\xFF"s + exif}), bytesOf(exif)) << "the padding byte may have any value";
  EXPECT_EQ(exifOf({"Exif\0\0Exif\0\0"s + exif}), bytesOf(exif)) << "two prefixes";
  for (const std::string& other : {"Exif\0\0"s, "Exif\0\0\0"s + exif, exif, "Exif\0\0II+\0"s}) {
    EXPECT_FALSE(exifOf({other}));
    EXPECT_EQ(exifOf({other, "Exif\0\0"s + exif}), bytesOf(exif));
  }
}

TEST(JpegFormat, FindsIptcAmongPhotoshopResources) {
  const std::string photoshop = "Photoshop 3.0\0"s;
  const std::string other = "8BIM\x03\xED\0\0\0\0\0\x03xyz\0"s;   // odd data, padded
  const std::string named = "8BIM\x04\x04\x04name\0\0\0\0\x05"s;  // even name, padded
  const std::string datasets = "\x1C\x02\x05\0\0"s;
  const auto whole = jpeg().describe(encodeJpeg(withSegments({{0xED, bytesOf(photoshop + other + named + datasets)}})));
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->metadata.iptc, bytesOf(datasets));
  const auto split = jpeg().describe(encodeJpeg(withSegments(
      {{0xED, bytesOf(photoshop + other + named + "\x1C")}, {0xED, bytesOf(photoshop + datasets.substr(1))}})));
  ASSERT_TRUE(split);
  EXPECT_EQ(split->metadata.iptc, bytesOf(datasets));
  const auto cut = jpeg().describe(encodeJpeg(withSegments({{0xED, bytesOf(photoshop + other + named + "\x1C")}})));
  ASSERT_TRUE(cut);
  EXPECT_FALSE(cut->metadata.iptc);
}

JpegSpec::Segment iccChunk(int number, int count, const std::string& data) {
  return {0xE2, bytesOf("ICC_PROFILE\0"s + static_cast<char>(number) + static_cast<char>(count) + data)};
}

TEST(JpegFormat, JoinsTheChunksOfAProfileByTheirNumbers) {
  const auto profileOf = [](std::vector<JpegSpec::Segment> chunks) {
    return jpeg().describe(encodeJpeg(withSegments(std::move(chunks)))).value().iccProfile;
  };
  EXPECT_EQ(profileOf({iccChunk(1, 1, "abc")}), bytesOf("abc"));
  EXPECT_EQ(profileOf({iccChunk(2, 3, "b"), iccChunk(3, 3, "c"), iccChunk(1, 3, "a")}), bytesOf("abc"));
  EXPECT_FALSE(profileOf({iccChunk(1, 3, "a"), iccChunk(3, 3, "c")})) << "one missing";
  EXPECT_FALSE(profileOf({iccChunk(1, 2, "a"), iccChunk(2, 2, "b"), iccChunk(2, 2, "b")})) << "one twice";
  EXPECT_FALSE(profileOf({iccChunk(1, 2, "a"), iccChunk(2, 3, "b")})) << "counts differ";
  EXPECT_FALSE(profileOf({iccChunk(0, 1, "a")})) << "numbers begin at 1";
  EXPECT_FALSE(profileOf({iccChunk(2, 1, "a")})) << "number beyond the count";
  EXPECT_FALSE(profileOf({iccChunk(1, 1, "")})) << "nothing in it";
  EXPECT_FALSE(profileOf({{0xE2, bytesOf("ICC_PROFILE\0\x01"s)}})) << "no count";
  EXPECT_FALSE(profileOf({{0xE2, bytesOf("MPF\0"s)}}));
}

TEST(JpegFormat, TakesAsManyMetadataSegmentsAsTheLargestFileHasRoomFor) {
  const Bytes file = encodeJpeg({});
  const auto withEmptySegments = [&file](std::size_t count) {
    Bytes result(file.begin(), file.begin() + 2);
    for (std::size_t i = 0; i < count; ++i) result.insert(result.end(), {0xFF, 0xE1, 0, 2});
    result.insert(result.end(), file.begin() + 2, file.end());
    return result;
  };
  EXPECT_TRUE(jpeg().describe(withEmptySegments(65536)));
  EXPECT_FALSE(jpeg().describe(withEmptySegments(65537)));
}

}  // namespace
}  // namespace quellor
