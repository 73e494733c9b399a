// Decoding a request: one as callers write it, and one with an unknown key that holds a list of so many bytes.

#include <string>

#include <benchmark/benchmark.h>

#include "protocol/request_decoder.h"

namespace quellor {
namespace {

std::string request(const std::string& extra) {
  return R"({"protocolVersion":1,"operation":"encode-candidate","inputPath":"/photos/2024/IMG_0001.HEIC",)"
         R"("outputPath":"/photos/2024/.IMG_0001.candidate.heic","quality":0.8,)"
         R"("metadataPolicy":{"preserveColorProfile":true,"removeGPS":true,"removeXMP":null})" +
         extra + "}";
}

std::string unknownList(std::int64_t bytes) {
  std::string list = ",\"unknown\":[0";
  while (list.size() < static_cast<std::size_t>(bytes)) list += R"(,{"a":"text","b":12.5})";
  return bytes == 0 ? "" : list + "]";
}

void decodeRequestWith(benchmark::State& state) {
  const std::string document = request(unknownList(state.range(0)));
  while (state.KeepRunning()) {
    auto decoded = decodeRequest(document);
    benchmark::DoNotOptimize(decoded);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(document.size()));
}
BENCHMARK(decodeRequestWith)->ArgName("unknownBytes")->Arg(0)->Arg(1 << 20)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quellor
