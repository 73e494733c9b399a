#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/format_samples.h"
#include "tests/support/gif_fixture.h"

namespace quellor {
namespace {

using test_support::gifFile;
using test_support::GifFrameRecipe;
using test_support::GifRecipe;
using test_support::samplesOf;

class GifFormat : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(format_, nullptr); }

  Outcome<ImageFacts> describe(const Bytes& file) const { return format_->describe(file); }
  Outcome<Raster> decode(const Bytes& file) const { return format_->decode(file); }

 private:
  const ImageFormat* format_ = &test_support::imageFormat("GIF");
};

Bytes colorMap(std::size_t colors, int seed = 11) {
  Bytes map;
  for (std::size_t i = 0; i < colors * 3; ++i) {
    map.push_back(static_cast<std::uint8_t>(i * 37 + static_cast<std::size_t>(seed)));
  }
  return map;
}

GifFrameRecipe frame(std::uint16_t width, std::uint16_t height, std::uint8_t bits = 3) {
  GifFrameRecipe result;
  result.width = width;
  result.height = height;
  result.codeSize = std::max<std::uint8_t>(2, bits);
  for (int i = 0; i < width * height; ++i) {
    result.indexes.push_back(static_cast<std::uint8_t>((i * 5 + i / 7) % (1 << bits)));
  }
  return result;
}

GifRecipe oneFrame(std::uint16_t width, std::uint16_t height, std::uint8_t bits = 3) {
  GifRecipe recipe;
  recipe.width = width;
  recipe.height = height;
  recipe.globalMap = colorMap(std::size_t{1} << bits);
  recipe.frames = {frame(width, height, bits)};
  return recipe;
}

/// What the first frame looks like on its screen by the rules of the format.
std::vector<int> composed(const GifRecipe& recipe, bool withAlpha) {
  const GifFrameRecipe& first = recipe.frames[0];
  const Bytes& map = first.localMap.empty() ? recipe.globalMap : first.localMap;
  std::vector<int> samples;
  for (int y = 0; y < recipe.height; ++y) {
    for (int x = 0; x < recipe.width; ++x) {
      const int column = x - first.left;
      const int row = y - first.top;
      const bool inside = column >= 0 && row >= 0 && column < first.width && row < first.height;
      const std::size_t index = inside ? first.indexes[static_cast<std::size_t>(row * first.width + column)] : 0;
      const bool opaque = inside && (!first.transparentIndex || *first.transparentIndex != index);
      for (std::size_t i = 0; i < 3; ++i) samples.push_back(opaque ? map.at(index * 3 + i) : 0);
      if (withAlpha) samples.push_back(opaque ? 255 : 0);
    }
  }
  return samples;
}

TEST_F(GifFormat, GivesEveryPixelOfEverySizeAndDepth) {
  struct Size {
    std::uint16_t width, height;
  };
  for (const Size& size : {Size{1, 1}, Size{3, 5}, Size{17, 9}, Size{64, 33}}) {
    for (std::uint8_t bits = 1; bits <= 8; ++bits) {
      for (const bool interlaced : {false, true}) {
        for (const bool local : {false, true}) {
          GifRecipe recipe = oneFrame(size.width, size.height, bits);
          recipe.frames[0].interlaced = interlaced;
          if (local) recipe.frames[0].localMap = colorMap(std::size_t{1} << bits, 99);
          const Bytes file = gifFile(recipe);
          const auto facts = describe(file);
          ASSERT_TRUE(facts);
          EXPECT_EQ(facts->width, size.width);
          EXPECT_EQ(facts->height, size.height);
          EXPECT_EQ(facts->bitsPerComponent, 8);
          EXPECT_EQ(facts->colorModel, ColorModel::rgb);
          EXPECT_FALSE(facts->hasAlpha);
          const auto raster = decode(file);
          ASSERT_TRUE(raster);
          EXPECT_FALSE(raster->alpha);
          EXPECT_EQ(raster->bitsPerComponent, 8);
          EXPECT_EQ(samplesOf(*raster), composed(recipe, false)) << size.width << " wide, " << int{bits} << " bits";
        }
      }
    }
  }
}

TEST_F(GifFormat, MakesTheTransparentIndexTransparent) {
  GifRecipe recipe = oneFrame(17, 9);
  recipe.frames[0].transparentIndex = 5;
  const Bytes file = gifFile(recipe);
  EXPECT_TRUE(describe(file).value().hasAlpha);
  const auto raster = decode(file);
  ASSERT_TRUE(raster && raster->alpha);
  EXPECT_FALSE(raster->premultiplied);
  EXPECT_EQ(samplesOf(*raster), composed(recipe, true));
}

TEST_F(GifFormat, LeavesTheScreenAroundTheFrameTransparent) {
  for (const bool interlaced : {false, true}) {
    GifRecipe recipe = oneFrame(7, 6);
    recipe.width = 20;
    recipe.height = 13;
    recipe.frames[0].left = 13;
    recipe.frames[0].top = 4;
    recipe.frames[0].interlaced = interlaced;
    const Bytes file = gifFile(recipe);
    EXPECT_EQ(describe(file).value().width, 20U);
    EXPECT_TRUE(describe(file).value().hasAlpha);
    const auto raster = decode(file);
    ASSERT_TRUE(raster && raster->alpha);
    EXPECT_EQ(samplesOf(*raster), composed(recipe, true));
  }
}

TEST_F(GifFormat, CountsFramesAndGivesTheFirst) {
  GifRecipe recipe = oneFrame(17, 9);
  recipe.frames.push_back(frame(3, 5));
  recipe.frames.push_back(frame(1, 1));
  recipe.frames[1].transparentIndex = 0;
  const Bytes file = gifFile(recipe);
  EXPECT_EQ(describe(file).value().imageCount, 3U);
  EXPECT_FALSE(describe(file).value().hasAlpha);
  EXPECT_EQ(samplesOf(decode(file).value()), composed(recipe, false));
}

TEST_F(GifFormat, AlwaysHasItsOwnDictionary) {
  EXPECT_EQ(describe(gifFile(oneFrame(3, 5))).value().formatDictionary, FormatDictionary::gif);
}

TEST_F(GifFormat, FindsTheXmpPacketInOnePieceOrInSubBlocks) {
  std::string packet = "<x:xmpmeta>";
  for (int i = 0; i < 600; ++i) packet += static_cast<char>('a' + i % 26);
  for (const std::string& text : {std::string("<x/>"), packet}) {
    for (const bool inSubBlocks : {false, true}) {
      GifRecipe recipe = oneFrame(3, 5);
      recipe.xmp = text;
      recipe.xmpInSubBlocks = inSubBlocks;
      const Bytes file = gifFile(recipe);
      EXPECT_EQ(describe(file).value().metadata.xmp, Bytes(text.begin(), text.end())) << inSubBlocks;
      EXPECT_TRUE(decode(file));
    }
  }
}

TEST_F(GifFormat, RefusesFilesThatEndEarly) {
  GifRecipe recipe = oneFrame(17, 9);
  recipe.loopCount = 0;
  recipe.xmp = "<x/>";
  recipe.frames.push_back(frame(3, 5));
  const Bytes file = gifFile(recipe);
  ASSERT_TRUE(decode(file));
  for (std::size_t size = 0; size < file.size(); ++size) {
    const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(describe(cut)) << size;
    EXPECT_FALSE(decode(cut)) << size;
  }
}

TEST_F(GifFormat, IgnoresWhatStandsBehindTheTrailer) {
  Bytes file = gifFile(oneFrame(3, 5));
  file.insert(file.end(), {1, 2, 3});
  EXPECT_TRUE(describe(file));
  EXPECT_TRUE(decode(file));
}

TEST_F(GifFormat, RefusesAFileThatIsBrokenBehindItsFirstFrame) {
  Bytes file = gifFile(oneFrame(3, 5));
  file.back() = 0x00;
  file.push_back(0x3B);
  EXPECT_FALSE(describe(file));
  EXPECT_FALSE(decode(file));
}

/// A file with hand-made image data in the place of the only frame's.
Bytes withImageData(GifRecipe recipe, const Bytes& data) {
  GifFrameRecipe& only = recipe.frames.at(0);
  const std::size_t oldSize = test_support::gifImageData(only.indexes, only.codeSize).size();
  Bytes file = gifFile(recipe);
  file.resize(file.size() - 1 - oldSize);
  file.insert(file.end(), data.begin(), data.end());
  file.push_back(0x3B);
  return file;
}

TEST_F(GifFormat, RefusesImageDataThatIsShort) {
  const GifRecipe recipe = oneFrame(17, 9);
  const std::vector<std::uint8_t>& indexes = recipe.frames[0].indexes;
  ASSERT_TRUE(decode(withImageData(recipe, test_support::gifImageData(indexes, 3))));
  for (const std::size_t kept : {std::size_t{0}, std::size_t{1}, indexes.size() / 2, indexes.size() - 1}) {
    const std::vector<std::uint8_t> fewer(indexes.begin(), indexes.begin() + static_cast<std::ptrdiff_t>(kept));
    for (const bool complete : {false, true}) {
      const Bytes file = withImageData(recipe, test_support::gifImageData(fewer, 3, complete));
      EXPECT_FALSE(decode(file)) << kept << " of " << indexes.size() << (complete ? " and an end" : "");
    }
  }
}

TEST_F(GifFormat, TakesImageDataThatIsLong) {
  const GifRecipe recipe = oneFrame(3, 5);
  std::vector<std::uint8_t> more = recipe.frames[0].indexes;
  more.resize(more.size() + 100);
  const auto raster = decode(withImageData(recipe, test_support::gifImageData(more, 3)));
  ASSERT_TRUE(raster);
  EXPECT_EQ(samplesOf(*raster), composed(recipe, false));
}

TEST_F(GifFormat, RefusesCodeSizesThatTheFormatDoesNotHave) {
  const GifRecipe recipe = oneFrame(3, 5);
  for (const std::uint8_t codeSize : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{9}, std::uint8_t{255}}) {
    Bytes data = test_support::gifImageData(recipe.frames[0].indexes, 3);
    data[0] = codeSize;
    EXPECT_FALSE(describe(withImageData(recipe, data))) << int{codeSize};
    EXPECT_FALSE(decode(withImageData(recipe, data))) << int{codeSize};
  }
}

TEST_F(GifFormat, RefusesIndexesWithoutAColor) {
  GifRecipe recipe = oneFrame(17, 9);
  recipe.globalMap = colorMap(4);
  EXPECT_TRUE(describe(gifFile(recipe)));
  EXPECT_FALSE(decode(gifFile(recipe)));
  recipe.globalMap.clear();
  EXPECT_FALSE(decode(gifFile(recipe)));
}

TEST_F(GifFormat, NeedsNoColorForTheTransparentIndex) {
  GifRecipe recipe = oneFrame(17, 9);
  recipe.globalMap = colorMap(4);
  for (std::uint8_t& index : recipe.frames[0].indexes) index = index < 4 ? index : 7;
  recipe.frames[0].transparentIndex = 7;
  const auto raster = decode(gifFile(recipe));
  ASSERT_TRUE(raster);
  EXPECT_EQ(samplesOf(*raster), composed(recipe, true));
}

TEST_F(GifFormat, RefusesAFirstFrameThatIsNotInsideTheScreen) {
  struct Row {
    std::uint16_t left, top, width, height;
  };
  for (const Row& row : {Row{1, 0, 8, 8}, Row{0, 1, 8, 8}, Row{0, 0, 9, 8}, Row{0, 0, 8, 9}, Row{65535, 0, 8, 8},
                         Row{0, 0, 0, 8}, Row{0, 0, 8, 0}}) {
    GifRecipe recipe = oneFrame(8, 8);
    recipe.frames[0] = frame(row.width, row.height);
    recipe.frames[0].left = row.left;
    recipe.frames[0].top = row.top;
    EXPECT_FALSE(describe(gifFile(recipe)));
    EXPECT_FALSE(decode(gifFile(recipe)));
  }
}

TEST_F(GifFormat, RefusesScreensWithoutPixelsOrWithTooMany) {
  for (const std::uint16_t side : {std::uint16_t{0}, std::uint16_t{65535}}) {
    GifRecipe recipe = oneFrame(1, 1);
    recipe.width = recipe.height = side;
    EXPECT_FALSE(describe(gifFile(recipe))) << side;
    EXPECT_FALSE(decode(gifFile(recipe))) << side;
  }
}

TEST_F(GifFormat, RefusesAFileWithoutFrames) {
  GifRecipe recipe = oneFrame(3, 5);
  recipe.frames.clear();
  EXPECT_FALSE(describe(gifFile(recipe)));
}

TEST_F(GifFormat, KnowsBothVersionsAndNoOther) {
  Bytes file = gifFile(oneFrame(3, 5));
  file[4] = '7';
  EXPECT_TRUE(describe(file));
  EXPECT_TRUE(decode(file));
  file[4] = '8';
  EXPECT_FALSE(describe(file));
  EXPECT_FALSE(decode(file));
}

TEST_F(GifFormat, GivesAControlBlockToThePlainTextThatFollowsIt) {
  Bytes file = gifFile(oneFrame(3, 5));
  const Bytes extensions{0x21, 0xF9, 4, 1, 9, 0, 0, 0, 0x21, 0x01, 2, 0, 0, 0};
  const std::size_t start = 13 + 8 * 3;
  file.insert(file.begin() + static_cast<std::ptrdiff_t>(start), extensions.begin(), extensions.end());
  EXPECT_FALSE(describe(file).value().hasAlpha);
  EXPECT_TRUE(decode(file));
}

}  // namespace
}  // namespace quellor
