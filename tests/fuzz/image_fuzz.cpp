// Properties: an image that decodes has a description, a size within the limits, and samples that can all be read; what
// a look says of a file is what decoding it gives.

#include <string_view>

#include "platform/formats/image_format.h"
#include "platform/values/limits.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using namespace quellor;

/// Reads the corners of a component; a sanitizer sees reads outside of its memory.
unsigned touch(const Component& component, std::size_t sampleBytes) {
  FUZZ_REQUIRE(component.firstSample != nullptr && component.width >= 1 && component.height >= 1);
  FUZZ_REQUIRE(component.stepBytes >= sampleBytes);
  unsigned sum = 0;
  for (const std::size_t y : {std::size_t{0}, std::size_t{component.height - 1}}) {
    for (const std::size_t x : {std::size_t{0}, std::size_t{component.width - 1}}) {
      const std::uint8_t* const sample = component.firstSample + y * component.strideBytes + x * component.stepBytes;
      for (std::size_t i = 0; i < sampleBytes; ++i) sum += sample[i];
    }
  }
  return sum;
}

void check(const Raster& raster) {
  FUZZ_REQUIRE(raster.width >= 1 && raster.height >= 1);
  FUZZ_REQUIRE(std::uint64_t{raster.width} * raster.height <= kMaximumPixels);
  FUZZ_REQUIRE(raster.bitsPerComponent >= 8 && raster.bitsPerComponent <= 16);
  const std::size_t expected = raster.model == SampleModel::grey ? 1 : raster.model == SampleModel::cmyk ? 4 : 3;
  FUZZ_REQUIRE(raster.components.size() == expected);
  const std::size_t sampleBytes = raster.bitsPerComponent > 8 ? 2 : 1;
  volatile unsigned sum = 0;
  for (const Component& component : raster.components) sum = sum + touch(component, sampleBytes);
  if (raster.alpha) sum = sum + touch(*raster.alpha, sampleBytes);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView file(data, size);
  const ImageFormat* const format = formatOf(file);
  if (format == nullptr) return 0;
  const auto facts = format->describe(file);
  const auto look = format->look(file);
  const auto raster = format->decode(file);
  FUZZ_REQUIRE(look.has_value() == raster.has_value());
  if (!raster) return 0;
  FUZZ_REQUIRE(look->shape == shapeOf(*raster));
  FUZZ_REQUIRE(facts.has_value());
  check(*raster);
  return 0;
}
