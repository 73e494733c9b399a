#include <algorithm>

#include "platform/formats/image_format.h"
#include "platform/formats/tiff_directories.h"
#include "platform/formats/tiff_file.h"
#include "platform/formats/tiff_layout.h"
#include "platform/metadata/tiff_metadata_block.h"
#include "platform/values/big_endian.h"

namespace quellor {
namespace {

constexpr std::uint16_t kXResolution = 282;
constexpr std::uint16_t kYResolution = 283;
constexpr std::uint16_t kResolutionUnit = 296;
constexpr std::uint16_t kXmp = 700;
constexpr std::uint16_t kIptc = 33723;
constexpr std::uint16_t kIccProfile = 34675;

constexpr std::uint8_t kIptcTagMarker = 0x1C;  // the first byte of every dataset (IIM 4.2, 1.6)

std::optional<Bytes> copied(std::optional<ByteView> bytes) {
  return bytes ? std::optional(copyOf(*bytes)) : std::nullopt;
}

/// Some writers declare the datasets as 32-bit numbers and then swap the bytes of each into the file's order.
std::optional<Bytes> iptcBlock(const tiff::Directories& directories) {
  std::optional<Bytes> block = copied(directories.bytes(kIptc));
  if (!block || block->size() < 4 || block->size() % 4 != 0) return block;
  if (block->front() == kIptcTagMarker || (*block)[3] != kIptcTagMarker) return block;
  for (auto word = block->begin(); word != block->end(); word += 4) std::reverse(word, word + 4);
  return block;
}

std::optional<double> dotsPerInch(const tiff::Directories& directories, std::uint16_t tag) {
  constexpr std::uint32_t kInch = 2;
  constexpr std::uint32_t kCentimetre = 3;
  const std::uint32_t unit = directories.integer(kResolutionUnit).value_or(kInch);
  const std::optional<double> resolution = directories.rational(tag);
  if (!resolution || *resolution <= 0 || (unit != kInch && unit != kCentimetre)) return std::nullopt;
  return unit == kInch ? *resolution : *resolution * 2.54;
}

}  // namespace

Outcome<ImageFacts> formats::describeTiff(ByteView file) {
  const auto directories = tiff::Directories::read(file);
  if (!directories) return directories.refusal();
  const tiff::TiffFile opened(file);
  const auto layout = tiff::layoutOf(opened, *directories);
  if (!layout) return layout.refusal();

  ImageFacts facts;
  facts.imageCount = directories->count();
  facts.width = layout->width;
  facts.height = layout->height;
  const bool converted = layout->decoding && *layout->decoding == tiff::Decoding::converted;
  facts.bitsPerComponent = converted ? 8 : std::max<int>(layout->bits, 8);
  facts.colorModel = layout->model;
  facts.hasAlpha = layout->alphaSample.has_value();
  const int orientation = opened.field<std::uint16_t>(TIFFTAG_ORIENTATION).value_or(0);
  if (orientation >= 1 && orientation <= 8) facts.orientation = orientation;
  facts.dpiWidth = dotsPerInch(*directories, kXResolution);
  facts.dpiHeight = dotsPerInch(*directories, kYResolution);
  facts.iccProfile = copied(directories->bytes(kIccProfile));
  facts.metadata.exif = exifBlockFromTiff(file);
  facts.metadata.xmp = copied(directories->bytes(kXmp));
  facts.metadata.iptc = iptcBlock(*directories);
  return facts;
}

}  // namespace quellor
