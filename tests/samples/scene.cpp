#include "tests/samples/scene.h"

#include <algorithm>
#include <cmath>

namespace quellor::samples {
namespace {

/// The matrix of BT.709, for a picture without colour.
double lightnessOf(const Color& color) { return 0.2126 * color[0] + 0.7152 * color[1] + 0.0722 * color[2]; }

/// From -1 to 1, without any pattern.
double grain(std::uint32_t x, std::uint32_t y) {
  static const test_support::SampleFunction kNoise = test_support::noise(8);
  return kNoise(0, x, y) / 127.5 - 1;
}

Color skyAt(double x, double y) {
  const double haze = 0.06 * std::sin(9 * x + 4 * y);
  return {0.35 + 0.4 * y + haze, 0.55 + 0.3 * y + haze, 0.92 - 0.1 * y};
}

Color groundAt(double x, double y, double grainHere) {
  const double furrow = 0.10 * std::sin(60 * (y - 0.3 * x)) + 0.07 * grainHere;
  return {0.30 + 0.25 * x + furrow, 0.45 - 0.15 * y + furrow, 0.18 + 0.6 * furrow};
}

bool isInHouse(double x, double y) { return x > 0.62 && x < 0.86 && y > 0.42 && y < 0.74; }
bool isInRoof(double x, double y) { return y > 0.28 && y <= 0.42 && std::abs(x - 0.74) < 0.9 * (y - 0.28) + 0.02; }

int quantised(double value, int bits) {
  const double highest = (1 << bits) - 1;
  return static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0) * highest));
}

/// Luma or a colour difference of a pixel.
int codedSample(const ScenePlan& plan, std::size_t component, std::uint32_t x, std::uint32_t y) {
  Color color = sceneAt(x, y);
  if (plan.multiplied) {
    for (double& part : color) part *= opacityAt(x, y);
  }
  if (plan.chroma == Chroma::grey) return quantised(lightnessOf(color), plan.bits);
  const Color coded = test_support::differencesOfRgb(color, plan.coding.matrixCoefficients);
  const double value = test_support::quantised(coded, plan.bits, plan.coding.fullRange).at(component);
  return static_cast<int>(std::lround(std::clamp(value, 0.0, static_cast<double>((1 << plan.bits) - 1))));
}

}  // namespace

Color sceneAt(std::uint32_t x, std::uint32_t y) {
  const double across = (x + 0.5) / kScene.width, down = (y + 0.5) / kScene.height;
  const double horizon = 0.55 + 0.05 * std::sin(7 * across);
  Color color = down < horizon ? skyAt(across, down) : groundAt(across, down, grain(x, y));
  if (isInHouse(across, down)) color = {0.85, 0.82 - 0.2 * down, 0.70};
  if (isInRoof(across, down)) color = {0.72, 0.16 + 0.05 * grain(x, y), 0.12};
  if (std::hypot(1.5 * (across - 0.2), down - 0.2) < 0.09) color = {1.0, 0.93, 0.55};
  for (double& part : color) part = std::clamp(part, 0.0, 1.0);
  return color;
}

double opacityAt(std::uint32_t x, std::uint32_t y) {
  const double across = (x + 0.5) / kScene.width - 0.5, down = (y + 0.5) / kScene.height - 0.5;
  return std::clamp(1.6 - 2.2 * std::hypot(across, down), 0.0, 1.0);
}

Raster sceneRaster(const ScenePlan& plan) {
  test_support::RasterPlan raster;
  raster.model = plan.chroma == Chroma::grey ? SampleModel::grey : SampleModel::ycbcr;
  raster.width = plan.size.width;
  raster.height = plan.size.height;
  raster.bits = plan.bits;
  raster.coding = plan.coding;
  raster.chromaColumns = plan.chroma == Chroma::halved || plan.chroma == Chroma::halfWidth ? 2 : 1;
  raster.chromaRows = plan.chroma == Chroma::halved ? 2 : 1;
  return test_support::makeRaster(raster, [&](std::size_t component, std::uint32_t x, std::uint32_t y) {
    const bool difference = component != 0;
    return codedSample(plan, component, plan.left + x * (difference ? raster.chromaColumns : 1),
                       plan.top + y * (difference ? raster.chromaRows : 1));
  });
}

Raster opacityRaster(Size size, int bits) {
  test_support::RasterPlan raster;
  raster.model = SampleModel::grey;
  raster.width = size.width;
  raster.height = size.height;
  raster.bits = bits;
  return test_support::makeRaster(
      raster, [bits](std::size_t, std::uint32_t x, std::uint32_t y) { return quantised(opacityAt(x, y), bits); });
}

std::uint32_t sceneSample(std::uint32_t x, std::uint32_t y, std::uint32_t component, int bits) {
  return static_cast<std::uint32_t>(quantised(component == 3 ? opacityAt(x, y) : sceneAt(x, y).at(component), bits));
}

std::uint32_t greySample(std::uint32_t x, std::uint32_t y, std::uint32_t component, int bits) {
  return static_cast<std::uint32_t>(quantised(component == 1 ? opacityAt(x, y) : lightnessOf(sceneAt(x, y)), bits));
}

}  // namespace quellor::samples
