#include "platform/bitmap_context.h"

#include <array>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/image_services.h"
#include "platform/values/bytes.h"

namespace quellor {
namespace {

ColorSpace spaceOf(ColorModel model) { return {model, std::nullopt, nullptr, false}; }

Image imageOf(std::uint32_t width, std::uint32_t height, SampleModel model, std::vector<Component> components) {
  Raster raster;
  raster.width = width;
  raster.height = height;
  raster.model = model;
  raster.components = std::move(components);
  return {std::move(raster), std::nullopt};
}

TEST(BitmapContext, RefusesSpacesWithoutThreeComponents) {
  Bytes pixels(24);
  EXPECT_FALSE(bitmapContextOver(pixels, 3, 2, spaceOf(ColorModel::grey)));
  EXPECT_FALSE(bitmapContextOver(pixels, 3, 2, spaceOf(ColorModel::cmyk)));
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
    EXPECT_FALSE(bitmapContextOver(pixels, c.width, c.height, spaceOf(ColorModel::rgb))) << c.why;
  }
}

class Drawn : public testing::Test {
 protected:
  /// A row of two pixels.
  [[nodiscard]] Component color(std::size_t index) const { return {samples_.data() + index, 3, 6, 2, 1}; }

  const std::array<std::uint8_t, 6> samples_ = {255, 0, 1, 2, 128, 254};
  const Image image_ = imageOf(2, 1, SampleModel::rgb, {color(0), color(1), color(2)});
};

TEST_F(Drawn, StoredColorsAreSampleForSample) {
  Bytes pixels(8);
  const auto context = SystemImageServices().createBitmapContext(2, 1, spaceOf(ColorModel::rgb), pixels);
  ASSERT_TRUE(context);
  ASSERT_TRUE(context->draw(image_));
  EXPECT_EQ(pixels, (Bytes{255, 0, 1, 255, 2, 128, 254, 255}));
}

TEST_F(Drawn, NothingIsOfAnotherSizeOrOfGrey) {
  Bytes pixels(8);
  const auto context = bitmapContextOver(pixels, 1, 2, spaceOf(ColorModel::rgb));
  EXPECT_FALSE(context->draw(image_));
  EXPECT_FALSE(context->draw(imageOf(1, 2, SampleModel::grey, {{samples_.data(), 1, 1, 1, 2}})));
  EXPECT_EQ(pixels, Bytes(8, 0));
}

TEST_F(Drawn, NothingIsOfAnImageWhoseSamplesCannotBeMade) {
  Bytes pixels(8);
  const auto context = bitmapContextOver(pixels, 2, 1, spaceOf(ColorModel::rgb));
  const Image image({.width = 2, .height = 1}, std::nullopt, [] { return std::nullopt; });
  EXPECT_FALSE(context->draw(image));
  EXPECT_EQ(pixels, Bytes(8, 0));
}

}  // namespace
}  // namespace quellor
