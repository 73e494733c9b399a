#include "platform/hevc/cabac.h"

#include <algorithm>

namespace quellor::hevc {
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
constexpr std::array<std::uint8_t, 64> kStateAfterLps = {
    0,  0,  1,  2,  2,  4,  4,  5,  6,  7,  8,  9,  9,  11, 11, 12, 13, 13, 15, 15, 16, 16,
    18, 18, 19, 19, 21, 21, 22, 22, 23, 24, 24, 25, 26, 26, 27, 27, 28, 29, 29, 30, 30, 30,
    31, 32, 32, 33, 33, 33, 34, 34, 35, 35, 35, 36, 36, 36, 37, 37, 37, 38, 38, 63};

constexpr std::array<Context, 128> buildContextStates() {
  std::array<Context, 128> contexts{};
  for (std::size_t i = 0; i < contexts.size(); ++i) {
    const std::size_t state = i >> 1;
    const std::size_t symbol = i & 1U;
    const std::size_t afterMore = (state < 62 ? state + 1 : state) * 2 + symbol;
    const std::size_t afterLess = std::size_t{kStateAfterLps[state]} * 2 + (state == 0 ? 1 - symbol : symbol);
    contexts[i] =
        Context{symbol} << kValMpsShift | Context{afterLess} << kAfterLessShift | Context{afterMore} << kAfterMoreShift;
    for (std::size_t range = 0; range < 4; ++range) contexts[i] |= Context{kRangeLps[state][range]} << (8 * range);
  }
  return contexts;
}

// 9.3.2.2
Context initialContext(int initValue, int sliceQp) {
  const int slope = (initValue >> 4) * 5 - 45;
  const int offset = ((initValue & 15) << 3) - 16;
  const int state = std::clamp(((slope * std::clamp(sliceQp, 0, 51)) >> 4) + offset, 1, 126);
  return kContextStates[static_cast<std::size_t>(state > 63 ? (state - 64) * 2 + 1 : (63 - state) * 2)];
}

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

constexpr std::array<Context, 128> kContextStates = buildContextStates();

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

std::uint32_t ArithmeticDecoder::wordAt(const std::uint8_t* data, std::size_t size, std::size_t position) {
  std::uint32_t word = 0;
  if (position + sizeof(word) <= size) {
    const std::uint8_t* const at = data + position;
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
  }
  for (std::size_t i = position; i < position + sizeof(word); ++i) word = (word << 8) | (i < size ? data[i] : 0U);
  return word;
}

std::optional<std::size_t> ArithmeticDecoder::endOfSubset() const {
  const std::size_t used = 8 * position_ - static_cast<std::size_t>(spare_);
  const std::size_t end = (used + 7) / 8;
  if (end == 0 || end > size_) return std::nullopt;
  const unsigned unusedBits = static_cast<unsigned>(8 * end - used);
  const bool endsInOne = (data_[end - 1] & ((2U << unusedBits) - 1)) == (1U << unusedBits);
  return endsInOne ? std::optional(end) : std::nullopt;
}

}  // namespace quellor::hevc
