// Drawing a photo of 12 megapixels, planar YCbCr 4:2:0 as phones code it, to RGB. Items are pixels; the time is that
// on the clock, because the work is spread over all processors.

#include <benchmark/benchmark.h>

#include "platform/pixels/rgbx_drawing.h"
#include "platform/values/bytes.h"

namespace quellor {
namespace {

constexpr std::uint32_t kWidth = 4032, kHeight = 3024;

/// Luma and two colour differences of a quarter of its size, BT.601, full range.
Raster photo(int bits) {
  const std::size_t sampleBytes = bits > 8 ? 2 : 1;
  const std::size_t stride = kWidth * sampleBytes;
  const std::size_t lumaBytes = stride * kHeight;
  const auto memory = std::make_shared<Bytes>(lumaBytes * 3 / 2);
  for (std::size_t i = 0; i < memory->size(); i += sampleBytes) {
    const auto sample = static_cast<std::uint16_t>((i * 2654435761U >> 13) & ((1U << bits) - 1));
    for (std::size_t byte = 0; byte < sampleBytes; ++byte)  // little-endian, as all that this is built for
      (*memory)[i + byte] = static_cast<std::uint8_t>(sample >> (8 * byte));
  }
  Raster raster;
  raster.width = kWidth;
  raster.height = kHeight;
  raster.bitsPerComponent = bits;
  raster.model = SampleModel::ycbcr;
  raster.coding = {2, 2, 6, true};
  const std::uint8_t* const samples = memory->data();
  const Component luma{samples, sampleBytes, stride, kWidth, kHeight};
  const Component blue{samples + lumaBytes, sampleBytes, stride / 2, kWidth / 2, kHeight / 2};
  const Component red{samples + lumaBytes * 5 / 4, sampleBytes, stride / 2, kWidth / 2, kHeight / 2};
  raster.components = {luma, blue, red};
  raster.owner = memory;
  return raster;
}

void drawPhoto(benchmark::State& state) {
  const Raster raster = photo(static_cast<int>(state.range(0)));
  Bytes pixels(std::size_t{kWidth} * kHeight * 4);
  while (state.KeepRunning()) {
    if (!pixels::drawRgbx(raster, pixels)) return state.SkipWithError("the photo was not drawn");
    benchmark::DoNotOptimize(pixels.data());
  }
  state.SetItemsProcessed(state.iterations() * std::int64_t{kWidth} * kHeight);
}
BENCHMARK(drawPhoto)->ArgName("bits")->Arg(8)->Arg(10)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quellor
