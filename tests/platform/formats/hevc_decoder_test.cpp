// HEVC pictures, from their NAL units to their samples: what decodes, to what, and what is refused.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/formats/hevc_configuration.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/item_properties.h"
#include "platform/values/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/format_samples.h"
#include "tests/support/heif_judge.h"
#include "tests/support/heif_output.h"
#include "tests/support/heif_scene.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

// --- A picture of 64 x 64 luma samples, 8-bit 4:2:0, in blocks of 16 x 16, two slices of two wavefront rows each.

const Bytes kVps = {0x40, 0x01, 0x0c, 0x01, 0xff, 0xff, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00,
                    0x90, 0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x1e, 0x95, 0x98, 0x09};
const Bytes kSps = {0x42, 0x01, 0x01, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00, 0x00, 0x03, 0x00,
                    0x00, 0x03, 0x00, 0x1e, 0xa0, 0x20, 0x81, 0x05, 0x96, 0x56, 0x6a, 0xbc, 0xae, 0x68,
                    0x08, 0x00, 0x00, 0x03, 0x00, 0x08, 0x00, 0x00, 0x03, 0x00, 0xc8, 0x40};
const Bytes kPps = {0x44, 0x01, 0xc1, 0x73, 0xd1, 0x09};
const Bytes kUpperSlice = {0x28, 0x01, 0xaf, 0x04, 0x48, 0xb8, 0x80, 0xf9, 0xa6, 0x94, 0x5a, 0x1c, 0x3b, 0x3d, 0xbe,
                           0xfd, 0x88, 0x36, 0xdc, 0x52, 0xbf, 0xd4, 0x42, 0xcc, 0xe3, 0xe3, 0x11, 0xcb, 0x86, 0xf8,
                           0xcd, 0x88, 0xdc, 0x95, 0x09, 0x48, 0x02, 0xf0, 0x78, 0xeb, 0xba, 0x38, 0x60, 0x07, 0x80};
const Bytes kLowerSlice = {0x28, 0x01, 0x30, 0xf0, 0x44, 0x8b, 0x28, 0xf9, 0xa7, 0xf4, 0x3b, 0xb9, 0x2a,
                           0x11, 0xad, 0xfe, 0xc0, 0xdb, 0xfc, 0x97, 0x3b, 0x45, 0xee, 0xdc, 0xf3, 0xa0,
                           0xde, 0x47, 0x3e, 0xad, 0x68, 0xa4, 0x2d, 0x73, 0x63, 0xe6, 0x8d, 0xdb, 0xf8};

Bytes behindLengths(const std::vector<Bytes>& units) {
  Bytes bytes;
  for (const Bytes& unit : units) {
    for (const int shift : {24, 16, 8, 0}) bytes.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
    bytes.insert(bytes.end(), unit.begin(), unit.end());
  }
  return bytes;
}

Bytes pictureOf(const Bytes& upperSlice, const Bytes& lowerSlice) {
  return behindLengths({kVps, kSps, kPps, upperSlice, lowerSlice});
}

/// A file whose primary image these units code, all of them in the item's data.
Bytes fileOf(const Bytes& units, std::uint32_t width = 64, std::uint32_t height = 64) {
  test_support::HeifScene scene;
  scene.add("hvc1", units, {test_support::hvcC(), test_support::ispe(width, height)});
  return scene.file();
}

Outcome<Raster> decodeFile(const Bytes& file) { return test_support::imageFormat("HEIF").decode(file); }

Outcome<Raster> decode(const Bytes& units) { return decodeFile(fileOf(units)); }

/// The samples of all components, one after the other.
std::vector<std::vector<int>> samplesOf(const Raster& raster) {
  std::vector<std::vector<int>> samples;
  for (const Component& component : raster.components) {
    samples.push_back(test_support::samplesOf(component, raster.bitsPerComponent));
  }
  return samples;
}

TEST(HevcDecoder, DecodesWhatAnotherDecoderDecodes) {
  const Bytes file = fileOf(pictureOf(kUpperSlice, kLowerSlice));
  const auto raster = decodeFile(file);
  ASSERT_TRUE(raster);
  EXPECT_EQ(raster->width, 64U);
  EXPECT_EQ(raster->components.at(1).width, 32U);
  const test_support::TemporaryDirectory directory;
  const auto path = directory.write("picture.heic", {reinterpret_cast<const char*>(file.data()), file.size()});
  const auto judged = test_support::HeifJudge(path.string()).coded();
  ASSERT_TRUE(judged);
  EXPECT_EQ(samplesOf(*raster), samplesOf(*judged));
}

TEST(HevcDecoder, TakesParameterSetsFromTheConfiguration) {
  test_support::HeifScene scene;
  const auto configuration = formats::hevcConfigurationBox({kVps, kSps, kPps});
  ASSERT_TRUE(configuration);
  scene.add("hvc1", behindLengths({kUpperSlice, kLowerSlice}), {*configuration, test_support::ispe(64, 64)});
  const auto raster = decodeFile(scene.file());
  ASSERT_TRUE(raster);
  EXPECT_EQ(samplesOf(*raster), samplesOf(*decode(pictureOf(kUpperSlice, kLowerSlice))));
}

TEST(HevcDecoder, TakesLengthsOfAnySize) {
  for (const unsigned size : {1U, 2U, 4U}) {
    Bytes configuration = test_support::hvcC();
    configuration.at(8 + 21) = static_cast<std::uint8_t>(0x0C | (size - 1));
    test_support::FieldWriter data;
    for (const Bytes& unit : {kVps, kSps, kPps, kUpperSlice, kLowerSlice}) {
      data.number(unit.size(), static_cast<int>(size)).append(unit);
    }
    test_support::HeifScene scene;
    scene.add("hvc1", data.bytes, {configuration, test_support::ispe(64, 64)});
    EXPECT_TRUE(decodeFile(scene.file())) << size;
  }
}

TEST(HevcDecoder, RefusesAPictureOfAnotherSizeThanDeclared) {
  EXPECT_FALSE(decodeFile(fileOf(pictureOf(kUpperSlice, kLowerSlice), 64, 63)));
  EXPECT_FALSE(decodeFile(fileOf(pictureOf(kUpperSlice, kLowerSlice), 128, 64)));
}

TEST(HevcDecoder, RefusesAnItemWithoutConfigurationOrSize) {
  const Bytes units = pictureOf(kUpperSlice, kLowerSlice);
  test_support::HeifScene withoutConfiguration, withoutSize;
  withoutConfiguration.add("hvc1", units, {test_support::ispe(64, 64)});
  withoutSize.add("hvc1", units, {test_support::hvcC()});
  EXPECT_FALSE(decodeFile(withoutConfiguration.file()));
  EXPECT_FALSE(decodeFile(withoutSize.file()));
}

TEST(HevcDecoder, RefusesAnItemWhoseEssentialPropertyIsUnknown) {
  const Bytes unknown = test_support::box("wxyz", {1, 2, 3});
  test_support::HeifScene scene;
  scene.add("hvc1", pictureOf(kUpperSlice, kLowerSlice), {test_support::hvcC(), test_support::ispe(64, 64), unknown});
  EXPECT_FALSE(decodeFile(scene.file()));
  scene.builder().items[0].properties.back().second = false;
  EXPECT_TRUE(decodeFile(scene.file())) << "what is not essential may be passed over";
}

TEST(HevcDecoder, LeavesOutUnitsOfOtherLayers) {
  Bytes otherLayer = kLowerSlice;
  otherLayer[1] = 0x09;  // nuh_layer_id 1
  const Bytes units = behindLengths({kVps, kSps, kPps, kUpperSlice, kLowerSlice, otherLayer});
  const auto raster = decode(units);
  ASSERT_TRUE(raster);
  EXPECT_EQ(samplesOf(*raster), samplesOf(*decode(pictureOf(kUpperSlice, kLowerSlice))));
}

TEST(HevcDecoder, BearsZeroBytesBehindAParameterSet) {
  Bytes padded = kPps;
  padded.insert(padded.end(), 3, 0);
  EXPECT_TRUE(decode(behindLengths({kVps, kSps, padded, kUpperSlice, kLowerSlice})));
}

TEST(HevcDecoder, RefusesUnitsThatBreakTheFormat) {
  Bytes cut = pictureOf(kUpperSlice, kLowerSlice);
  cut.pop_back();
  Bytes halfLength = pictureOf(kUpperSlice, kLowerSlice);
  halfLength.insert(halfLength.end(), {0, 0, 0});
  Bytes forbiddenBit = kLowerSlice;
  forbiddenBit[0] |= 0x80U;
  Bytes noTemporalId = kLowerSlice;
  noTemporalId[1] = 0;
  Bytes startCode = kLowerSlice;
  std::copy_n(Bytes{0, 0, 1}.begin(), 3, startCode.begin() + 20);
  Bytes wrongPrevention = kLowerSlice;
  std::copy_n(Bytes{0, 0, 3, 4}.begin(), 4, wrongPrevention.begin() + 20);
  Bytes zeroAtEnd = kLowerSlice;
  zeroAtEnd.push_back(0);
  const std::vector<std::pair<std::string, Bytes>> cases = {
      {"nothing", {}},
      {"a unit that is cut short", cut},
      {"an incomplete length", halfLength},
      {"an empty unit", behindLengths({kVps, {}, kSps, kPps, kUpperSlice, kLowerSlice})},
      {"half a header", behindLengths({kVps, {0x42}, kSps, kPps, kUpperSlice, kLowerSlice})},
      {"a length beyond everything", {0xff, 0xff, 0xff, 0xff, 0x40, 0x01}},
      {"the forbidden bit", pictureOf(kUpperSlice, forbiddenBit)},
      {"no temporal id", pictureOf(kUpperSlice, noTemporalId)},
      {"a start code inside a unit", pictureOf(kUpperSlice, startCode)},
      {"emulation prevention of nothing", pictureOf(kUpperSlice, wrongPrevention)},
      {"a zero byte behind a slice", pictureOf(kUpperSlice, zeroAtEnd)},
      {"no parameter sets", behindLengths({kUpperSlice, kLowerSlice})},
      {"no slices", behindLengths({kVps, kSps, kPps})},
  };
  for (const auto& [what, units] : cases) {
    EXPECT_FALSE(decode(units)) << what;
  }
}

TEST(HevcDecoder, RefusesAPictureThatLacksASlice) {
  EXPECT_FALSE(decode(behindLengths({kVps, kSps, kPps, kUpperSlice})));
  EXPECT_FALSE(decode(behindLengths({kVps, kSps, kPps, kLowerSlice})));
}

TEST(HevcDecoder, RefusesSlicesThatComeTwiceOrInDisorder) {
  EXPECT_FALSE(decode(behindLengths({kVps, kSps, kPps, kLowerSlice, kUpperSlice})));
  EXPECT_FALSE(decode(behindLengths({kVps, kSps, kPps, kUpperSlice, kLowerSlice, kLowerSlice})));
}

TEST(HevcDecoder, RefusesMoreThanOnePicture) {
  const Bytes units = behindLengths({kVps, kSps, kPps, kUpperSlice, kLowerSlice, kUpperSlice, kLowerSlice});
  EXPECT_FALSE(decode(units));
}

TEST(HevcDecoder, RefusesASliceThatIsCutAnywhere) {
  for (std::size_t kept = 2; kept < kUpperSlice.size(); ++kept) {
    const Bytes cut(kUpperSlice.begin(), kUpperSlice.begin() + static_cast<std::ptrdiff_t>(kept));
    EXPECT_FALSE(decode(pictureOf(cut, kLowerSlice))) << kept;
  }
  for (std::size_t kept = 2; kept < kLowerSlice.size(); ++kept) {
    const Bytes cut(kLowerSlice.begin(), kLowerSlice.begin() + static_cast<std::ptrdiff_t>(kept));
    EXPECT_FALSE(decode(pictureOf(kUpperSlice, cut))) << kept;
  }
}

// Some bits only choose among valid pictures (the slice's quantiser, signs of coefficients), so that a few errors
// of one bit cannot be found by anybody; most errors put the arithmetic decoder out of step for good.
TEST(HevcDecoder, FindsMostErrorsOfOneBit) {
  constexpr std::size_t kFirstDataByte = 7;
  int errors = 0;
  int found = 0;
  for (std::size_t byte = kFirstDataByte; byte < kUpperSlice.size(); ++byte) {
    for (unsigned bit = 0; bit < 8; ++bit, ++errors) {
      Bytes damaged = kUpperSlice;
      damaged[byte] = static_cast<std::uint8_t>(damaged[byte] ^ (1U << bit));
      found += decode(pictureOf(damaged, kLowerSlice)) ? 0 : 1;
    }
  }
  EXPECT_GE(found, errors * 9 / 10) << errors;
}

// --- Sample files

Bytes contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

/// The file with another primary item; `pitm` of version 0 or 1 (ISO/IEC 14496-12, 8.11.4).
Bytes withPrimaryItem(Bytes file, heif::ItemId item) {
  const std::string name = "pitm";
  const auto place = std::search(file.begin(), file.end(), name.begin(), name.end());
  const auto offset = static_cast<std::size_t>(place - file.begin()) + name.size();
  const std::size_t size = file.at(offset) == 0 ? 2 : 4;
  for (std::size_t i = 0; i < size; ++i) {
    file.at(offset + 4 + i) = static_cast<std::uint8_t>(item >> (8 * (size - 1 - i)));
  }
  return file;
}

/// Coded pictures of a file that are decoded as they are, a few of many.
std::vector<heif::ItemId> plainPictures(const heif::Container& container) {
  constexpr std::size_t kEnough = 8;
  std::vector<heif::ItemId> items;
  for (const heif::Item& item : container.items) {
    const bool cropped = heif::findProperty(container, item, heif::fourCC("clap")) != nullptr;
    if (item.type == heif::fourCC("hvc1") && !cropped && items.size() < kEnough) items.push_back(item.id);
  }
  return items;
}

/// How many pictures of a file are what the other decoder makes of them.
int comparePictures(const std::string& sample) {
  const std::filesystem::path path = test_support::sampleFile(sample);
  const Bytes file = contentOf(path);
  const auto container = heif::readContainer(file);
  int compared = 0;
  for (const heif::ItemId item : container ? plainPictures(*container) : std::vector<heif::ItemId>()) {
    const auto judged = test_support::HeifJudge(path.string(), item).coded();
    if (!judged) continue;  // grey, or damaged
    const auto raster = decodeFile(withPrimaryItem(file, item));
    // One camera's thumbnails are larger than it says.
    const auto declared = heif::spatialExtents(*container, *container->find(item));
    const bool asDeclared = declared && declared->width == judged->width && declared->height == judged->height;
    EXPECT_EQ(raster.has_value(), asDeclared) << path << " " << item;
    if (!raster) continue;
    EXPECT_TRUE(samplesOf(*raster) == samplesOf(*judged)) << path << " " << item;
    ++compared;
  }
  return compared;
}

TEST(HevcDecoderSamples, DecodeToWhatAnotherDecoderDecodes) {
  int compared = 0;
  for (const auto& row : test_support::readCorpusTable()) {
    const bool damaged = row.file.starts_with("made/") && !row.allows("ok");
    if (!damaged && !row.file.starts_with("fuzz/") && row.isHeif()) compared += comparePictures(row.file);
  }
  EXPECT_GT(compared, test_support::hasSampleFolder() ? 150 : 100);
}

// The primary image's data take up nearly all of the file, in one slice.
TEST(HevcDecoderSamples, AreRefusedOnceAnythingIsOverwritten) {
  const Bytes file = contentOf(test_support::sampleFile("made/coding-fine.heic"));
  ASSERT_TRUE(decodeFile(file));
  std::mt19937 random(1);
  for (const std::size_t size : {1U, 20U, 2000U}) {
    for (std::size_t part = 1; part <= 8; ++part) {
      Bytes zeroed = file;
      Bytes scrambled = file;
      const std::size_t begin = file.size() * part / 10;
      for (std::size_t i = begin; i < begin + size; ++i) {
        zeroed[i] = 0;
        scrambled[i] = static_cast<std::uint8_t>(scrambled[i] ^ (1 + random() % 255));
      }
      EXPECT_FALSE(decodeFile(scrambled)) << size << " bytes at " << begin;
      EXPECT_TRUE(zeroed == file || !decodeFile(zeroed)) << size << " zero bytes at " << begin;
    }
  }
}

}  // namespace
}  // namespace quellor
