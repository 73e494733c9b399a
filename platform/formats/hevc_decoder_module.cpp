#include "platform/formats/hevc_decoder_module.h"

#include <cstdint>

#include "platform/formats/hevc_frame.h"

extern "C" {
#include <libavcodec/defs.h>
#include <libavutil/log.h>
#include <libavutil/pixdesc.h>
}

namespace quellor::hevc {
namespace {

/// The planar formats without alpha, and only those, have a component for each plane.
bool isSupported(const AVPixFmtDescriptor& format) {
  constexpr std::uint64_t kStrange = AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
                                     AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_FLOAT;
  const AVComponentDescriptor& first = format.comp[0];
  return (format.flags & kStrange) == 0 && (format.nb_components == 1 || format.nb_components == 3) &&
         (format.nb_components == 1 || (format.flags & AV_PIX_FMT_FLAG_PLANAR) != 0) && first.shift == 0 &&
         first.depth >= 8 && first.depth <= 16 && first.step == (first.depth > 8 ? 2 : 1) &&
         format.log2_chroma_w <= 1 && format.log2_chroma_h <= format.log2_chroma_w;
}

unsigned chromaFormatOf(const AVPixFmtDescriptor& format) {
  if (format.nb_components == 1) return 0;
  return format.log2_chroma_h == 1 ? 1 : format.log2_chroma_w == 1 ? 2 : 3;
}

HevcPicture::Plane planeOf(const AVFrame& frame, const AVPixFmtDescriptor& format, int plane) {
  const int shiftX = plane == 0 ? 0 : format.log2_chroma_w, shiftY = plane == 0 ? 0 : format.log2_chroma_h;
  const auto stride = static_cast<std::size_t>(frame.linesize[plane]);
  const std::size_t step = static_cast<std::size_t>(format.comp[0].step);
  return {frame.data[plane] + (frame.crop_top >> shiftY) * stride + (frame.crop_left >> shiftX) * step, stride};
}

/// Shows what the conformance window leaves of the frame.
bool describe(const AVFrame& frame, HevcPicture& picture) {
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  if (format == nullptr || !isSupported(*format) || frame.width <= 0 || frame.height <= 0) return false;
  const auto width = static_cast<std::size_t>(frame.width), height = static_cast<std::size_t>(frame.height);
  const std::size_t cropX = frame.crop_left + frame.crop_right, cropY = frame.crop_top + frame.crop_bottom;
  if (cropX >= width || cropY >= height) return false;
  picture.width = static_cast<std::uint32_t>(width - cropX);
  picture.height = static_cast<std::uint32_t>(height - cropY);
  picture.bits = format->comp[0].depth;
  picture.chromaFormat = chromaFormatOf(*format);
  for (int plane = 0; plane < format->nb_components; ++plane) {
    if (frame.linesize[plane] <= 0) return false;
    picture.planes[plane] = planeOf(frame, *format, plane);
  }
  picture.colorPrimaries = static_cast<std::uint16_t>(frame.color_primaries);
  picture.transferCharacteristics = static_cast<std::uint16_t>(frame.color_trc);
  picture.matrixCoefficients = static_cast<std::uint16_t>(frame.colorspace);
  picture.fullRange = frame.color_range == AVCOL_RANGE_JPEG;
  return true;
}

bool decode(const std::uint8_t* stream, std::size_t size, HevcDecodingMeans means, HevcPicture* picture) noexcept try {
  Frame frame = decodePicture({stream, size}, means);
  HevcPicture described;
  if (!frame || !describe(*frame, described)) return false;
  described.frame = frame.release();
  *picture = described;
  return true;
} catch (...) {
  return false;
}

void release(void* frame) noexcept { FrameDeleter()(static_cast<AVFrame*>(frame)); }

constexpr HevcDecoder kDecoder = {kHevcDecoderVersion, AV_INPUT_BUFFER_PADDING_SIZE, decode, release};

}  // namespace
}  // namespace quellor::hevc

extern "C" __attribute__((visibility("default"))) const quellor::HevcDecoder* quellorHevcDecoder() {
  // Process-wide, like the library's log itself: this program answers on standard output and reports no details.
  av_log_set_level(AV_LOG_QUIET);
  return &quellor::hevc::kDecoder;
}
