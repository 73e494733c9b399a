// The check on several threads: it says the same as on one, of whole pictures and of all sorts of damage.

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_properties.h"
#include "platform/threads/threads.h"
#include "tests/platform/hevc/hevc_judges.h"
#include "tests/support/raster_fixture.h"

namespace quellor::hevc {
namespace {

namespace fs = std::filesystem;

using test_support::HevcContent;
using test_support::HevcPlan;
using test_support::randomHevcPlan;
using test_support::RasterPlan;
using test_support::writeHevc;
using test_support::WrittenHevc;

Spread onThreads(unsigned threads) {
  return [threads](std::size_t count, const std::function<void(std::size_t)>& task) {
    forEachIndex(count, threads, [&task](std::size_t index) {
      task(index);
      return true;
    });
  };
}

/// How many judgements were compared, and how many of them could be spread or found damage.
struct Count {
  int compared = 0;
  int spread = 0;
  int damaged = 0;
};

/// The judgement must not depend on who makes it.
void compare(std::span<const NalUnit> units, const std::string& description, Count& count) {
  const Judgement expected = verify(units);
  bool spread = false;
  for (const unsigned threads : {1U, 4U}) {
    const Judgement judgement = verify(units, [&](std::size_t tasks, const std::function<void(std::size_t)>& task) {
      spread = true;
      onThreads(threads)(tasks, task);
    });
    EXPECT_EQ(judgement.verdict, expected.verdict) << description << " on " << threads;
    EXPECT_STREQ(judgement.reason, expected.reason) << description << " on " << threads;
    EXPECT_EQ(judgement.exemptsChromaFromOffset, expected.exemptsChromaFromOffset) << description << " on " << threads;
  }
  ++count.compared;
  count.spread += spread ? 1 : 0;
  count.damaged += expected.verdict == Verdict::damaged ? 1 : 0;
}

/// Compares copies of the picture with one of its slice segments cut short, or with wrong bytes in it.
void compareDamaged(const std::vector<NalUnit>& units, const std::string& description, int copies, Count& count) {
  std::mt19937 random(static_cast<std::uint32_t>(units.back().payload.size()));
  const auto isSlice = [](const NalUnit& unit) { return unit.type < kFirstParameterSetUnit; };
  const auto first = static_cast<std::size_t>(std::find_if(units.begin(), units.end(), isSlice) - units.begin());
  for (int copy = 0; copy < copies; ++copy) {
    std::vector<NalUnit> changed = units;
    NalUnit& unit = changed.at(first + random() % (units.size() - first));
    Bytes payload(unit.payload.begin(), unit.payload.end());
    if (payload.size() < 2) continue;
    if (copy % 4 == 0) {
      payload.resize(1 + random() % (payload.size() - 1));
    } else {
      for (int place = 0; place < copy % 4; ++place) {
        payload[random() % payload.size()] ^= static_cast<std::uint8_t>(1U << random() % 8);
      }
    }
    unit.payload = payload;
    compare(changed, description + ", changed copy " + std::to_string(copy), count);
  }
}

TEST(ParallelCheck, SaysTheSameOfWrittenPictures) {
  Count count;
  for (std::uint32_t seed = 1; seed <= 400; ++seed) {
    HevcPlan plan = randomHevcPlan(seed);
    if (seed % 2 == 0) plan.unitsPerSlice = plan.unitsPerSegment = 0;
    const NalStream stream = streamOf(writeHevc(plan).behindLengths());
    compare(stream.units(), std::to_string(seed), count);
    compareDamaged(stream.units(), std::to_string(seed), 4, count);
  }
  EXPECT_GT(count.spread, 500);
  EXPECT_GT(count.damaged, 500);
}

Bytes readFile(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The coded pictures of a HEIF file, as far as they can be told apart.
std::vector<NalStream> picturesIn(ByteView file) {
  std::vector<NalStream> pictures;
  const auto container = heif::readContainer(file);
  if (!container) return pictures;
  for (const heif::Item& item : container->items) {
    const heif::Property* const property = heif::findProperty(*container, item, heif::fourCC("hvcC"));
    const auto configuration = property != nullptr ? formats::readHevcConfiguration(property->payload) : std::nullopt;
    const auto data = heif::itemData(*container, item, SIZE_MAX);
    if (!configuration || !data) continue;
    NalStream stream;
    bool good = true;
    for (const ByteView unit : configuration->units) good = good && stream.appendUnit(unit);
    if (good && stream.append(*data, configuration->lengthSize)) pictures.push_back(std::move(stream));
  }
  return pictures;
}

void compareFilesIn(const fs::path& folder, int copies, Count& count) {
  if (!fs::exists(folder)) return;
  for (const auto& entry : fs::directory_iterator(folder)) {
    const Bytes file = readFile(entry.path());
    const auto pictures = picturesIn(file);
    for (std::size_t i = 0; i < pictures.size(); i += 1 + i / 2) {  // tiles are much alike
      const std::string description = entry.path().filename().string() + ", picture " + std::to_string(i);
      compare(pictures[i].units(), description, count);
      compareDamaged(pictures[i].units(), description, copies, count);
    }
  }
}

TEST(ParallelCheck, SaysTheSameOfMadeSamples) {
  Count count;
  compareFilesIn(fs::path(QUELLOR_MADE_SAMPLES) / "made", 12, count);
  EXPECT_GT(count.compared, 500);
  EXPECT_GT(count.spread, 60);
  EXPECT_GT(count.damaged, 300);
}

TEST(ParallelCheck, SaysTheSameOfRealFiles) {
  const fs::path samples = QUELLOR_SAMPLES;
  if (!fs::exists(samples)) GTEST_SKIP() << "there are no sample files";
  Count count;
  for (const char* const folder : {"photos", "special", "conformance", "fuzz"}) {
    compareFilesIn(samples / folder, 2, count);
  }
  EXPECT_GT(count.compared, 150);
  EXPECT_GT(count.spread, 50);
  EXPECT_GT(count.damaged, 50);
}

/// A wavefront of noise: 16 rows of 24 units.
NalStream encodedWavefront() {
  RasterPlan plan;
  plan.model = SampleModel::ycbcr;
  plan.chromaColumns = plan.chromaRows = 2;
  plan.width = 384;
  plan.height = 256;
  const Raster raster = test_support::makeRaster(plan, test_support::noise(8));
  const auto coded = test_support::codeWithX265(
      raster, "fast", {{"ctu", "16"}, {"wpp", "1"}, {"crf", "30"}, {"pools", "1"}, {"info", "0"}});
  return streamOf(unitsOf(coded));
}

TEST(ParallelCheck, SaysTheSameOfAnEncodersWavefronts) {
  const NalStream stream = encodedWavefront();
  Count count;
  compare(stream.units(), "whole", count);
  EXPECT_EQ(count.damaged, 0);
  compareDamaged(stream.units(), "noise", 400, count);
  EXPECT_EQ(count.spread, count.compared) << "but for headers";
  EXPECT_GT(count.damaged, 380);
}

HevcPlan tallWavefront() {
  HevcPlan plan;
  plan.content = HevcContent::residuals;
  plan.width = 128;
  plan.height = 256;
  plan.wavefront = true;
  return plan;
}

// A row that waits for one that will never come so far must not wait for ever.
TEST(ParallelCheck, EndsWhereTheRowAboveIsDamaged) {
  const WrittenHevc picture = writeHevc(tallWavefront());
  const NalStream stream = streamOf(picture.behindLengths());
  Count count;
  for (std::size_t offset = picture.headers.at(0); offset < picture.headers.at(0) + 60; ++offset) {
    std::vector<NalUnit> units = stream.units();
    Bytes payload(units.back().payload.begin(), units.back().payload.end());
    payload.at(offset) ^= 0x55;
    units.back().payload = payload;
    compare(units, std::to_string(offset), count);
  }
  EXPECT_EQ(count.spread, 60);
  EXPECT_GT(count.damaged, 50);
}

TEST(ParallelCheck, IsSpreadOverTheRowsOfAWavefrontAndOverTiles) {
  const auto tasksFor = [](const HevcPlan& plan) {
    std::size_t tasks = 0;
    const Judgement judgement = verify(streamOf(writeHevc(plan).behindLengths()).units(),
                                       [&tasks](std::size_t count, const std::function<void(std::size_t)>& task) {
                                         tasks = count;
                                         onThreads(3)(count, task);
                                       });
    EXPECT_EQ(judgement.verdict, Verdict::intact) << judgement.reason;
    return tasks;
  };
  HevcPlan plan = tallWavefront();
  EXPECT_EQ(tasksFor(plan), 16U);
  plan.unitsPerSegment = 8;
  EXPECT_EQ(tasksFor(plan), 0U) << "each row is a segment of its own";
  HevcPlan tiles;
  tiles.tileColumns = 3;
  tiles.tileRows = 2;
  EXPECT_EQ(tasksFor(tiles), 6U);
  tiles.wavefront = true;
  EXPECT_EQ(tasksFor(tiles), 0U);
  EXPECT_EQ(tasksFor(HevcPlan()), 0U);
}

}  // namespace
}  // namespace quellor::hevc
