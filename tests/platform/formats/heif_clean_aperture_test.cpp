#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "platform/heif/clean_aperture.h"
#include "platform/heif/container_reader.h"
#include "platform/pixels/rgbx_drawing.h"
#include "tests/support/format_samples.h"
#include "tests/support/heif_builder.h"
#include "tests/support/heif_output.h"

namespace quellor::heif {
namespace {

using test_support::box;
using test_support::FieldWriter;
using test_support::HeifBuilder;

struct Fraction {
  std::int32_t numerator;
  std::uint32_t denominator;
};

Bytes aperture(Fraction width, Fraction height, Fraction across, Fraction down) {
  FieldWriter writer;
  for (const auto& [numerator, denominator] : {width, height, across, down}) {
    writer.u32(static_cast<std::uint32_t>(numerator)).u32(denominator);
  }
  return writer.bytes;
}

using Rectangle = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t>;

std::optional<Rectangle> rectangleOf(const Bytes& payload) {
  const auto crop = cropBy(payload, 64, 100);
  if (!crop) return std::nullopt;
  return Rectangle{crop->left, crop->top, crop->width, crop->height};
}

// ISO/IEC 14496-12, 12.1.4: centred at the image's centre, (64 - 1) / 2 and (100 - 1) / 2, plus the offsets.
TEST(CropBy, PlacesTheApertureByItsCentre) {
  EXPECT_EQ(rectangleOf(aperture({64, 1}, {100, 1}, {0, 1}, {0, 1})), Rectangle(0, 0, 64, 100));
  EXPECT_EQ(rectangleOf(aperture({29, 1}, {99, 1}, {-35, 2}, {1, 2})), Rectangle(0, 1, 29, 99));
  EXPECT_EQ(rectangleOf(aperture({30, 1}, {50, 1}, {0, 1}, {0, 1})), Rectangle(17, 25, 30, 50));
  EXPECT_EQ(rectangleOf(aperture({60, 2}, {100, 2}, {-34, 2}, {50, 2})), Rectangle(0, 50, 30, 50));
  EXPECT_EQ(rectangleOf(aperture({1, 1}, {1, 1}, {63, 2}, {-99, 2})), Rectangle(63, 0, 1, 1));
}

TEST(CropBy, RoundsWhatLiesBetweenSamples) {
  EXPECT_EQ(rectangleOf(aperture({29, 1}, {99, 1}, {-17, 1}, {0, 1})), Rectangle(0, 0, 29, 99)) << "begins at 0.5";
  EXPECT_EQ(rectangleOf(aperture({57, 2}, {198, 4}, {-33, 2}, {0, 1})), Rectangle(1, 25, 29, 50)) << "28.5 and 49.5";
}

TEST(CropBy, DropsWhatLiesBeyondTheImage) {
  EXPECT_EQ(rectangleOf(aperture({200, 1}, {300, 1}, {0, 1}, {0, 1})), Rectangle(0, 0, 64, 100));
  EXPECT_EQ(rectangleOf(aperture({30, 1}, {50, 1}, {-27, 1}, {35, 1})), Rectangle(0, 60, 20, 40));
}

TEST(CropBy, IsAbsentWhereNothingIsLeft) {
  EXPECT_FALSE(rectangleOf(aperture({30, 1}, {50, 1}, {-1000, 1}, {0, 1})));
  EXPECT_FALSE(rectangleOf(aperture({30, 1}, {50, 1}, {0, 1}, {2147483647, 1})));
  EXPECT_FALSE(rectangleOf(aperture({0, 1}, {50, 1}, {0, 1}, {0, 1})));
  EXPECT_FALSE(rectangleOf(aperture({1, 3}, {50, 1}, {0, 1}, {0, 1}))) << "rounds to no column";
  for (int zero = 0; zero < 4; ++zero) {
    std::vector<Fraction> parts(4, Fraction{1, 1});
    parts[static_cast<std::size_t>(zero)] = {zero % 2, 0};
    EXPECT_FALSE(rectangleOf(aperture(parts[0], parts[1], parts[2], parts[3]))) << "denominator " << zero;
  }
  Bytes cut = aperture({64, 1}, {100, 1}, {0, 1}, {0, 1});
  cut.pop_back();
  EXPECT_FALSE(rectangleOf(cut));
}

constexpr std::uint32_t kPhotoWidth = 480;
constexpr std::uint32_t kPhotoHeight = 360;

/// A clean aperture of the example photo that begins at a sample.
Bytes photoAperture(const Rectangle& part) {
  const auto& [left, top, width, height] = part;
  const auto signedSize = [](std::uint32_t size) { return static_cast<std::int32_t>(size); };
  return box("clap", aperture({signedSize(width), 1}, {signedSize(height), 1},
                              {signedSize(2 * left + width) - signedSize(kPhotoWidth), 2},
                              {signedSize(2 * top + height) - signedSize(kPhotoHeight), 2}));
}

/// The example photo, coded in 4:2:0, without its metadata and orientation.
HeifBuilder photo() {
  std::ifstream stream(std::string(QUELLOR_EXAMPLES) + "/photo.heic", std::ios::binary);
  const Bytes file((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  const auto container = readContainer(file);
  const Item& item = *container->find(container->primaryItem);
  HeifBuilder builder;
  builder.items = {{1, "hvc1", test_support::dataOf(*container, item)}};
  for (const test_support::ItemProperty& property : test_support::propertiesOf(*container, item)) {
    if (property.type != "hvcC" && property.type != "ispe") continue;
    builder.properties.push_back(box(property.type, property.payload));
    builder.items[0].properties.emplace_back(builder.properties.size(), true);
  }
  return builder;
}

void addProperty(HeifBuilder& builder, std::size_t item, const Bytes& property) {
  builder.properties.push_back(property);
  builder.items[item].properties.emplace_back(builder.properties.size(), true);
}

/// Item 2, the same picture once more, as the alpha of item 1.
void addAlpha(HeifBuilder& builder) {
  builder.items.push_back({2, "hvc1", builder.items[0].data, builder.items[0].properties, true});
  addProperty(builder, 1, test_support::auxC("urn:mpeg:hevc:2015:auxid:1"));
  builder.references = {HeifBuilder::reference("auxl", 2, {1})};
}

Outcome<Raster> decoded(const HeifBuilder& builder) {
  return test_support::imageFormat("HEIF").decode(builder.build());
}

Outcome<Raster> decodedPart(const Rectangle& part) {
  HeifBuilder builder = photo();
  addProperty(builder, 0, photoAperture(part));
  return decoded(builder);
}

Bytes drawn(const Raster& raster) {
  Bytes pixels(std::size_t{raster.width} * raster.height * 4);
  EXPECT_TRUE(pixels::drawRgbx(raster, pixels));
  return pixels;
}

/// Rows of `pixels` that are not those of the whole picture. The outermost samples do not count: they are interpolated
/// from colour differences that the part has lost.
std::size_t differentRows(const Bytes& pixels, const Bytes& whole, const Rectangle& part) {
  const auto& [left, top, width, height] = part;
  std::size_t different = 0;
  for (std::uint32_t y = 1; y + 1 < height; ++y) {
    const auto* const there = whole.data() + ((top + y) * kPhotoWidth + left + 1) * 4;
    const auto* const here = pixels.data() + (y * width + 1) * 4;
    if (!std::equal(here, here + (width - 2) * 4, there)) ++different;
  }
  return different;
}

TEST(CleanAperture, IsDrawnLikeThatPartOfTheWholePicture) {
  const auto whole = decoded(photo());
  ASSERT_TRUE(whole);
  const Bytes wholePixels = drawn(*whole);
  const Rectangle parts[] = {{100, 50, 200, 100}, {101, 50, 200, 100}, {100, 51, 200, 100}, {101, 51, 200, 100},
                             {101, 51, 201, 101}, {1, 1, 479, 359},    {99, 49, 200, 101},  {0, 0, 479, 359},
                             {479, 359, 1, 1},    {478, 0, 2, 360}};
  for (const Rectangle& part : parts) {
    const auto& [left, top, width, height] = part;
    SCOPED_TRACE(testing::PrintToString(part));
    const auto raster = decodedPart(part);
    ASSERT_TRUE(raster);
    ASSERT_EQ(raster->width, width);
    ASSERT_EQ(raster->height, height);
    EXPECT_EQ(raster->components.at(1).width, (width + left % 2 + 1) / 2) << "still subsampled";
    EXPECT_EQ(raster->chromaPhase, (ChromaPhase{left % 2, top % 2}));
    EXPECT_EQ(differentRows(drawn(*raster), wholePixels, part), 0U);
  }
}

TEST(CleanAperture, IsThatOfAlphaToo) {
  const Rectangle part{101, 51, 200, 101};
  for (const bool repeated : {false, true}) {
    HeifBuilder builder = photo();
    addAlpha(builder);
    addProperty(builder, 0, photoAperture(part));
    if (repeated) addProperty(builder, 1, photoAperture(part));
    const auto raster = decoded(builder);
    ASSERT_TRUE(raster && raster->alpha) << repeated;
    EXPECT_EQ(raster->width, 200U);
    EXPECT_EQ(test_support::samplesOf(*raster->alpha, 8), test_support::samplesOf(raster->components[0], 8));
  }
}

TEST(CleanAperture, OfAlphaAloneIsTheLibrarysToMatch) {
  HeifBuilder builder = photo();
  addAlpha(builder);
  addProperty(builder, 0, photoAperture({100, 50, 200, 100}));
  addProperty(builder, 1, photoAperture({40, 30, 200, 100}));
  const auto raster = decoded(builder);
  ASSERT_TRUE(raster && raster->alpha);
  EXPECT_EQ(raster->width, 200U);
  // Nothing is scaled: the first sample of alpha is that of its own part.
  const auto whole = decoded(photo());
  EXPECT_EQ(test_support::sampleAt(*raster->alpha, 8, 0, 0), test_support::sampleAt(whole->components[0], 8, 40, 30));
}

TEST(CleanAperture, BeyondTheImageLeavesNoImage) {
  HeifBuilder builder = photo();
  addProperty(builder, 0, box("clap", aperture({10, 1}, {10, 1}, {-5000, 1}, {0, 1})));
  EXPECT_FALSE(decoded(builder));
}

}  // namespace
}  // namespace quellor::heif
