#include "platform/hevc/contexts.h"

#include <algorithm>
#include <cstdint>

namespace quellor::hevc {
namespace {

template <std::size_t n>
std::array<Context, n> initialise(const std::array<std::uint8_t, n>& initValues, int qp) {
  std::array<Context, n> contexts{};
  std::transform(initValues.begin(), initValues.end(), contexts.begin(),
                 [qp](std::uint8_t value) { return initialContext(value, qp); });
  return contexts;
}

// initValue for initType 0: ITU-T H.265, tables 9-5 to 9-37
constexpr std::array<std::uint8_t, 18> kLastPrefix = {110, 110, 124, 125, 140, 153, 125, 127, 140,
                                                      109, 111, 143, 127, 111, 79,  108, 123, 63};
constexpr std::array<std::uint8_t, 42> kSignificant = {
    111, 111, 125, 110, 110, 94,  124, 108, 124, 107, 125, 141, 179, 153, 125, 107, 125, 141, 179, 153, 125,
    107, 125, 141, 179, 153, 125, 140, 139, 182, 182, 152, 136, 152, 136, 153, 136, 139, 111, 136, 139, 111};
constexpr std::array<std::uint8_t, 24> kGreater1 = {140, 92,  137, 138, 140, 152, 138, 139, 153, 74,  149, 92,
                                                    139, 107, 122, 152, 140, 179, 166, 182, 140, 227, 122, 197};

}  // namespace

Contexts initialContexts(int qp) {
  Contexts contexts{};
  contexts.saoMerge = initialContext(153, qp);
  contexts.saoType = initialContext(200, qp);
  contexts.splitCodingUnit = initialise<3>({139, 141, 157}, qp);
  contexts.transquantBypass = initialContext(154, qp);
  contexts.partMode = initialContext(184, qp);
  contexts.previousLumaMode = initialContext(184, qp);
  contexts.chromaMode = initialContext(63, qp);
  contexts.splitTransform = initialise<3>({153, 138, 138}, qp);
  contexts.codedLuma = initialise<2>({111, 141}, qp);
  contexts.codedChroma = initialise<5>({94, 138, 182, 154, 154}, qp);
  contexts.qpDelta = initialise<2>({154, 154}, qp);
  contexts.transformSkip = initialise<2>({139, 139}, qp);
  contexts.lastPrefix = {initialise(kLastPrefix, qp), initialise(kLastPrefix, qp)};
  contexts.codedSubBlock = initialise<4>({91, 171, 134, 141}, qp);
  contexts.significant = initialise(kSignificant, qp);
  contexts.greater1 = initialise(kGreater1, qp);
  contexts.greater2 = initialise<6>({138, 153, 136, 167, 152, 152}, qp);
  return contexts;
}

}  // namespace quellor::hevc
