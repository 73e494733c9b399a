// Following the entropy code of a picture of noise and slopes, coded as phones code photos: one slice, 8-bit 4:2:0.
// Bytes are those of the coded slice; the rate in bits per pixel is what decides how long a pixel takes.

#include <array>
#include <cstdlib>
#include <memory>

#include <benchmark/benchmark.h>

#include "platform/formats/hevc_modules.h"
#include "platform/hevc/hevc.h"

namespace quellor::hevc {
namespace {

constexpr std::uint32_t kSide = 512;  // of a photo's tile

/// A slope with noise on it, stronger to the right.
Bytes samplesOf(std::uint32_t side, unsigned seed) {
  Bytes samples;
  unsigned state = seed;
  for (std::uint32_t y = 0; y < side; ++y) {
    for (std::uint32_t x = 0; x < side; ++x) {
      state = state * 1664525U + 1013904223U;
      samples.push_back(static_cast<std::uint8_t>((x + y) * 96 / side + (state >> 24) * x / side / 4));
    }
  }
  return samples;
}

bool append(void* stream, const std::uint8_t* unit, std::size_t size) {
  return static_cast<NalStream*>(stream)->appendUnit({unit, size});
}

/// Empty where the encoder is not there.
NalStream coded(const char* rateFactor) {
  const Bytes luma = samplesOf(kSide, 1), blue = samplesOf(kSide / 2, 2), red = samplesOf(kSide / 2, 3);
  const std::array<HevcEncoderOption, 4> options = {
      {{"crf", rateFactor}, {"pools", "none"}, {"frame-threads", "1"}, {"info", "0"}}};
  HevcEncoderJob job;
  job.width = job.height = kSide;
  job.planes[0] = luma.data();
  job.planes[1] = blue.data();
  job.planes[2] = red.data();
  job.strideBytes[0] = kSide;
  job.strideBytes[1] = job.strideBytes[2] = kSide / 2;
  job.preset = "medium";
  job.profile = "mainstillpicture";
  job.options = options.data();
  job.optionCount = options.size();
  NalStream stream;
  if (!formats::hevcEncoder().encode(&job, append, &stream)) return {};
  return stream;
}

void followTile(benchmark::State& state, const char* rateFactor) {
  const NalStream stream = coded(rateFactor);
  const auto units = stream.units();
  std::size_t bytes = 0;
  for (const NalUnit& unit : units) bytes += unit.payload.size();
  while (state.KeepRunning()) {
    const Judgement judgement = verify(units);
    if (judgement.verdict != Verdict::intact) return state.SkipWithError("the picture was not found intact");
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
  state.counters["bits per pixel"] = 8.0 * static_cast<double>(bytes) / (kSide * kSide);
}
BENCHMARK_CAPTURE(followTile, coarse, "32")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(followTile, photo, "22")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(followTile, fine, "6")->Unit(benchmark::kMicrosecond);

void removePrevention(benchmark::State& state) {
  const NalStream stream = coded("6");
  const auto units = stream.units();
  if (units.empty()) return state.SkipWithError("nothing was encoded");
  const ByteView slice = units.back().payload;
  while (state.KeepRunning()) benchmark::DoNotOptimize(removeEmulationPrevention(slice));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(slice.size()));
}
BENCHMARK(removePrevention)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quellor::hevc
