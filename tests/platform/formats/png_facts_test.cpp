#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/values/image_facts.h"
#include "tests/support/byte_texts.h"
#include "tests/support/format_samples.h"
#include "tests/support/png_fixture.h"

namespace quellor {
namespace {

using namespace std::string_literals;
using test_support::bytesOf;
using test_support::encodePng;
using test_support::plainPng;
using test_support::PngSpec;
using test_support::PngText;

const ImageFormat& png() {
  static const ImageFormat& format = test_support::imageFormat("PNG");
  return format;
}

TEST(PngFormat, AlwaysHasAPngDictionary) {
  EXPECT_EQ(png().describe(encodePng(plainPng())).value().formatDictionary, FormatDictionary::png);
}

TEST(PngFormat, ReportsTheResolutionInInches) {
  PngSpec spec = plainPng();
  spec.pixelsPerMetre = {{10000, 5000}};
  const auto facts = png().describe(encodePng(spec));
  ASSERT_TRUE(facts);
  EXPECT_DOUBLE_EQ(facts->dpiWidth.value(), 254);
  EXPECT_DOUBLE_EQ(facts->dpiHeight.value(), 127);
  spec.pixelsPerMetre.reset();
  spec.chunksBeforeData = {{"pHYs", {0, 0, 0, 9, 0, 0, 0, 9, 0}}};  // a ratio only
  EXPECT_FALSE(png().describe(encodePng(spec)).value().dpiWidth);
}

/// The least that the PNG library takes for a profile (ICC.1:2010, 7.2): a header and one tag, filled up to `size`.
Bytes smallProfile(std::size_t size) {
  Bytes profile(size);
  const auto put = [&profile](std::size_t offset, const std::string& text) {
    std::copy(text.begin(), text.end(), profile.begin() + static_cast<std::ptrdiff_t>(offset));
  };
  for (std::size_t i = 0; i < 4; ++i) profile[i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
  put(8, "\x02"s);
  put(12, "mntrRGB XYZ ");
  put(36, "acsp");
  put(68, "\0\0\xF6\xD6\0\x01\0\0\0\0\xD3\x2D"s);
  put(128,
      "\0\0\0\x01"
      "cprt"
      "\0\0\0\x90"
      "\0\0\0\x10"s);
  put(144, "text");
  std::uint32_t noise = 1;  // the library takes no chunk of less than 92 bytes
  for (std::size_t i = 160; i < size; ++i) {
    noise = noise * 1664525 + 1013904223;
    profile[i] = static_cast<std::uint8_t>(noise >> 24);
  }
  return profile;
}

TEST(PngFormat, ReportsTheProfileByteForByteAlsoWhenItIsLarge) {
  for (const std::size_t size : {std::size_t{600}, std::size_t{5000000}}) {
    PngSpec spec = plainPng();
    spec.iccProfile = smallProfile(size);
    EXPECT_EQ(png().describe(encodePng(spec)).value().iccProfile, spec.iccProfile);
  }
}

TEST(PngFormat, ReportsCodePoints) {
  const auto codePoints = [](Bytes data, bool afterData = false) {
    PngSpec spec = plainPng();
    (afterData ? spec.chunksAfterData : spec.chunksBeforeData).push_back({"cICP", std::move(data)});
    return png().describe(encodePng(spec)).value().cicp;
  };
  EXPECT_EQ(codePoints({12, 13, 0, 1}), (Cicp{12, 13, 0, true}));
  EXPECT_EQ(codePoints({9, 16, 0, 0}), (Cicp{9, 16, 0, false}));
  EXPECT_FALSE(codePoints({9, 16, 9, 1})) << "the matrix must be the identity";
  EXPECT_FALSE(codePoints({9, 16, 0, 2}));
  EXPECT_FALSE(codePoints({9, 16, 0}));
  EXPECT_FALSE(codePoints({12, 13, 0, 1}, true)) << "behind the image data";
}

TEST(PngFormat, FindsExifBeforeAndBehindTheImageData) {
  const Bytes exif = bytesOf("II*\0\x08\0\0\0\0\0"s);
  PngSpec spec = plainPng();
  spec.chunksBeforeData = {{"eXIf", exif}};
  EXPECT_EQ(png().describe(encodePng(spec)).value().metadata.exif, exif);
  std::swap(spec.chunksBeforeData, spec.chunksAfterData);
  EXPECT_EQ(png().describe(encodePng(spec)).value().metadata.exif, exif);
}

TEST(PngFormat, DropsThePrefixThatSomePutBeforeExif) {
  const std::string prefix = "Exif\0\0"s;
  const std::string little = "II*\0\x08\0\0\0\0\0"s;
  const std::string big = "MM\0*\0\0\0\x08\0\0"s;
  const auto exifOf = [](const std::vector<std::string>& chunks) {
    PngSpec spec = plainPng();
    for (const std::string& chunk : chunks) spec.chunksBeforeData.push_back({"eXIf", bytesOf(chunk)});
    return png().describe(encodePng(spec)).value().metadata.exif;
  };
  for (const std::string& block : {little, big}) {
    EXPECT_EQ(exifOf({block}), bytesOf(block));
    EXPECT_EQ(exifOf({prefix + block}), bytesOf(block));
    EXPECT_EQ(exifOf({prefix + prefix + block}), bytesOf(block));
    EXPECT_FALSE(exifOf({"Exif\0"s + block})) << "half a prefix";
    EXPECT_FALSE(exifOf({"\0"s + block}));
  }
  EXPECT_FALSE(exifOf({""}));
  EXPECT_FALSE(exifOf({prefix}));
  EXPECT_FALSE(exifOf({"II+\0\x08\0\0\0"s}));
  EXPECT_EQ(exifOf({prefix + big, little}), bytesOf(big)) << "the first one";
  EXPECT_EQ(exifOf({"x" + big, little}), bytesOf(little)) << "the first one that is one";
}

TEST(PngFormat, FindsTheXmpPacketPlainOrCompressed) {
  for (const auto kind : {PngText::Kind::utf8, PngText::Kind::utf8Compressed}) {
    PngSpec spec = plainPng();
    const std::string packet = "<x:xmpmeta>" + std::string(3000000, ' ') + "</x:xmpmeta>";
    spec.texts = {{kind, "XML:com.adobe.xmp", packet}};
    EXPECT_EQ(png().describe(encodePng(spec)).value().metadata.xmp, bytesOf(packet));
  }
}

TEST(PngFormat, ReadsRawProfilesInHexadecimal) {
  const auto metadataOf = [](const std::string& type, const std::string& text) {
    PngSpec spec = plainPng();
    spec.texts = {{PngText::Kind::latin1Compressed, "Raw profile type " + type, text}};
    return png().describe(encodePng(spec)).value().metadata;
  };
  // "Exif\0\0MM\0*" and "<x/>" in two lines; an IPTC resource with the datasets 1C 02.
  EXPECT_EQ(metadataOf("exif", "\nexif\n      10\n4578696600004d\n4d002a\n").exif, bytesOf("MM\0*"s));
  EXPECT_EQ(metadataOf("APP1", "\ngeneric profile\n10\n4578696600004D4D002A").exif, std::nullopt)
      << "a name of two words";
  EXPECT_EQ(metadataOf("APP1", "\nAPP1\n10\n4578696600004D4D002A").exif, bytesOf("MM\0*"s));
  EXPECT_EQ(metadataOf("exif", "\nexif\n4\n4d4d002a").exif, bytesOf("MM\0*"s)) << "no prefix";
  EXPECT_TRUE(metadataOf("exif", "\nexif\n16\n4578696600004578696600004d4d002a").exif) << "two prefixes";
  EXPECT_EQ(metadataOf("xmp", "\nxmp\n       4\n3c782f3e\n").xmp, bytesOf("<x/>"));
  EXPECT_EQ(metadataOf("iptc", "\niptc\n14\n3842494d0404000000000002\n1c02\n").iptc, bytesOf("\x1C\x02"));
  EXPECT_EQ(metadataOf("iptc", "\niptc\n2\n1c02\n").iptc, bytesOf("\x1C\x02"));
  for (const char* broken : {"", "\nxmp\n", "\nxmp\n5\n3c782f3e\n", "\nxmp\n3\n3c782f3e\n", "\nxmp\n4\n3c782f3\n",
                             "\nxmp\n4\n3c782fxx\n", "\nxmp\n99999999999999999999\n3c\n", "\nxmp\n-1\n3c\n"}) {
    EXPECT_FALSE(metadataOf("xmp", broken).xmp) << broken;
  }
}

TEST(PngFormat, PrefersTheChunkToARawProfile) {
  PngSpec spec = plainPng();
  spec.texts = {{PngText::Kind::latin1, "Raw profile type exif", "\nexif\n10\n4578696600004d4d002a\n"}};
  spec.chunksAfterData = {{"eXIf", bytesOf("II*\0\x08\0\0\0"s)}};
  EXPECT_EQ(png().describe(encodePng(spec)).value().metadata.exif, bytesOf("II*\0\x08\0\0\0"s));
}

}  // namespace
}  // namespace quellor
