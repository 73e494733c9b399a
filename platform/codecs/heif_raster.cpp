#include "platform/codecs/heif_raster.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <utility>
#include <vector>

#include "platform/codecs/codec.h"

namespace quellor::heif {
namespace {

/// What an image without any signalling is taken for: sYCC (ISO/IEC 23000-22, 7.3.6.4).
constexpr Cicp kDefaultCoding = {2, 2, 6, true};

/// One component as the library holds it.
struct Plane {
  Component component;
  int bits = 0;
};

struct NclxDeleter {
  void operator()(heif_color_profile_nclx* profile) const { heif_nclx_color_profile_free(profile); }
};

std::optional<Cicp> cicpOfBitstream(const heif_image* image) {
  heif_color_profile_nclx* found = nullptr;
  if (heif_image_get_nclx_color_profile(image, &found).code != 0 || found == nullptr) return std::nullopt;
  const std::unique_ptr<heif_color_profile_nclx, NclxDeleter> profile(found);
  return Cicp{static_cast<std::uint16_t>(profile->color_primaries),
              static_cast<std::uint16_t>(profile->transfer_characteristics),
              static_cast<std::uint16_t>(profile->matrix_coefficients), profile->full_range_flag != 0};
}

std::size_t bytesPerSample(int bits) { return bits > 8 ? 2 : 1; }

std::optional<Plane> planeOf(const heif_image* image, heif_channel channel) {
  int stride = 0;
  const std::uint8_t* const bytes = heif_image_get_plane_readonly(image, channel, &stride);
  const int bits = heif_image_get_bits_per_pixel_range(image, channel);
  const int width = heif_image_get_width(image, channel), height = heif_image_get_height(image, channel);
  if (bytes == nullptr || stride <= 0 || bits < 1 || bits > 16 || width < 1 || height < 1) return std::nullopt;
  return Plane{{bytes, bytesPerSample(bits), static_cast<std::size_t>(stride), static_cast<std::uint32_t>(width),
                static_cast<std::uint32_t>(height)},
               bits};
}

/// Splits an interleaved plane of `count` samples a pixel; 16-bit ones must be in this machine's byte order.
std::vector<Plane> splitPlane(const heif_image* image, std::size_t count) {
  std::vector<Plane> planes;
  const auto whole = planeOf(image, heif_channel_interleaved);
  if (!whole) return planes;
  const std::size_t sampleBytes = bytesPerSample(whole->bits);
  for (std::size_t i = 0; i < count; ++i) {
    Plane plane = *whole;
    plane.component.firstSample += i * sampleBytes;
    plane.component.stepBytes = count * sampleBytes;
    planes.push_back(plane);
  }
  return planes;
}

std::vector<Plane> separatePlanes(const heif_image* image, std::initializer_list<heif_channel> channels) {
  std::vector<Plane> planes;
  for (const heif_channel channel : channels) {
    if (auto plane = planeOf(image, channel)) planes.push_back(*plane);
  }
  return planes;
}

/// The colour planes, and alpha last where the image has it.
std::vector<Plane> planesOf(const heif_image* image) {
  std::vector<Plane> planes;
  switch (heif_image_get_chroma_format(image)) {
    case heif_chroma_interleaved_RGB:
    case heif_chroma_interleaved_RRGGBB_LE:
      return splitPlane(image, 3);
    case heif_chroma_interleaved_RGBA:
    case heif_chroma_interleaved_RRGGBBAA_LE:
      return splitPlane(image, 4);
    default:
      break;
  }
  switch (heif_image_get_colorspace(image)) {
    case heif_colorspace_monochrome:
      return separatePlanes(image, {heif_channel_Y, heif_channel_Alpha});
    case heif_colorspace_YCbCr:
      return separatePlanes(image, {heif_channel_Y, heif_channel_Cb, heif_channel_Cr, heif_channel_Alpha});
    case heif_colorspace_RGB:
      return separatePlanes(image, {heif_channel_R, heif_channel_G, heif_channel_B, heif_channel_Alpha});
    default:
      return {};
  }
}

std::uint32_t sampleAt(const Component& component, int bits, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* const bytes = component.firstSample + y * component.strideBytes + x * component.stepBytes;
  if (bits <= 8) return *bytes;
  std::uint16_t sample = 0;
  std::memcpy(&sample, bytes, sizeof sample);
  return sample;
}

/// A copy of the plane with its range of values stretched to that of `bits`, which is more than it has.
std::pair<Component, std::shared_ptr<const void>> widened(const Plane& plane, int bits) {
  const Component& from = plane.component;
  const std::size_t sampleBytes = bytesPerSample(bits);
  const auto memory = std::make_shared<Bytes>(std::size_t{from.width} * from.height * sampleBytes);
  const std::uint32_t fromMaximum = (1u << plane.bits) - 1, toMaximum = (1u << bits) - 1;
  std::uint8_t* out = memory->data();
  for (std::uint32_t y = 0; y < from.height; ++y) {
    for (std::uint32_t x = 0; x < from.width; ++x, out += sampleBytes) {
      const std::uint32_t sample = std::min(sampleAt(from, plane.bits, x, y), fromMaximum);
      const auto stretched = static_cast<std::uint16_t>((sample * toMaximum + fromMaximum / 2) / fromMaximum);
      if (sampleBytes == 1)
        *out = static_cast<std::uint8_t>(stretched);
      else
        std::memcpy(out, &stretched, sizeof stretched);
    }
  }
  return {Component{memory->data(), sampleBytes, from.width * sampleBytes, from.width, from.height}, memory};
}

std::optional<SampleModel> modelOf(const heif_image* image) {
  switch (heif_image_get_colorspace(image)) {
    case heif_colorspace_monochrome:
      return SampleModel::grey;
    case heif_colorspace_YCbCr:
      return SampleModel::ycbcr;
    case heif_colorspace_RGB:
      return SampleModel::rgb;
    default:
      return std::nullopt;
  }
}

/// How many samples of a raster share one of a component, in one direction: no more than two in what is decoded here.
std::uint32_t factorOf(std::uint32_t whole, std::uint32_t part) { return part < whole ? 2 : 1; }

using Owners = std::vector<std::shared_ptr<const void>>;

}  // namespace

std::optional<Raster> rasterOf(ImagePointer image, const Signalling& signalling) {
  const auto model = modelOf(image.get());
  const std::vector<Plane> planes = planesOf(image.get());
  const std::size_t colorPlanes = model == SampleModel::grey ? 1 : 3;
  if (!model || planes.size() < colorPlanes) return std::nullopt;

  Raster raster;
  raster.width = planes.front().component.width;
  raster.height = planes.front().component.height;
  raster.model = *model;
  raster.coding = signalling.cicp ? *signalling.cicp : cicpOfBitstream(image.get()).value_or(kDefaultCoding);
  raster.premultiplied = signalling.premultiplied;
  raster.chromaSiting = signalling.chromaSiting;
  raster.bitsPerComponent = 8;
  for (const Plane& plane : planes) raster.bitsPerComponent = std::max(raster.bitsPerComponent, plane.bits);

  const auto owners = std::make_shared<Owners>();
  for (const Plane& plane : planes) {
    Component component = plane.component;
    if (plane.bits != raster.bitsPerComponent) {
      auto [wider, memory] = widened(plane, raster.bitsPerComponent);
      component = wider;
      owners->push_back(std::move(memory));
    }
    if (raster.components.size() < colorPlanes)
      raster.components.push_back(component);
    else
      raster.alpha = component;
  }
  owners->push_back(std::shared_ptr<const void>(
      image.release(), [](const void* kept) { heif_image_release(static_cast<const heif_image*>(kept)); }));
  raster.owner = owners;
  return raster;
}

void crop(Raster& raster, const Crop& part) {
  const auto cut = [&](Component& component) {
    const std::uint32_t across = factorOf(raster.width, component.width);
    const std::uint32_t down = factorOf(raster.height, component.height);
    const ChromaPhase phase{part.left % across, part.top % down};
    component.firstSample += part.top / down * component.strideBytes + part.left / across * component.stepBytes;
    component.width = (part.width + phase.columns + across - 1) / across;
    component.height = (part.height + phase.rows + down - 1) / down;
    return phase;
  };
  for (Component& component : raster.components) raster.chromaPhase = cut(component);
  if (raster.alpha) cut(*raster.alpha);
  raster.width = part.width;
  raster.height = part.height;
}

}  // namespace quellor::heif
