#pragma once
#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/image.h"

namespace quellor::test_support {

/// How a raster is laid out and coded; its samples come from a function.
struct RasterPlan {
  SampleModel model = SampleModel::rgb;
  std::uint32_t width = 1;
  std::uint32_t height = 1;
  int bits = 8;
  bool interleaved = false;
  bool alpha = false;               // the component after those of the model
  std::uint32_t chromaColumns = 1;  // how many columns and rows of luma share a colour difference
  std::uint32_t chromaRows = 1;
  Cicp coding = {2, 2, 2, true};
  ChromaSiting siting = ChromaSiting::left;
  bool premultiplied = false;
};

using SampleFunction = std::function<int(std::size_t component, std::uint32_t x, std::uint32_t y)>;

/// A raster in memory that begins at no particular address, with bytes between its rows.
Raster makeRaster(const RasterPlan& plan, const SampleFunction& sample);

/// Pseudo-random samples of all values of a depth, the same on every run.
SampleFunction noise(int bits);

/// Normalised colour: red, green, blue from 0 to 1, or luma from 0 to 1 and colour differences from -0.5 to 0.5.
using Color = std::array<double, 3>;

/// The equations of ITU-T H.273, 8.3, for the matrices with the luma coefficients KR and KB (table 4).
Color differencesOfRgb(const Color& rgb, std::uint16_t matrix);
Color rgbOfDifferences(const Color& coded, std::uint16_t matrix);

/// The same clause's equations between normalised colour and sample values, not rounded.
Color normalised(const Color& samples, int bits, bool fullRange);
Color quantised(const Color& coded, int bits, bool fullRange);

}  // namespace quellor::test_support
