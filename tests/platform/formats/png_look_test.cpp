// A look at a PNG file says what its decoding says, whatever the layout and wherever the file is damaged.

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/format_samples.h"
#include "tests/support/look_comparison.h"
#include "tests/support/png_fixture.h"

namespace quellor {
namespace {

using test_support::assemblePng;
using test_support::compareLook;
using test_support::Comparisons;
using test_support::disassemblePng;
using test_support::encodePng;
using test_support::PngChunk;
using test_support::PngSpec;
using Chunks = std::vector<PngChunk>;

const ImageFormat& png() {
  static const ImageFormat& format = test_support::imageFormat("PNG");
  return format;
}

/// All color types and depths that the format has (PNG, third edition, table 11.1), with transparency or not.
std::vector<PngSpec> layouts() {
  const std::vector<std::pair<int, int>> depths = {{0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16}, {3, 1},
                                                   {3, 2}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};
  std::vector<PngSpec> specs;
  for (const auto& [colorType, depth] : depths) {
    for (const bool interlaced : {false, true}) {
      PngSpec& spec = specs.emplace_back();
      spec.colorType = colorType;
      spec.bitDepth = depth;
      spec.interlaced = interlaced;
      const std::uint32_t values = 1U << std::min(depth, 8);
      spec.sample = [values](auto x, auto y, auto component) { return (x * 7 + y * 5 + component * 3) % values; };
      if (colorType == 3) spec.palette.resize(values, {1, 2, 3});
      if (colorType > 2) continue;
      specs.push_back(spec);
      specs.back().transparentColor = {{1, 1, 1}};
    }
  }
  return specs;
}

std::string nameOf(const PngSpec& spec) {
  return "type " + std::to_string(spec.colorType) + ", " + std::to_string(spec.bitDepth) + " bits, " +
         std::to_string(spec.width) + "x" + std::to_string(spec.height) + (spec.interlaced ? ", interlaced" : "") +
         (spec.transparentColor ? ", tRNS" : "");
}

TEST(PngLook, AgreesWithTheDecodingOfEveryLayoutAndSmallSize) {
  Comparisons comparisons;
  for (PngSpec spec : layouts()) {
    for (spec.width = 1; spec.width <= 9; ++spec.width) {
      for (spec.height = 1; spec.height <= 9; ++spec.height) {
        const Bytes file = encodePng(spec);
        compareLook(
            file, [&] { return nameOf(spec); }, comparisons);
        EXPECT_EQ(png().look(file).value().raster.has_value(), spec.colorType == 3) << nameOf(spec);
      }
    }
  }
  EXPECT_EQ(comparisons.whole, comparisons.files);
  report(comparisons);
}

/// With chunks of each kind around the image data, which is in two parts.
Bytes furnished(PngSpec spec) {
  spec.pixelsPerMetre = {{3937, 3937}};
  spec.chunksBeforeData = {{"prVt", {1, 2, 3}}};
  spec.chunksAfterData = {{"tEXt", {'a', 0, 'b'}}, {"prVt", {}}};
  Chunks chunks = disassemblePng(encodePng(spec));
  const auto data =
      std::find_if(chunks.begin(), chunks.end(), [](const PngChunk& chunk) { return chunk.type == "IDAT"; });
  PngChunk half{"IDAT", {data->data.begin(), data->data.begin() + 5}};
  data->data.erase(data->data.begin(), data->data.begin() + 5);
  chunks.insert(data, std::move(half));
  return assemblePng(chunks);
}

TEST(PngLook, AgreesWithTheDecodingOfDamagedFiles) {
  Comparisons comparisons;
  for (PngSpec spec : layouts()) {
    for (const auto& [width, height] : {std::pair(1U, 1U), {5U, 3U}, {9U, 5U}}) {
      spec.width = width;
      spec.height = height;
      test_support::compareLookAtDamaged(furnished(spec), nameOf(spec), comparisons);
    }
  }
  report(comparisons);
}

TEST(PngLook, AgreesWithTheDecodingOfChangedChunksWithTheRightChecksum) {
  Comparisons comparisons;
  for (PngSpec spec : layouts()) {
    spec.width = 9;
    spec.height = 5;
    const Bytes file = furnished(spec);
    for (const auto& chunk : test_support::pngChunks(file)) {
      for (std::size_t place = chunk.offset + 4; place < chunk.offset + 8 + chunk.length; ++place) {
        for (const int flip : {0x01, 0x04, 0x20, 0x80}) {
          Bytes changed = file;
          changed[place] = static_cast<std::uint8_t>(changed[place] ^ flip);
          test_support::repairChecksum(changed, chunk);
          compareLook(
              changed, [&] { return nameOf(spec) + ", byte " + std::to_string(place); }, comparisons);
        }
      }
    }
  }
  report(comparisons);
}

/// A zlib stream of one stored block (RFC 1950; RFC 1951, 3.2.4).
Bytes storedStream(const Bytes& content) {
  const auto size = static_cast<std::uint32_t>(content.size());
  std::uint32_t low = 1;
  std::uint32_t high = 0;
  for (const std::uint8_t byte : content) {
    low = (low + byte) % 65521;
    high = (high + low) % 65521;
  }
  Bytes stream = {0x78, 0x01, 0x01};
  for (const std::uint32_t number : {size, ~size}) {
    stream.push_back(static_cast<std::uint8_t>(number));
    stream.push_back(static_cast<std::uint8_t>(number >> 8));
  }
  stream.insert(stream.end(), content.begin(), content.end());
  for (const std::uint32_t number : {high, low}) {
    stream.push_back(static_cast<std::uint8_t>(number >> 8));
    stream.push_back(static_cast<std::uint8_t>(number));
  }
  return stream;
}

/// Grey, 8 bits, of three columns and four rows.
const PngChunk kHeader = {"IHDR", {0, 0, 0, 3, 0, 0, 0, 4, 8, 0, 0, 0, 0}};
const PngChunk kEnd = {"IEND", {}};
const Bytes kRows = {0, 1, 2, 3, 1, 1, 2, 3, 2, 1, 2, 3, 4, 1, 2, 3};

Bytes with(Bytes bytes, std::size_t place, std::uint8_t value) {
  bytes.at(place) = value;
  return bytes;
}

Bytes joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Bytes part(const Bytes& bytes, std::size_t begin, std::size_t end = SIZE_MAX) {
  const auto at = [&](std::size_t i) { return bytes.begin() + static_cast<std::ptrdiff_t>(std::min(i, bytes.size())); };
  return {at(begin), at(end)};
}

struct Case {
  const char* name;
  bool whole;
  Chunks chunks;  // between the header and the end
};

std::vector<Case> streams() {
  const Bytes stream = storedStream(kRows);
  const std::size_t checksum = stream.size() - 4;
  return {
      {"plain", true, {{"IDAT", stream}}},
      {"empty parts",
       true,
       {{"IDAT", {}}, {"IDAT", part(stream, 0, 9)}, {"IDAT", {}}, {"IDAT", part(stream, 9)}, {"IDAT", {}}}},
      {"a checksum in parts of its own",
       true,
       {{"IDAT", part(stream, 0, checksum)},
        {"IDAT", part(stream, checksum, checksum + 2)},
        {"IDAT", part(stream, checksum + 2)}}},
      {"only empty parts", false, {{"IDAT", {}}, {"IDAT", {}}}},
      {"no image data", false, {}},
      {"no end of the stream", false, {{"IDAT", part(stream, 0, stream.size() - 6)}}},
      {"a wrong checksum of the stream", false, {{"IDAT", with(stream, checksum, 99)}}},
      {"bytes behind the stream", false, {{"IDAT", joined(stream, {0})}}},
      {"a row too few", false, {{"IDAT", storedStream(part(kRows, 4))}}},
      {"a byte too few", false, {{"IDAT", storedStream(part(kRows, 0, 15))}}},
      {"a byte too many", false, {{"IDAT", storedStream(joined(kRows, {0}))}}},
      {"a row too many", false, {{"IDAT", storedStream(joined(kRows, {0, 1, 2, 3}))}}},
      {"a preset dictionary", false, {{"IDAT", with(stream, 1, 0x20)}}},
      {"an unknown method", false, {{"IDAT", with(with(stream, 0, 0x77), 1, 0x09)}}},
      {"a window of 64 KiB", false, {{"IDAT", with(with(stream, 0, 0x88), 1, 0x1C)}}},
      {"a window of 256 bytes", true, {{"IDAT", with(with(stream, 0, 0x08), 1, 0x1D)}}},
      {"a broken header of the stream", false, {{"IDAT", with(stream, 1, 0x02)}}},
  };
}

std::vector<Case> companions() {
  const PngChunk data{"IDAT", storedStream(kRows)};
  return {
      {"an unknown chunk before", true, {{"prVt", {1}}, data}},
      {"an unknown chunk behind", true, {data, {"prVt", {1}}}},
      {"image data in two places",
       false,
       {{"IDAT", part(data.data, 0, 9)}, {"prVt", {1}}, {"IDAT", part(data.data, 9)}}},
      {"a part of the image data in another chunk",
       false,
       {{"IDAT", part(data.data, 0, 9)}, {"prVt", part(data.data, 9)}, {"IDAT", {}}}},
      {"a second header", false, {data, kHeader}},
      {"a type that is no name", false, {data, {"pr t", {1}}}},
      {"an end with data", false, {data, {"IEND", {1}}}},
  };
}

/// What is out of place, but the library reads over it or not: the look has to follow.
std::vector<Chunks> oddities() {
  const Bytes stream = storedStream(kRows);
  const PngChunk data{"IDAT", stream};
  return {{data, {"PLTE", {1, 2, 3}}},
          {data, {"PLTE", {1}}},
          {data, {"abCD", {1}}, {"ABCD", {1}}},
          {data, {"prVt", {1}}, {"IDAT", {}}},
          {data, {"IDAT", {1, 2, 3}}},
          {data, {"prVt", {}}, data},
          {data, {"tRNS", {0, 1}}},
          {{"tRNS", {0, 1}}, {"tRNS", {0, 1}}, data},
          {{"tRNS", {1}}, data},
          {{"gAMA", {1}}, data},
          {{"ABCD", {1}}, data},
          {kHeader, data},
          {{"IEND", {}}, data},
          {{"IDAT", part(stream, 0, stream.size() - 4)}},
          {{"IDAT", part(stream, 0, stream.size() - 4)}, {"IDAT", {1, 2, 3, 4}}},
          {{"IDAT", part(stream, 0, stream.size() - 4)}, {"IDAT", {}}},
          {{"IDAT", part(stream, 0, stream.size() - 4)}, {"IDAT", part(stream, stream.size() - 4)}, {"IDAT", {7}}}};
}

Bytes fileOf(Chunks chunks) {
  chunks.insert(chunks.begin(), kHeader);
  chunks.push_back(kEnd);
  return assemblePng(chunks);
}

TEST(PngLook, FindsWhatIsWrongWithAStreamOrItsCompanions) {
  for (const auto& table : {streams(), companions()}) {
    for (const Case& each : table) {
      const Bytes file = fileOf(each.chunks);
      EXPECT_EQ(png().look(file).has_value(), each.whole) << each.name;
      EXPECT_EQ(png().decode(file).has_value(), each.whole) << each.name;
    }
  }
}

TEST(PngLook, AgreesWithTheDecodingOfFilesWithChunksOutOfPlace) {
  Comparisons comparisons;
  int number = 0;
  for (const Chunks& chunks : oddities()) {
    compareLook(
        fileOf(chunks), [&] { return number; }, comparisons);
    ++number;
  }
  report(comparisons);
}

TEST(PngLook, FindsFiltersThatThereAreNot) {
  for (std::size_t row = 0; row < 4; ++row) {
    for (const int filter : {0, 1, 2, 3, 4, 5, 6, 255}) {
      const Bytes rows = with(kRows, row * 4, static_cast<std::uint8_t>(filter));
      const Bytes file = fileOf({{"IDAT", storedStream(rows)}});
      EXPECT_EQ(png().look(file).has_value(), filter <= 4) << filter << " in row " << row;
      EXPECT_EQ(png().decode(file).has_value(), filter <= 4) << filter << " in row " << row;
    }
  }
}

TEST(PngLook, FindsFiltersThatThereAreNotInEveryPass) {
  constexpr std::uint32_t kSide = 9;
  // The bytes of the rows of each pass, filter included, and their number: 8.1 for nine columns and rows of one byte.
  constexpr std::array<std::pair<std::size_t, std::size_t>, 7> kPasses = {
      {{3, 2}, {2, 2}, {4, 1}, {3, 3}, {6, 2}, {5, 5}, {10, 4}}};
  Bytes rows;
  std::vector<std::size_t> filters;
  for (const auto& [size, count] : kPasses) {
    for (std::size_t y = 0; y < count; ++y) {
      filters.push_back(rows.size());
      rows.resize(rows.size() + size);
    }
  }
  const auto file = [](const Bytes& content) {
    return assemblePng(
        {{"IHDR", {0, 0, 0, kSide, 0, 0, 0, kSide, 8, 0, 0, 0, 1}}, {"IDAT", storedStream(content)}, kEnd});
  };
  ASSERT_TRUE(png().look(file(rows)));
  ASSERT_TRUE(png().decode(file(rows)));
  for (std::size_t place = 0; place < rows.size(); ++place) {
    const bool isFilter = std::find(filters.begin(), filters.end(), place) != filters.end();
    EXPECT_EQ(png().look(file(with(rows, place, 5))).has_value(), !isFilter) << place;
    EXPECT_EQ(png().decode(file(with(rows, place, 5))).has_value(), !isFilter) << place;
  }
}

TEST(PngLook, AgreesWithTheDecodingWhereMatchesReachBeyondTheWindow) {
  Comparisons comparisons;
  // Each row is the one before it again, 601 bytes back, and the rows are no matches in themselves.
  PngSpec spec;
  spec.width = 600;
  spec.height = 40;
  spec.colorType = 0;
  spec.sample = [](auto x, auto, auto) { return (x * x * 7919 >> 5) & 0xFF; };
  Chunks chunks = disassemblePng(encodePng(spec));
  const auto data =
      std::find_if(chunks.begin(), chunks.end(), [](const PngChunk& chunk) { return chunk.type == "IDAT"; });
  for (unsigned window = 0; window <= 8; ++window) {
    const unsigned head = window << 12 | 0x800;
    data->data.at(0) = static_cast<std::uint8_t>(head >> 8);
    data->data.at(1) = static_cast<std::uint8_t>(31 - head % 31);
    compareLook(
        assemblePng(chunks), [&] { return window; }, comparisons);
  }
  EXPECT_GT(comparisons.whole, 1);
  EXPECT_LT(comparisons.whole, 8);
  report(comparisons);
}

TEST(PngLook, FindsWrongChecksumsOfAnyChunk) {
  PngSpec spec = test_support::plainPng();
  const Bytes file = furnished(spec);
  ASSERT_TRUE(png().look(file));
  for (const auto& chunk : test_support::pngChunks(file)) {
    const Bytes changed = with(file, chunk.offset + 11 + chunk.length, 0x5A);
    EXPECT_FALSE(png().look(changed)) << chunk.type << " at " << chunk.offset;
    EXPECT_FALSE(png().decode(changed)) << chunk.type << " at " << chunk.offset;
  }
}

TEST(PngLook, IgnoresWhatFollowsTheEnd) {
  Bytes file = encodePng(test_support::plainPng());
  file.insert(file.end(), {1, 2, 3});
  EXPECT_TRUE(png().look(file));
  EXPECT_TRUE(png().decode(file));
}

}  // namespace
}  // namespace quellor
