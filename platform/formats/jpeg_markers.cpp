#include "platform/formats/jpeg_markers.h"

#include <string_view>
#include <vector>

#include "platform/formats/jpeg_segments.h"
#include "platform/formats/photoshop_resources.h"
#include "platform/metadata/exif_prefix.h"
#include "platform/values/big_endian.h"

namespace quellor::jpeg {
namespace {

using namespace std::string_view_literals;

// What the segments begin with: T.871 10.1; Exif 2.32 4.7.2; XMP part 3, 1.1.3; ICC.1:2010 B.4; CIPA DC-007
// 5.2.1.
constexpr auto kJfifName = "JFIF\0"sv;
constexpr auto kExifName = "Exif\0"sv;  // and a padding byte of any value
constexpr auto kXmpName = "http://ns.adobe.com/xap/1.0/\0"sv;
constexpr auto kIccName = "ICC_PROFILE\0"sv;
constexpr auto kPhotoshopName = "Photoshop 3.0\0"sv;
constexpr auto kMultiPictureName = "MPF\0"sv;

/// Collects the chunks of an ICC profile; each says its number, from 1, and how many there are.
class IccChunks {
 public:
  void add(ByteView chunk) {
    if (chunk.size() < 2) return spoil();
    const std::size_t number = chunk[0];
    const std::size_t count = chunk[1];
    if (number == 0 || number > count || (count_ != 0 && count != count_) || seen_[number]) return spoil();
    count_ = count;
    seen_[number] = true;
    chunks_[number] = chunk.subspan(2);
    total_ += chunk.size() - 2;
  }

  [[nodiscard]] std::optional<Bytes> profile() const {
    if (spoilt_ || total_ == 0) return std::nullopt;
    Bytes whole;
    whole.reserve(total_);
    for (std::size_t number = 1; number <= count_; ++number) {
      if (!seen_[number]) return std::nullopt;
      whole.insert(whole.end(), chunks_[number].begin(), chunks_[number].end());
    }
    return whole;
  }

 private:
  void spoil() { spoilt_ = true; }

  std::array<ByteView, 256> chunks_;
  std::array<bool, 256> seen_{};
  std::size_t count_ = 0;
  std::size_t total_ = 0;
  bool spoilt_ = false;
};

std::optional<Jfif> parseJfif(ByteView payload) {
  constexpr std::size_t kSize = 14;  // up to and with the size of the thumbnail
  constexpr unsigned kPerInch = 1;
  constexpr unsigned kPerCentimetre = 2;
  if (payload.size() < kSize) return std::nullopt;
  const unsigned unit = payload[7];
  const auto x = bigEndian16(payload, 8);
  const auto y = bigEndian16(payload, 10);
  if ((unit != kPerInch && unit != kPerCentimetre) || x == 0 || y == 0) return Jfif{};
  const double unitsPerInch = unit == kPerCentimetre ? 2.54 : 1;
  return Jfif{std::pair(x * unitsPerInch, y * unitsPerInch)};
}

void readApp1(ByteView payload, MetadataBlocks& blocks) {
  if (startsWith(payload, kExifName) && payload.size() > kExifName.size() + 1) {
    const auto block = metadata::exifBlockIn(payload.subspan(kExifName.size() + 1));
    if (block && !blocks.exif) blocks.exif = copyOf(*block);
  } else if (startsWith(payload, kXmpName) && payload.size() > kXmpName.size()) {
    if (!blocks.xmp) blocks.xmp = copyOf(payload.subspan(kXmpName.size()));
  }
}

}  // namespace

ApplicationSegments readApplicationSegments(ByteView file) {
  ApplicationSegments found;
  IccChunks icc;
  Bytes resources;  // may go on from one segment to the next
  SegmentWalk walk(file);
  while (const std::optional<Segment> segment = walk.next()) {
    const ByteView payload = segment->payload;
    if (segment->marker == kApp0 && !found.jfif && startsWith(payload, kJfifName)) found.jfif = parseJfif(payload);
    if (segment->marker == kApp1) readApp1(payload, found.metadata);
    if (segment->marker == kApp2 && startsWith(payload, kIccName)) icc.add(payload.subspan(kIccName.size()));
    if (segment->marker == kApp2 && !found.multiPicture && startsWith(payload, kMultiPictureName)) {
      found.multiPicture = payload.subspan(kMultiPictureName.size());
    }
    if (segment->marker == kApp13 && startsWith(payload, kPhotoshopName)) {
      const ByteView part = payload.subspan(kPhotoshopName.size());
      resources.insert(resources.end(), part.begin(), part.end());
    }
  }
  found.iccProfile = icc.profile();
  if (const auto iptc = iptcInResources(resources)) found.metadata.iptc = copyOf(*iptc);
  return found;
}

}  // namespace quellor::jpeg
