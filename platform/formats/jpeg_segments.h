#pragma once
#include <cstdint>
#include <optional>

#include "platform/values/bytes.h"

namespace quellor::jpeg {

// Marker codes: ITU-T T.81, table B.1.
inline constexpr std::uint8_t kStartOfImage = 0xD8;
inline constexpr std::uint8_t kEndOfImage = 0xD9;
inline constexpr std::uint8_t kStartOfScan = 0xDA;
inline constexpr std::uint8_t kApp0 = 0xE0;
inline constexpr std::uint8_t kApp1 = 0xE1;
inline constexpr std::uint8_t kApp2 = 0xE2;
inline constexpr std::uint8_t kApp13 = 0xED;

/// A marker segment.
struct Segment {
  std::uint8_t marker;
  ByteView payload;  // without the length, inside the file
};

/// Walks the segments of a file up to the first scan, skipping stray bytes between them as decoders do.
class SegmentWalk {
 public:
  /// `file` outlives the walk and the segments.
  explicit SegmentWalk(ByteView file) : rest_(file) {}

  /// The next segment; absent at the first scan and where a segment leaves the file.
  std::optional<Segment> next();

 private:
  std::uint8_t nextMarker();

  ByteView rest_;
};

}  // namespace quellor::jpeg
