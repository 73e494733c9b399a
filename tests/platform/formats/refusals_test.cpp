// Why files are refused: one table a format. An empty reason stands for a file that is taken.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/platform/formats/tiff_format_fixture.h"
#include "tests/support/byte_texts.h"
#include "tests/support/gif_fixture.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/png_fixture.h"
#include "tests/support/webp_fixture.h"

namespace quellor {
namespace {

using namespace std::string_literals;
using namespace test_support;

constexpr const char* kTaken = "";
constexpr const char* kTooLarge = "the image is too large";
constexpr const char* kTooShort = "the file is shorter than an image of that size can be";

struct Case {
  const char* what;
  Bytes file;
  std::string described;  // the reason of describe()
  std::string decoded;    // the reason of decode()
};

void expectReasons(const char* format, const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    const auto facts = imageFormat(format).describe(c.file);
    const auto raster = imageFormat(format).decode(c.file);
    EXPECT_EQ(facts.reason(), c.described) << format << ": " << c.what;
    EXPECT_EQ(raster.reason(), c.decoded) << format << ": " << c.what;
    EXPECT_EQ(facts.has_value(), c.described.empty()) << format << ": " << c.what;
    EXPECT_EQ(raster.has_value(), c.decoded.empty()) << format << ": " << c.what;
  }
}

Bytes firstOf(const Bytes& file, std::size_t size) {
  return {file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)};
}

TEST(Refusals, OfJpegSayWhy) {
  JpegSpec spec;
  spec.width = spec.height = 64;
  const Bytes file = encodeJpeg(spec);
  const std::size_t frame = firstPlaceOf(Bytes{0xFF, 0xC0}, file);
  const auto withSides = [&](std::uint8_t high) { return with(with(file, frame + 5, high), frame + 7, high); };
  constexpr const char* kBroken = "the header is broken or ends early";
  constexpr const char* kDepth = "samples of another depth than eight bits";
  constexpr const char* kProcess = "a coding process that is not read";
  expectReasons("JPEG", {{"whole", file, kTaken, kTaken},
                         {"no start of image", with(file, 1, 0xD9), kBroken, kBroken},
                         {"cut in the header", firstOf(file, frame + 3), kBroken, kBroken},
                         {"12 bits", with(file, frame + 4, 12), kDepth, kDepth},
                         {"lossless", with(file, frame + 1, 0xC3), kProcess, kProcess},
                         {"hierarchical", with(file, frame + 1, 0xC5), kProcess, kProcess},
                         {"sides of 65344", withSides(0xFF), kTaken, kTooLarge},
                         {"sides of 32832", withSides(0x80), kTaken, kTooLarge},
                         {"sides of 32064", withSides(0x7D), kTaken, kTooShort},
                         {"cut in the scan", firstOf(file, file.size() - 20), kTaken, "a scan is damaged or missing"}});
}

Bytes withoutChunk(const Bytes& file, const std::string& type) {
  Bytes result = file;
  for (const PngPlace& chunk : pngChunks(file)) {
    const auto start = result.begin() + static_cast<std::ptrdiff_t>(chunk.offset);
    if (chunk.type == type) result.erase(start, start + static_cast<std::ptrdiff_t>(chunk.length + 12));
  }
  return result;
}

TEST(Refusals, OfPngSayWhy) {
  const Bytes file = encodePng(plainPng());
  const auto withSides = [&](std::uint8_t high) {
    Bytes changed = with(with(file, 16 + 2, high), 16 + 6, high);  // the second lowest byte of width and height
    repairChecksum(changed, pngChunks(changed).front());
    return changed;
  };
  PngSpec interrupted = plainPng();
  interrupted.chunksAfterData = {{"tEXt", bytesOf("a\0b"s)}, {"IDAT", {1, 2}}};
  PngSpec palette = plainPng();
  palette.colorType = 3;
  palette.palette.resize(2);
  palette.sample = [](auto x, auto, auto) { return x == 5 ? 3U : 0U; };
  constexpr const char* kChunk = "the header or another chunk is broken";
  constexpr const char* kData = "the image data is damaged or not complete";
  expectReasons("PNG", {{"whole", file, kTaken, kTaken},
                        {"no signature", with(file, 1, 'Q'), "there is no signature", kChunk},
                        {"a wrong checksum", with(file, 16 + 13, 0), kChunk, kChunk},
                        {"cut", firstOf(file, file.size() - 1), "the file ends before its end chunk", kData},
                        {"wrong end", with(file, file.size() - 1, 0), "the end chunk is broken", kData},
                        {"no image data", withoutChunk(file, "IDAT"), "there is no image data", kChunk},
                        {"more data behind a text", encodePng(interrupted), "the image data is interrupted", kTaken},
                        {"sides above 32768", withSides(0x80), kTaken, kTooLarge},
                        {"sides above 28672", withSides(0x70), kTaken, kTooShort},
                        {"index 3 of 2", encodePng(palette), kTaken, "a pixel has no color in the palette"}});
}

GifRecipe gifOf(std::uint16_t width, std::uint16_t height) {
  GifRecipe recipe;
  recipe.width = width;
  recipe.height = height;
  recipe.globalMap = Bytes(8 * 3, 7);
  GifFrameRecipe frame;
  frame.width = 4;
  frame.height = 2;
  frame.indexes = {0, 1, 2, 3, 4, 5, 6, 7};
  recipe.frames = {frame};
  return recipe;
}

TEST(Refusals, OfGifSayWhy) {
  const Bytes file = gifFile(gifOf(4, 2));
  const std::size_t codeSize = 13 + 8 * 3 + 10;
  GifRecipe empty = gifOf(4, 2);
  empty.frames.clear();
  GifRecipe fewColors = gifOf(4, 2);
  fewColors.globalMap.resize(4 * 3);
  Bytes shortRow = file;
  shortRow.resize(codeSize);
  const Bytes data = gifImageData({0, 1, 2}, 3);
  shortRow.insert(shortRow.end(), data.begin(), data.end());
  shortRow.push_back(0x3B);
  Bytes noData = firstOf(file, codeSize + 1);
  noData.insert(noData.end(), {0, 0x3B});
  constexpr const char* kHeader = "the header is broken or ends early";
  constexpr const char* kData = "the data of a frame are empty, cut short or of no code size";
  constexpr const char* kCut = "a record is broken, or the file ends before its trailer";
  const auto both = [](const char* what, const Bytes& bytes, const char* why) { return Case{what, bytes, why, why}; };
  expectReasons("GIF",
                {both("whole", file, kTaken),
                 both("version 88a", with(file, 4, '8'), kHeader),
                 both("cut in the screen", firstOf(file, 10), kHeader),
                 both("no columns", gifFile(gifOf(0, 2)), "the screen has no pixels"),
                 both("32769 x 32768", gifFile(gifOf(32769, 32768)), kTooLarge),
                 both("a narrow screen", gifFile(gifOf(3, 2)), "the first frame leaves the screen"),
                 both("code size 1", with(file, codeSize, 1), kData),
                 both("code size 9", with(file, codeSize, 9), kCut),
                 both("no data", noData, kData),
                 both("cut in the data", firstOf(file, codeSize + 3), kData),
                 both("no trailer", firstOf(file, file.size() - 1), kCut),
                 both("another record", with(file, file.size() - 1, 0x3C), "a record is none that the format has"),
                 both("no frame", gifFile(empty), "there is no frame"),
                 {"a short row", shortRow, kTaken, "a row of the first frame does not decode"},
                 {"index 4 of 4", gifFile(fewColors), kTaken, "a pixel has no color in the color map"}});
}

TEST(Refusals, OfWebpSayWhy) {
  const WebpPicture picture{3, 5, std::vector<int>(60, 255)};
  const Bytes file = losslessWebp(picture);
  std::vector<WebpChunk> cut = webpChunks(lossyWebp(picture));
  cut.front().payload.resize(cut.front().payload.size() - 8);
  const Bytes large =
      webpFile({webpHeader(0x02, 40000, 40000), webpAnimation(), webpFrame(losslessWebp(picture), 0, 0, 3, 5)});
  constexpr const char* kContainer = "the container is broken or ends early";
  expectReasons("WebP", {{"whole", file, kTaken, kTaken},
                         {"another container", with(file, 8, 'X'), kContainer, kContainer},
                         {"cut", firstOf(file, file.size() - 1), kContainer, kContainer},
                         {"sides of 40000", large, kTooLarge, kTooLarge},
                         {"a picture cut short", webpFile(cut), kTaken, "the image data is damaged or not complete"}});
}

TEST(Refusals, OfTiffFilesThatMayBeRawSayWhy) {
  const TiffPage page = tiffPage(picture(kRgb, 3, 8, 30, 20));
  const auto pageWith = [&](const TiffEntry& entry) { return tiffFile({TiffPage(page).set(entry)}); };
  const auto pageAbove = [&](std::uint32_t width, std::uint32_t subfileType) {
    TiffPage whole = page;
    whole.subdirectories = {tiffPage(picture(kRgb, 3, 8, width, 20)).set({254, TiffType::longInteger, {subfileType}})};
    return tiffFile({whole});
  };
  const auto both = [](const char* what, const Bytes& bytes, const char* why) { return Case{what, bytes, why, why}; };
  constexpr const char* kSensorData = "a directory holds sensor data of a raw format";
  constexpr const char* kNoCopy = "a subdirectory holds no smaller copy of its picture";
  expectReasons(
      "TIFF",
      {both("a smaller copy", pageAbove(15, 1), kTaken), both("a larger one", pageAbove(31, 1), kNoCopy),
       both("a smaller picture", pageAbove(15, 0), kNoCopy),
       both("Canon's mark", tiffFile({page}, {.behindHeader = bytesOf("CR\x02\0\0\0\0\0"s)}),
            "the header of a raw format"),
       both("DNGVersion", pageWith({50706, TiffType::byte, {1, 4, 0, 0}}), kSensorData),
       both("a mosaic", pageWith({262, TiffType::shortInteger, {32803}}), kSensorData),
       both("a reduced copy", pageWith({254, TiffType::longInteger, {1}}),
            "the first picture is a reduced copy or a mask"),
       both("a directory outside", pageWith({330, TiffType::longInteger, {0xFFFFFFF0}}), "a subdirectory is broken"),
       both("a pointer of 16 bits", pageWith({330, TiffType::shortInteger, {8}}),
            "a pointer to subdirectories is broken, or there are too many")});
}

TEST(Refusals, OfTiffSayWhy) {
  const TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 30, 20));
  const Bytes file = tiffFile({page});
  const auto pageWith = [&](const TiffEntry& entry) { return tiffFile({TiffPage(page).set(entry)}); };
  const auto pageWithSides = [&](std::uint32_t sides) {
    TiffPage large = page;
    for (const int tag : {256, 257, 278}) large.set({static_cast<std::uint16_t>(tag), TiffType::longInteger, {sides}});
    return tiffFile({large});
  };
  TiffPage withoutModel = page;
  std::erase_if(withoutModel.entries, [](const TiffEntry& entry) { return entry.tag == 262; });
  TiffPage cut = compressedTiffPage(picture(kRgb, 3, 8, 33, 40), 8);
  cut.chunks[0].resize(cut.chunks[0].size() / 2);
  constexpr const char* kHeader = "there is no TIFF header";
  constexpr const char* kDirectory = "a directory is broken";
  expectReasons(
      "TIFF",
      {{"whole", file, kTaken, kTaken},
       {"no header", with(file, 2, 43), kHeader, kHeader},
       {"a directory outside", with(file, 7, 0x7F), kDirectory, kDirectory},
       {"a second directory outside", with(file, file.size() - 1, 0x7F), kDirectory, kDirectory},
       {"sides of 32769", pageWithSides(32769), kTooLarge, kTooLarge},
       {"sides of 32768", pageWithSides(32768), kTaken, kTooShort},
       {"signed", pageWith({339, TiffType::shortInteger, {2}}), kTaken, "samples that are signed or no integers"},
       {"no color model", tiffFile({withoutModel}), kTaken, "no color model"},
       {"JPEG 2000", pageWith({259, TiffType::shortInteger, {34712}}), kTaken, "a compression that is not decoded"},
       {"32 bits", tiffFile({tiffPage(picture(kMinIsBlack, 1, 32, 3, 5))}), kTaken,
        "a color model with samples that are not decoded"},
       {"a strip cut short", tiffFile({cut}), kTaken, "the image data is damaged or not complete"}});
}

}  // namespace
}  // namespace quellor
