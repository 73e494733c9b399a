#include <algorithm>

#include "tests/samples/profiles.h"
#include "tests/samples/sample.h"
#include "tests/support/jpeg_segments.h"
#include "tests/support/multi_picture_fixture.h"
#include "tests/support/photo_metadata.h"

namespace quellor::samples {
namespace {

using test_support::JpegSpec;
using Coding = JpegSpec::Coding;

/// Inks are 255 where there is none (Adobe Technical Note 5116).
std::uint8_t inkAt(std::uint32_t x, std::uint32_t y, std::uint32_t c) {
  const Color color = sceneAt(x, y);
  const double light = std::max({color[0], color[1], color[2], 0.01});
  return static_cast<std::uint8_t>(255 * (c == 3 ? light : color.at(c) / light));
}

JpegSpec specOf(Coding coding, int horizontal = 1, int vertical = 1) {
  JpegSpec spec;
  spec.width = kScene.width;
  spec.height = kScene.height;
  spec.coding = coding;
  spec.horizontalFactor = horizontal;
  spec.verticalFactor = vertical;
  spec.sample = [coding](std::uint32_t x, std::uint32_t y, std::uint32_t c) {
    if (coding == Coding::grey) return static_cast<std::uint8_t>(greySample(x, y, c));
    if (coding == Coding::cmyk || coding == Coding::ycck) return inkAt(x, y, c);
    return static_cast<std::uint8_t>(sceneSample(x, y, c));
  };
  return spec;
}

void addCodings(Samples& samples) {
  const auto add = [&](const char* name, const JpegSpec& spec, const char* space = "kCGColorSpaceSRGB") {
    Facts facts{{spec.width, spec.height}};
    facts.color = space;
    samples.push_back({std::string(name) + ".jpg", test_support::encodeJpeg(spec), facts});
  };
  add("jpeg-420", specOf(Coding::ycbcr, 2, 2));
  add("jpeg-422", specOf(Coding::ycbcr, 2, 1));
  add("jpeg-440", specOf(Coding::ycbcr, 1, 2));
  add("jpeg-444", specOf(Coding::ycbcr));
  add("jpeg-rgb", specOf(Coding::rgb));
  add("jpeg-grey", specOf(Coding::grey), kGreySpace);
  add("jpeg-cmyk", specOf(Coding::cmyk), "kCGColorSpaceGenericCMYK");
  add("jpeg-ycck", specOf(Coding::ycck), "kCGColorSpaceGenericCMYK");
  JpegSpec spec = specOf(Coding::ycbcr, 2, 2);
  spec.progressive = true;
  add("jpeg-progressive", spec);
  spec.progressive = false;
  spec.restartInterval = 3;
  add("jpeg-restart-markers", spec);
  spec.restartInterval = 0;
  spec.arithmetic = true;
  add("jpeg-arithmetic", spec);
  spec.arithmetic = false;
  spec.width = 131;
  spec.height = 77;
  add("jpeg-odd-size", spec);
}

void addProfiled(Samples& samples) {
  const struct {
    const char* name;
    Coding coding;
    Bytes profile;
    std::string space;
  } cases[] = {{"jpeg-display-p3", Coding::ycbcr, displayP3(), "kCGColorSpaceDisplayP3"},
               {"jpeg-own-space", Coding::ycbcr, cameraRgb(), std::string(kCameraSpace)},
               {"jpeg-grey-profile", Coding::grey, greyGamma22(), kGreySpace}};
  for (const auto& c : cases) {
    JpegSpec spec = specOf(c.coding);
    spec.segments = {test_support::profileSegment(c.profile)};
    Facts facts;
    facts.color = c.space;
    facts.profile = c.profile;
    samples.push_back({std::string(c.name) + ".jpg", test_support::encodeJpeg(spec), facts});
  }
}

void addTurned(Samples& samples) {
  for (int orientation = 1; orientation <= 8; ++orientation) {
    JpegSpec spec = specOf(Coding::ycbcr, 2, 2);
    spec.segments = {test_support::exifSegment(test_support::photoExif(static_cast<std::uint16_t>(orientation)))};
    Facts facts;
    facts.orientation = orientation;
    samples.push_back(
        {"jpeg-orientation-" + std::to_string(orientation) + ".jpg", test_support::encodeJpeg(spec), facts});
  }
}

/// CIPA DC-007: two pictures of a stereo camera (kind 0x020002), and a picture with a large thumbnail (0x010001).
void addMultiPicture(Samples& samples) {
  const Bytes second = test_support::encodeJpeg(specOf(Coding::ycbcr, 2, 2));
  Facts pair{{17, 9}};
  pair.images = 2;
  samples.push_back({"jpeg-stereo-pair.jpg", test_support::multiPictureJpeg({{0x020002, second}}), pair});
  Facts one{{17, 9}};
  samples.push_back({"jpeg-large-thumbnail.jpg", test_support::multiPictureJpeg({{0x010001, second}}), one});
}

}  // namespace

void addJpegFiles(Samples& samples) {
  addCodings(samples);
  addProfiled(samples);
  addTurned(samples);
  addMultiPicture(samples);
}

}  // namespace quellor::samples
