// Photos with what cameras and editors write about them, in every format that has room for it.

#include <string_view>

#include "tests/samples/heif_file.h"
#include "tests/samples/profiles.h"
#include "tests/samples/sample.h"
#include "tests/support/jpeg_segments.h"
#include "tests/support/photo_metadata.h"
#include "tests/support/png_fixture.h"
#include "tests/support/tiff_fixture.h"
#include "tests/support/webp_fixture.h"

namespace quellor::samples {
namespace {

using namespace std::string_view_literals;
using test_support::TiffStructure;
using Entry = TiffStructure::Entry;

constexpr int kOrientation = 6;

struct Maker {
  const char* name;  // of the file
  const char* make;
  const char* model;
  bool bigEndian;
  std::string_view signature;
  /// Where the offsets of the note's directory count from: its own place in the note, or absent for the block's start.
  std::optional<std::uint32_t> ownBase;
};

/// The forms of maker notes: their signatures, and what their offsets are relative to.
const Maker kMakers[] = {
    {"apple", "Apple", "Model Eleven", true, "Apple iOS\0\0\1MM"sv, 14},
    {"canon", "Canon", "Model 40 of Canon", false, ""sv, std::nullopt},
    {"nikon", "NIKON CORPORATION", "Model D of Nikon", true, "Nikon\0\2\x10\0\0MM\0*\0\0\0\x08"sv, 8},
    {"olympus", "OLYMPUS IMAGING CORP.", "Model E of Olympus", false, "OLYMPUS\0II\3\0"sv, 12},
    {"fujifilm", "FUJIFILM", "Model X of Fujifilm", false, "FUJIFILM\x0C\0\0\0"sv, 12},
    {"panasonic", "Panasonic", "Model FZ of Panasonic", false, "Panasonic\0\0\0"sv, std::nullopt},
    {"sony", "SONY", "Model A of Sony", false, "SONY DSC \0\0\0"sv, std::nullopt},
    {"pentax", "PENTAX", "Model K of Pentax", true, "AOC\0MM"sv, std::nullopt},
};

/// A note of one number and one text that stands behind its directory.
Bytes noteOf(const Maker& maker, std::uint32_t place) {
  const TiffStructure s(maker.bigEndian);
  const auto text = "Note of the maker, serial 0123456789"sv;
  const auto start = static_cast<std::uint32_t>(maker.signature.size());
  const std::uint32_t directory = maker.ownBase.value_or(place + start);
  const std::uint32_t value = directory + 2 + 2 * 12 + 4;
  return TiffStructure::joined({test_support::bytesOf(maker.signature), s.number(2, 2), s.number(1, 2), s.number(3, 2),
                                s.number(1, 4), s.number(5, 2), s.number(0, 2), s.number(2, 2), s.number(2, 2),
                                s.number(text.size() + 1, 4), s.number(value, 4), s.number(0, 4),
                                test_support::bytesOf(text, {0})});
}

/// Make, model, orientation, exposure, lens, the maker's note and a position.
Bytes blockOf(const Maker& maker) {
  TiffStructure s(maker.bigEndian);
  std::vector<Entry> first = {TiffStructure::textEntry(271, maker.make), TiffStructure::textEntry(272, maker.model),
                              s.shortEntry(274, kOrientation), s.longEntry(34665, 0), s.longEntry(34853, 0)};
  const std::vector<Entry> before = {s.rationalEntry(33434, 1, 250), s.shortEntry(34855, 200),
                                     TiffStructure::textEntry(36867, "2024:05:06 07:08:09")};
  const std::uint32_t exifAt = s.end() + TiffStructure::sizeOf(first);
  std::vector<Entry> exif = before;
  exif.push_back(TiffStructure::undefinedEntry(37500, {}));
  exif.push_back(TiffStructure::textEntry(42036, "24-70mm F2.8"));
  // The note stands behind the values of the entries before it.
  const std::uint32_t headSize = 2 + 12 * static_cast<std::uint32_t>(exif.size()) + 4;
  const std::uint32_t noteAt =
      exifAt + headSize + TiffStructure::sizeOf(before) - 2 - 12 * static_cast<std::uint32_t>(before.size()) - 4;
  exif[3] = TiffStructure::undefinedEntry(37500, noteOf(maker, noteAt));
  const auto degrees = [&s](std::uint32_t whole, std::uint32_t minutes, std::uint32_t hundredths) {
    return TiffStructure::joined({s.number(whole, 4), s.number(1, 4), s.number(minutes, 4), s.number(1, 4),
                                  s.number(hundredths, 4), s.number(100, 4)});
  };
  const std::vector<Entry> gps = {{0, 1, 4, {2, 3, 0, 0}},           TiffStructure::textEntry(1, "S"),
                                  {2, 5, 3, degrees(33, 51, 2412)},  TiffStructure::textEntry(3, "E"),
                                  {4, 5, 3, degrees(151, 12, 3456)}, s.rationalEntry(6, 58, 1)};
  first[3] = s.longEntry(34665, exifAt);
  first[4] = s.longEntry(34853, exifAt + TiffStructure::sizeOf(exif));
  return s.directory(first).directory(exif).directory(gps).bytes();
}

test_support::JpegSpec jpegSpec() {
  test_support::JpegSpec spec;
  spec.width = kScene.width;
  spec.height = kScene.height;
  spec.horizontalFactor = spec.verticalFactor = 2;
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t c) {
    return static_cast<std::uint8_t>(sceneSample(x, y, c));
  };
  return spec;
}

Facts turned() {
  Facts facts;
  facts.orientation = kOrientation;
  return facts;
}

void addMakers(Samples& samples) {
  for (const Maker& maker : kMakers) {
    test_support::JpegSpec spec = jpegSpec();
    spec.segments = {test_support::exifSegment(blockOf(maker)),
                     test_support::packetSegment(test_support::kPhotoPacket)};
    samples.push_back({std::string("described-by-") + maker.name + ".jpg", test_support::encodeJpeg(spec), turned()});
    HeifFile file;
    file.picture(sceneRaster({}), {srgb()});
    file.exif(blockOf(maker));
    samples.push_back({std::string("described-by-") + maker.name + ".heic", file.build(), turned()});
  }
}

void addHeif(Samples& samples) {
  HeifFile all;
  all.brands({"heic", "mif1", "miaf"}).picture(sceneRaster({}), {srgb(), test_support::irot(3)});
  all.exif(test_support::photoExif(kOrientation)).packet(test_support::kPhotoPacket).iptc(test_support::photoIptc());
  samples.push_back({"described-exif-xmp-iptc.heic", all.build(), turned()});

  HeifFile packet;
  packet.picture(sceneRaster({}), {srgb()});
  samples.push_back({"described-xmp.heic", packet.packet(test_support::kPhotoPacket).build()});

  HeifFile grid;
  ScenePlan tile;
  tile.size = {64, 64};
  grid.brands({"heic", "mif1", "miaf"}).grid(tile, {180, 120}, {srgb(), test_support::irot(3)}, {srgb()});
  grid.exif(blockOf(kMakers[0])).packet(test_support::kPhotoPacket);
  Facts facts{{180, 120}};
  facts.orientation = kOrientation;
  samples.push_back({"described-grid.heic", grid.build(), facts});
}

void addOthers(Samples& samples) {
  test_support::JpegSpec jpeg = jpegSpec();
  jpeg.segments = {test_support::exifSegment(test_support::photoExif(kOrientation)),
                   test_support::packetSegment(test_support::kPhotoPacket),
                   test_support::iptcSegment(test_support::photoIptc()), test_support::profileSegment(displayP3())};
  Facts profiled = turned();
  profiled.color = "kCGColorSpaceDisplayP3";
  profiled.profile = displayP3();
  samples.push_back({"described-exif-xmp-iptc-profile.jpg", test_support::encodeJpeg(jpeg), profiled});

  test_support::PngSpec png;
  png.width = kScene.width;
  png.height = kScene.height;
  png.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t c) { return sceneSample(x, y, c); };
  png.chunksBeforeData = {{"eXIf", test_support::photoExif(kOrientation)}};
  png.texts = {{test_support::PngText::Kind::utf8, "XML:com.adobe.xmp", std::string(test_support::kPhotoPacket)}};
  samples.push_back({"described-exif-xmp.png", test_support::encodePng(png), turned()});

  test_support::WebpPicture webp{kScene.width, kScene.height, {}};
  for (std::uint32_t i = 0; i < kScene.width * kScene.height * 4; ++i) {
    const bool isColor = i % 4 != 3;
    webp.rgba.push_back(isColor ? static_cast<int>(sceneSample(i / 4 % kScene.width, i / 4 / kScene.width, i % 4))
                                : 255);
  }
  samples.push_back({"described-exif-xmp.webp",
                     test_support::webpFile({test_support::webpHeader(0x0C, kScene.width, kScene.height),
                                             test_support::webpChunks(test_support::lossyWebp(webp)).front(),
                                             {"EXIF", test_support::photoExif(kOrientation)},
                                             {"XMP ", test_support::bytesOf(test_support::kPhotoPacket)}}),
                     turned()});
}

}  // namespace

void addDescribed(Samples& samples) {
  addMakers(samples);
  addHeif(samples);
  addOthers(samples);
}

}  // namespace quellor::samples
