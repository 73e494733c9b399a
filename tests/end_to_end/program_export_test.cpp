// The operation export-storage-pixels, seen from its caller: pictures of known samples in, raw files out.

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/byte_texts.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/png_fixture.h"
#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/stored_pixels.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/tiff_fixture.h"
#include "tests/support/webp_fixture.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ask;
using test_support::encodePng;
using test_support::expectFailure;
using test_support::exportPixelsOf;
using test_support::JpegSpec;
using test_support::PngSpec;
using test_support::request;
using test_support::StoredPixels;
using test_support::TemporaryDirectory;
using test_support::with;

constexpr int kPngGrey = 0, kPngRgb = 2, kPngGreyAlpha = 4, kPngRgba = 6;

using SampleOf = std::uint32_t (*)(std::uint32_t x, std::uint32_t y, std::uint32_t component);

PngSpec pngOf(std::uint32_t width, std::uint32_t height, int colorType, SampleOf sample) {
  PngSpec spec;
  spec.width = width;
  spec.height = height;
  spec.colorType = colorType;
  spec.sample = sample;
  return spec;
}

Bytes jpegOf(JpegSpec::Coding coding) {
  JpegSpec spec;
  spec.coding = coding;
  return test_support::encodeJpeg(spec);
}

/// One red pixel beside a blue one.
Bytes redAndBlue() {
  return encodePng(pngOf(2, 1, kPngRgb, [](std::uint32_t x, std::uint32_t, std::uint32_t i) {
    return (x == 0 && i == 0) || (x == 1 && i == 2) ? 255U : 0U;
  }));
}

/// The pixels that a function gives, each with a fourth byte of 255.
template <typename Expected>
void expectPixels(const StoredPixels& stored, std::uint32_t width, std::uint32_t height, Expected expected) {
  ASSERT_TRUE(stored.written()) << stored.answer;
  ASSERT_EQ(stored.width(), width);
  ASSERT_EQ(stored.height(), height);
  const ByteView pixels = stored.pixels();
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      for (std::uint32_t i = 0; i < 4; ++i) {
        const auto wanted = i == 3 ? 255U : static_cast<unsigned>(expected(x, y, i));
        ASSERT_EQ(pixels[(std::size_t{y} * width + x) * 4 + i], wanted) << x << "," << y << " component " << i;
      }
    }
  }
}

/// A sample that differs between neighbours in every direction and component.
std::uint32_t patternSample(std::uint32_t x, std::uint32_t y, std::uint32_t component) {
  return (x * 37 + y * 101 + component * 59 + x * y) & 0xFF;
}

void expectRefusedToDraw(const Bytes& file) {
  expectFailure(exportPixelsOf(file).answer, "internal_error", "rgba_draw_failed");
}

TEST(ExportedFile, OfTwoPixelsHas23Bytes) {
  const StoredPixels stored = exportPixelsOf(redAndBlue());
  ASSERT_TRUE(stored.written()) << stored.answer;
  EXPECT_EQ(stored.file, std::string("RGBA\x01\x02\0\0\0\x01\0\0\0\x04\0\xff\0\0\xff\0\0\xff\xff", 23));
  const json& facts = stored.answer["storageExport"];
  EXPECT_EQ(facts["width"], 2);
  EXPECT_EQ(facts["height"], 1);
  EXPECT_EQ(facts["bytesPerPixel"], 4);
  EXPECT_TRUE(facts["orientationApplied"].is_number_integer());
  EXPECT_EQ(facts["orientationApplied"], 0);
  EXPECT_EQ(facts["alphaInfo"], "noneSkipLast");
  EXPECT_EQ(stored.answer["warnings"], json::array({"storage_pixel_no_orientation_transform"}));
  for (const char* absent : {"output", "quality", "removedItems", "error"}) {
    EXPECT_FALSE(stored.answer.contains(absent));
  }
  for (const char* absent : {"path", "decodeValidated"}) EXPECT_FALSE(stored.answer["input"].contains(absent));
}

TEST(ExportedFile, OfOnePixelHas19Bytes) {
  const Bytes pixel =
      encodePng(pngOf(1, 1, kPngRgb, [](std::uint32_t, std::uint32_t, std::uint32_t i) { return i * 100; }));
  EXPECT_EQ(exportPixelsOf(pixel).file, std::string("RGBA\x01\x01\0\0\0\x01\0\0\0\x04\0\0\x64\xc8\xff", 19));
}

TEST(ExportedPixels, OfAnOpaquePngAreItsSamples) {
  for (const bool interlaced : {false, true}) {
    PngSpec spec = pngOf(301, 203, kPngRgb, patternSample);
    spec.interlaced = interlaced;
    expectPixels(exportPixelsOf(encodePng(spec)), 301, 203, patternSample);
  }
}

TEST(ExportedPixels, AreNotConvertedToAnotherColorSpace) {
  // 1 millionth steps (PNG, 11.3.2.1 and 11.3.2.3): the chromaticities of Adobe RGB (1998) and its gamma.
  PngSpec spec = pngOf(64, 64, kPngRgb, patternSample);
  spec.gamma = 256.0 / 563;
  test_support::PngChunk chromaticities{"cHRM", {}};
  for (const std::uint32_t value : {31270U, 32900U, 64000U, 33000U, 21000U, 71000U, 15000U, 6000U})
    for (int shift = 24; shift >= 0; shift -= 8) {
      chromaticities.data.push_back(static_cast<std::uint8_t>(value >> shift));
    }
  spec.chunksBeforeData = {chromaticities};
  expectPixels(exportPixelsOf(encodePng(spec)), 64, 64, patternSample);

  // With a profile: that of the example photo, Display P3.
  const std::string photo = test_support::contentsOf(std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic");
  const std::size_t tag = photo.find("colrprof");
  ASSERT_NE(tag, std::string::npos);
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(photo.data());
  const std::size_t size = (std::size_t{bytes[tag - 2]} << 8 | bytes[tag - 1]) - 12;
  PngSpec profiled = pngOf(64, 64, kPngRgb, patternSample);
  profiled.iccProfile.assign(bytes + tag + 8, bytes + tag + 8 + size);
  const StoredPixels stored = exportPixelsOf(encodePng(profiled));
  expectPixels(stored, 64, 64, patternSample);
  EXPECT_EQ(stored.answer["storageExport"]["colorSpaceName"], "kCGColorSpaceDisplayP3");
  EXPECT_EQ(stored.answer["storageExport"]["iccProfileSHA256"], stored.answer["input"]["iccProfileSHA256"]);
}

TEST(ExportedPixels, Of16BitsAreRoundedToTheNearest) {
  PngSpec spec = pngOf(256, 256, kPngRgb, [](std::uint32_t x, std::uint32_t y, std::uint32_t i) {
    return i == 1 ? 65535 - y * 256 - x : y * 256 + x;
  });
  spec.bitDepth = 16;
  expectPixels(exportPixelsOf(encodePng(spec)), 256, 256, [&](std::uint32_t x, std::uint32_t y, std::uint32_t i) {
    return std::lround(spec.sample(x, y, i) * 255.0 / 65535.0);
  });
}

/// Every 8-bit colour (by columns) with every alpha (by rows).
std::uint32_t everyCombination(std::uint32_t x, std::uint32_t y, std::uint32_t i) {
  return i == 3 ? y : i == 0 ? x : i == 1 ? 255 - x : x ^ y;
}

long compositedOverBlack(std::uint32_t x, std::uint32_t y, std::uint32_t i) {
  return std::lround(everyCombination(x, y, i) * y / 255.0);
}

TEST(ExportedPixels, WithStraightAlphaAreCompositedOverBlack) {
  const PngSpec spec = pngOf(256, 256, kPngRgba, everyCombination);
  const StoredPixels stored = exportPixelsOf(encodePng(spec));
  expectPixels(stored, 256, 256, compositedOverBlack);
  EXPECT_EQ(stored.answer["storageExport"]["alphaInfo"], "last");

  test_support::WebpPicture picture{256, 256, {}};
  for (std::uint32_t i = 0; i < 256 * 256 * 4; ++i) {
    picture.rgba.push_back(static_cast<int>(everyCombination(i / 4 % 256, i / 1024, i % 4)));
  }
  expectPixels(exportPixelsOf(test_support::losslessWebp(picture)), 256, 256, compositedOverBlack);
}

TEST(ExportedPixels, WithPremultipliedAlphaAreTheirOwn) {
  constexpr std::uint32_t kAssociatedAlpha = 1;  // TIFF 6.0, section 18
  test_support::TiffPicture picture;
  picture.width = picture.height = 256;
  picture.samples = 4;
  picture.photometric = 2;
  picture.extraSamples = {kAssociatedAlpha};
  const auto premultiplied = [](std::uint32_t x, std::uint32_t y, std::uint32_t i) {
    return i == 3 ? y : everyCombination(x, y, i) * y / 255;
  };
  for (std::uint32_t i = 0; i < 256 * 256 * 4; ++i) {
    picture.values.push_back(premultiplied(i / 4 % 256, i / 1024, i % 4));
  }
  const StoredPixels stored = exportPixelsOf(test_support::tiffFile({test_support::tiffPage(picture)}));
  expectPixels(stored, 256, 256, premultiplied);
  EXPECT_EQ(stored.answer["storageExport"]["alphaInfo"], "premultipliedLast");
}

/// An Exif block with nothing but an orientation (Exif 2.32, 4.6.4).
Bytes exifWithOrientation(std::uint8_t orientation) {
  return test_support::bytesOf(std::string("Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0", 24),
                               {orientation, 0, 0, 0, 0, 0, 0, 0});
}

TEST(ExportedPixels, AreNotTurned) {
  JpegSpec spec;  // with a pattern that no turn leaves as it is
  spec.width = 40;
  spec.height = 24;
  const StoredPixels unturned = exportPixelsOf(test_support::encodeJpeg(spec));
  ASSERT_TRUE(unturned.written()) << unturned.answer;
  for (std::uint8_t orientation = 1; orientation <= 8; ++orientation) {
    spec.segments = {{0xE1, exifWithOrientation(orientation)}};
    const StoredPixels stored = exportPixelsOf(test_support::encodeJpeg(spec));
    ASSERT_TRUE(stored.written()) << stored.answer;
    EXPECT_EQ(stored.answer["input"]["orientation"], orientation);
    EXPECT_EQ(stored.file, unturned.file) << int{orientation};
    EXPECT_EQ(stored.answer["warnings"], json::array({"storage_pixel_no_orientation_transform"}));
  }
}

TEST(ExportedPixels, OfGreyImagesAreRefused) {
  expectRefusedToDraw(encodePng(pngOf(5, 3, kPngGrey, patternSample)));
  expectRefusedToDraw(encodePng(pngOf(5, 3, kPngGreyAlpha, patternSample)));
  PngSpec deep = pngOf(5, 3, kPngGrey, patternSample);
  deep.bitDepth = 16;
  expectRefusedToDraw(encodePng(deep));
  expectRefusedToDraw(jpegOf(JpegSpec::Coding::grey));
}

TEST(ExportedPixels, OfCmykImagesAreRefused) {
  expectRefusedToDraw(jpegOf(JpegSpec::Coding::cmyk));
  expectRefusedToDraw(jpegOf(JpegSpec::Coding::ycck));
}

TEST(ExportedFile, IsRefusedInItsOrderOfChecks) {
  const TemporaryDirectory folder;
  const Bytes picture = redAndBlue();
  const auto input = folder.write("a.png", {reinterpret_cast<const char*>(picture.data()), picture.size()});
  const auto existing = folder.write("exists.raw", "precious");
  const json missing = request("export-storage-pixels", folder.path() / "missing.png");
  const json good = request("export-storage-pixels", input);

  expectFailure(ask(missing), "invalid_request", "outputPath (raw file) is required");
  expectFailure(ask(with(missing, "outputPath", "")), "invalid_request", "outputPath (raw file) is required");
  test_support::expectInputNotFound(ask(with(missing, "outputPath", existing.string())));
  for (const auto& taken : {existing, folder.path()}) {
    expectFailure(ask(with(good, "outputPath", taken.string())), "invalid_request", "raw output path already exists");
  }
  EXPECT_EQ(test_support::contentsOf(existing), "precious");

  const json nowhere = ask(with(good, "outputPath", (folder.path() / "no" / "such" / "a.raw").string()));
  EXPECT_EQ(nowhere["error"]["code"], "internal_error");
  EXPECT_THAT(nowhere["error"]["message"].get<std::string>(), testing::HasSubstr("a.raw"));
  EXPECT_FALSE(nowhere.contains("input") || nowhere.contains("storageExport"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "no"));
}

TEST(ExportedFile, IsNotMadeOfWhatCannotBeRead) {
  const TemporaryDirectory folder;
  const auto text = folder.write("a.heic", "no picture");
  const std::string output = (folder.path() / "a.raw").string();
  test_support::expectNoImageSource(ask(with(request("export-storage-pixels", text), "outputPath", output)));
  Bytes cut = redAndBlue();
  cut.resize(test_support::pngChunks(cut).at(1).offset + 10);  // in the midst of the image data
  const auto png = folder.write("cut.png", {reinterpret_cast<const char*>(cut.data()), cut.size()});
  const json answer = ask(with(request("export-storage-pixels", png), "outputPath", output));
  EXPECT_EQ(answer["success"], false);
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST(ExportedFile, IsNamedAsTheRequestNamesIt) {
  const TemporaryDirectory folder;
  const Bytes picture = redAndBlue();
  const auto input = folder.write("a.png", {reinterpret_cast<const char*>(picture.data()), picture.size()});
  test_support::ProcessOptions options;
  options.workingDirectory = folder.path();
  const json answer = ask(with(request("export-storage-pixels", input.filename()), "outputPath", "./b.raw"), options);
  ASSERT_TRUE(answer["success"].get<bool>()) << answer;
  EXPECT_EQ(answer["storageExport"]["rawPath"], "./b.raw");
  EXPECT_EQ(answer["operation"], "export-storage-pixels");
  EXPECT_EQ(std::filesystem::file_size(folder.path() / "b.raw"), 23U);
}

}  // namespace
}  // namespace quellor
