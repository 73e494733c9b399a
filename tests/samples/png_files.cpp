#include "tests/samples/profiles.h"
#include "tests/samples/sample.h"
#include "tests/support/png_fixture.h"
#include "tests/support/tiff_structure.h"

namespace quellor::samples {
namespace {

using test_support::PngChunk;
using test_support::PngSpec;

constexpr int kGrey = 0, kRgb = 2, kPalette = 3, kGreyAlpha = 4, kRgba = 6;

PngSpec specOf(int colorType, int bits = 8) {
  PngSpec spec;
  spec.width = kScene.width;
  spec.height = kScene.height;
  spec.colorType = colorType;
  spec.bitDepth = bits;
  const bool grey = colorType == kGrey || colorType == kGreyAlpha;
  spec.sample = [grey, bits](std::uint32_t x, std::uint32_t y, std::uint32_t c) {
    return grey ? greySample(x, y, c, bits) : sceneSample(x, y, c, bits);
  };
  return spec;
}

/// Three bits of red and of green, two of blue.
PngSpec paletteSpec(bool transparent) {
  PngSpec spec = specOf(kPalette);
  for (unsigned i = 0; i < 256; ++i) {
    spec.palette.push_back({static_cast<std::uint8_t>((i >> 5) * 36), static_cast<std::uint8_t>((i >> 2 & 7) * 36),
                            static_cast<std::uint8_t>((i & 3) * 85)});
  }
  if (transparent) spec.paletteAlpha = {0, 64, 128, 192};
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t) {
    return sceneSample(x, y, 0, 3) << 5 | sceneSample(x, y, 1, 3) << 2 | sceneSample(x, y, 2, 2);
  };
  return spec;
}

void addForms(Samples& samples) {
  const auto add = [&](const char* name, const PngSpec& spec, int bits = 8) {
    Facts facts{{spec.width, spec.height}, bits};
    if (spec.colorType == kGrey || spec.colorType == kGreyAlpha) facts.color = kGreySpace;
    samples.push_back({std::string(name) + ".png", test_support::encodePng(spec), facts});
  };
  add("png-grey-1", specOf(kGrey, 1));
  add("png-grey-4", specOf(kGrey, 4));
  add("png-grey-8", specOf(kGrey));
  add("png-grey-16", specOf(kGrey, 16), 16);
  add("png-grey-alpha-8", specOf(kGreyAlpha));
  add("png-rgb-8", specOf(kRgb));
  add("png-rgb-16", specOf(kRgb, 16), 16);
  add("png-rgba-8", specOf(kRgba));
  add("png-rgba-16", specOf(kRgba, 16), 16);
  add("png-palette", paletteSpec(false));
  add("png-palette-transparent", paletteSpec(true));
  PngSpec keyed = specOf(kRgb);
  keyed.transparentColor = {{static_cast<std::uint16_t>(sceneSample(0, 0, 0)),
                             static_cast<std::uint16_t>(sceneSample(0, 0, 1)),
                             static_cast<std::uint16_t>(sceneSample(0, 0, 2))}};
  add("png-rgb-transparent-colour", keyed);
  PngSpec interlaced = specOf(kRgb);
  interlaced.interlaced = true;
  add("png-interlaced", interlaced);
  interlaced = specOf(kRgba, 16);
  interlaced.interlaced = true;
  interlaced.width = 61;
  interlaced.height = 43;
  add("png-interlaced-rgba-16-odd-size", interlaced, 16);
}

void addProfiled(Samples& samples) {
  PngSpec spec = specOf(kRgb);
  spec.iccProfile = displayP3();
  Facts facts;
  facts.color = "kCGColorSpaceDisplayP3";
  facts.profile = spec.iccProfile;
  samples.push_back({"png-display-p3.png", test_support::encodePng(spec), facts});

  PngSpec grey = specOf(kGrey);
  grey.iccProfile = greyGamma22();
  Facts greyFacts;
  greyFacts.color = kGreySpace;
  greyFacts.profile = grey.iccProfile;
  samples.push_back({"png-grey-profile.png", test_support::encodePng(grey), greyFacts});
}

/// The data of all its IDAT chunks.
Bytes imageDataOf(const PngSpec& spec) {
  const Bytes file = test_support::encodePng(spec);
  Bytes data;
  for (const auto& chunk : test_support::pngChunks(file)) {
    if (chunk.type != "IDAT") continue;
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(chunk.offset + 8);
    data.insert(data.end(), begin, begin + static_cast<std::ptrdiff_t>(chunk.length));
  }
  return data;
}

/// PNG, third edition, 11.3.6: a frame that covers the picture, a tenth of a second long.
PngChunk wholeFrame(std::uint32_t sequenceNumber, const PngSpec& spec) {
  const test_support::TiffStructure numbers(true);
  Bytes data;
  for (const std::uint32_t number : {sequenceNumber, spec.width, spec.height, 0U, 0U}) {
    const Bytes four = numbers.number(number, 4);
    data.insert(data.end(), four.begin(), four.end());
  }
  data.insert(data.end(), {0, 1, 0, 10, 0, 0});
  return {"fcTL", data};
}

PngChunk laterData(std::uint32_t sequenceNumber, const PngSpec& spec) {
  Bytes data = test_support::TiffStructure(true).number(sequenceNumber, 4);
  const Bytes image = imageDataOf(spec);
  data.insert(data.end(), image.begin(), image.end());
  return {"fdAT", data};
}

/// Two frames, the picture and another one. The picture is what readers without animations show, and the first frame
/// or none of them.
void addAnimated(Samples& samples) {
  PngSpec other = specOf(kRgb);
  other.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t c) { return 255 - sceneSample(x, y, c); };
  PngSpec first = specOf(kRgb);
  first.chunksBeforeData = {test_support::animationControl(2), wholeFrame(0, first)};
  first.chunksAfterData = {wholeFrame(1, other), laterData(2, other)};
  Facts facts;
  facts.images = 2;
  samples.push_back({"png-animated.png", test_support::encodePng(first), facts});

  PngSpec apart = specOf(kRgb);
  apart.chunksBeforeData = {test_support::animationControl(2)};
  apart.chunksAfterData = {wholeFrame(0, other), laterData(1, other), wholeFrame(2, other), laterData(3, other)};
  facts.images = 3;
  samples.push_back({"png-animated-beside-its-image.png", test_support::encodePng(apart), facts});
}

}  // namespace

void addPngFiles(Samples& samples) {
  addForms(samples);
  addProfiled(samples);
  addAnimated(samples);
}

}  // namespace quellor::samples
