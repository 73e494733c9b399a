#include "tests/support/hevc_arithmetic_encoder.h"

#include <algorithm>

namespace quellor::test_support {
namespace {

// ITU-T H.265, table 9-52
constexpr std::array<std::array<std::uint8_t, 4>, 64> kRangeLps = {{
    {128, 176, 208, 240}, {128, 167, 197, 227}, {128, 158, 187, 216}, {123, 150, 178, 205}, {116, 142, 169, 195},
    {111, 135, 160, 185}, {105, 128, 152, 175}, {100, 122, 144, 166}, {95, 116, 137, 158},  {90, 110, 130, 150},
    {85, 104, 123, 142},  {81, 99, 117, 135},   {77, 94, 111, 128},   {73, 89, 105, 122},   {69, 85, 100, 116},
    {66, 80, 95, 110},    {62, 76, 90, 104},    {59, 72, 86, 99},     {56, 69, 81, 94},     {53, 65, 77, 89},
    {51, 62, 73, 85},     {48, 59, 69, 80},     {46, 56, 66, 76},     {43, 53, 63, 72},     {41, 50, 59, 69},
    {39, 48, 56, 65},     {37, 45, 54, 62},     {35, 43, 51, 59},     {33, 41, 48, 56},     {32, 39, 46, 53},
    {30, 37, 43, 50},     {29, 35, 41, 48},     {27, 33, 39, 45},     {26, 31, 37, 43},     {24, 30, 35, 41},
    {23, 28, 33, 39},     {22, 27, 32, 37},     {21, 26, 30, 35},     {20, 24, 29, 33},     {19, 23, 27, 31},
    {18, 22, 26, 30},     {17, 21, 25, 28},     {16, 20, 23, 27},     {15, 19, 22, 25},     {14, 18, 21, 24},
    {14, 17, 20, 23},     {13, 16, 19, 22},     {12, 15, 18, 21},     {12, 14, 17, 20},     {11, 14, 16, 19},
    {11, 13, 15, 18},     {10, 12, 15, 17},     {10, 12, 14, 16},     {9, 11, 13, 15},      {9, 11, 12, 14},
    {8, 10, 12, 14},      {8, 9, 11, 13},       {7, 9, 11, 12},       {7, 9, 10, 12},       {7, 8, 10, 11},
    {6, 8, 9, 11},        {6, 7, 9, 10},        {6, 7, 8, 9},         {2, 2, 2, 2},
}};

// Table 9-53, transIdxLps
constexpr std::array<std::uint8_t, 64> kAfterLps = {0,  0,  1,  2,  2,  4,  4,  5,  6,  7,  8,  9,  9,  11, 11, 12,
                                                    13, 13, 15, 15, 16, 16, 18, 18, 19, 19, 21, 21, 22, 22, 23, 24,
                                                    24, 25, 26, 26, 27, 27, 28, 29, 29, 30, 30, 30, 31, 32, 32, 33,
                                                    33, 33, 34, 34, 35, 35, 35, 36, 36, 36, 37, 37, 37, 38, 38, 63};

// 9.3.2.2
HevcContext initialContext(int initValue, int qp) {
  const int m = (initValue >> 4) * 5 - 45;
  const int n = ((initValue & 15) << 3) - 16;
  const int state = std::clamp(((m * std::clamp(qp, 0, 51)) >> 4) + n, 1, 126);
  const bool mps = state > 63;
  return {static_cast<unsigned>(mps ? state - 64 : 63 - state), mps};
}

template <std::size_t n>
void initialise(std::array<HevcContext, n>& contexts, const std::array<int, n>& initValues, int qp) {
  for (std::size_t i = 0; i < n; ++i) contexts[i] = initialContext(initValues[i], qp);
}

}  // namespace

// Tables 9-5 to 9-37, initType 0
HevcContexts initialHevcContexts(int qp) {
  HevcContexts contexts;
  initialise(contexts.saoMerge, {153}, qp);
  initialise(contexts.saoType, {200}, qp);
  initialise(contexts.transquantBypass, {154}, qp);
  initialise(contexts.partMode, {184}, qp);
  initialise(contexts.previousMode, {184}, qp);
  initialise(contexts.chromaMode, {63}, qp);
  initialise(contexts.splitCodingUnit, {139, 141, 157}, qp);
  initialise(contexts.splitTransform, {153, 138, 138}, qp);
  initialise(contexts.codedLuma, {111, 141}, qp);
  initialise(contexts.qpDelta, {154, 154}, qp);
  initialise(contexts.transformSkip, {139, 139}, qp);
  initialise(contexts.codedChroma, {94, 138, 182, 154, 154}, qp);
  for (auto* const last : {&contexts.lastX, &contexts.lastY}) {
    initialise(*last, {110, 110, 124, 125, 140, 153, 125, 127, 140, 109, 111, 143, 127, 111, 79, 108, 123, 63}, qp);
  }
  initialise(contexts.codedSubBlock, {91, 171, 134, 141}, qp);
  initialise(contexts.significant,
             {111, 111, 125, 110, 110, 94,  124, 108, 124, 107, 125, 141, 179, 153, 125, 107, 125, 141, 179, 153, 125,
              107, 125, 141, 179, 153, 125, 140, 139, 182, 182, 152, 136, 152, 136, 153, 136, 139, 111, 136, 139, 111},
             qp);
  initialise(contexts.greater1, {140, 92,  137, 138, 140, 152, 138, 139, 153, 74,  149, 92,
                                 139, 107, 122, 152, 140, 179, 166, 182, 140, 227, 122, 197},
             qp);
  initialise(contexts.greater2, {138, 153, 136, 167, 152, 152}, qp);
  return contexts;
}

void HevcArithmeticEncoder::start() {
  low_ = 0;
  range_ = 510;
  outstanding_ = 0;
  first_ = true;
}

void HevcArithmeticEncoder::encode(HevcContext& context, bool bin) {
  const unsigned lps = kRangeLps[context.state][(range_ >> 6) & 3U];
  range_ -= lps;
  if (bin != context.mps) {
    low_ += range_;
    range_ = lps;
    if (context.state == 0) context.mps = !context.mps;
    context.state = kAfterLps[context.state];
  } else if (context.state < 62) {
    ++context.state;
  }
  renormalise();
}

void HevcArithmeticEncoder::bypass(bool bin) {
  low_ = 2 * low_ + (bin ? range_ : 0);
  if (low_ >= 1024) {
    put(true);
    low_ -= 1024;
  } else if (low_ < 512) {
    put(false);
  } else {
    low_ -= 512;
    ++outstanding_;
  }
}

void HevcArithmeticEncoder::bypass(unsigned count, unsigned bins) {
  for (unsigned i = count; i > 0; --i) bypass(((bins >> (i - 1)) & 1U) != 0);
}

void HevcArithmeticEncoder::terminate(bool bin) {
  range_ -= 2;
  if (!bin) return renormalise();
  low_ += range_;
  range_ = 2;
  renormalise();
  put(((low_ >> 9) & 1U) != 0);
  out_.bits(2, ((low_ >> 7) & 3U) | 1U).alignWithZeros();
}

void HevcArithmeticEncoder::renormalise() {
  for (; range_ < 256; range_ *= 2, low_ *= 2) {
    if (low_ < 256) {
      put(false);
    } else if (low_ >= 512) {
      low_ -= 512;
      put(true);
    } else {
      low_ -= 256;
      ++outstanding_;
    }
  }
}

/// The first bit of a code is always zero and not written.
void HevcArithmeticEncoder::put(bool bit) {
  if (!first_) out_.flag(bit);
  first_ = false;
  for (; outstanding_ > 0; --outstanding_) out_.flag(!bit);
}

}  // namespace quellor::test_support
