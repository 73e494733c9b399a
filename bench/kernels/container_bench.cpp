// Reading and writing the structure of a HEIF file: a grid of as many tiles as a photo of 12 or 200 megapixels has.
// Bytes are those of the structure; the tiles' own are not looked at.

#include <benchmark/benchmark.h>

#include "platform/heif/box_writer.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/container_writer.h"

namespace quellor::heif {
namespace {

constexpr std::size_t kTileBytes = std::size_t{48} * 1024;
constexpr std::size_t kProfileBytes = 548;
constexpr std::size_t kConfigurationBytes = 110;
constexpr ItemId kGridItem = 1;
constexpr std::int64_t kPhone = 48, kLargest = 768;

/// A box of zeros: for these readers, the payload of a property is only so many bytes.
Bytes property(FourCC type, std::size_t payload) {
  BoxWriter writer;
  writer.box(type, [&] { writer.append(Bytes(payload)); });
  return writer.take();
}

/// `tile` must outlive the model.
OutputFile gridOf(std::int64_t tiles, const Bytes& tile) {
  OutputFile file;
  file.majorBrand = fourCC("heic");
  file.compatibleBrands = {fourCC("mif1"), fourCC("miaf"), fourCC("heic")};
  file.primaryItem = kGridItem;
  file.properties = {property(fourCC("hvcC"), kConfigurationBytes), property(fourCC("ispe"), 12),
                     property(fourCC("ispe"), 12), property(fourCC("colr"), kProfileBytes),
                     property(fourCC("pixi"), 8)};
  const ByteView description = ByteView(tile).first(12);
  file.items = {{kGridItem, fourCC("grid"), false, {}, {}, {description}, {{2, false}, {3, false}, {4, false}}}};
  Reference derivation{fourCC("dimg"), kGridItem, {}};
  for (std::int64_t i = 0; i < tiles; ++i) {
    const auto id = static_cast<ItemId>(kGridItem + 1 + i);
    file.items.push_back({id, fourCC("hvc1"), true, {}, {}, {ByteView(tile)}, {{0, true}, {1, false}, {3, false}}});
    derivation.to.push_back(id);
  }
  file.references = {std::move(derivation)};
  return file;
}

void count(benchmark::State& state, std::size_t structureBytes) {
  state.SetItemsProcessed(state.iterations() * (state.range(0) + 1));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(structureBytes));
}

void readGrid(benchmark::State& state) {
  const Bytes tile(kTileBytes);
  const auto serialised = serialise(gridOf(state.range(0), tile));
  Bytes file;
  for (const ByteView part : serialised->parts()) file.insert(file.end(), part.begin(), part.end());
  while (state.KeepRunning()) {
    auto container = readContainer(file);
    if (!container) return state.SkipWithError("the file was not read");
    benchmark::DoNotOptimize(container);
  }
  count(state, serialised->head.size());
}
BENCHMARK(readGrid)->ArgName("tiles")->Arg(kPhone)->Arg(kLargest)->Unit(benchmark::kMicrosecond);

void writeGrid(benchmark::State& state) {
  const Bytes tile(kTileBytes);
  const OutputFile file = gridOf(state.range(0), tile);
  std::size_t structureBytes = 0;
  while (state.KeepRunning()) {
    auto serialised = serialise(file);
    if (!serialised) return state.SkipWithError("the file was not written");
    structureBytes = serialised->head.size();
    benchmark::DoNotOptimize(serialised);
  }
  count(state, structureBytes);
}
BENCHMARK(writeGrid)->ArgName("tiles")->Arg(kPhone)->Arg(kLargest)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quellor::heif
