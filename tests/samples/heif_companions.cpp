// Images with others beside them: alpha, gain maps, depth, mattes, thumbnails, further pictures.

#include "tests/samples/heif_file.h"
#include "tests/samples/sample.h"

namespace quellor::samples {
namespace {

constexpr Size kHalf = {96, 64};
constexpr const char* kDepthUrn = "urn:mpeg:hevc:2015:auxid:2";

Raster small(Chroma chroma = Chroma::halved) {
  ScenePlan plan;
  plan.size = kHalf;
  plan.chroma = chroma;
  return sceneRaster(plan);
}

void addWithAlpha(Samples& samples) {
  const struct {
    const char* name;
    Chroma chroma;
    int bits;
    bool premultiplied;
  } cases[] = {{"straight", Chroma::halved, 8, false},       {"premultiplied", Chroma::halved, 8, true},
               {"straight-444", Chroma::full, 8, false},     {"premultiplied-444", Chroma::full, 8, true},
               {"straight-10-bit", Chroma::full, 10, false}, {"grey", Chroma::grey, 8, false}};
  for (const auto& c : cases) {
    ScenePlan plan;
    plan.chroma = c.chroma;
    plan.bits = c.bits;
    plan.multiplied = c.premultiplied;
    HeifFile file;
    file.picture(sceneRaster(plan), {srgb()});
    file.alpha(opacityRaster(kScene, c.bits), c.premultiplied);
    Facts facts{kScene, c.bits};
    if (c.chroma == Chroma::grey) facts.color = kGreySpace;
    samples.push_back({std::string("alpha-") + c.name + ".heic", file.build(), facts});
  }
  HeifFile turned;
  turned.picture(sceneRaster({}), {srgb(), test_support::irot(1)});
  turned.alpha(opacityRaster(kScene));
  Facts facts;
  facts.orientation = 8;
  samples.push_back({"alpha-turned.heic", turned.build(), facts});
}

void addWithAuxiliaries(Samples& samples) {
  const struct {
    const char* name;
    const char* urn;
    const char* type;
    const char* packet;
  } cases[] = {
      {"gain-map", "urn:iso:std:iso:ts:21496:-1", "hdr_gain_map", ""},
      {"depth", kDepthUrn, "depth", ""},
      {"depth-by-cicp", "urn:mpeg:mpegB:cicp:systems:auxiliary:depth", "depth", ""},
      {"disparity", kDepthUrn, "disparity",
       "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
       "<rdf:Description rdf:about='' xmlns:a='http://ns.example.com/aux/1.0/' a:AuxiliaryImageType='disparity'/>"
       "</rdf:RDF></x:xmpmeta>"},
  };
  for (const auto& c : cases) {
    HeifFile file;
    file.picture(sceneRaster({}), {srgb()});
    file.auxiliary(small(Chroma::grey), c.urn, c.packet);
    Facts facts;
    facts.auxiliaries = {c.type};
    samples.push_back({std::string("with-") + c.name + ".heic", file.build(), facts});
  }
  HeifFile all;
  ScenePlan tile;
  tile.size = {64, 64};
  all.grid(tile, {180, 120}, {srgb()}, {srgb()});
  all.auxiliary(small(Chroma::grey), kDepthUrn).auxiliary(small(Chroma::grey), "urn:iso:std:iso:ts:21496:-1");
  all.thumbnail(small());
  Facts facts{{180, 120}};
  facts.auxiliaries = {"depth", "hdr_gain_map"};
  samples.push_back({"grid-with-depth-gain-map-thumbnail.heic", all.build(), facts});
}

/// The gain map of a tone-mapped rendition, which is no picture of its own (ISO 21496-1).
void addToneMapped(Samples& samples) {
  HeifFile file;
  const std::uint32_t map = file.picture(small(Chroma::grey));
  file.scene().builder().items.back().hidden = true;
  const std::uint32_t base = file.picture(sceneRaster({}), {srgb()});
  file.scene().derived("tmap", Bytes(62), kScene.width, kScene.height, {base, map}, {});
  file.scene().builder().primary = base;
  file.brands({"heic", "mif1", "tmap"});
  Facts facts;
  facts.auxiliaries = {"hdr_gain_map"};
  samples.push_back({"with-tone-mapped-rendition.heic", file.build(), facts});
}

void addWithPictures(Samples& samples) {
  HeifFile thumbnail;
  thumbnail.picture(sceneRaster({}), {srgb()});
  samples.push_back({"with-thumbnail.heic", thumbnail.thumbnail(small()).build()});

  HeifFile burst;
  burst.picture(sceneRaster({}), {srgb()});
  burst.furtherPicture(small()).furtherPicture(sceneRaster({}));
  Facts facts;
  facts.images = 3;
  samples.push_back({"three-pictures.heic", burst.build(), facts});

  HeifFile hidden;
  hidden.picture(sceneRaster({}), {srgb()});
  samples.push_back({"with-hidden-picture.heic", hidden.furtherPicture(small(), true).build()});
}

}  // namespace

void addCompanions(Samples& samples) {
  addWithAlpha(samples);
  addWithAuxiliaries(samples);
  addToneMapped(samples);
  addWithPictures(samples);
}

}  // namespace quellor::samples
