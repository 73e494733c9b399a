#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

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
using test_support::PngPlace;
using test_support::PngSpec;
using test_support::PngText;

const ImageFormat& png() {
  static const ImageFormat& format = test_support::imageFormat("PNG");
  return format;
}

const PngPlace& chunkOf(const std::vector<PngPlace>& chunks, const std::string& type) {
  for (const PngPlace& chunk : chunks) {
    if (chunk.type == type) return chunk;
  }
  throw std::runtime_error("no chunk " + type);
}

PngSpec fullSpec(bool interlaced) {
  PngSpec spec = plainPng();
  spec.colorType = 6;
  spec.interlaced = interlaced;
  spec.pixelsPerMetre = {{3937, 3937}};
  spec.texts = {{PngText::Kind::latin1Compressed, "Comment", "compressed"}};
  spec.chunksBeforeData = {{"prVt", {1, 2, 3}}};
  spec.chunksAfterData = {{"eXIf", bytesOf("MM\0*\0\0\0\x08\0\0"s)}};
  return spec;
}

TEST(PngFormat, RefusesAFileCutShortAnywhere) {
  for (const bool interlaced : {false, true}) {
    const Bytes file = encodePng(fullSpec(interlaced));
    ASSERT_TRUE(png().decode(file));
    for (std::size_t length = 0; length < file.size(); ++length) {
      EXPECT_FALSE(png().decode(ByteView(file).first(length))) << length << " of " << file.size();
      EXPECT_FALSE(png().describe(ByteView(file).first(length))) << length << " of " << file.size();
    }
  }
}

TEST(PngFormat, RefusesEveryChangedBit) {
  const Bytes file = encodePng(fullSpec(false));
  for (std::size_t i = 0; i < file.size(); ++i) {
    for (const int flip : {0x01, 0x20, 0xFF}) {
      Bytes changed = file;
      changed[i] = static_cast<std::uint8_t>(changed[i] ^ flip);
      EXPECT_FALSE(png().decode(changed)) << "byte " << i;
    }
  }
}

TEST(PngFormat, RefusesDamagedChunksOfEveryKindWhenDescribing) {
  const Bytes file = encodePng(fullSpec(false));
  for (const PngPlace& chunk : test_support::pngChunks(file)) {
    if (chunk.type == "IDAT") continue;
    Bytes changed = file;
    changed[chunk.offset + 8 + chunk.length] ^= 1;
    EXPECT_FALSE(png().describe(changed)) << chunk.type;
  }
}

TEST(PngFormat, RefusesImageDataWhoseOwnChecksumIsWrong) {
  Bytes file = encodePng(plainPng());
  const auto chunks = test_support::pngChunks(file);
  const PngPlace data = chunkOf(chunks, "IDAT");
  file[data.offset + 8 + data.length - 1] ^= 1;  // the last byte of Adler-32 (RFC 1950)
  test_support::repairChecksum(file, data);
  EXPECT_FALSE(png().decode(file));
}

TEST(PngFormat, RefusesASizeThatTheFileCannotHold) {
  Bytes file = encodePng(plainPng());
  const auto chunks = test_support::pngChunks(file);
  file[chunkOf(chunks, "IHDR").offset + 8 + 2] = 0x70;  // width 28689
  file[chunkOf(chunks, "IHDR").offset + 8 + 6] = 0x70;
  test_support::repairChecksum(file, chunkOf(chunks, "IHDR"));
  EXPECT_EQ(png().describe(file).value().width, 0x7011U);
  EXPECT_FALSE(png().decode(file));
}

TEST(PngFormat, IgnoresWhatFollowsTheEnd) {
  Bytes file = encodePng(plainPng());
  file.insert(file.end(), {1, 2, 3});
  EXPECT_TRUE(png().describe(file));
  EXPECT_TRUE(png().decode(file));
}

TEST(PngFormat, DecodesInSpiteOfAncillaryChunksOfNoUse) {
  PngSpec spec = plainPng();
  spec.chunksBeforeData = {{"iCCP", {1, 2, 3}}, {"gAMA", {1}}, {"pHYs", {}}, {"zTXt", bytesOf("a\0\0junk"s)}};
  const Bytes file = encodePng(spec);
  EXPECT_TRUE(png().decode(file));
  const auto facts = png().describe(file);
  ASSERT_TRUE(facts);
  EXPECT_FALSE(facts->iccProfile);
  EXPECT_FALSE(facts->dpiWidth);
}

TEST(PngFormat, ReadsManyChunksBehindTheImageDataInTimeInProportion) {
  // Time that grows with the square of their number would not end before the limit of this program.
  PngSpec spec = plainPng();
  spec.chunksAfterData.assign(400000, {"tEXt", bytesOf("a\0b"s)});
  EXPECT_TRUE(png().describe(encodePng(spec)));
}

}  // namespace
}  // namespace quellor
