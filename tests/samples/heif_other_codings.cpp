// HEIF files whose images are coded with something else than HEVC.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/samples/heif_file.h"
#include "tests/samples/sample.h"
#include "tests/support/jpeg_fixture.h"

namespace quellor::samples {
namespace {

using test_support::JpegSpec;

Bytes jpegPicture(JpegSpec::Coding coding, int factor, Size size = kScene) {
  JpegSpec spec;
  spec.width = size.width;
  spec.height = size.height;
  spec.coding = coding;
  spec.horizontalFactor = spec.verticalFactor = factor;
  spec.sample = [coding](std::uint32_t x, std::uint32_t y, std::uint32_t c) {
    return static_cast<std::uint8_t>(coding == JpegSpec::Coding::grey ? greySample(x, y, c) : sceneSample(x, y, c));
  };
  return test_support::encodeJpeg(spec);
}

/// ISO/IEC 23008-12, annex H.
void addJpegItems(Samples& samples) {
  const auto add = [&](const char* name, const Bytes& jpeg, const char* space) {
    HeifFile file;
    file.brands({"mif1", "jpeg"}).scene().add("jpeg", jpeg, {test_support::ispe(kScene.width, kScene.height)});
    Facts facts;
    facts.color = space;
    samples.push_back({name, file.build(), facts});
  };
  add("jpeg-item-420.heif", jpegPicture(JpegSpec::Coding::ycbcr, 2), "kCGColorSpaceSRGB");
  add("jpeg-item-444.heif", jpegPicture(JpegSpec::Coding::ycbcr, 1), "kCGColorSpaceSRGB");
  add("jpeg-item-grey.heif", jpegPicture(JpegSpec::Coding::grey, 1), kGreySpace);
}

Bytes stored(const std::string& name) {
  std::ifstream stream(std::filesystem::path(QUELLOR_STORED_SAMPLES) / name, std::ios::binary);
  Bytes file((std::istreambuf_iterator<char>(stream)), {});
  if (file.empty()) throw std::runtime_error("cannot read " + name);
  return file;
}

/// Their pictures were made by this program and coded by libaom 3.6; avif/README.md says how.
void addAvifFiles(Samples& samples) {
  const struct {
    const char* name;
    int bits;
    bool grey;
  } cases[] = {{"av1-8-bit-420.avif", 8, false}, {"av1-8-bit-422.avif", 8, false},   {"av1-8-bit-444.avif", 8, false},
               {"av1-8-bit-grey.avif", 8, true}, {"av1-10-bit-420.avif", 10, false}, {"av1-12-bit-444.avif", 12, false},
               {"av1-alpha.avif", 8, false},     {"av1-lossless-444.avif", 8, false}};
  for (const auto& c : cases) {
    Facts facts{{96, 64}, c.bits};
    if (c.grey) facts.color = kGreySpace;
    samples.push_back({c.name, stored(c.name), facts});
  }
}

/// Sound files, but nobody reads these codings here.
void addUnread(Samples& samples) {
  for (const char* type : {"j2k1", "unci", "vvc1"}) {
    HeifFile file;
    file.brands({"mif1"}).scene().add(type, Bytes(200, 0x55), {test_support::ispe(16, 16)});
    samples.push_back({std::string("unread-") + type + ".heif", file.build(), {}, "no_primary_image"});
  }
}

}  // namespace

void addOtherCodings(Samples& samples) {
  addJpegItems(samples);
  addAvifFiles(samples);
  addUnread(samples);
}

}  // namespace quellor::samples
