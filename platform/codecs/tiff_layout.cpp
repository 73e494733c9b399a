#include "platform/codecs/tiff_layout.h"

#include "platform/codecs/codec.h"

namespace quellor::tiff {
namespace {

/// The tag may be missing although it must not be; the number of samples then says what they are.
std::uint16_t photometricOf(const TiffFile& file, std::uint16_t samples) {
  const auto coded = file.field<std::uint16_t>(TIFFTAG_PHOTOMETRIC);
  const std::uint16_t guessed = samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
  return coded.value_or(guessed);
}

ColorModel modelOf(std::uint16_t photometric) {
  switch (photometric) {
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

bool isExact(const TiffFile& file, std::uint16_t photometric, const Layout& layout) {
  if (layout.bits != 8 && layout.bits != 16) return false;
  const int colours = componentCount(layout.model);
  if (layout.samples < colours || (layout.alphaSample && *layout.alphaSample < colours)) return false;
  switch (photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_RGB:
      return true;
    case PHOTOMETRIC_MINISWHITE:
      // Associated alpha multiplies towards white here, which no raster can say.
      return !layout.premultiplied;
    case PHOTOMETRIC_SEPARATED:
      return file.fieldOrDefault<std::uint16_t>(TIFFTAG_INKSET) == INKSET_CMYK;
    default:
      return false;
  }
}

bool isConvertible(std::uint16_t photometric, const Layout& layout) {
  // The library would drop the alpha of a palette image without a word, and turn ink into light.
  if (layout.alphaSample || layout.bits > 16) return false;
  switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
      return layout.bits < 8;
    case PHOTOMETRIC_PALETTE:
    case PHOTOMETRIC_YCBCR:
    case PHOTOMETRIC_CIELAB:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::optional<Layout> layoutOf(const TiffFile& file) {
  Layout layout;
  layout.width = file.field<std::uint32_t>(TIFFTAG_IMAGEWIDTH).value_or(0);
  layout.height = file.field<std::uint32_t>(TIFFTAG_IMAGELENGTH).value_or(0);
  if (layout.width == 0 || layout.height == 0) return std::nullopt;
  if (std::uint64_t{layout.width} * layout.height > kMaximumPixels) return std::nullopt;

  layout.bits = file.fieldOrDefault<std::uint16_t>(TIFFTAG_BITSPERSAMPLE);
  layout.samples = file.fieldOrDefault<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL);
  layout.separate = file.fieldOrDefault<std::uint16_t>(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
  const std::uint16_t photometric = photometricOf(file, layout.samples);
  layout.model = modelOf(photometric);
  layout.minIsWhite = photometric == PHOTOMETRIC_MINISWHITE;
  findAlpha(file, layout);

  const auto format = file.fieldOrDefault<std::uint16_t>(TIFFTAG_SAMPLEFORMAT);
  if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID) return layout;
  if (isExact(file, photometric, layout)) {
    layout.way = Way::exact;
  } else if (isConvertible(photometric, layout)) {
    layout.way = Way::converted;
  }
  return layout;
}

}  // namespace quellor::tiff
