#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/values/image_facts.h"
#include "tests/support/format_samples.h"
#include "tests/support/png_fixture.h"

namespace quellor {
namespace {

using test_support::animationControl;
using test_support::encodePng;
using test_support::frameControl;
using test_support::frameData;
using test_support::plainPng;
using test_support::PngChunk;
using test_support::PngSpec;
using Chunks = std::vector<PngChunk>;

const ImageFormat& png() {
  static const ImageFormat& format = test_support::imageFormat("PNG");
  return format;
}

Bytes pngWith(Chunks before, Chunks after) {
  PngSpec spec = plainPng();
  spec.chunksBeforeData = std::move(before);
  spec.chunksAfterData = std::move(after);
  return encodePng(spec);
}

TEST(AnimatedPng, CountsItsFramesAndADefaultImageThatIsNone) {
  const struct {
    const char* what;
    Chunks before;
    Chunks after;
    std::size_t images;
  } cases[] = {
      {"no animation", {}, {}, 1},
      {"one frame, the default image", {animationControl(1), frameControl(0)}, {}, 1},
      {"two frames, the first the default image",
       {animationControl(2), frameControl(0)},
       {frameControl(1), frameData(2)},
       2},
      {"one frame besides the default image", {animationControl(1)}, {frameControl(0), frameData(1)}, 2},
      {"two frames besides the default image",
       {animationControl(2)},
       {frameControl(0), frameData(1), frameControl(2), frameData(3), frameData(4)},
       3},
      {"more frames than announced",
       {animationControl(1), frameControl(0)},
       {frameControl(1), frameData(2), frameControl(3), frameData(4)},
       3},
      {"fewer frames than announced",
       {animationControl(0xFFFFFFFF), frameControl(0)},
       {frameControl(1), frameData(2)},
       2},
      {"announced, but without frames", {animationControl(7)}, {}, 1},
      {"announced behind the image data", {}, {animationControl(1), frameControl(0), frameData(1)}, 1},
      {"never announced", {frameControl(0)}, {frameControl(1), frameData(2)}, 1},
      {"a frame control of another size", {animationControl(2)}, {{"fcTL", Bytes(25)}, frameControl(0)}, 2},
  };
  for (const auto& c : cases) {
    const Bytes file = pngWith(c.before, c.after);
    const auto facts = png().describe(file);
    ASSERT_TRUE(facts) << c.what;
    EXPECT_EQ(facts->imageCount, c.images) << c.what;
    EXPECT_TRUE(png().decode(file)) << c.what;
  }
}

TEST(AnimatedPng, IsItsDefaultImage) {
  const Bytes file = pngWith({animationControl(1)}, {frameControl(0), frameData(1)});
  const auto animated = png().decode(file);
  const auto still = png().decode(encodePng(plainPng()));
  ASSERT_TRUE(animated && still);
  EXPECT_EQ(test_support::samplesOf(*animated), test_support::samplesOf(*still));
}

TEST(AnimatedPng, CountsManyFrames) {
  Chunks frames;
  for (std::uint32_t i = 0; i < 5000; ++i) frames.insert(frames.end(), {frameControl(2 * i), frameData(2 * i + 1)});
  EXPECT_EQ(png().describe(pngWith({animationControl(5000)}, frames)).value().imageCount, 5001U);
}

}  // namespace
}  // namespace quellor
