// Removing position and camera from an Exif block with a maker note of the given size. Bytes are those of the block.

#include <benchmark/benchmark.h>

#include "platform/metadata/exif_editor.h"
#include "tests/support/tiff_structure.h"

namespace quellor::metadata {
namespace {

using test_support::TiffStructure;
using Entries = std::vector<TiffStructure::Entry>;

constexpr std::size_t kCameraSettings = 36;  // about what a phone writes
constexpr std::uint16_t kFirstSetting = 0x9201;

Entries gpsEntries(const TiffStructure& tiff) {
  Entries entries;
  for (std::uint16_t tag = 1; tag <= 16; ++tag) entries.push_back(tiff.rationalEntry(tag, tag, 100));
  return entries;
}

Entries exifEntries(const TiffStructure& tiff, std::size_t makerNoteBytes) {
  Entries entries;
  for (std::size_t i = 0; i < kCameraSettings; ++i) {
    entries.push_back(tiff.rationalEntry(static_cast<std::uint16_t>(kFirstSetting + i), 28, 10));
  }
  entries.push_back(TiffStructure::undefinedEntry(exif_tag::kMakerNote, Bytes(makerNoteBytes, 7)));
  return entries;
}

Entries firstEntries(const TiffStructure& tiff, std::uint32_t exif, std::uint32_t gps) {
  return {TiffStructure::textEntry(exif_tag::kMake, "A maker of cameras"),
          TiffStructure::textEntry(exif_tag::kModel, "One of its cameras"),
          tiff.shortEntry(exif_tag::kOrientation, 6),
          tiff.rationalEntry(exif_tag::kXResolution, 72, 1),
          tiff.rationalEntry(exif_tag::kYResolution, 72, 1),
          tiff.longEntry(exif_tag::kExifPointer, exif),
          tiff.longEntry(exif_tag::kGpsPointer, gps)};
}

Bytes exifBlock(std::size_t makerNoteBytes) {
  TiffStructure tiff(true);
  const Entries exif = exifEntries(tiff, makerNoteBytes);
  const std::uint32_t exifAt = tiff.end() + TiffStructure::sizeOf(firstEntries(tiff, 0, 0));
  const std::uint32_t gpsAt = exifAt + TiffStructure::sizeOf(exif);
  tiff.directory(firstEntries(tiff, exifAt, gpsAt)).directory(exif).directory(gpsEntries(tiff));
  return tiff.bytes();
}

void removePositionAndCamera(benchmark::State& state) {
  const Bytes block = exifBlock(static_cast<std::size_t>(state.range(0)));
  ExifEdit edit;
  edit.removals = {.position = true, .make = true, .model = true, .makerNote = true};
  edit.orientation = 1;
  while (state.KeepRunning()) {
    const auto directories = readExifDirectories(block);
    auto edited = directories ? editedExif(*directories, edit) : std::nullopt;
    if (!edited) return state.SkipWithError("the block was not edited");
    benchmark::DoNotOptimize(edited);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(block.size()));
}
BENCHMARK(removePositionAndCamera)->ArgName("makerNote")->Arg(2 << 10)->Arg(48 << 10)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quellor::metadata
