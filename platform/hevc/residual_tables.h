#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/hevc/residual.h"

/// What residual_coding() looks up: the orders in which coefficients are coded, and contexts by place.
namespace quellor::hevc {

/// Of a coefficient in its sub-block, or of a sub-block of 4x4 coefficients in its block.
struct Position {
  std::uint8_t x = 0;
  std::uint8_t y = 0;
};

template <unsigned size>
using ScanOrder = std::array<Position, std::size_t{size} * size>;

// 6.5.3 to 6.5.5
template <unsigned size>
constexpr std::array<ScanOrder<size>, 3> buildScans() {
  std::array<ScanOrder<size>, 3> scans{};
  unsigned i = 0;
  for (unsigned diagonal = 0; diagonal < 2 * size - 1; ++diagonal) {
    for (unsigned x = 0; x <= diagonal; ++x) {
      if (x < size && diagonal - x < size) {
        scans[0][i++] = {static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(diagonal - x)};
      }
    }
  }
  for (i = 0; i < size * size; ++i) {
    scans[1][i] = {static_cast<std::uint8_t>(i % size), static_cast<std::uint8_t>(i / size)};
    scans[2][i] = {static_cast<std::uint8_t>(i / size), static_cast<std::uint8_t>(i % size)};
  }
  return scans;
}

inline constexpr auto kScan1 = buildScans<1>();
inline constexpr auto kScan2 = buildScans<2>();
inline constexpr auto kScan4 = buildScans<4>();
inline constexpr auto kScan8 = buildScans<8>();

inline const Position* subBlockOrder(unsigned log2Size, Scan scan) {
  const auto index = static_cast<std::size_t>(scan);
  switch (log2Size) {
    case 2:
      return kScan1[index].data();
    case 3:
      return kScan2[index].data();
    case 4:
      return kScan4[index].data();
    default:
      return kScan8[index].data();
  }
}

inline unsigned indexOf(const Position* order, unsigned x, unsigned y) {
  unsigned index = 0;
  while (order[index].x != x || order[index].y != y) ++index;
  return index;
}

/// sigCtx of 9.3.4.2.5 inside a sub-block, by the coded flags of the sub-blocks to the right (1) and below (2), and
/// by the place in the sub-block; the last table is that of 4x4 blocks.
inline constexpr std::array<std::array<std::uint8_t, 16>, 5> kSignificantInSubBlock = {{
    {2, 1, 1, 0, 1, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0},
    {2, 2, 2, 2, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0},
    {2, 1, 0, 0, 2, 1, 0, 0, 2, 1, 0, 0, 2, 1, 0, 0},
    {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2},
    {0, 1, 4, 5, 2, 3, 4, 5, 6, 6, 8, 8, 7, 7, 8, 8},
}};

/// The same by the place in the scan.
constexpr auto buildSignificantByScan() {
  std::array<std::array<std::array<std::uint8_t, 16>, 5>, 3> tables{};
  for (std::size_t scan = 0; scan < 3; ++scan) {
    for (std::size_t pattern = 0; pattern < 5; ++pattern) {
      for (std::size_t i = 0; i < 16; ++i) {
        const Position at = kScan4[scan][i];
        tables[scan][pattern][i] = kSignificantInSubBlock[pattern][std::size_t{at.y} * 4 + at.x];
      }
    }
  }
  return tables;
}

inline constexpr auto kSignificantByScan = buildSignificantByScan();

}  // namespace quellor::hevc
