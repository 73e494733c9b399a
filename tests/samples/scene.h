#pragma once
#include <cstdint>

#include "platform/image.h"
#include "tests/support/raster_fixture.h"

/// A picture that is coded like a photo: a sky of slow gradients, ground with a texture, things with hard edges. It is
/// computed, so that every size, depth and coding of it is the same picture.
namespace quellor::samples {

using test_support::Color;

struct Size {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

/// The whole picture has this size; no format needs more to show what it can do.
inline constexpr Size kScene = {192, 128};

/// Red, green and blue from 0 to 1 at a pixel of the whole picture, or beyond its right or bottom edge.
Color sceneAt(std::uint32_t x, std::uint32_t y);

/// How opaque the picture is there, from 0 to 1: a soft disc, opaque in the middle.
double opacityAt(std::uint32_t x, std::uint32_t y);

enum class Chroma : std::uint8_t { grey, halved, halfWidth, full };  // 4:0:0, 4:2:0, 4:2:2, 4:4:4

/// A part of the picture, and how its samples are coded.
struct ScenePlan {
  Size size = kScene;
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  Chroma chroma = Chroma::halved;
  int bits = 8;
  Cicp coding = {1, 13, 6, true};  // sRGB with the matrix of BT.601 in full range
  bool multiplied = false;         // by its opacity
};

/// The part as luma and colour differences, or as luma alone.
Raster sceneRaster(const ScenePlan& plan);

/// Opacity in place of luma, as alpha images have it.
Raster opacityRaster(Size size, int bits = 8);

/// A sample of 0 to 2^bits - 1: component 0 to 2 are red, green and blue, 3 is the opacity.
std::uint32_t sceneSample(std::uint32_t x, std::uint32_t y, std::uint32_t component, int bits = 8);
/// The same of a picture without colour: component 0 is grey, 1 is the opacity.
std::uint32_t greySample(std::uint32_t x, std::uint32_t y, std::uint32_t component, int bits = 8);

}  // namespace quellor::samples
