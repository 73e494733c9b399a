#include "platform/formats/tiff_layout.h"

#include <algorithm>
#include <array>

#include "platform/values/limits.h"

namespace quellor::tiff {
namespace {

/// The colour model as coded. Absent when there is none, and when the library makes do with another one: it takes a
/// palette image without its colours for a grey one.
std::optional<std::uint16_t> photometricOf(const TiffFile& file, const Directories& directories) {
  const auto coded = directories.integer(TIFFTAG_PHOTOMETRIC);
  const auto taken = file.field<std::uint16_t>(TIFFTAG_PHOTOMETRIC);
  return coded == taken ? taken : std::nullopt;
}

/// Compressions whose decoder gives every sample as it was coded and reports every loss. Old-style JPEG is none: its
/// streams are put together by guesswork. Nor are those that raw formats and scientists use.
bool isTrusted(std::uint16_t compression) {
  constexpr std::array<std::uint16_t, 11> kTrusted = {
      COMPRESSION_NONE, COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4,
      COMPRESSION_LZW,  COMPRESSION_JPEG,     COMPRESSION_DEFLATE,   COMPRESSION_ADOBE_DEFLATE,
      COMPRESSION_LZMA, COMPRESSION_ZSTD,     COMPRESSION_PACKBITS};
  return std::find(kTrusted.begin(), kTrusted.end(), compression) != kTrusted.end();
}

/// RGB for what is missing or unknown.
ColorModel modelOf(std::optional<std::uint16_t> photometric) {
  if (!photometric) return ColorModel::rgb;
  switch (*photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MASK:
      return ColorModel::grey;
    case PHOTOMETRIC_SEPARATED:
      return ColorModel::cmyk;
    default:
      return ColorModel::rgb;
  }
}

void findAlpha(const TiffFile& file, Layout& layout) {
  std::uint16_t count = 0;
  const std::uint16_t* kinds = nullptr;
  if (TIFFGetField(file.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds) != 1 || count > layout.samples) return;
  for (std::uint16_t i = 0; i < count; ++i) {
    if (kinds[i] != EXTRASAMPLE_ASSOCALPHA && kinds[i] != EXTRASAMPLE_UNASSALPHA) continue;
    layout.alphaSample = static_cast<std::uint16_t>(layout.samples - count + i);
    layout.premultiplied = kinds[i] == EXTRASAMPLE_ASSOCALPHA;
    return;
  }
}

/// Whether the inks are cyan, magenta, yellow and black and no others: one that is left out would change the picture.
bool isPlainCmyk(const TiffFile& file, const Layout& layout) {
  constexpr std::uint16_t kInks = 4;
  if (file.fieldOrDefault<std::uint16_t>(TIFFTAG_INKSET) != INKSET_CMYK) return false;
  if (file.field<std::uint16_t>(TIFFTAG_NUMBEROFINKS).value_or(kInks) != kInks) return false;
  return layout.samples == kInks + (layout.alphaSample ? 1 : 0);
}

bool isExact(const TiffFile& file, std::uint16_t photometric, const Layout& layout) {
  if (layout.bits != 8 && layout.bits != 16) return false;
  const int colors = componentCount(layout.model);
  if (layout.samples < colors || (layout.alphaSample && *layout.alphaSample < colors)) return false;
  switch (photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_RGB:
      return true;
    case PHOTOMETRIC_MINISWHITE:
      // Associated alpha multiplies towards white here, which no raster can say.
      return !layout.premultiplied;
    case PHOTOMETRIC_SEPARATED:
      return isPlainCmyk(file, layout);
    default:
      return false;
  }
}

/// Left out on purpose: L*a*b*, which the library converts without regard to its white point; alpha of a palette image,
/// which the library would drop without a word.
bool isConvertible(std::uint16_t photometric, const Layout& layout) {
  switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
      return layout.samples == 1 && layout.bits < 8;
    case PHOTOMETRIC_PALETTE:
      return layout.samples == 1 && layout.bits <= 8;
    case PHOTOMETRIC_YCBCR:
      return layout.samples == 3 && layout.bits == 8;
    default:
      return false;
  }
}

Outcome<Decoding> decodingOf(const TiffFile& file, std::optional<std::uint16_t> photometric, const Layout& layout) {
  const auto format = file.fieldOrDefault<std::uint16_t>(TIFFTAG_SAMPLEFORMAT);
  if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID) {
    return Refusal{"samples that are signed or no integers"};
  }
  if (!photometric) return Refusal{"no color model"};
  if (!isTrusted(file.fieldOrDefault<std::uint16_t>(TIFFTAG_COMPRESSION))) {
    return Refusal{"a compression that is not decoded"};
  }
  if (isExact(file, *photometric, layout)) return Decoding::exact;
  if (isConvertible(*photometric, layout)) return Decoding::converted;
  return Refusal{"a color model with samples that are not decoded"};
}

}  // namespace

Outcome<Layout> layoutOf(const TiffFile& file, const Directories& directories) {
  if (!file.isOpen()) return Refusal{"the first directory is none that the library reads"};
  Layout layout;
  layout.width = file.field<std::uint32_t>(TIFFTAG_IMAGEWIDTH).value_or(0);
  layout.height = file.field<std::uint32_t>(TIFFTAG_IMAGELENGTH).value_or(0);
  if (layout.width == 0 || layout.height == 0) return Refusal{"the image has no width or no height"};
  if (std::uint64_t{layout.width} * layout.height > kMaximumPixels) return Refusal{"the image is too large"};

  layout.bits = file.fieldOrDefault<std::uint16_t>(TIFFTAG_BITSPERSAMPLE);
  layout.samples = file.fieldOrDefault<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL);
  layout.separate = file.fieldOrDefault<std::uint16_t>(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
  const auto photometric = photometricOf(file, directories);
  layout.model = modelOf(photometric);
  layout.minIsWhite = photometric == PHOTOMETRIC_MINISWHITE;
  findAlpha(file, layout);
  layout.decoding = decodingOf(file, photometric, layout);
  return layout;
}

}  // namespace quellor::tiff
