#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/formats/image_format.h"
#include "platform/formats/jpeg_multi_picture.h"
#include "platform/formats/jpeg_session.h"
#include "platform/formats/photoshop_resources.h"
#include "platform/metadata/exif_prefix.h"
#include "platform/values/big_endian.h"

namespace quellor::formats {
namespace {

using namespace jpeg;
using namespace std::string_view_literals;

/// What stands behind a name at the beginning of a segment; absent in a segment with another name.
std::optional<ByteView> behindName(ByteView payload, std::string_view name) {
  return startsWith(payload, name) ? std::optional(payload.subspan(name.size())) : std::nullopt;
}

/// The profile whose chunks these are; each says its number, from 1, and how many there are (ICC.1:2010, B.4). Absent
/// unless every one is there exactly once.
std::optional<Bytes> joinedProfile(std::vector<ByteView> chunks) {
  constexpr std::size_t kNumbers = 2;
  if (std::any_of(chunks.begin(), chunks.end(), [](ByteView chunk) { return chunk.size() < kNumbers; })) return {};
  std::sort(chunks.begin(), chunks.end(), [](ByteView a, ByteView b) { return a[0] < b[0]; });
  Bytes profile;
  std::size_t number = 0;
  for (const ByteView chunk : chunks) {
    if (chunk[0] != ++number || chunk[1] != chunks.size()) return std::nullopt;
    profile.insert(profile.end(), chunk.begin() + kNumbers, chunk.end());
  }
  return profile.empty() ? std::nullopt : std::optional(std::move(profile));
}

/// Of several Exif blocks or XMP packets the first counts. XMP beyond one segment ("extended XMP") is not read.
void readApp1(ByteView payload, MetadataBlocks& blocks) {
  constexpr auto kExifName = "Exif\0"sv;  // Exif 2.32, 4.7.2: and a padding byte, which has any value
  if (const auto padded = behindName(payload, kExifName)) {
    const auto block = padded->empty() ? std::nullopt : metadata::exifBlockIn(padded->subspan(1));
    if (block && !blocks.exif) blocks.exif = copyOf(*block);
  } else if (const auto packet = behindName(payload, kXmpSegmentName)) {
    if (!packet->empty() && !blocks.xmp) blocks.xmp = copyOf(*packet);
  }
}

void readSegments(ByteView file, const std::vector<Segment>& segments, ImageFacts& facts) {
  std::vector<ByteView> profileChunks;
  std::optional<ByteView> multiPicture;
  Bytes resources;  // may go on from one segment to the next
  for (const Segment& segment : segments) {
    if (segment.marker == JPEG_APP0 + 1) {
      readApp1(segment.payload, facts.metadata);
    } else if (segment.marker == JPEG_APP0 + 2) {
      if (const auto chunk = behindName(segment.payload, "ICC_PROFILE\0"sv)) profileChunks.push_back(*chunk);
      if (!multiPicture) multiPicture = behindName(segment.payload, "MPF\0"sv);  // CIPA DC-007, 5.2.1
    } else if (const auto part = behindName(segment.payload, "Photoshop 3.0\0"sv)) {
      resources.insert(resources.end(), part->begin(), part->end());
    }
  }
  facts.iccProfile = joinedProfile(std::move(profileChunks));
  if (multiPicture) facts.imageCount = countPictures(file, *multiPicture);
  if (const auto iptc = iptcInResources(resources)) facts.metadata.iptc = copyOf(*iptc);
}

/// The JFIF segment and its density (ITU-T T.871, 10.1), which is absent where the unit is none or a number is 0.
void readJfif(const jpeg_decompress_struct& info, ImageFacts& facts) {
  constexpr int kPerInch = 1;
  constexpr int kPerCentimetre = 2;
  if (info.saw_JFIF_marker == FALSE) return;
  facts.formatDictionary = FormatDictionary::jfif;
  const bool hasUnit = info.density_unit == kPerInch || info.density_unit == kPerCentimetre;
  if (!hasUnit || info.X_density == 0 || info.Y_density == 0) return;
  const double unitsPerInch = info.density_unit == kPerCentimetre ? 2.54 : 1;
  facts.dpiWidth = info.X_density * unitsPerInch;
  facts.dpiHeight = info.Y_density * unitsPerInch;
}

}  // namespace

Outcome<ImageFacts> describeJpeg(ByteView file) {
  Session session(file);
  if (!session.readHeader()) return session.headerRefusal();
  const auto model = session.sampleModel();
  if (!model) return model.refusal();
  ImageFacts facts;
  facts.width = session.info().image_width;
  facts.height = session.info().image_height;
  facts.colorModel = colorModelOf(*model);
  readSegments(file, session.segments(), facts);
  readJfif(session.info(), facts);
  return facts;
}

}  // namespace quellor::formats
