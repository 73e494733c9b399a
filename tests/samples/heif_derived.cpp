// Images that are made of other images: grids, overlays, identities.

#include "tests/samples/heif_file.h"
#include "tests/samples/profiles.h"
#include "tests/samples/sample.h"

namespace quellor::samples {
namespace {

using test_support::irot;

ScenePlan tileOf(Size size, Chroma chroma = Chroma::halved, int bits = 8) {
  ScenePlan plan;
  plan.size = size;
  plan.chroma = chroma;
  plan.bits = bits;
  return plan;
}

void addGrids(Samples& samples) {
  const struct {
    const char* name;
    ScenePlan tile;
    Size size;
  } cases[] = {
      {"1x1", tileOf({192, 128}), {192, 128}},
      {"2x2", tileOf({96, 64}), {192, 128}},
      {"1x3", tileOf({64, 128}), {192, 128}},
      {"4x1", tileOf({192, 64}), {192, 256}},
      {"4x6", tileOf({64, 64}), {384, 256}},
      {"clipped-right", tileOf({64, 64}), {170, 128}},
      {"clipped-bottom", tileOf({64, 64}), {192, 100}},
      {"clipped-both", tileOf({64, 64}), {130, 66}},
      {"clipped-odd-444", tileOf({64, 64}, Chroma::full), {171, 101}},
      {"422", tileOf({64, 64}, Chroma::halfWidth), {192, 128}},
      {"grey", tileOf({64, 64}, Chroma::grey), {150, 120}},
      {"10-bit", tileOf({64, 64}, Chroma::halved, 10), {192, 120}},
      {"12-bit-444", tileOf({64, 64}, Chroma::full, 12), {150, 120}},
  };
  for (const auto& c : cases) {
    HeifFile file;
    file.grid(c.tile, c.size, {srgb()}, {srgb()});
    Facts facts{c.size, c.tile.bits};
    if (c.tile.chroma == Chroma::grey) facts.color = kGreySpace;
    samples.push_back({std::string("grid-") + c.name + ".heic", file.build(), facts});
  }
}

/// Grids as phones write them.
void addPhoneGrids(Samples& samples) {
  const Bytes profile = displayP3();
  const Bytes color = test_support::colrIcc(profile);
  const struct {
    const char* name;
    std::vector<Bytes> ofGrid, ofTiles;
    std::optional<int> orientation;
  } cases[] = {{"profile", {color}, {color}, std::nullopt},
               {"profile-of-tiles-only", {}, {color}, std::nullopt},
               {"turned", {color, irot(3)}, {color}, 6},
               {"turned-mirrored", {color, irot(1), test_support::imir(0)}, {color}, 5}};
  for (const auto& c : cases) {
    HeifFile file;
    file.brands({"heic", "mif1", "miaf"}).grid(tileOf({64, 64}), {180, 120}, c.ofGrid, c.ofTiles);
    Facts facts{{180, 120}};
    facts.orientation = c.orientation;
    facts.color = "kCGColorSpaceDisplayP3";
    facts.profile = profile;
    samples.push_back({std::string("phone-grid-") + c.name + ".heic", file.build(), facts});
  }
}

/// tests/end_to_end/stored_pixels_derived_test.cpp has the same places and colours.
void addOverlays(Samples& samples) {
  const struct {
    const char* name;
    bool wideFields;
    std::int32_t x, y;  // of the second input
    std::vector<unsigned> fill;
  } cases[] = {{"inside", false, 40, 30, {0, 0, 0}},
               {"across-edges", false, -20, -10, {65535, 32768, 0}},
               {"beyond-right", false, 150, 90, {0, 65535, 65535}},
               {"wide-fields", true, 64, -31, {65535, 65535, 65535}}};
  for (const auto& c : cases) {
    HeifFile file;
    const std::uint32_t first = file.picture(sceneRaster(tileOf({96, 64})), {srgb()});
    ScenePlan second = tileOf({80, 64});
    second.left = second.top = 64;
    const std::uint32_t other = file.picture(sceneRaster(second), {srgb()});
    for (auto& item : file.scene().builder().items) item.hidden = true;
    file.scene().overlay(c.fill, 192, 128, {{first, 10, 20}, {other, c.x, c.y}}, c.wideFields);
    samples.push_back({std::string("overlay-") + c.name + ".heic", file.build()});
  }
}

void addIdentities(Samples& samples) {
  const Bytes extent = test_support::ispe(kScene.width, kScene.height);
  HeifFile plain;
  plain.scene().identity(plain.picture(sceneRaster({}), {srgb()}), {extent, srgb()});
  plain.scene().builder().items.front().hidden = true;
  samples.push_back({"identity.heic", plain.build()});

  HeifFile turned;
  turned.scene().identity(turned.grid(tileOf({96, 64}), kScene, {srgb()}, {srgb()}), {extent, srgb(), irot(1)});
  for (auto& item : turned.scene().builder().items) item.hidden = item.type != "iden";
  Facts facts;
  facts.orientation = 8;
  samples.push_back({"identity-of-grid-turned.heic", turned.build(), facts});

  HeifFile twice;
  twice.scene().identity(twice.scene().identity(twice.picture(sceneRaster({}), {srgb()}), {extent, srgb()}),
                         {extent, srgb()});
  for (auto& item : twice.scene().builder().items) item.hidden = item.id != 3;
  samples.push_back({"identity-of-identity.heic", twice.build()});
}

}  // namespace

void addDerived(Samples& samples) {
  addGrids(samples);
  addPhoneGrids(samples);
  addOverlays(samples);
  addIdentities(samples);
}

}  // namespace quellor::samples
