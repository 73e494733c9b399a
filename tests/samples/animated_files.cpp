// WebP and GIF.

#include "tests/samples/profiles.h"
#include "tests/samples/sample.h"
#include "tests/support/gif_fixture.h"
#include "tests/support/webp_fixture.h"

namespace quellor::samples {
namespace {

using test_support::GifFrameRecipe;
using test_support::GifRecipe;
using test_support::WebpPicture;

WebpPicture webpPicture(Size size, bool alpha) {
  WebpPicture picture{size.width, size.height, {}};
  for (std::uint32_t i = 0; i < size.width * size.height * 4; ++i) {
    const std::uint32_t x = i / 4 % size.width, y = i / 4 / size.width;
    picture.rgba.push_back(i % 4 == 3 && !alpha ? 255 : static_cast<int>(sceneSample(x, y, i % 4)));
  }
  return picture;
}

Bytes animatedWebp() {
  const Bytes large = test_support::lossyWebp(webpPicture(kScene, false));
  const Bytes small = test_support::losslessWebp(webpPicture({96, 64}, true));
  return test_support::webpFile(
      {test_support::webpHeader(0x12, kScene.width, kScene.height), test_support::webpAnimation(),
       test_support::webpFrame(large, 0, 0, kScene.width, kScene.height),
       test_support::webpFrame(small, 40, 20, 96, 64), test_support::webpFrame(small, 96, 64, 96, 64)});
}

/// Two bits of each colour.
Bytes colorMap() {
  Bytes map;
  for (unsigned i = 0; i < 64; ++i) {
    for (const unsigned shift : {4U, 2U, 0U}) map.push_back(static_cast<std::uint8_t>((i >> shift & 3) * 85));
  }
  return map;
}

GifFrameRecipe frameOf(Size size) {
  GifFrameRecipe frame;
  frame.width = static_cast<std::uint16_t>(size.width);
  frame.height = static_cast<std::uint16_t>(size.height);
  frame.codeSize = 6;
  for (std::uint32_t i = 0; i < size.width * size.height; ++i) {
    const std::uint32_t x = i % size.width, y = i / size.width;
    frame.indexes.push_back(static_cast<std::uint8_t>(sceneSample(x, y, 0, 2) << 4 | sceneSample(x, y, 1, 2) << 2 |
                                                      sceneSample(x, y, 2, 2)));
  }
  return frame;
}

GifRecipe gifOf(const std::vector<GifFrameRecipe>& frames) {
  GifRecipe recipe;
  recipe.width = static_cast<std::uint16_t>(kScene.width);
  recipe.height = static_cast<std::uint16_t>(kScene.height);
  recipe.globalMap = colorMap();
  recipe.frames = frames;
  return recipe;
}

}  // namespace

void addWebpFiles(Samples& samples) {
  samples.push_back({"webp-lossy.webp", test_support::lossyWebp(webpPicture(kScene, false))});
  samples.push_back({"webp-lossless.webp", test_support::losslessWebp(webpPicture(kScene, false))});
  samples.push_back({"webp-lossy-alpha.webp", test_support::lossyWebp(webpPicture(kScene, true))});
  samples.push_back({"webp-lossless-alpha.webp", test_support::losslessWebp(webpPicture(kScene, true))});
  samples.push_back({"webp-odd-size.webp", test_support::lossyWebp(webpPicture({53, 71}, false)), Facts{{53, 71}}});
  samples.push_back({"webp-animated.webp", animatedWebp(), Facts{kScene, 8, std::nullopt, 3}});

  const Bytes profile = displayP3();
  Facts facts;
  facts.color = "kCGColorSpaceDisplayP3";
  facts.profile = profile;
  const Bytes still = test_support::losslessWebp(webpPicture(kScene, false));
  samples.push_back({"webp-display-p3.webp",
                     test_support::webpFile({test_support::webpHeader(0x20, kScene.width, kScene.height),
                                             {"ICCP", profile},
                                             test_support::webpChunks(still).front()}),
                     facts});
}

void addGifFiles(Samples& samples) {
  GifFrameRecipe frame = frameOf(kScene);
  samples.push_back({"gif-plain.gif", test_support::gifFile(gifOf({frame}))});
  frame.interlaced = true;
  samples.push_back({"gif-interlaced.gif", test_support::gifFile(gifOf({frame}))});
  frame.interlaced = false;
  frame.transparentIndex = frame.indexes.front();
  samples.push_back({"gif-transparent.gif", test_support::gifFile(gifOf({frame}))});

  GifFrameRecipe own = frameOf(kScene);
  own.localMap = colorMap();
  GifFrameRecipe part = frameOf({96, 64});
  part.left = 50;
  part.top = 30;
  own.delay = part.delay = 10;
  GifRecipe animated = gifOf({own, part, part});
  animated.loopCount = 0;
  samples.push_back({"gif-animated.gif", test_support::gifFile(animated), Facts{kScene, 8, std::nullopt, 3}});
}

}  // namespace quellor::samples
