// Damaged pictures: every condition with its reason, and how much of what truncation and single bits do is found.

#include <algorithm>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/platform/hevc/hevc_judges.h"
#include "tests/support/hevc_bit_writer.h"

namespace quellor::hevc {
namespace {

using test_support::HevcBitWriter;
using test_support::HevcContent;
using test_support::HevcPlan;
using test_support::nalUnit;
using test_support::randomHevcPlan;
using test_support::writeHevc;
using test_support::WrittenHevc;

constexpr unsigned kIdrUnit = 20;

/// 4 x 3 coding tree units, two to a slice.
HevcPlan planOfSlices() {
  HevcPlan plan;
  plan.height = 48;
  plan.unitsPerSlice = 2;
  return plan;
}

Judgement judge(const WrittenHevc& picture) { return hevc::judge(picture.behindLengths()); }

/// The picture with its second segment replaced by what `bits` say.
WrittenHevc withSecondSegment(const HevcBitWriter& bits) {
  WrittenHevc picture = writeHevc(planOfSlices());
  picture.segments.at(1) = nalUnit(kIdrUnit, HevcBitWriter(bits).align().bytes());
  return picture;
}

std::vector<std::pair<const char*, WrittenHevc>> damagedPictures() {
  std::vector<std::pair<const char*, WrittenHevc>> cases;
  const auto add = [&cases](const char* reason, auto change) {
    WrittenHevc picture = writeHevc(planOfSlices());
    change(picture);
    cases.emplace_back(reason, picture);
  };
  add("there is no slice segment", [](WrittenHevc& picture) { picture.segments.clear(); });
  add("a slice segment asks for a parameter set that is not there",
      [](WrittenHevc& picture) { picture.parameterSets.clear(); });
  add("a slice segment asks for a parameter set that is not there",
      [](WrittenHevc& picture) { picture.parameterSets.erase(picture.parameterSets.begin() + 1); });
  add("the slice segments do not cover the picture", [](WrittenHevc& picture) { picture.segments.pop_back(); });
  add("a slice segment does not begin where the last one ended",
      [](WrittenHevc& picture) { picture.segments.erase(picture.segments.begin()); });
  add("a slice segment does not begin where the last one ended",
      [](WrittenHevc& picture) { std::swap(picture.segments.at(2), picture.segments.at(3)); });
  add("a slice segment comes after the last coding tree unit",
      [](WrittenHevc& picture) { picture.segments.push_back(picture.segments.back()); });
  add("a slice segment's code does not end with its data",
      [](WrittenHevc& picture) { picture.segments.at(1).push_back(1); });
  add("a unit is not legal", [](WrittenHevc& picture) { picture.segments.at(1).push_back(0); });
  add("the tiles do not fit the picture", [](WrittenHevc& picture) {
    HevcPlan wider = planOfSlices();
    wider.width = 256;
    wider.tileColumns = 5;
    picture = writeHevc(wider);
    picture.parameterSets.at(1) = writeHevc(planOfSlices()).parameterSets.at(1);
  });
  // first_slice_segment_in_pic_flag, no_output_of_prior_pics_flag, slice_pic_parameter_set_id, then an address of
  // four bits, slice_type, slice_qp_delta, slice_loop_filter_across_slices_enabled_flag.
  const HevcBitWriter id = HevcBitWriter().flag(false).flag(false).golomb(0);
  cases.emplace_back("a slice header is broken", withSecondSegment(HevcBitWriter(id).bits(4, 0)));
  cases.emplace_back("a slice header is broken", withSecondSegment(HevcBitWriter(id).bits(4, 12)));
  cases.emplace_back("a slice header is broken", withSecondSegment(HevcBitWriter(id).bits(4, 2).golomb(3)));
  cases.emplace_back("a slice header is broken", withSecondSegment(HevcBitWriter(id).bits(4, 2).golomb(1)));
  cases.emplace_back("a slice header is broken",
                     withSecondSegment(HevcBitWriter(id).bits(4, 2).golomb(2).signedGolomb(22)));
  const HevcBitWriter header = HevcBitWriter(id).bits(4, 2).golomb(2).signedGolomb(0).flag(true);
  cases.emplace_back("a slice segment has no legal start", withSecondSegment(header));
  cases.emplace_back("a slice segment has no legal start",
                     withSecondSegment(HevcBitWriter(header).align().bits(16, 0xFFFF)));
  HevcPlan wavefronts;
  wavefronts.wavefront = true;
  wavefronts.entryPointError = 1;
  cases.emplace_back("an entry point is not where a tile or row ends", writeHevc(wavefronts));
  return cases;
}

TEST(DamagedPictures, SayWhichConditionFailedFirst) {
  for (const auto& [reason, picture] : damagedPictures()) {
    const Judgement judgement = judge(picture);
    EXPECT_EQ(judgement.verdict, Verdict::damaged) << reason;
    EXPECT_STREQ(judgement.reason, reason);
  }
}

TEST(DamagedPictures, AreUnknownWhereItCannotBeTold) {
  WrittenHevc cutSet = writeHevc(planOfSlices());
  cutSet.parameterSets.at(1).resize(12);
  EXPECT_EQ(judge(cutSet).verdict, Verdict::unknown);
  EXPECT_STREQ(judge(cutSet).reason, "a parameter set is not understood");
  constexpr unsigned kTrailUnit = 1;  // of a picture that may refer to others
  WrittenHevc inter = writeHevc(planOfSlices());
  inter.segments = {nalUnit(kTrailUnit, HevcBitWriter().flag(true).golomb(0).golomb(1).align().bytes())};
  EXPECT_EQ(judge(inter).verdict, Verdict::unknown);
  EXPECT_STREQ(judge(inter).reason, "a slice is not an intra slice");
}

struct Count {
  int trials = 0;
  int damaged = 0;
  int unknown = 0;
  std::map<std::string, int> reasons;

  void add(const Judgement& judgement) {
    ++trials;
    damaged += judgement.verdict == Verdict::damaged ? 1 : 0;
    unknown += judgement.verdict == Verdict::unknown ? 1 : 0;
    ++reasons[judgement.reason];
  }

  void add(const Count& other) {
    trials += other.trials;
    damaged += other.damaged;
    unknown += other.unknown;
    for (const auto& [reason, times] : other.reasons) reasons[reason] += times;
  }
};

std::ostream& operator<<(std::ostream& out, const Count& count) {
  out << count.damaged << " damaged and " << count.unknown << " unknown of " << count.trials << "\n";
  for (const auto& [reason, times] : count.reasons) out << "  " << times << " " << reason << "\n";
  return out;
}

/// Every eighth length of every segment from the first byte of its data on, and the last sixteen.
TEST(DamagedPictures, AreFoundWhereverASegmentIsCut) {
  Count count;
  for (std::uint32_t seed = 1; seed <= 60; ++seed) {
    WrittenHevc picture = writeHevc(randomHevcPlan(seed));
    for (std::size_t i = 0; i < picture.segments.size(); ++i) {
      const Bytes whole = picture.segments[i];
      for (std::size_t kept = 3; kept < whole.size(); kept += kept + 16 < whole.size() ? 8U : 1U) {
        picture.segments[i].assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept));
        count.add(judge(picture));
      }
      picture.segments[i] = whole;
    }
  }
  EXPECT_GT(count.trials, 5000);
  EXPECT_EQ(count.damaged, count.trials) << count;
}

/// What one wrong bit does in every `step`th byte of the segments' headers or of their data.
Count flipBits(const HevcPlan& plan, bool headers, std::size_t step) {
  Count count;
  WrittenHevc picture = writeHevc(plan);
  for (std::size_t i = 0; i < picture.segments.size(); ++i) {
    const std::size_t begin = headers ? 2 : picture.headers[i];
    const std::size_t end = headers ? picture.headers[i] : picture.segments[i].size();
    for (std::size_t byte = begin; byte < end; byte += step) {
      for (unsigned bit = 0; bit < 8; ++bit) {
        std::uint8_t& at = picture.segments[i][byte];
        const std::uint8_t was = at;
        at = static_cast<std::uint8_t>(was ^ (1U << bit));
        count.add(judge(picture));
        at = was;
      }
    }
  }
  return count;
}

// Some bits only choose among valid pictures: no_output_of_prior_pics_flag, filters, a quantiser that no context
// variable feels.
TEST(DamagedPictures, AreFoundByMostBitsOfTheirHeaders) {
  Count count;
  for (std::uint32_t seed = 1; seed <= 60; ++seed) count.add(flipBits(randomHevcPlan(seed), true, 1));
  EXPECT_GT(count.trials, 3000);
  EXPECT_GT(count.damaged, count.trials * 9 / 10) << count;
  EXPECT_EQ(count.unknown, 0) << count;
}

// Of random coefficients, as many signs and suffixes as there are here are any picture's. PCM samples would all be.
TEST(DamagedPictures, AreFoundByMostBitsOfTheirData) {
  Count count;
  for (std::uint32_t seed = 1; seed <= 90; ++seed) {
    HevcPlan plan = randomHevcPlan(seed);
    plan.content = HevcContent::residuals;
    plan.width = std::min(plan.width, 128U);
    plan.height = std::min(plan.height, 128U);
    if (plan.tileColumns * plan.tileRows == 1) count.add(flipBits(plan, false, 41));
  }
  EXPECT_GT(count.trials, 5000);
  EXPECT_GT(count.damaged, count.trials * 9 / 10) << count;
}

}  // namespace
}  // namespace quellor::hevc
