#pragma once
#include <array>

#include "platform/hevc/cabac.h"

namespace quellor::hevc {

/// The context variables that an intra slice uses, in the order of the tables that initialise them.
struct Contexts {
  Context saoMerge;
  Context saoType;
  std::array<Context, 3> splitCodingUnit;
  Context transquantBypass;
  Context partMode;
  Context previousLumaMode;
  Context chromaMode;
  std::array<Context, 3> splitTransform;
  std::array<Context, 2> codedLuma;
  std::array<Context, 5> codedChroma;
  std::array<Context, 2> qpDelta;
  std::array<Context, 2> transformSkip;
  std::array<std::array<Context, 18>, 2> lastPrefix;
  std::array<Context, 4> codedSubBlock;
  std::array<Context, 42> significant;
  std::array<Context, 24> greater1;
  std::array<Context, 6> greater2;
};

[[nodiscard]] Contexts initialContexts(int sliceQp);

}  // namespace quellor::hevc
