#include <algorithm>
#include <cstdint>
#include <memory>

#include <webp/decode.h>
#include <webp/demux.h>

#include "platform/formats/image_format.h"
#include "platform/metadata/exif_prefix.h"
#include "platform/values/big_endian.h"
#include "platform/values/limits.h"
#include "platform/values/sample_memory.h"

namespace quellor {
namespace {

struct DeleteDemuxer {
  void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
};
using Demuxer = std::unique_ptr<WebPDemuxer, DeleteDemuxer>;

/// Null when the container is broken or ends early. Refers to `file`.
Demuxer openContainer(ByteView file) {
  // The library would also take a bitstream without its container.
  if (file.size() < 12 || !startsWith(file, "RIFF") || !startsWith(file.subspan(8), "WEBP")) return nullptr;
  const WebPData data{file.data(), file.size()};
  return Demuxer(WebPDemux(&data));
}

struct FirstFrame {
  std::uint32_t canvasWidth = 0;
  std::uint32_t canvasHeight = 0;
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  bool lossless = false;
  bool alphaCoded = false;  // whether the frame itself has alpha
  ByteView data;            // chunks of the frame, inside the file

  [[nodiscard]] bool coversCanvas() const { return width == canvasWidth && height == canvasHeight; }

  /// What a frame leaves uncovered is transparent; the background colour of an animation is only a hint (RFC 9649,
  /// 2.7.1.1).
  [[nodiscard]] bool hasAlpha() const { return alphaCoded || !coversCanvas(); }
};

Outcome<FirstFrame> firstFrameOf(const WebPDemuxer* demuxer) {
  FirstFrame frame;
  frame.canvasWidth = WebPDemuxGetI(demuxer, WEBP_FF_CANVAS_WIDTH);
  frame.canvasHeight = WebPDemuxGetI(demuxer, WEBP_FF_CANVAS_HEIGHT);
  if (std::uint64_t{frame.canvasWidth} * frame.canvasHeight > kMaximumPixels) return Refusal{"the image is too large"};

  WebPIterator iterator{};
  if (WebPDemuxGetFrame(demuxer, 1, &iterator) == 0) return Refusal{"there is no frame"};
  frame.data = {iterator.fragment.bytes, iterator.fragment.size};
  frame.left = static_cast<std::uint32_t>(iterator.x_offset);
  frame.top = static_cast<std::uint32_t>(iterator.y_offset);
  frame.width = static_cast<std::uint32_t>(iterator.width);
  frame.height = static_cast<std::uint32_t>(iterator.height);
  frame.alphaCoded = iterator.has_alpha != 0;
  const bool complete = iterator.complete != 0;
  WebPDemuxReleaseIterator(&iterator);

  WebPBitstreamFeatures features{};
  if (!complete || WebPGetFeatures(frame.data.data(), frame.data.size(), &features) != VP8_STATUS_OK) {
    return Refusal{"the first frame's header is broken or the frame cut short"};
  }
  constexpr int kLosslessFormat = 2;
  frame.lossless = features.format == kLosslessFormat;
  const bool agrees = static_cast<std::uint32_t>(features.width) == frame.width &&
                      static_cast<std::uint32_t>(features.height) == frame.height;
  const bool fits = frame.left <= frame.canvasWidth && frame.top <= frame.canvasHeight &&
                    frame.width <= frame.canvasWidth - frame.left && frame.height <= frame.canvasHeight - frame.top;
  if (!agrees || frame.width == 0 || frame.height == 0) return Refusal{"the first frame has another size than it says"};
  if (!fits) return Refusal{"the first frame leaves the canvas"};
  return frame;
}

std::optional<Bytes> chunk(const WebPDemuxer* demuxer, const char* fourCc) {
  WebPChunkIterator iterator{};
  if (WebPDemuxGetChunk(demuxer, fourCc, 1, &iterator) == 0) return std::nullopt;
  const ByteView view{iterator.chunk.bytes, iterator.chunk.size};
  WebPDemuxReleaseChunkIterator(&iterator);
  if (view.empty()) return std::nullopt;
  return copyOf(view);
}

std::optional<Bytes> exifBlock(const WebPDemuxer* demuxer) {
  const std::optional<Bytes> stored = chunk(demuxer, "EXIF");
  const auto block = stored ? metadata::exifBlockIn(*stored) : std::nullopt;
  return block ? std::optional(copyOf(*block)) : std::nullopt;
}

bool decodeInto(WebPDecoderConfig& config, const FirstFrame& frame) {
  config.output.is_external_memory = 1;
  config.options.use_threads = 1;
  return WebPDecode(frame.data.data(), frame.data.size(), &config) == VP8_STATUS_OK;
}

Raster emptyRaster(const FirstFrame& frame, SampleModel model) {
  Raster raster;
  raster.width = frame.canvasWidth;
  raster.height = frame.canvasHeight;
  raster.model = model;
  return raster;
}

/// A lossy frame that covers the canvas: its planes as they are coded, 4:2:0, one behind the other.
Outcome<Raster> decodePlanes(const FirstFrame& frame, WebPDecoderConfig& config) {
  const std::uint32_t chromaWidth = (frame.width + 1) / 2;
  const std::uint32_t chromaHeight = (frame.height + 1) / 2;
  const std::size_t lumaStride = alignedUp(frame.width);
  const std::size_t chromaStride = alignedUp(chromaWidth);
  const std::size_t lumaSize = lumaStride * frame.height;
  const std::size_t chromaSize = chromaStride * chromaHeight;
  const std::size_t alphaSize = frame.alphaCoded ? lumaSize : 0;
  const std::shared_ptr<std::uint8_t> memory = allocateSamples(lumaSize + 2 * chromaSize + alphaSize);

  WebPYUVABuffer& planes = config.output.u.YUVA;
  planes.y = memory.get();
  planes.u = planes.y + lumaSize;
  planes.v = planes.u + chromaSize;
  planes.y_stride = static_cast<int>(lumaStride);
  planes.u_stride = planes.v_stride = static_cast<int>(chromaStride);
  planes.y_size = lumaSize;
  planes.u_size = planes.v_size = chromaSize;
  if (frame.alphaCoded) {
    planes.a = planes.v + chromaSize;
    planes.a_stride = planes.y_stride;
    planes.a_size = alphaSize;
  }
  config.output.colorspace = frame.alphaCoded ? MODE_YUVA : MODE_YUV;
  if (!decodeInto(config, frame)) return Refusal{"the image data is damaged or not complete"};

  Raster raster = emptyRaster(frame, SampleModel::ycbcr);
  raster.components = {{planes.y, 1, lumaStride, frame.width, frame.height},
                       {planes.u, 1, chromaStride, chromaWidth, chromaHeight},
                       {planes.v, 1, chromaStride, chromaWidth, chromaHeight}};
  if (frame.alphaCoded) raster.alpha = Component{planes.a, 1, lumaStride, frame.width, frame.height};
  raster.coding.matrixCoefficients = kBt601Matrix;  // the YCbCr of VP8 (RFC 6386, 9.2)
  raster.chromaSiting = ChromaSiting::centre;
  raster.coding.fullRange = false;
  raster.owner = memory;
  return raster;
}

/// A lossless frame, or one that leaves a part of its canvas transparent: RGB or RGBA, colour independent of alpha.
Outcome<Raster> decodePixels(const FirstFrame& frame, WebPDecoderConfig& config) {
  const bool hasAlpha = frame.hasAlpha();
  const std::size_t pixelBytes = hasAlpha ? 4 : 3;
  const std::size_t stride = frame.canvasWidth * pixelBytes;
  const std::size_t size = stride * frame.canvasHeight;
  const std::shared_ptr<std::uint8_t> memory = allocateSamples(size);
  if (!frame.coversCanvas()) std::fill_n(memory.get(), size, std::uint8_t{0});

  WebPRGBABuffer& pixels = config.output.u.RGBA;
  const std::size_t offset = frame.top * stride + frame.left * pixelBytes;
  pixels.rgba = memory.get() + offset;
  pixels.stride = static_cast<int>(stride);  // of a canvas that is 2^24 wide at most
  pixels.size = size - offset;
  config.output.colorspace = hasAlpha ? MODE_RGBA : MODE_RGB;
  if (!decodeInto(config, frame)) return Refusal{"the image data is damaged or not complete"};

  Raster raster = emptyRaster(frame, SampleModel::rgb);
  const auto component = [&](std::size_t i) {
    return Component{memory.get() + i, pixelBytes, stride, frame.canvasWidth, frame.canvasHeight};
  };
  raster.components = {component(0), component(1), component(2)};
  if (hasAlpha) raster.alpha = component(3);
  raster.coding.fullRange = true;
  raster.owner = memory;
  return raster;
}

}  // namespace

Outcome<ImageFacts> formats::describeWebp(ByteView file) {
  const Demuxer demuxer = openContainer(file);
  if (demuxer == nullptr) return Refusal{"the container is broken or ends early"};
  const auto frame = firstFrameOf(demuxer.get());
  if (!frame) return frame.refusal();

  ImageFacts facts;
  facts.imageCount = WebPDemuxGetI(demuxer.get(), WEBP_FF_FRAME_COUNT);
  facts.width = frame->canvasWidth;
  facts.height = frame->canvasHeight;
  facts.hasAlpha = frame->hasAlpha();
  facts.iccProfile = chunk(demuxer.get(), "ICCP");
  facts.metadata.exif = exifBlock(demuxer.get());
  facts.metadata.xmp = chunk(demuxer.get(), "XMP ");
  return facts;
}

Outcome<Raster> formats::decodeWebp(ByteView file) {
  const Demuxer demuxer = openContainer(file);
  if (demuxer == nullptr) return Refusal{"the container is broken or ends early"};
  const auto frame = firstFrameOf(demuxer.get());
  WebPDecoderConfig config{};
  if (!frame) return frame.refusal();
  if (WebPInitDecoderConfig(&config) == 0) return Refusal{"another version of the library than it was built for"};
  return frame->lossless || !frame->coversCanvas() ? decodePixels(*frame, config) : decodePlanes(*frame, config);
}

}  // namespace quellor
