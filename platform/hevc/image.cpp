#include "platform/hevc/image.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace quellor::hevc {
namespace {

constexpr heif_error kUnsupported = {heif_error_Unsupported_feature, heif_suberror_Unsupported_codec,
                                     "The HEVC picture has an unsupported sample format"};
constexpr heif_error kBadWindow = {heif_error_Invalid_input, heif_suberror_Invalid_image_size,
                                   "The HEVC picture has no sample in its conformance window"};
constexpr heif_error kNoMemory = {heif_error_Memory_allocation_error, heif_suberror_Unspecified,
                                  "There is no memory for the HEVC picture"};

struct ImageDeleter {
  void operator()(heif_image* image) const { heif_image_release(image); }
};
using Image = std::unique_ptr<heif_image, ImageDeleter>;

struct NclxDeleter {
  void operator()(heif_color_profile_nclx* nclx) const { heif_nclx_color_profile_free(nclx); }
};
using Nclx = std::unique_ptr<heif_color_profile_nclx, NclxDeleter>;

struct Window {
  int left;
  int top;
  int width;
  int height;
};

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

heif_chroma chromaOf(const AVPixFmtDescriptor& format) {
  if (format.nb_components == 1) {
    return heif_chroma_monochrome;
  }
  return format.log2_chroma_h == 1 ? heif_chroma_420 : format.log2_chroma_w == 1 ? heif_chroma_422 : heif_chroma_444;
}

bool copyPlane(const AVFrame& frame, const AVPixFmtDescriptor& format, int plane, const Window& window,
               heif_image* image) {
  constexpr std::array<heif_channel, 3> kChannels = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
  const heif_channel channel = kChannels[static_cast<std::size_t>(plane)];
  const int shiftX = plane == 0 ? 0 : format.log2_chroma_w;
  const int shiftY = plane == 0 ? 0 : format.log2_chroma_h;
  const int width = (window.width + (1 << shiftX) - 1) >> shiftX;
  const int height = (window.height + (1 << shiftY) - 1) >> shiftY;
  if (heif_image_add_plane(image, channel, width, height, format.comp[0].depth).code != heif_error_Ok) {
    return false;
  }
  int stride = 0;
  std::uint8_t* to = heif_image_get_plane(image, channel, &stride);
  const int step = format.comp[0].step;
  const std::uint8_t* from = frame.data[plane] + std::ptrdiff_t{window.top >> shiftY} * frame.linesize[plane] +
                             std::ptrdiff_t{window.left >> shiftX} * step;
  const std::size_t rowBytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(step);
  for (int row = 0; row < height; ++row) {
    std::memcpy(to + std::ptrdiff_t{row} * stride, from + std::ptrdiff_t{row} * frame.linesize[plane], rowBytes);
  }
  return true;
}

bool setColour(const AVFrame& frame, heif_image* image) {
  const Nclx nclx(heif_nclx_color_profile_alloc());
  if (!nclx) {
    return false;
  }
  // Values that libheif does not know become "unspecified".
  heif_nclx_color_profile_set_color_primaries(nclx.get(), static_cast<std::uint16_t>(frame.color_primaries));
  heif_nclx_color_profile_set_transfer_characteristics(nclx.get(), static_cast<std::uint16_t>(frame.color_trc));
  heif_nclx_color_profile_set_matrix_coefficients(nclx.get(), static_cast<std::uint16_t>(frame.colorspace));
  nclx->full_range_flag = frame.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
  return heif_image_set_nclx_color_profile(image, nclx.get()).code == heif_error_Ok;
}

}  // namespace

heif_error makeImage(const AVFrame& frame, heif_image** result) {
  *result = nullptr;
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  if (format == nullptr || !isSupported(*format)) {
    return kUnsupported;
  }
  const std::size_t cropX = frame.crop_left + frame.crop_right;
  const std::size_t cropY = frame.crop_top + frame.crop_bottom;
  if (frame.width <= 0 || frame.height <= 0 || cropX >= static_cast<std::size_t>(frame.width) ||
      cropY >= static_cast<std::size_t>(frame.height)) {
    return kBadWindow;
  }
  const Window window = {static_cast<int>(frame.crop_left), static_cast<int>(frame.crop_top),
                         frame.width - static_cast<int>(cropX), frame.height - static_cast<int>(cropY)};
  const heif_chroma chroma = chromaOf(*format);
  const heif_colorspace space = chroma == heif_chroma_monochrome ? heif_colorspace_monochrome : heif_colorspace_YCbCr;
  heif_image* created = nullptr;
  if (heif_image_create(window.width, window.height, space, chroma, &created).code != heif_error_Ok) {
    return kNoMemory;
  }
  Image image(created);
  for (int plane = 0; plane < format->nb_components; ++plane) {
    if (!copyPlane(frame, *format, plane, window, image.get())) {
      return kNoMemory;
    }
  }
  if (!setColour(frame, image.get())) {
    return kNoMemory;
  }
  *result = image.release();
  return {heif_error_Ok, heif_suberror_Unspecified, "Success"};
}

}  // namespace quellor::hevc
