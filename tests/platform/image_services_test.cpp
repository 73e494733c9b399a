#include "platform/image_services.h"

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/image_properties.h"
#include "tests/support/heif_builder.h"
#include "tests/support/metadata_reading.h"
#include "tests/support/png_fixture.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::HeifBuilder;
using test_support::TemporaryDirectory;

class Services : public ::testing::Test {
 protected:
  [[nodiscard]] std::string write(const std::string& name, const Bytes& bytes) const {
    const std::string path = (folder_.path() / name).string();
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    return path;
  }

  SystemImageServices services_;

 private:
  TemporaryDirectory folder_;
};

/// A HEIF file with a sound structure around bytes that no decoder takes.
Bytes undecodableHeif() {
  HeifBuilder builder;
  builder.items = {{1, "hvc1", {1, 2, 3}}};
  return builder.build();
}

TEST_F(Services, OpenAFileByItsFirstBytesWhateverItsName) {
  EXPECT_NE(services_.openSource(write("picture.txt", undecodableHeif())), nullptr);
}

TEST_F(Services, OpenNothingThatIsNoImageOrWhoseStructureIsBroken) {
  Bytes broken = undecodableHeif();
  broken.resize(60);
  EXPECT_EQ(services_.openSource(write("broken.heic", broken)), nullptr);
  EXPECT_EQ(services_.openSource(write("text.heic", {'h', 'e', 'l', 'l', 'o'})), nullptr);
  EXPECT_EQ(services_.openSource(write("empty.heic", {})), nullptr);
  EXPECT_EQ(services_.openSource("/dev/null"), nullptr);
  EXPECT_EQ(services_.openSource(""), nullptr);
}

TEST_F(Services, GiveASourceThatAnswersForItsPrimaryImageOnly) {
  const auto source = services_.openSource(write("a.heic", undecodableHeif()));
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->count(), 1u);
  EXPECT_TRUE(source->propertiesAt(0));
  EXPECT_FALSE(source->propertiesAt(1));
  EXPECT_FALSE(source->imageAt(0)) << "these bytes are no picture";
  EXPECT_FALSE(source->imageAt(1));
  EXPECT_FALSE(source->auxiliaryDataInfoAt(0, auxiliary_data_type::kDepth));
  EXPECT_FALSE(source->auxiliaryDataInfoAt(0, "no such type"));
}

TEST_F(Services, GiveAnImageThatOutlivesItsSource) {
  test_support::PngSpec spec;
  spec.sample = [](auto...) { return 7U; };
  const std::string png = write("a.png", test_support::encodePng(spec));
  for (const std::string& file : {png, std::string(QUELLOR_EXAMPLES) + "/photo.heic"}) {
    const std::optional<Image> image = services_.openSource(file)->imageAt(0);
    ASSERT_TRUE(image);
    const Raster* const raster = image->raster();
    ASSERT_NE(raster, nullptr);
    EXPECT_TRUE(raster->hasSamples());
    EXPECT_EQ(raster->width, image->width());
    EXPECT_EQ(raster->height, image->height());
    EXPECT_EQ(Image(*image).raster(), raster) << "a copy has its samples made again";
  }
}

TEST(ImageSamples, AreMadeOnceAndOnlyWhenTheyAreAskedFor) {
  int made = 0;
  Raster raster;
  raster.width = 2;
  const Image image(shapeOf(raster), std::nullopt, [&] {
    ++made;
    return raster;
  });
  EXPECT_EQ(image.width(), 2U);
  EXPECT_EQ(made, 0);
  EXPECT_NE(image.raster(), nullptr);
  EXPECT_NE(image.raster(), nullptr);
  EXPECT_EQ(made, 1);
}

TEST(ImageSamples, AreAbsentWhereTheyCannotBeMadeOrAreNotWhatWasReported) {
  Raster raster;
  raster.width = 2;
  raster.height = 1;
  const RasterShape shape = shapeOf(raster);
  int asked = 0;
  const Image none(shape, std::nullopt, [&]() -> std::optional<Raster> {
    ++asked;
    return std::nullopt;
  });
  EXPECT_EQ(none.raster(), nullptr);
  EXPECT_EQ(none.raster(), nullptr);
  EXPECT_EQ(asked, 1) << "what failed once is not tried again";
  raster.width = 3;
  EXPECT_EQ(Image(shape, std::nullopt, [&] { return raster; }).raster(), nullptr);
}

TEST_F(Services, DescribeAnAuxiliaryImage) {
  HeifBuilder builder;
  builder.properties = {test_support::auxC("urn:com:apple:photo:2020:aux:hdrgainmap"), test_support::ispe(20, 10)};
  builder.items = {{1, "hvc1", {0}}, {2, "hvc1", {0}, {{1, true}, {2, false}}}};
  builder.references = {HeifBuilder::reference("auxl", 2, {1})};
  const auto source = services_.openSource(write("a.heic", builder.build()));
  ASSERT_NE(source, nullptr);
  const auto info = source->auxiliaryDataInfoAt(0, auxiliary_data_type::kHdrGainMap);
  ASSERT_TRUE(info);
  EXPECT_EQ(*info->find("Width"), PropertyValue(20));
  EXPECT_EQ(*info->find("Height"), PropertyValue(10));
  EXPECT_EQ(*info->find("Type"), PropertyValue("urn:com:apple:photo:2020:aux:hdrgainmap"));
  EXPECT_FALSE(source->auxiliaryDataInfoAt(1, auxiliary_data_type::kHdrGainMap));
}

std::vector<std::string> keysOf(const PropertyDictionary& properties) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : properties.entries()) keys.push_back(key);
  return keys;
}

/// An Exif block in big-endian order with an orientation alone.
Bytes exifWithOrientation(std::uint16_t orientation) {
  return test_support::FieldWriter()
      .text("MM")
      .u16(42)
      .u32(8)
      .u16(1)
      .u16(0x0112)
      .u16(3)
      .u32(1)
      .u16(orientation)
      .u16(0)
      .u32(0)
      .bytes;
}

TEST(ImageProperties, HaveOnlyWhatApplies) {
  ImageFacts facts;
  facts.width = 4;
  facts.height = 3;
  const PropertyDictionary bare = imageProperties(facts, std::nullopt);
  EXPECT_THAT(keysOf(bare), ::testing::ElementsAre("ColorModel", "Depth", "PixelHeight", "PixelWidth"));
  EXPECT_EQ(*bare.find("ColorModel"), PropertyValue("RGB"));
  EXPECT_EQ(*bare.find("PixelWidth"), PropertyValue(4));

  facts.colorModel = ColorModel::grey;
  facts.hasAlpha = true;
  facts.primaryImage = true;
  facts.dpiWidth = 72.0;
  facts.dpiHeight = 96.0;
  facts.metadata.xmp = Bytes{'<', 'x', '/', '>'};
  facts.formatDictionary = FormatDictionary::jfif;
  const PropertyDictionary full = imageProperties(facts, "Some Profile");
  EXPECT_THAT(keysOf(full),
              ::testing::ElementsAre("ColorModel", "DPIHeight", "DPIWidth", "Depth", "HasAlpha", "PixelHeight",
                                     "PixelWidth", "PrimaryImage", "ProfileName", "{JFIF}", "{XMP}"));
  EXPECT_EQ(*full.find("ColorModel"), PropertyValue("Gray"));
  EXPECT_EQ(*full.find("DPIHeight"), PropertyValue(96.0));
}

TEST(ImageProperties, RememberTheBlocksThatTheyWereReadFrom) {
  ImageFacts facts;
  facts.metadata.exif = exifWithOrientation(6);
  const PropertyDictionary properties = imageProperties(facts, std::nullopt);
  ASSERT_NE(properties.blocks(), nullptr);
  EXPECT_EQ(properties.blocks()->exif, exifWithOrientation(6));
}

TEST(ImageProperties, ForgetAnExifBlockOfWhichNothingCanBeRead) {
  const auto behind = [](std::string_view prefix, Bytes block) {
    block.insert(block.begin(), prefix.begin(), prefix.end());
    return block;
  };
  using namespace std::string_view_literals;
  const struct {
    const char* what;
    Bytes block;
    bool remembered;
  } cases[] = {
      {"in order", exifWithOrientation(6), true},
      {"behind the prefix of JPEG files", behind("Exif\0\0"sv, exifWithOrientation(6)), true},
      {"behind two of them", behind("Exif\0\0Exif\0\0"sv, exifWithOrientation(6)), true},
      {"behind something else", behind("junk"sv, exifWithOrientation(6)), false},
      {"empty", {}, false},
      {"shorter than a header", {'M', 'M', 0, 42}, false},
      {"of version 43", {'M', 'M', 0, 43, 0, 8, 0, 0, 0, 0, 0, 0, 0, 16}, false},
  };
  for (const auto& c : cases) {
    ImageFacts facts;
    facts.metadata.exif = c.block;
    const PropertyDictionary properties = imageProperties(facts, std::nullopt);
    EXPECT_EQ(properties.blocks()->exif, c.remembered ? std::optional(exifWithOrientation(6)) : std::nullopt) << c.what;
    EXPECT_EQ(properties.contains("{TIFF}"), c.remembered) << c.what;
  }
}

TEST(ImageProperties, TakeTheOrientationFromTheContainerElseFromExif) {
  const struct {
    const char* why;
    std::optional<int> container;
    std::optional<std::uint16_t> exif;
    bool exifCounts;
    std::optional<int> orientation;
  } cases[] = {
      {"container wins", 3, 6, true, 3},
      {"container wins over an Exif one that does not count", 3, 6, false, 3},
      {"Exif counts", std::nullopt, 6, true, 6},
      {"Exif exists but is overruled", std::nullopt, 6, false, 1},
      {"nothing at all", std::nullopt, std::nullopt, true, std::nullopt},
      {"nothing at all where Exif would not count", std::nullopt, std::nullopt, false, std::nullopt},
      {"an Exif value that means nothing", std::nullopt, 9, true, std::nullopt},
  };
  for (const auto& c : cases) {
    ImageFacts facts;
    facts.orientation = c.container;
    facts.exifOrientationCounts = c.exifCounts;
    if (c.exif) facts.metadata.exif = exifWithOrientation(*c.exif);
    const PropertyDictionary properties = imageProperties(facts, std::nullopt);
    const PropertyValue* const value = properties.find("Orientation");
    ASSERT_EQ(value != nullptr, c.orientation.has_value()) << c.why;
    if (value != nullptr) {
      EXPECT_EQ(*value, PropertyValue(*c.orientation)) << c.why;
    }
  }
}

}  // namespace
}  // namespace quellor
