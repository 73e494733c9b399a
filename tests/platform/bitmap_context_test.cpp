#include "platform/bitmap_context.h"

#include <array>

#include <gtest/gtest.h>

#include "platform/values/bytes.h"
#include "platform/image_services.h"
#include "platform/pixels/pixel_engine.h"

namespace quellor {
namespace {

bool drawSevens(const Raster& raster, std::span<std::uint8_t> pixels) noexcept {
  if (raster.model == SampleModel::grey) return false;
  for (std::uint8_t& byte : pixels) byte = 7;
  return true;
}

constexpr PixelEngine kSevens{drawSevens, nullptr};

ColorSpace spaceOf(ColorModel model) { return {model, std::nullopt, nullptr, false}; }

Image imageOf(std::uint32_t width, std::uint32_t height, SampleModel model = SampleModel::rgb) {
  Image image;
  image.raster.width = width;
  image.raster.height = height;
  image.raster.model = model;
  return image;
}

TEST(BitmapContext, DrawsThroughTheEngineIntoItsPixels) {
  Bytes pixels(24);
  const auto context = BitmapContext::create(&kSevens, 3, 2, spaceOf(ColorModel::rgb), pixels);
  ASSERT_TRUE(context);
  EXPECT_TRUE(context->draw(imageOf(3, 2)));
  EXPECT_EQ(pixels, Bytes(24, 7));
}

TEST(BitmapContext, RefusesSpacesWithoutThreeComponents) {
  Bytes pixels(24);
  EXPECT_FALSE(BitmapContext::create(&kSevens, 3, 2, spaceOf(ColorModel::grey), pixels));
  EXPECT_FALSE(BitmapContext::create(&kSevens, 3, 2, spaceOf(ColorModel::cmyk), pixels));
}

TEST(BitmapContext, RefusesMemoryThatDoesNotFitItsSize) {
  const struct {
    const char* why;
    std::int64_t width, height;
    std::size_t room;
  } cases[] = {
      {"a byte short", 3, 2, 23},
      {"a byte more", 3, 2, 25},
      {"a row more", 3, 2, 36},
      {"no width", 0, 2, 0},
      {"no height", 3, 0, 0},
      {"negative", -3, -2, 24},
      {"a product that overflows to 0", std::int64_t{1} << 31, std::int64_t{1} << 31, 0},
  };
  for (const auto& c : cases) {
    Bytes pixels(c.room);
    EXPECT_FALSE(BitmapContext::create(&kSevens, c.width, c.height, spaceOf(ColorModel::rgb), pixels)) << c.why;
  }
}

TEST(BitmapContext, DrawsOnlyAnImageOfItsSizeAndNothingThatTheEngineRefuses) {
  Bytes pixels(24);
  const auto context = BitmapContext::create(&kSevens, 3, 2, spaceOf(ColorModel::rgb), pixels);
  EXPECT_FALSE(context->draw(imageOf(2, 3)));
  EXPECT_FALSE(context->draw(imageOf(3, 2, SampleModel::grey)));
  EXPECT_EQ(pixels, Bytes(24, 0));
}

TEST(BitmapContext, IsAbsentWithoutAnEngine) {
  Bytes pixels(4);
  EXPECT_FALSE(BitmapContext::create(nullptr, 1, 1, spaceOf(ColorModel::rgb), pixels));
  const SystemImageServices withoutModules(ModuleLoader("/nonexistent"));
  EXPECT_FALSE(withoutModules.createBitmapContext(1, 1, spaceOf(ColorModel::rgb), pixels));
}

TEST(BitmapContext, OfTheImageServicesDrawsStoredColours) {
  const SystemImageServices services{ModuleLoader(QUELLOR_MODULES)};
  const std::array<std::uint8_t, 6> samples = {255, 0, 1, 2, 128, 254};
  Image image = imageOf(2, 1);
  for (std::size_t i = 0; i < 3; ++i) image.raster.components.push_back({samples.data() + i, 3, 6, 2, 1});
  Bytes pixels(8);
  const auto context = services.createBitmapContext(2, 1, spaceOf(ColorModel::rgb), pixels);
  ASSERT_TRUE(context);
  ASSERT_TRUE(context->draw(image));
  EXPECT_EQ(pixels, (Bytes{255, 0, 1, 255, 2, 128, 254, 255}));
}

}  // namespace
}  // namespace quellor
