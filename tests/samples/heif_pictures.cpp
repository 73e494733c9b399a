// Single HEVC pictures: what they are coded in, and with which tools.

#include "tests/samples/heif_file.h"
#include "tests/samples/profiles.h"
#include "tests/samples/sample.h"

namespace quellor::samples {
namespace {

constexpr Cicp kBt709 = {1, 1, 1, false};
constexpr Cicp kDisplayP3 = {12, 13, 6, true};
constexpr Cicp kPq = {9, 16, 9, false};
constexpr Cicp kHlg = {9, 18, 9, true};

/// One picture with its code points in the file.
Bytes codedAs(const ScenePlan& plan, const HevcSettings& settings = {}) {
  HeifFile file;
  file.picture(sceneRaster(plan), {colrOf(plan.coding)}, settings);
  return file.build();
}

void addDepths(Samples& samples) {
  const struct {
    const char* name;
    Chroma chroma;
    int bits;
  } forms[] = {
      {"8-bit-400", Chroma::grey, 8},        {"8-bit-420", Chroma::halved, 8},      {"8-bit-422", Chroma::halfWidth, 8},
      {"8-bit-444", Chroma::full, 8},        {"10-bit-400", Chroma::grey, 10},      {"10-bit-420", Chroma::halved, 10},
      {"10-bit-422", Chroma::halfWidth, 10}, {"10-bit-444", Chroma::full, 10},      {"12-bit-400", Chroma::grey, 12},
      {"12-bit-420", Chroma::halved, 12},    {"12-bit-422", Chroma::halfWidth, 12}, {"12-bit-444", Chroma::full, 12},
  };
  for (const auto& form : forms) {
    ScenePlan plan;
    plan.chroma = form.chroma;
    plan.bits = form.bits;
    Facts facts{kScene, form.bits};
    if (form.chroma == Chroma::grey) facts.color = kGreySpace;
    samples.push_back({std::string("hevc-") + form.name + ".heic", codedAs(plan), facts});
  }
}

void addCodePoints(Samples& samples) {
  const struct {
    const char* name;
    Cicp coding;
    int bits;
    const char* space;
  } cases[] = {
      {"bt709-limited", kBt709, 8, "kCGColorSpaceITUR_709"},
      {"display-p3", kDisplayP3, 8, "kCGColorSpaceDisplayP3"},
      {"bt2100-pq", kPq, 10, "kCGColorSpaceITUR_2100_PQ"},
      {"bt2100-hlg", kHlg, 10, "kCGColorSpaceITUR_2100_HLG"},
  };
  for (const auto& c : cases) {
    ScenePlan plan;
    plan.coding = c.coding;
    plan.bits = c.bits;
    Facts facts{kScene, c.bits};
    facts.color = c.space;
    samples.push_back({std::string("nclx-") + c.name + ".heic", codedAs(plan), facts});
  }
  HeifFile nothing;
  nothing.picture(sceneRaster({}));
  samples.push_back({"no-colour-property.heic", nothing.build()});
}

void addProfiles(Samples& samples) {
  const struct {
    const char* name;
    Bytes profile;
    std::string space;
    Chroma chroma = Chroma::halved;
  } cases[] = {
      {"display-p3", displayP3(), "kCGColorSpaceDisplayP3"},
      {"adobe-rgb", adobeRgb(), "kCGColorSpaceAdobeRGB1998"},
      {"own-space", cameraRgb(), std::string(kCameraSpace)},
      {"grey", greyGamma22(), kGreySpace, Chroma::grey},
  };
  for (const auto& c : cases) {
    ScenePlan plan;
    plan.chroma = c.chroma;
    HeifFile file;
    file.picture(sceneRaster(plan), {srgb(), test_support::colrIcc(c.profile)});
    Facts facts;
    facts.color = c.space;
    facts.profile = c.profile;
    samples.push_back({std::string("profile-") + c.name + ".heic", file.build(), facts});
  }
}

/// Without sample adaptive offset where units have 16 samples or the picture has slices: libavcodec 59 makes of the
/// former, libde265 1.0 of the latter a few samples that are not the encoder's.
const std::vector<std::pair<const char*, std::string>> kNoOffset = {{"sao", "0"}};

void addTools(Samples& samples) {
  const struct {
    const char* name;
    HevcSettings settings;
  } cases[] = {
      {"wavefronts", {22, 32, true}},
      {"wavefronts-small-units", {22, 16, true, 1, kNoOffset}},
      {"large-units", {22, 64}},
      {"small-units", {22, 16, false, 1, kNoOffset}},
      {"wavefronts-in-2-slices", {22, 32, true, 2, kNoOffset}},
      {"wavefronts-in-4-slices", {22, 16, true, 4, kNoOffset}},
      {"coarse", {40, 32}},
      {"fine", {8, 32}},
      {"rich-tools",
       {22,
        32,
        false,
        1,
        {{"tskip", "1"},
         {"signhide", "1"},
         {"strong-intra-smoothing", "1"},
         {"sao", "1"},
         {"tu-intra-depth", "3"},
         {"rect", "1"}}}},
      {"plain-tools", {22, 32, false, 1, {{"signhide", "0"}, {"sao", "0"}, {"deblock", "0"}}}},
      {"adaptive-quantiser", {22, 32, false, 1, {{"aq-mode", "2"}, {"cbqpoffs", "3"}, {"crqpoffs", "-3"}}}},
      {"scaling-lists", {22, 32, false, 1, {{"scaling-list", "default"}}}},
      {"lossless", {0, 32, false, 1, {{"lossless", "1"}}}},
  };
  for (const auto& c : cases) {
    samples.push_back({std::string("coding-") + c.name + ".heic", codedAs({}, c.settings)});
  }
}

void addSizes(Samples& samples) {
  const HevcSettings smallUnits{22, 16, false, 1, kNoOffset};
  for (const Size size : {Size{16, 16}, Size{64, 16}, Size{34, 50}, Size{18, 126}}) {
    ScenePlan plan;
    plan.size = size;
    const Facts facts{size};
    samples.push_back({"size-" + std::to_string(size.width) + "x" + std::to_string(size.height) + ".heic",
                       codedAs(plan, smallUnits), facts});
  }
  ScenePlan odd;
  odd.size = {33, 47};
  odd.chroma = Chroma::full;
  samples.push_back({"size-33x47-444.heic", codedAs(odd, smallUnits), Facts{odd.size}});
}

}  // namespace

void addPictures(Samples& samples) {
  addDepths(samples);
  addCodePoints(samples);
  addProfiles(samples);
  addTools(samples);
  addSizes(samples);
}

}  // namespace quellor::samples
