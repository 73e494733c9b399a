#include "platform/formats/jpeg_segments.h"

#include "platform/values/big_endian.h"

namespace quellor::jpeg {
namespace {

constexpr bool standsAlone(std::uint8_t marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7); }

}  // namespace

std::optional<Segment> SegmentWalk::next() {
  for (;;) {
    const std::uint8_t marker = nextMarker();
    if (marker == kEndOfImage || marker == kStartOfScan) return std::nullopt;
    if (marker == kStartOfImage || standsAlone(marker)) continue;
    if (rest_.size() < 2) return std::nullopt;
    const std::size_t length = bigEndian16(rest_, 0);
    if (length < 2 || length > rest_.size()) return std::nullopt;
    const Segment segment{marker, rest_.subspan(2, length - 2)};
    rest_ = rest_.subspan(length);
    return segment;
  }
}

/// The code after the next 0xFF bytes; the end of the file counts as the end of the image.
std::uint8_t SegmentWalk::nextMarker() {
  std::size_t i = 0;
  while (i + 1 < rest_.size() && (rest_[i] != 0xFF || rest_[i + 1] == 0xFF || rest_[i + 1] == 0)) ++i;
  if (i + 1 >= rest_.size()) return kEndOfImage;
  const std::uint8_t marker = rest_[i + 1];
  rest_ = rest_.subspan(i + 2);
  return marker;
}

}  // namespace quellor::jpeg
