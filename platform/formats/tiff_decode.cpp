#include "platform/formats/tiff_decode.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/values/limits.h"
#include "platform/values/sample_memory.h"

namespace quellor::tiff {
namespace {

/// The largest raster: four inks and alpha of 16 bits for the largest picture.
constexpr std::uint64_t kMaximumRasterBytes = kMaximumPixels * 10;

/// Memory that one plane is decoded into; the only plane, unless the samples are separate.
struct Plane {
  std::uint16_t sample = 0;  // which sample of the file, 0 for the only plane
  std::uint8_t* firstRow = nullptr;
  std::size_t pixelBytes = 0;
  std::size_t rowBytes = 0;
};

bool readStrips(TIFF* tiff, const Layout& layout, const Plane& plane) {
  std::uint32_t rowsPerStrip = 0;
  if (TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip) != 1 || rowsPerStrip == 0) return false;
  if (TIFFScanlineSize64(tiff) != plane.rowBytes) return false;
  rowsPerStrip = std::min(rowsPerStrip, layout.height);
  for (std::uint32_t row = 0; row < layout.height;) {
    const std::uint32_t rows = std::min(rowsPerStrip, layout.height - row);
    const auto size = static_cast<tmsize_t>(rows * plane.rowBytes);
    const std::uint32_t strip = TIFFComputeStrip(tiff, row, plane.sample);
    if (TIFFReadEncodedStrip(tiff, strip, plane.firstRow + row * plane.rowBytes, size) != size) return false;
    row += rows;
  }
  return true;
}

bool readTiles(TIFF* tiff, const Layout& layout, const Plane& plane) {
  std::uint32_t tileWidth = 0;
  std::uint32_t tileHeight = 0;
  TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
  TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight);
  if (tileWidth == 0 || tileHeight == 0) return false;
  if (std::uint64_t{tileWidth} * tileHeight > kMaximumPixels) return false;
  const std::size_t tileRowBytes = tileWidth * plane.pixelBytes;
  const std::size_t size = tileRowBytes * tileHeight;
  if (size > kMaximumRasterBytes || TIFFTileSize64(tiff) != size) return false;
  const std::shared_ptr<std::uint8_t> tile = allocateSamples(size);

  for (std::uint32_t top = 0; top < layout.height; top += std::min(tileHeight, layout.height - top)) {
    const std::uint32_t rows = std::min(tileHeight, layout.height - top);
    for (std::uint32_t left = 0; left < layout.width; left += std::min(tileWidth, layout.width - left)) {
      const std::uint32_t index = TIFFComputeTile(tiff, left, top, 0, plane.sample);
      const auto wanted = static_cast<tmsize_t>(size);
      if (TIFFReadEncodedTile(tiff, index, tile.get(), wanted) != wanted) return false;
      const std::size_t bytes = std::min(tileWidth, layout.width - left) * plane.pixelBytes;
      for (std::uint32_t row = 0; row < rows; ++row) {
        std::memcpy(plane.firstRow + (top + row) * plane.rowBytes + left * plane.pixelBytes,
                    tile.get() + row * tileRowBytes, bytes);
      }
    }
  }
  return true;
}

/// Whether the file can hold one strip or tile of samples that are stored without compression: refuses a small file
/// that claims a huge picture before memory is taken for it.
bool canHoldItsChunks(const TiffFile& file) {
  if (file.fieldOrDefault<std::uint16_t>(TIFFTAG_COMPRESSION) != COMPRESSION_NONE) return true;
  TIFF* const tiff = file.get();
  const std::uint64_t size = TIFFIsTiled(tiff) != 0 ? TIFFTileSize64(tiff) : TIFFStripSize64(tiff);
  return size != 0 && size <= file.size();
}

/// Min-is-white samples the other way round: the complement of a sample is the complement of each of its bytes.
void invertGrey(const Component& grey, std::uint8_t* firstSample, std::size_t sampleBytes) {
  for (std::uint32_t y = 0; y < grey.height; ++y) {
    std::uint8_t* const row = firstSample + y * grey.strideBytes;
    for (std::uint32_t x = 0; x < grey.width; ++x) {
      std::uint8_t* const sample = row + x * grey.stepBytes;
      for (std::size_t i = 0; i < sampleBytes; ++i) sample[i] = static_cast<std::uint8_t>(~sample[i]);
    }
  }
}

SampleModel sampleModel(ColorModel model) {
  switch (model) {
    case ColorModel::grey:
      return SampleModel::grey;
    case ColorModel::cmyk:
      return SampleModel::cmyk;
    case ColorModel::rgb:
      break;
  }
  return SampleModel::rgb;
}

Raster emptyRaster(const Layout& layout, int bits) {
  Raster raster;
  raster.width = layout.width;
  raster.height = layout.height;
  raster.bitsPerComponent = bits;
  raster.model = sampleModel(layout.model);
  raster.coding.fullRange = true;
  return raster;
}

std::optional<Raster> decodeExact(const TiffFile& file, const Layout& layout) {
  const std::size_t sampleBytes = layout.bits / 8U;
  std::vector<std::uint16_t> wanted;
  wanted.reserve(5);
  for (int i = 0; i < componentCount(layout.model); ++i) wanted.push_back(static_cast<std::uint16_t>(i));
  if (layout.alphaSample) wanted.push_back(*layout.alphaSample);

  const std::size_t pixelBytes = layout.separate ? sampleBytes : sampleBytes * layout.samples;
  const std::size_t rowBytes = layout.width * pixelBytes;
  const std::size_t planeBytes = rowBytes * layout.height;
  const std::size_t planeCount = layout.separate ? wanted.size() : 1;
  if (planeBytes > kMaximumRasterBytes / planeCount) return std::nullopt;
  const std::shared_ptr<std::uint8_t> memory = allocateSamples(planeBytes * planeCount);

  const auto read = TIFFIsTiled(file.get()) != 0 ? readTiles : readStrips;
  for (std::size_t i = 0; i < planeCount; ++i) {
    const Plane plane{layout.separate ? wanted[i] : std::uint16_t{0}, memory.get() + i * planeBytes, pixelBytes,
                      rowBytes};
    if (!read(file.get(), layout, plane)) return std::nullopt;
  }

  Raster raster = emptyRaster(layout, layout.bits);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    const std::size_t offset = layout.separate ? i * planeBytes : wanted[i] * sampleBytes;
    const Component component{memory.get() + offset, pixelBytes, rowBytes, layout.width, layout.height};
    if (wanted[i] == layout.alphaSample) {
      raster.alpha = component;
    } else {
      raster.components.push_back(component);
    }
  }
  if (layout.minIsWhite) invertGrey(raster.components.front(), memory.get(), sampleBytes);
  raster.premultiplied = layout.premultiplied;
  raster.owner = memory;
  return raster;
}

struct EndConversion {
  void operator()(TIFFRGBAImage* image) const { TIFFRGBAImageEnd(image); }
};

std::optional<Raster> decodeConverted(const TiffFile& file, const Layout& layout) {
  TIFFRGBAImage image{};
  std::array<char, 1024> message{};
  const int stopOnError = 1;
  if (TIFFRGBAImageBegin(&image, file.get(), stopOnError, message.data()) != 1) return std::nullopt;
  const std::unique_ptr<TIFFRGBAImage, EndConversion> end(&image);
  // Rows come in the order of the file when the wanted orientation is the one that the image says it has.
  image.orientation = ORIENTATION_TOPLEFT;
  image.req_orientation = ORIENTATION_TOPLEFT;
  const std::size_t pixelCount = std::size_t{layout.width} * layout.height;
  const auto memory = std::make_shared_for_overwrite<std::uint32_t[]>(pixelCount);
  if (TIFFRGBAImageGet(&image, memory.get(), layout.width, layout.height) != 1) return std::nullopt;

  // Each pixel is one number with red in its lowest byte and nothing but 255 in its highest.
  Raster raster = emptyRaster(layout, 8);
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(memory.get());
  for (std::size_t i = 0; i < static_cast<std::size_t>(componentCount(layout.model)); ++i) {
    const std::size_t offset = std::endian::native == std::endian::little ? i : 3 - i;
    raster.components.push_back({bytes + offset, 4, std::size_t{layout.width} * 4, layout.width, layout.height});
  }
  raster.owner = memory;
  return raster;
}

}  // namespace

Outcome<Raster> decodeDirectory(TiffFile& file, const Layout& layout) {
  if (layout.way == Way::none) return Refusal{"a layout that is not decoded"};
  if (!canHoldItsChunks(file)) return Refusal{"the file is shorter than an image of that size can be"};
  file.forgetDamage();
  auto raster = layout.way == Way::exact ? decodeExact(file, layout) : decodeConverted(file, layout);
  if (!raster || file.damaged()) return Refusal{"the image data is damaged or not complete"};
  return std::move(*raster);
}

}  // namespace quellor::tiff
