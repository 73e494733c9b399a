// Items that are coded with AV1 or JPEG, and codings that are not read.

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/format_samples.h"
#include "tests/support/heif_judge.h"
#include "tests/support/heif_scene.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::box;
using test_support::encodeJpeg;
using test_support::HeifScene;
using test_support::ispe;
using test_support::JpegSpec;

Outcome<Raster> decoded(const HeifScene& scene) { return test_support::imageFormat("HEIF").decode(scene.file()); }

// --- AV1

/// A slope of 24 x 16, 8-bit 4:2:0 in full range with the matrix of BT.601, as libaom 3.6 codes it: a temporal
/// delimiter, a sequence header and a frame.
const Bytes kAv1Picture = {0x12, 0x00, 0x0a, 0x09, 0x18, 0x10, 0xef, 0xec, 0x10, 0x10, 0xd0, 0x68,
                           0x40, 0x32, 0x20, 0x16, 0x40, 0x06, 0x18, 0x61, 0x84, 0x00, 0x4a, 0x2c,
                           0x7e, 0x4b, 0xd7, 0x4c, 0xb0, 0xdf, 0x4f, 0xa7, 0xfc, 0x38, 0xbc, 0xd4,
                           0x99, 0xe4, 0xf6, 0xee, 0x6a, 0xe3, 0xc8, 0x5e, 0x2f, 0x89, 0x68};
const Bytes kAv1Configuration = box("av1C", {0x81, 0x00, 0x0c, 0x00});

HeifScene av1Scene(const Bytes& data, std::uint32_t width = 24, std::uint32_t height = 16) {
  HeifScene scene;
  scene.add("av01", data, {kAv1Configuration, ispe(width, height)});
  return scene;
}

TEST(Av1Item, DecodesToWhatAnotherReaderMakesOfIt) {
  const HeifScene scene = av1Scene(kAv1Picture);
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster);
  EXPECT_EQ(raster->width, 24U);
  EXPECT_EQ(raster->height, 16U);
  EXPECT_EQ(raster->components.at(1).width, 12U);
  EXPECT_EQ(raster->coding.matrixCoefficients, 6);
  EXPECT_TRUE(raster->coding.fullRange);
  const test_support::TemporaryDirectory directory;
  const Bytes file = scene.file();
  const auto path = directory.write("picture.avif", {reinterpret_cast<const char*>(file.data()), file.size()});
  const auto judged = test_support::HeifJudge(path.string()).coded();
  ASSERT_TRUE(judged);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(test_support::samplesOf(raster->components[i], 8), test_support::samplesOf(judged->components.at(i), 8));
  }
}

TEST(Av1Item, MayHaveItsSequenceHeaderInItsConfiguration) {
  Bytes configuration = {0x81, 0x00, 0x0c, 0x00};
  configuration.insert(configuration.end(), kAv1Picture.begin() + 2, kAv1Picture.begin() + 13);
  HeifScene scene;
  scene.add("av01", {kAv1Picture.begin() + 13, kAv1Picture.end()}, {box("av1C", configuration), ispe(24, 16)});
  EXPECT_TRUE(decoded(scene));
}

TEST(Av1Item, ThatIsCutShortIsNoImage) {
  for (std::size_t size = 1; size < kAv1Picture.size(); ++size) {
    EXPECT_FALSE(decoded(av1Scene({kAv1Picture.begin(), kAv1Picture.begin() + static_cast<std::ptrdiff_t>(size)})))
        << size;
  }
}

TEST(Av1Item, OfTwoPicturesIsNoImage) {
  Bytes twice = kAv1Picture;
  twice.insert(twice.end(), kAv1Picture.begin(), kAv1Picture.end());
  EXPECT_FALSE(decoded(av1Scene(twice)));
}

TEST(Av1Item, OfAnotherSizeThanDeclaredIsNoImage) {
  EXPECT_FALSE(decoded(av1Scene(kAv1Picture, 25, 16)));
  EXPECT_FALSE(decoded(av1Scene(kAv1Picture, 24, 15)));
}

TEST(Av1Item, WithoutConfigurationIsNoImage) {
  HeifScene scene;
  scene.add("av01", kAv1Picture, {ispe(24, 16)});
  EXPECT_FALSE(decoded(scene));
}

// --- JPEG

Bytes jpegFile() {
  JpegSpec spec;
  spec.width = 40;
  spec.height = 24;
  spec.horizontalFactor = spec.verticalFactor = 2;
  return encodeJpeg(spec);
}

HeifScene jpegScene(const Bytes& data, const std::vector<Bytes>& properties) {
  HeifScene scene;
  scene.add("jpeg", data, properties);
  return scene;
}

TEST(JpegItem, HasTheSamplesOfTheJpegFile) {
  const Bytes file = jpegFile();
  const auto alone = test_support::imageFormat("JPEG").decode(file);
  const auto raster = decoded(jpegScene(file, {ispe(40, 24)}));
  ASSERT_TRUE(alone && raster);
  EXPECT_EQ(raster->chromaSiting, ChromaSiting::centre);
  EXPECT_EQ(raster->coding.matrixCoefficients, 6);
  EXPECT_TRUE(raster->coding.fullRange);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(test_support::samplesOf(raster->components[i], 8), test_support::samplesOf(alone->components[i], 8));
  }
}

TEST(JpegItem, MayShareItsFirstBytesWithOthers) {
  const Bytes file = jpegFile();
  const auto half = file.begin() + 30;
  EXPECT_TRUE(decoded(jpegScene({half, file.end()}, {box("jpgC", {file.begin(), half}), ispe(40, 24)})));
  EXPECT_FALSE(decoded(jpegScene({half, file.end()}, {ispe(40, 24)})));
}

TEST(JpegItem, ThatIsCutShortIsNoImage) {
  const Bytes file = jpegFile();
  for (std::size_t cut = 1; cut < 100; cut += 7) {
    EXPECT_FALSE(decoded(jpegScene({file.begin(), file.end() - static_cast<std::ptrdiff_t>(cut)}, {ispe(40, 24)})))
        << cut;
  }
}

TEST(JpegItem, OfAnotherSizeThanDeclaredIsNoImage) {
  EXPECT_FALSE(decoded(jpegScene(jpegFile(), {ispe(40, 25)})));
  EXPECT_FALSE(decoded(jpegScene(jpegFile(), {})));
}

TEST(JpegItem, OfFourInksIsNoImage) {
  JpegSpec spec;
  spec.coding = JpegSpec::Coding::cmyk;
  EXPECT_FALSE(decoded(jpegScene(encodeJpeg(spec), {ispe(spec.width, spec.height)})));
}

TEST(JpegItem, CanBeATileOfAGrid) {
  HeifScene scene;
  std::vector<std::uint32_t> tiles;
  for (int i = 0; i < 2; ++i) tiles.push_back(scene.add("jpeg", jpegFile(), {ispe(40, 24)}));
  scene.grid(1, 2, 80, 24, tiles);
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster);
  EXPECT_EQ(test_support::sampleAt(raster->components[0], 8, 47, 3),
            test_support::sampleAt(raster->components[0], 8, 7, 3));
}

// --- Others

TEST(OtherItems, AreNotRead) {
  for (const char* type : {"j2k1", "unci", "mime", "avc1", "vvc1", "lhv1", "tmap"}) {
    HeifScene scene;
    scene.add(type, jpegFile(), {ispe(40, 24)});
    scene.builder().items[0].contentType = "image/jpeg";
    EXPECT_FALSE(decoded(scene)) << type;
  }
}

}  // namespace
}  // namespace quellor
