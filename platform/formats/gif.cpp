#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include <gif_lib.h>

#include "platform/formats/gif_records.h"
#include "platform/formats/image_format.h"
#include "platform/values/limits.h"
#include "platform/values/sample_memory.h"

namespace quellor {
namespace {

struct CloseGif {
  void operator()(GifFileType* gif) const {
    int error = 0;
    DGifCloseFile(gif, &error);
  }
};
using Gif = std::unique_ptr<GifFileType, CloseGif>;

int readBytes(GifFileType* gif, GifByteType* destination, int size) {
  ByteView& rest = *static_cast<ByteView*>(gif->UserData);
  const std::size_t taken = std::min(rest.size(), static_cast<std::size_t>(std::max(size, 0)));
  if (taken != 0) std::memcpy(destination, rest.data(), taken);
  rest = rest.subspan(taken);
  return static_cast<int>(taken);
}

/// Opens the file that `rest` stands for at the image data of its first frame. Null when that cannot be reached.
Gif openAtFirstFrame(ByteView& rest) {
  int error = 0;
  Gif gif(DGifOpen(&rest, readBytes, &error));
  while (gif != nullptr) {
    GifRecordType type = UNDEFINED_RECORD_TYPE;
    if (DGifGetRecordType(gif.get(), &type) != GIF_OK) return nullptr;
    if (type == IMAGE_DESC_RECORD_TYPE) return DGifGetImageDesc(gif.get()) == GIF_OK ? std::move(gif) : nullptr;
    if (type != EXTENSION_RECORD_TYPE) return nullptr;
    int label = 0;
    GifByteType* block = nullptr;
    if (DGifGetExtension(gif.get(), &label, &block) != GIF_OK) return nullptr;
    while (block != nullptr) {
      if (DGifGetExtensionNext(gif.get(), &block) != GIF_OK) return nullptr;
    }
  }
  return nullptr;
}

bool coversScreen(const gif::Records& records) {
  return records.firstFrame.width == records.width && records.firstFrame.height == records.height;
}

bool hasAlpha(const gif::Records& records) {
  return records.firstFrame.transparentIndex.has_value() || !coversScreen(records);
}

/// Puts one row of indexes on the canvas. False when an index has no colour.
///
/// The transparent index needs none: it leaves the canvas as it is (GIF89a, 23).
bool paintRow(const gif::Frame& frame, const std::vector<GifPixelType>& indexes, std::uint8_t* pixel,
              std::size_t pixelBytes) {
  for (const GifPixelType index : indexes) {
    if (frame.transparentIndex == index) {
      std::fill_n(pixel, pixelBytes, std::uint8_t{0});
    } else {
      const std::size_t offset = std::size_t{index} * 3;
      if (offset >= frame.colorMap.size()) return false;
      std::memcpy(pixel, frame.colorMap.data() + offset, 3);
      if (pixelBytes == 4) pixel[3] = 255;
    }
    pixel += pixelBytes;
  }
  return true;
}

struct Pass {
  std::uint32_t firstRow;
  std::uint32_t step;
};

/// The order of the rows (GIF89a, appendix E).
std::vector<Pass> passesOf(const gif::Frame& frame) {
  if (!frame.interlaced) return {{0, 1}};
  return {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
}

}  // namespace

Outcome<Raster> formats::decodeGif(ByteView file) {
  const auto records = gif::readRecords(file);
  if (!records || std::uint64_t{records->width} * records->height > kMaximumPixels)
    return Refusal{"the records of the file are broken"};
  const gif::Frame& frame = records->firstFrame;
  ByteView rest = file;
  const Gif gif = openAtFirstFrame(rest);
  if (gif == nullptr || gif->Image.Width != frame.width || gif->Image.Height != frame.height)
    return Refusal{"its image data does not begin where it should"};

  const std::size_t pixelBytes = hasAlpha(*records) ? 4 : 3;
  const std::size_t stride = records->width * pixelBytes;
  const std::shared_ptr<std::uint8_t> memory = allocateSamples(stride * records->height);
  if (!coversScreen(*records)) std::fill_n(memory.get(), stride * records->height, std::uint8_t{0});

  std::vector<GifPixelType> indexes(frame.width);
  for (const Pass& pass : passesOf(frame)) {
    for (std::uint32_t row = pass.firstRow; row < frame.height; row += pass.step) {
      if (DGifGetLine(gif.get(), indexes.data(), frame.width) != GIF_OK)
        return Refusal{"a row of the image does not decode"};
      std::uint8_t* const start = memory.get() + (frame.top + row) * stride + frame.left * pixelBytes;
      if (!paintRow(frame, indexes, start, pixelBytes)) return Refusal{"a pixel has no color in the color map"};
    }
  }

  Raster raster;
  raster.width = records->width;
  raster.height = records->height;
  const auto component = [&](std::size_t i) {
    return Component{memory.get() + i, pixelBytes, stride, raster.width, raster.height};
  };
  raster.components = {component(0), component(1), component(2)};
  if (pixelBytes == 4) raster.alpha = component(3);
  raster.coding.fullRange = true;
  raster.owner = memory;
  return raster;
}

Outcome<ImageFacts> formats::describeGif(ByteView file) {
  const auto records = gif::readRecords(file);
  if (!records || std::uint64_t{records->width} * records->height > kMaximumPixels)
    return Refusal{"the records of the file are broken"};
  ImageFacts facts;
  facts.imageCount = records->frameCount;
  facts.width = records->width;
  facts.height = records->height;
  facts.hasAlpha = hasAlpha(*records);
  facts.metadata.xmp = records->xmp;
  facts.formatDictionary = FormatDictionary::gif;
  return facts;
}

}  // namespace quellor
