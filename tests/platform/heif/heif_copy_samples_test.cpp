#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "platform/heif/heif_facts.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/primary_copy.h"
#include "tests/support/corpus.h"
#include "tests/support/heif_output.h"
#include "tests/support/judges.h"
#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace quellor::heif {
namespace {

using test_support::dataOf;
using test_support::propertiesOf;
using test_support::written;

Bytes read(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Files without a picture to copy: a broken structure, image sequences without a meta box.
const std::set<std::string> kNothingToCopy = {"special/corrupted_corrupted.heic", "conformance/C028.heic",
                                              "conformance/C031.heic", "conformance/C036.heic"};

std::vector<std::string> copyableSamples() {
  std::vector<std::string> files;
  for (const auto& row : test_support::readCorpusTable()) {
    const bool isHevc = row.allows("ok") && row.file.starts_with("made/") && row.file.ends_with(".heic");
    if (isHevc) files.push_back(row.file);
  }
  for (const std::string& file : test_support::sampleFilesIn({"photos", "special", "conformance"})) {
    if (!kNothingToCopy.contains(file)) files.push_back(file);
  }
  return files;
}

class HeifSampleCopy : public ::testing::TestWithParam<std::string> {};

TEST_P(HeifSampleCopy, HasTheSameItemsByteForByteAndNothingElse) {
  const Bytes file = read(test_support::sampleFile(GetParam()));
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  const auto copy = copyOfPrimaryImage(*container);
  ASSERT_TRUE(copy);
  const auto serialised = serialise(*copy);
  ASSERT_TRUE(serialised);
  const Bytes output = written(*copy);
  const auto copied = readContainer(output);
  ASSERT_TRUE(copied);

  EXPECT_EQ(copied->primaryItem, container->primaryItem);
  std::size_t payload = 0;
  std::set<ItemId> ids;
  for (const Item& item : copied->items) {
    SCOPED_TRACE(item.id);
    const Item* const original = container->find(item.id);
    ASSERT_NE(original, nullptr);
    EXPECT_EQ(item.type, original->type);
    const bool isInput = !copied->itemsReferringTo(item.id, fourCC("dimg")).empty();
    EXPECT_EQ(item.hidden, original->hidden || isInput);
    EXPECT_EQ(item.name, original->name);
    const Bytes data = dataOf(*copied, item);
    EXPECT_TRUE(data == dataOf(*container, *original));
    EXPECT_EQ(propertiesOf(*copied, item), propertiesOf(*container, *original));
    EXPECT_EQ(copied->referencesFrom(item.id, fourCC("dimg")), container->referencesFrom(item.id, fourCC("dimg")));
    payload += data.size();
    ids.insert(item.id);
  }
  EXPECT_EQ(output.size(), serialised->head.size() + payload);

  // All that is there is reached from the primary item.
  std::set<ItemId> reached = {copied->primaryItem};
  for (std::size_t before = 0; before != reached.size();) {
    before = reached.size();
    for (const Reference& reference : copied->references) {
      if (reference.type == fourCC("dimg") && reached.contains(reference.from)) {
        reached.insert(reference.to.begin(), reference.to.end());
      }
      if (reference.type == fourCC("auxl") && reached.contains(reference.to.front())) reached.insert(reference.from);
    }
  }
  EXPECT_EQ(reached, ids);

  const auto before = factsOf(file), after = factsOf(output);
  ASSERT_TRUE(before && after);
  EXPECT_EQ(after->width, before->width);
  EXPECT_EQ(after->height, before->height);
  EXPECT_EQ(after->bitsPerComponent, before->bitsPerComponent);
  EXPECT_EQ(after->hasAlpha, before->hasAlpha);
  EXPECT_EQ(after->orientation, before->orientation);
  EXPECT_EQ(after->iccProfile, before->iccProfile);
  EXPECT_EQ(after->cicp, before->cicp);
  EXPECT_FALSE(after->metadata.exif || after->metadata.xmp || after->metadata.iptc);
  EXPECT_TRUE(after->auxiliaryImages.empty());
}

INSTANTIATE_TEST_SUITE_P(Samples, HeifSampleCopy, ::testing::ValuesIn(copyableSamples()),
                         [](const auto& each) { return test_support::testName(each.param); });

void expectItems(const std::string& name, std::size_t count) {
  const Bytes file = read(test_support::sampleFile(name));
  const auto copy = copyOfPrimaryImage(readContainer(file).value());
  ASSERT_TRUE(copy) << name;
  EXPECT_EQ(copy->items.size(), count) << name;
}

TEST(HeifSampleCopies, HaveAsManyItemsAsTheirImagesHaveParts) {
  // Tiles as heif-info counts them, and one for each grid and each alpha image.
  const std::map<std::string, std::size_t> made = {{"made/grid-4x6.heic", 24 + 1},
                                                   {"made/grid-with-depth-gain-map-thumbnail.heic", 6 + 1},
                                                   {"made/with-tone-mapped-rendition.heic", 1},
                                                   {"made/alpha-straight.heic", 2},
                                                   {"made/three-pictures.heic", 1},
                                                   {"made/described-by-canon.heic", 1},
                                                   {"made/overlay-inside.heic", 2 + 1},
                                                   {"made/identity-of-identity.heic", 3}};
  const std::map<std::string, std::size_t> items = {{"photos/phone-grid-12mp.heic", 48 + 1},
                                                    {"photos/headset-spatial-pair.heic", 25 + 1},
                                                    {"photos/phone-tmap-gainmap.heic", 32 + 1},
                                                    {"photos/camera-10bit-422.hif", 4 + 1},
                                                    {"special/LA_8__29x100.heif", 2 + 2},
                                                    {"special/RGBA_10__128x128.heif", 2},
                                                    {"special/collection.heic", 1},
                                                    {"conformance/C007.heic", 4 + 1},
                                                    {"conformance/C039.heic", 3}};
  for (const auto& [name, count] : made) expectItems(name, count);
  if (!test_support::hasSampleFolder()) return;
  for (const auto& [name, count] : items) expectItems(name, count);
}

/// The chunks of a PNG file that hold its samples (ISO/IEC 15948, clause 5), without the metadata beside them.
Bytes pngSamples(const Bytes& png) {
  Bytes samples;
  ByteReader reader(png);
  reader.bytes(8);
  while (!reader.atEnd()) {
    const std::uint32_t size = reader.u32();
    const FourCC type = reader.u32();
    const ByteView content = reader.bytes(size);
    reader.u32();
    if (type == fourCC("IHDR") || type == fourCC("IDAT")) samples.insert(samples.end(), content.begin(), content.end());
  }
  return samples;
}

/// What heif-dec makes of a file: the samples of each image that it lists.
std::vector<Bytes> decodedByHeifDec(const std::filesystem::path& program, const Bytes& file) {
  const test_support::TemporaryDirectory directory;
  const auto input = directory.write("in.heic", {reinterpret_cast<const char*>(file.data()), file.size()});
  test_support::ProcessOptions options;
  options.arguments = {"--quiet", "--png-compression-level", "1", input.string(),
                       (directory.path() / "out.png").string()};
  options.timeLimit = std::chrono::seconds(100);
  const auto run = test_support::runProcess(program, options);
  EXPECT_EQ(run.exitStatus, 0) << run.standardError;
  std::set<std::filesystem::path> images;
  for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
    if (entry.path().extension() == ".png") images.insert(entry.path());
  }
  std::vector<Bytes> samples;
  for (const auto& image : images) samples.push_back(pngSamples(read(image)));
  return samples;
}

struct DecodedSample {
  std::string file;
  std::optional<ItemId> primary;  // another one than the file names
  friend void PrintTo(const DecodedSample& sample, std::ostream* out) { *out << sample.file; }
};

class HeifDecodedCopy : public ::testing::TestWithParam<DecodedSample> {};

/// `file` with another primary item of 16 bits.
Bytes withPrimary(Bytes file, ItemId id) {
  constexpr std::array<std::uint8_t, 4> type = {'p', 'i', 't', 'm'};
  const auto found = std::search(file.begin(), file.end(), type.begin(), type.end());
  if (file.end() - found < 10) return {};
  found[8] = static_cast<std::uint8_t>(id >> 8);
  found[9] = static_cast<std::uint8_t>(id);
  return file;
}

TEST_P(HeifDecodedCopy, DecodesToTheSameSamples) {
  if (!test_support::requireJudge("heif-dec")) return;
  const auto program = test_support::judge("heif-dec");
  Bytes file = read(test_support::sampleFile(GetParam().file));
  if (GetParam().primary) file = withPrimary(std::move(file), *GetParam().primary);
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  const auto copy = copyOfPrimaryImage(*container);
  ASSERT_TRUE(copy);
  // The file may list other images, which the copy hides or leaves behind.
  const auto before = decodedByHeifDec(program, file), after = decodedByHeifDec(program, written(*copy));
  ASSERT_EQ(after.size(), 1U);
  EXPECT_TRUE(std::find(before.begin(), before.end(), after.front()) != before.end());
}

std::vector<DecodedSample> decodedSamples() {
  std::vector<DecodedSample> samples;
  for (const char* made : {"grid-clipped-both", "phone-grid-turned", "hevc-10-bit-422", "hevc-12-bit-444",
                           "alpha-straight", "alpha-grey", "overlay-across-edges", "identity-of-grid-turned",
                           "cropped-turned-mirrored", "coding-wavefronts-in-4-slices", "library-alpha"}) {
    samples.push_back({std::string("made/") + made + ".heic", {}});
  }
  if (!test_support::hasSampleFolder()) return samples;
  const DecodedSample others[] = {DecodedSample{"photos/phone-small.heic", {}},      // a rotated grid
                                  DecodedSample{"photos/camera-10bit-422.hif", {}},  // 10 bits, 4:2:2
                                  DecodedSample{"special/other_RGB_8_chroma444.heif", {}},
                                  DecodedSample{"special/RGBA_10__128x128.heif", {}},
                                  DecodedSample{"special/RGBA_8__29x100.heif", {}},  // grids of both
                                  DecodedSample{"special/LA_8__29x100.heif", {}},    // grey
                                  DecodedSample{"special/RGB_12__128x128.heif", {}},
                                  DecodedSample{"conformance/C007.heic", {}},      // a grid
                                  DecodedSample{"conformance/C019.heic", 1006},    // an overlay
                                  DecodedSample{"conformance/C039.heic", {}},      // identities
                                  DecodedSample{"conformance/MIAF007.heic", {}}};  // clap, irot, imir
  samples.insert(samples.end(), std::begin(others), std::end(others));
  return samples;
}

INSTANTIATE_TEST_SUITE_P(Samples, HeifDecodedCopy, ::testing::ValuesIn(decodedSamples()),
                         [](const auto& each) { return test_support::testName(each.param.file); });

}  // namespace
}  // namespace quellor::heif
