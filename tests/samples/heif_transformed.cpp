// HEVC pictures that are to be shown turned, mirrored or in part.

#include "tests/samples/heif_file.h"
#include "tests/samples/sample.h"
#include "tests/support/photo_metadata.h"

namespace quellor::samples {
namespace {

using test_support::imir;
using test_support::irot;

/// Quarter turns anticlockwise and then a mirroring (ISO/IEC 23008-12, 6.5.10 and 6.5.12: axis 0 exchanges top and
/// bottom, 1 left and right), as the orientation of Exif (2.32, 4.6.4) that shows the same.
constexpr struct {
  const char* name;
  int quarters;  // -1: no such property
  int axis;
  int orientation;
} kTurns[] = {
    {"irot-0", 0, -1, 1},       {"irot-1", 1, -1, 8},       {"irot-2", 2, -1, 3},       {"irot-3", 3, -1, 6},
    {"imir-0", -1, 0, 4},       {"imir-1", -1, 1, 2},       {"irot-1-imir-0", 1, 0, 5}, {"irot-1-imir-1", 1, 1, 7},
    {"irot-2-imir-0", 2, 0, 2}, {"irot-2-imir-1", 2, 1, 4}, {"irot-3-imir-0", 3, 0, 7}, {"irot-3-imir-1", 3, 1, 5},
};

std::vector<Bytes> propertiesOf(int quarters, int axis) {
  std::vector<Bytes> properties = {srgb()};
  if (quarters >= 0) properties.push_back(irot(static_cast<unsigned>(quarters)));
  if (axis >= 0) properties.push_back(imir(static_cast<unsigned>(axis)));
  return properties;
}

void addTurned(Samples& samples) {
  for (const auto& turn : kTurns) {
    HeifFile file;
    file.picture(sceneRaster({}), propertiesOf(turn.quarters, turn.axis));
    Facts facts;
    facts.orientation = turn.orientation;
    samples.push_back({std::string("turned-") + turn.name + ".heic", file.build(), facts});
  }
}

/// With an Exif orientation of 6: a file that promises MIAF says by its properties how it is shown, and what Exif says
/// is history (ISO/IEC 23000-22, 7.3.9); any other file has only the Exif block to say so.
void addTurnedByExif(Samples& samples) {
  const struct {
    const char* name;
    std::vector<std::string> brands;
    int quarters;
    int orientation;
  } cases[] = {{"exif-alone", {"heic", "mif1"}, -1, 6},
               {"exif-in-miaf", {"heic", "mif1", "miaf"}, -1, 1},
               {"exif-beside-irot", {"heic", "mif1", "miaf"}, 1, 8}};
  for (const auto& c : cases) {
    HeifFile file;
    file.brands(c.brands).picture(sceneRaster({}), propertiesOf(c.quarters, -1));
    file.exif(test_support::photoExif(6));
    Facts facts;
    facts.orientation = c.orientation;
    samples.push_back({std::string("turned-by-") + c.name + ".heic", file.build(), facts});
  }
}

struct Crop {
  const char* name;
  Chroma chroma;
  std::uint32_t left, top;
  Size size;
};

/// tests/end_to_end/stored_pixels_test.cpp has the same places.
constexpr Crop kCrops[] = {
    {"even-420", Chroma::halved, 16, 8, {96, 64}},     {"odd-place-420", Chroma::halved, 15, 9, {96, 64}},
    {"odd-size-420", Chroma::halved, 16, 8, {97, 63}}, {"odd-all-422", Chroma::halfWidth, 31, 7, {91, 65}},
    {"odd-all-444", Chroma::full, 33, 21, {51, 77}},   {"last-row-420", Chroma::halved, 0, 0, {192, 127}},
};

void addCropped(Samples& samples) {
  for (const Crop& crop : kCrops) {
    ScenePlan plan;
    plan.chroma = crop.chroma;
    HeifFile file;
    file.picture(sceneRaster(plan), {srgb(), test_support::clap(crop.left, crop.top, crop.size.width, crop.size.height,
                                                                {kScene.width, kScene.height})});
    samples.push_back({std::string("cropped-") + crop.name + ".heic", file.build(), Facts{crop.size}});
  }
  HeifFile all;
  all.picture(sceneRaster({}),
              {srgb(), test_support::clap(21, 13, 101, 75, {kScene.width, kScene.height}), irot(3), imir(1)});
  Facts facts{{101, 75}};
  facts.orientation = 5;
  samples.push_back({"cropped-turned-mirrored.heic", all.build(), facts});
}

}  // namespace

void addTransformed(Samples& samples) {
  addTurned(samples);
  addTurnedByExif(samples);
  addCropped(samples);
}

}  // namespace quellor::samples
