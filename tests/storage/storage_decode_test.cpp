#include "storage/storage_decode.h"

#include <new>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::FakeImage;
using test_support::FakePlatform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

ColorSpace rgbSpace() { return {ColorModel::rgb, "Some Space", std::make_shared<const Bytes>(Bytes{1, 2, 3}), true}; }

Raster rasterOf(std::uint32_t width, std::uint32_t height, SampleModel model = SampleModel::rgb) {
  Raster raster;
  raster.width = width;
  raster.height = height;
  raster.model = model;
  return raster;
}

Image imageOf(std::uint32_t width, std::uint32_t height) { return {rasterOf(width, height), rgbSpace()}; }

template <typename Step>
std::string raisedBy(Step step) {
  try {
    step();
    return "nothing";
  } catch (const StorageError& error) {
    return error.domain + " " + std::to_string(error.code) + " " + error.description + " " + error.what();
  }
}

std::string raisedByNormalizing(const FakePlatform& platform, const Image& image) {
  return raisedBy([&] { normalizeToRGBA8StoragePixels(platform.images, image); });
}

Bytes pixelsOf(const FakePlatform& platform, const Image& image) {
  const PixelBuffer pixels = normalizeToRGBA8StoragePixels(platform.images, image).first;
  return {pixels.bytes().begin(), pixels.bytes().end()};
}

TEST(LoadStorageCGImage, OpensAndDecodesImage0) {
  FakePlatform platform;
  FakeImage fake;
  fake.image = {rasterOf(30, 20), rgbSpace()};
  fake.properties->set("Orientation", 6);
  platform.add("/in.png", fake);
  const Image image = loadStorageCGImage(platform.images, "/in.png");
  EXPECT_EQ(image.width(), 30u);
  EXPECT_EQ(image.height(), 20u);
  EXPECT_THAT(platform.calls, ElementsAre("open /in.png", "decode 0"));
}

TEST(LoadStorageCGImage, RaisesCode1WithoutASource) {
  FakePlatform platform;
  EXPECT_EQ(raisedBy([&] { (void)loadStorageCGImage(platform.images, "/in.heic"); }),
            "heic 1 image_source_create_failed image_source_create_failed");
}

TEST(LoadStorageCGImage, RaisesCode2WhenImage0DoesNotDecode) {
  FakePlatform platform;
  FakeImage broken;
  broken.image = std::nullopt;
  platform.add("/in.heic", broken);
  EXPECT_EQ(raisedBy([&] { (void)loadStorageCGImage(platform.images, "/in.heic"); }),
            "heic 2 no_primary_image no_primary_image");
}

TEST(NormalizeToRGBA8StoragePixels, DrawsIntoWidthTimes4TimesHeightBytes) {
  const FakePlatform platform;
  EXPECT_EQ(pixelsOf(platform, imageOf(1, 1)).size(), 4u);
  EXPECT_EQ(pixelsOf(platform, imageOf(3, 2)).size(), 24u);
  EXPECT_THAT(platform.calls, ElementsAre("context 1x1", "context 3x2"));
}

TEST(NormalizeToRGBA8StoragePixels, TurnsAFourthByteOf0Into255AndLeavesEveryOther) {
  const FakePlatform platform;
  EXPECT_THAT(pixelsOf(platform, imageOf(2, 2)),
              ElementsAre(10, 20, 30, 255, 11, 21, 31, 1, 12, 22, 32, 2, 13, 23, 33, 3));
}

TEST(NormalizeToRGBA8StoragePixels, StartsFromABlackImage) {
  FakePlatform platform;
  platform.images.drawing = [](const Raster&, std::span<std::uint8_t>) { return true; };
  EXPECT_THAT(pixelsOf(platform, imageOf(1, 2)), ElementsAre(0, 0, 0, 255, 0, 0, 0, 255));
}

TEST(NormalizeToRGBA8StoragePixels, GathersTheFactsOfTheDecodedImage) {
  const FakePlatform platform;
  const auto [pixels, meta] = normalizeToRGBA8StoragePixels(platform.images, imageOf(30, 20));
  EXPECT_EQ(meta.width, 30);
  EXPECT_EQ(meta.height, 20);
  EXPECT_EQ(meta.alphaInfo, "noneSkipLast");
  EXPECT_EQ(meta.colorSpaceName, "Some Space");
  EXPECT_EQ(meta.iccSHA256, "039058c6f2c0cb492c533b0a4d14ef77cc0f78abccced5287d84a1a2011cfb81");
}

TEST(NormalizeToRGBA8StoragePixels, NamesTheAlphaLayoutThatThePixelsHaveLost) {
  const FakePlatform platform;
  const auto layoutOf = [&](const Raster& raster) {
    return normalizeToRGBA8StoragePixels(platform.images, Image(raster, rgbSpace())).second.alphaInfo;
  };
  Raster raster = rasterOf(1, 1);
  raster.alpha = Component{};
  EXPECT_EQ(layoutOf(raster), "last");
  raster.premultiplied = true;
  EXPECT_EQ(layoutOf(raster), "premultipliedLast");
}

TEST(NormalizeToRGBA8StoragePixels, LeavesOutANameAndAProfileThatTheSpaceDoesNotHave) {
  const FakePlatform platform;
  const Image image(rasterOf(1, 1), ColorSpace(ColorModel::rgb, std::nullopt, nullptr, false));
  const auto meta = normalizeToRGBA8StoragePixels(platform.images, image).second;
  EXPECT_FALSE(meta.colorSpaceName);
  EXPECT_FALSE(meta.iccSHA256);
}

TEST(NormalizeToRGBA8StoragePixels, RaisesCode3WithoutAColorSpaceWhateverTheDimensions) {
  const FakePlatform platform;
  for (const auto& [width, height] : {std::pair(2u, 2u), std::pair(0u, 0u)}) {
    const Image image(rasterOf(width, height), std::nullopt);
    EXPECT_EQ(raisedByNormalizing(platform, image), "heic 3 missing_color_space missing_color_space");
  }
  EXPECT_THAT(platform.calls, IsEmpty());
}

TEST(NormalizeToRGBA8StoragePixels, RaisesCode4ForADimensionBelow1) {
  const FakePlatform platform;
  for (const auto& [width, height] : {std::pair(0u, 1u), std::pair(1u, 0u), std::pair(0u, 0u)}) {
    EXPECT_EQ(raisedByNormalizing(platform, imageOf(width, height)), "heic 4 invalid_dimensions invalid_dimensions");
  }
  EXPECT_THAT(platform.calls, IsEmpty());
}

TEST(NormalizeToRGBA8StoragePixels, RaisesCode5ForGreyAndCmyk) {
  const FakePlatform platform;
  for (const ColorModel model : {ColorModel::grey, ColorModel::cmyk}) {
    const SampleModel samples = model == ColorModel::grey ? SampleModel::grey : SampleModel::cmyk;
    const Image image(rasterOf(2, 2, samples), ColorSpace(model, "Some Space", nullptr, false));
    EXPECT_EQ(raisedByNormalizing(platform, image), "heic 5 rgba_draw_failed rgba_draw_failed");
  }
}

TEST(NormalizeToRGBA8StoragePixels, RaisesCode5WhereNothingCanBeDrawn) {
  FakePlatform platform;
  const Image grey(rasterOf(2, 2, SampleModel::grey), rgbSpace());
  EXPECT_EQ(raisedByNormalizing(platform, grey), "heic 5 rgba_draw_failed rgba_draw_failed");
  platform.images.drawing = nullptr;
  EXPECT_EQ(raisedByNormalizing(platform, imageOf(2, 2)), "heic 5 rgba_draw_failed rgba_draw_failed");
}

TEST(StorageByteCount, IsTheProductOfTheSizes) {
  EXPECT_EQ(storageByteCount(1, 1), 4);
  EXPECT_EQ(storageByteCount(3000, 4000), 48'000'000);
  EXPECT_EQ(storageByteCount(INT64_MAX / 4, 1), INT64_MAX - 3);
}

TEST(StorageByteCountDeathTest, StopsTheProcessWhenItOverflows) {
  EXPECT_DEATH(storageByteCount(INT64_MAX / 4 + 1, 1), "");
  EXPECT_DEATH(storageByteCount(INT64_MAX / 8, 3), "");
}

TEST(NormalizeToRGBA8StoragePixelsDeathTest, StopsTheProcessOnAnImageTooLargeToCount) {
  const FakePlatform platform;
  EXPECT_DEATH(raisedByNormalizing(platform, imageOf(UINT32_MAX, UINT32_MAX)), "");
}

#if defined(__SANITIZE_ADDRESS__)
#define QUELLOR_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUELLOR_ADDRESS_SANITIZER
#endif
#endif

TEST(PixelBuffer, RaisesBadAllocForMoreThanThereIs) {
#ifdef QUELLOR_ADDRESS_SANITIZER
  GTEST_SKIP() << "the sanitizer's allocator ends the process instead";
#else
  EXPECT_THROW(PixelBuffer::zeroed(INT64_MAX), std::bad_alloc);
#endif
}

TEST(AlphaInfoLabel, FollowsTheNumbersOfTheProtocol) {
  const char* const labels[] = {"none",  "premultipliedLast", "premultipliedFirst", "last",
                                "first", "noneSkipLast",      "noneSkipFirst",      "alphaOnly"};
  for (std::uint32_t value = 0; value < 8; ++value) EXPECT_EQ(alphaInfoLabel(value), labels[value]);
  for (const std::uint32_t value : {8u, 9u, 255u, 0x4005u, UINT32_MAX}) EXPECT_EQ(alphaInfoLabel(value), "unknown");
  EXPECT_EQ(alphaInfoLabel(static_cast<std::uint32_t>(AlphaInfo::alphaOnly)), "alphaOnly");
}

}  // namespace
}  // namespace quellor
