// Properties: a picture that was written by the standard is intact; a copy with a segment that is cut short or missing
// never is; the judgement depends neither on where the bytes lie nor on the threads that make it; whatever the bytes of
// a segment or of a parameter set are, there is a verdict, and a reason unless it is the good one.

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include "platform/hevc/hevc.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/hevc_picture_writer.h"

namespace {

using namespace quellor;
using test_support::WrittenHevc;

void onTwoThreads(std::size_t count, const std::function<void(std::size_t)>& task) {
  std::atomic<std::size_t> next = 0;
  const auto body = [&] {
    for (std::size_t i = next++; i < count; i = next++) task(i);
  };
  std::thread other(body);
  body();
  other.join();
}

/// Damaged, too, when not even the units are legal.
hevc::Verdict verdictOf(const Bytes& units) {
  hevc::NalStream stream;
  if (!stream.append(units)) return hevc::Verdict::damaged;
  const auto all = stream.units();
  const hevc::Judgement judgement = hevc::verify(all);
  FUZZ_REQUIRE((judgement.verdict == hevc::Verdict::intact) == (std::strlen(judgement.reason) == 0));
  const auto shape = hevc::shapeOf(all);
  FUZZ_REQUIRE(shape || judgement.verdict != hevc::Verdict::intact);
  return judgement.verdict;
}

/// The verdict on a copy at an odd address whose bytes end with the memory that is theirs.
hevc::Verdict verdictElsewhere(const Bytes& units) {
  Bytes moved(units.size() + 1);
  std::copy(units.begin(), units.end(), moved.begin() + 1);
  hevc::NalStream stream;
  return stream.append(ByteView(moved).subspan(1)) ? hevc::verify(stream.units()).verdict : hevc::Verdict::damaged;
}

void requireTheSameOnThreads(const Bytes& units) {
  hevc::NalStream stream;
  if (!stream.append(units)) return;
  const hevc::Judgement expected = hevc::verify(stream.units()), judgement = hevc::verify(stream.units(), onTwoThreads);
  FUZZ_REQUIRE(judgement.verdict == expected.verdict);
  FUZZ_REQUIRE(std::strcmp(judgement.reason, expected.reason) == 0);
  FUZZ_REQUIRE(judgement.exemptsChromaFromOffset == expected.exemptsChromaFromOffset);
}

void requireCutsToBeFound(WrittenHevc picture, std::size_t choice) {
  const std::size_t index = choice % picture.segments.size();
  Bytes& segment = picture.segments[index];
  segment.resize(segment.size() - 1 - (choice / 7) % segment.size());
  FUZZ_REQUIRE(verdictOf(picture.behindLengths()) == hevc::Verdict::damaged);
  picture.segments.erase(picture.segments.begin() + static_cast<std::ptrdiff_t>(index));
  FUZZ_REQUIRE(verdictOf(picture.behindLengths()) == hevc::Verdict::damaged);
}

/// Puts the input over a unit of the picture, from a place in its middle on.
void overwrite(Bytes& unit, ByteView input, std::size_t place) {
  const std::size_t begin = std::min(unit.size(), 2 + place % unit.size());
  const std::size_t size = std::min(input.size(), unit.size() - begin);
  std::copy_n(input.begin(), size, unit.begin() + static_cast<std::ptrdiff_t>(begin));
}

}  // namespace

/// The first four bytes choose the picture, the next two what becomes of it, the rest is written over a part of it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 6) return 0;
  std::uint32_t seed = 0;
  for (std::size_t i = 0; i < 4; ++i) seed = seed << 8 | data[i];
  const std::size_t choice = std::size_t{data[4]} << 8 | data[5];
  test_support::HevcPlan plan = test_support::randomHevcPlan(seed);
  plan.width = std::min(plan.width, 96U);
  plan.height = std::min(plan.height, 96U);
  plan.tileWidths.clear();  // the picture may be too small for them
  plan.tileHeights.clear();
  plan.tileColumns = std::min(plan.tileColumns, ((plan.width - 1) >> plan.ctbLog2) + 1);
  plan.tileRows = std::min(plan.tileRows, ((plan.height - 1) >> plan.ctbLog2) + 1);
  WrittenHevc picture = test_support::writeHevc(plan);
  const Bytes units = picture.behindLengths();
  FUZZ_REQUIRE(verdictOf(units) == hevc::Verdict::intact);
  FUZZ_REQUIRE(verdictElsewhere(units) == hevc::Verdict::intact);
  requireTheSameOnThreads(units);
  requireCutsToBeFound(picture, choice);

  auto& kind = (choice & 3U) == 0 ? picture.parameterSets : picture.segments;
  overwrite(kind[choice % kind.size()], {data + 6, size - 6}, choice / 3);
  const Bytes changed = picture.behindLengths();
  FUZZ_REQUIRE(verdictOf(changed) == verdictElsewhere(changed));
  requireTheSameOnThreads(changed);

  const Bytes raw(data, data + size);  // as units behind lengths, which seldom are any
  verdictOf(raw);
  return 0;
}
