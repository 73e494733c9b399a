#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/formats/image_format.h"
#include "platform/formats/tiff_directories.h"
#include "platform/formats/tiff_file.h"
#include "platform/formats/tiff_layout.h"
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

/// The part of a tile that lies inside the picture: its edge tiles reach beyond.
struct TilePart {
  std::uint32_t left, top, columns, rows;
};

void copyTile(const std::uint8_t* tile, std::size_t tileRowBytes, const TilePart& part, const Plane& plane) {
  for (std::uint32_t row = 0; row < part.rows; ++row) {
    std::memcpy(plane.firstRow + (part.top + row) * plane.rowBytes + part.left * plane.pixelBytes,
                tile + row * tileRowBytes, part.columns * plane.pixelBytes);
  }
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

  TilePart part{};
  for (; part.top < layout.height; part.top += part.rows) {
    part.rows = std::min(tileHeight, layout.height - part.top);
    for (part.left = 0; part.left < layout.width; part.left += part.columns) {
      part.columns = std::min(tileWidth, layout.width - part.left);
      const std::uint32_t index = TIFFComputeTile(tiff, part.left, part.top, 0, plane.sample);
      const auto wanted = static_cast<tmsize_t>(size);
      if (TIFFReadEncodedTile(tiff, index, tile.get(), wanted) != wanted) return false;
      copyTile(tile.get(), tileRowBytes, part, plane);
    }
  }
  return true;
}

/// Whether the file can hold the image, that is, one strip or tile of samples that are stored without compression:
/// asked before memory is taken for it. Compression has no such floor.
bool canHoldImage(const TiffFile& file) {
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
}  // namespace quellor::tiff

namespace quellor::formats {

using namespace tiff;

Outcome<Raster> decodeTiff(ByteView file) {
  const auto directories = Directories::read(file);
  if (!directories) return directories.refusal();
  TiffFile opened(file);
  const auto layout = layoutOf(opened, *directories);
  if (!layout) return layout.refusal();
  if (!layout->decoding) return layout->decoding.refusal();
  if (!canHoldImage(opened)) return Refusal{"the file is shorter than an image of that size can be"};
  opened.clearErrors();
  const bool exact = *layout->decoding == Decoding::exact;
  auto raster = exact ? decodeExact(opened, *layout) : decodeConverted(opened, *layout);
  if (!raster || opened.hasErrors()) return Refusal{"the image data is damaged or not complete"};
  return std::move(*raster);
}

}  // namespace quellor::formats
