// What the check calls intact, the decoder takes: nothing in a parameter set, in the order of the units, in a unit's
// type or in the head of a slice makes libavcodec stop that the check, or the picture's shape, does not tell of.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/platform/hevc/hevc_judges.h"
#include "tests/support/hevc_bit_writer.h"
#include "tests/support/raster_fixture.h"

namespace quellor::hevc {
namespace {

using test_support::HevcPlan;
using test_support::nalUnit;
using test_support::randomHevcPlan;
using test_support::writeHevc;
using test_support::WrittenHevc;

using Units = std::vector<Bytes>;  // headers included

Bytes behindLengths(const Units& units) {
  WrittenHevc written;
  written.segments = units;
  return written.behindLengths();
}

/// Whether a look at such a picture would do without a decoder.
bool isProved(const Bytes& units) {
  NalStream stream;
  if (!stream.append(units)) return false;
  const auto all = stream.units();
  const auto shape = shapeOf(all);
  const bool refused = !shape || shape->supplementsNeedDecoder || shape->constrainedIntra || shape->pcmWithoutChroma ||
                       (shape->tiles && shape->wavefront) || shape->shownWidth == 0 || shape->shownHeight == 0;
  const bool oddDepth = shape && (shape->bitDepthLuma > 10 ||
                                  (shape->chromaFormat != kMonochrome && shape->bitDepthChroma != shape->bitDepthLuma));
  return !refused && !oddDepth && verify(all).verdict == Verdict::intact;
}

struct Count {
  int compared = 0;
  int proved = 0;

  void compare(const Units& units, const std::string& description) {
    const Bytes bytes = behindLengths(units);
    ++compared;
    if (!isProved(bytes)) return;
    ++proved;
    EXPECT_TRUE(decodedByLibavcodec(bytes)) << description;
  }
};

bool isSlice(const Bytes& unit) { return (unit[0] >> 1 & 0x3F) < kFirstParameterSetUnit; }

/// With one bit changed, of whole parameter sets and of the heads of slices.
void compareWithOtherBits(Units units, const std::string& name, Count& count) {
  constexpr std::size_t kHead = 16;
  for (std::size_t i = 0; i < units.size(); ++i) {
    const std::size_t size = isSlice(units[i]) ? std::min(kHead, units[i].size()) : units[i].size();
    for (std::size_t bit = 0; bit < 8 * size; ++bit) {
      std::uint8_t& byte = units[i][bit / 8];
      const std::uint8_t was = byte;
      byte = static_cast<std::uint8_t>(was ^ 0x80U >> bit % 8);
      count.compare(units, name + ", bit " + std::to_string(bit) + " of unit " + std::to_string(i));
      byte = was;
    }
  }
}

/// With a unit that is missing, cut, there twice, or in the place of another one, or with one more of any type.
void compareWithOtherUnits(const Units& units, const std::string& name, Count& count) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    const std::string description = name + ", unit " + std::to_string(i);
    const auto at = static_cast<std::ptrdiff_t>(i);
    Units changed = units;
    changed.erase(changed.begin() + at);
    count.compare(changed, description + " missing");
    changed = units;
    changed.insert(changed.begin() + at, units[i]);
    count.compare(changed, description + " twice");
    for (std::size_t size = 2; !isSlice(units[i]) && size < units[i].size(); ++size) {
      changed = units;
      changed[i].resize(size);
      count.compare(changed, description + " cut");
      changed.insert(changed.begin() + at, units[i]);
      count.compare(changed, description + " cut, behind a whole one");
    }
    for (std::size_t other = 0; other < i; ++other) {
      changed = units;
      std::swap(changed[i], changed[other]);
      count.compare(changed, description + " and " + std::to_string(other));
    }
    for (unsigned type = 0; type < 64; ++type) {
      changed = units;
      changed.insert(changed.begin() + at + 1, nalUnit(type, Bytes{0x50, 0x80}));
      count.compare(changed, description + " before one of type " + std::to_string(type));
    }
  }
}

Units encoded(const test_support::X265Options& options) {
  test_support::RasterPlan plan;
  plan.model = SampleModel::ycbcr;
  plan.chromaColumns = plan.chromaRows = 2;
  plan.width = 90;
  plan.height = 74;
  const Raster raster = test_support::makeRaster(plan, test_support::noise(8));
  const NalStream stream = streamOf(unitsOf(test_support::codeWithX265(raster, "fast", options)));
  Units units;
  for (const NalUnit& unit : stream.units()) {
    units.emplace_back(unit.payload.data() - 2, unit.payload.data() + unit.payload.size());
  }
  return units;
}

TEST(DecoderAgreement, HoldsForAnEncodersPictures) {
  const std::vector<std::pair<std::string, test_support::X265Options>> cases = {
      {"plain", {{"info", "0"}, {"pools", "1"}, {"ctu", "16"}}},
      {"rich",
       {{"info", "0"},
        {"pools", "1"},
        {"ctu", "16"},
        {"wpp", "1"},
        {"colorprim", "bt709"},
        {"transfer", "bt709"},
        {"colormatrix", "bt709"},
        {"range", "full"},
        {"chromaloc", "1"},
        {"sar", "2:3"},
        {"display-window", "2,2,2,2"},
        {"aud", "1"},
        {"scaling-list", "default"},
        {"tskip", "1"}}}};
  Count count;
  for (const auto& [name, options] : cases) {
    const Units units = encoded(options);
    count.compare(units, name);
    compareWithOtherBits(units, name, count);
    compareWithOtherUnits(units, name, count);
  }
  EXPECT_GT(count.compared, 2000);
  EXPECT_GT(count.proved, 200);
}

TEST(DecoderAgreement, HoldsForWrittenPictures) {
  Count count;
  for (std::uint32_t seed = 1; seed <= 24; ++seed) {
    HevcPlan plan = randomHevcPlan(seed);
    plan.width = plan.height = 48;
    plan.tileColumns = plan.tileRows = 1;
    plan.tileWidths.clear();
    plan.tileHeights.clear();
    const WrittenHevc written = writeHevc(plan);
    Units units = written.parameterSets;
    units.insert(units.end(), written.segments.begin(), written.segments.end());
    if (units.size() > 6) continue;
    compareWithOtherBits(units, std::to_string(seed), count);
    compareWithOtherUnits(units, std::to_string(seed), count);
  }
  EXPECT_GT(count.compared, 10000);
  EXPECT_GT(count.proved, 1000);
}

}  // namespace
}  // namespace quellor::hevc
