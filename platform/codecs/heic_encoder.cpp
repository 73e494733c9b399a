#include "platform/codecs/heic_encoder.h"

#include <array>
#include <cstring>
#include <exception>
#include <memory>

#include "platform/codecs/encoder_threads.h"
#include "platform/codecs/heic_encoder_settings.h"
#include "platform/codecs/heif_library.h"
#include "platform/module.h"

namespace quellor {
namespace {

using heif::ContextPointer;
using heif::HandlePointer;
using heif::ImagePointer;

struct EncoderDeleter {
  void operator()(heif_encoder* encoder) const { heif_encoder_release(encoder); }
};
struct OptionsDeleter {
  void operator()(heif_encoding_options* options) const { heif_encoding_options_free(options); }
};
struct NclxDeleter {
  void operator()(heif_color_profile_nclx* profile) const { heif_nclx_color_profile_free(profile); }
};
using EncoderPointer = std::unique_ptr<heif_encoder, EncoderDeleter>;
using OptionsPointer = std::unique_ptr<heif_encoding_options, OptionsDeleter>;
using NclxPointer = std::unique_ptr<heif_color_profile_nclx, NclxDeleter>;

bool succeeded(heif_error error) { return error.code == heif_error_Ok; }

/// Copies a planar component into a plane of the library's image.
bool copyPlane(heif_image* image, heif_channel channel, const Component& from, int bits) {
  const std::size_t sampleBytes = bits > 8 ? 2 : 1;
  if (from.stepBytes != sampleBytes) return false;
  const int width = static_cast<int>(from.width), height = static_cast<int>(from.height);
  if (!succeeded(heif_image_add_plane(image, channel, width, height, bits))) return false;
  int stride = 0;
  std::uint8_t* const to = heif_image_get_plane(image, channel, &stride);
  if (to == nullptr || stride <= 0) return false;
  for (std::size_t y = 0; y < from.height; ++y) {
    std::memcpy(to + y * static_cast<std::size_t>(stride), from.firstSample + y * from.strideBytes,
                from.width * sampleBytes);
  }
  return true;
}

ImagePointer imageOf(const Raster& raster) {
  constexpr std::array channels = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
  const bool grey = raster.model == SampleModel::grey;
  if (raster.components.size() != (grey ? 1 : channels.size())) return nullptr;
  heif_image* created = nullptr;
  if (!succeeded(heif_image_create(static_cast<int>(raster.width), static_cast<int>(raster.height),
                                   grey ? heif_colorspace_monochrome : heif_colorspace_YCbCr,
                                   grey ? heif_chroma_monochrome : heif_chroma_420, &created))) {
    return nullptr;
  }
  ImagePointer image(created);
  for (std::size_t i = 0; i < raster.components.size(); ++i) {
    if (!copyPlane(image.get(), channels[i], raster.components[i], raster.bitsPerComponent)) return nullptr;
  }
  if (raster.alpha && !copyPlane(image.get(), heif_channel_Alpha, *raster.alpha, raster.bitsPerComponent)) {
    return nullptr;
  }
  heif_image_set_premultiplied_alpha(image.get(), raster.alpha && raster.premultiplied ? 1 : 0);
  return image;
}

NclxPointer nclxOf(const Cicp& coding) {
  NclxPointer profile(heif_nclx_color_profile_alloc());
  if (!profile) return nullptr;
  heif_nclx_color_profile_set_color_primaries(profile.get(), coding.colourPrimaries);
  heif_nclx_color_profile_set_transfer_characteristics(profile.get(), coding.transferCharacteristics);
  heif_nclx_color_profile_set_matrix_coefficients(profile.get(), coding.matrixCoefficients);
  profile->full_range_flag = coding.fullRange ? 1 : 0;
  return profile;
}

EncoderPointer encoderFor(heif_context* context, const EncoderSettings& settings) {
  heif_encoder* found = nullptr;
  if (!succeeded(heif_context_get_encoder_for_format(context, heif_compression_HEVC, &found))) return nullptr;
  EncoderPointer encoder(found);
  for (const auto& [name, value] : settings) {
    if (!succeeded(heif_encoder_set_parameter_string(encoder.get(), name.c_str(), value.c_str()))) return nullptr;
  }
  return encoder;
}

/// Collects what the library writes.
heif_error append(heif_context*, const void* data, std::size_t size, void* target) {
  try {
    auto& bytes = *static_cast<Bytes*>(target);
    const auto* const first = static_cast<const std::uint8_t*>(data);
    bytes.insert(bytes.end(), first, first + size);
    return {heif_error_Ok, heif_suberror_Unspecified, "Success"};
  } catch (const std::exception&) {
    return {heif_error_Memory_allocation_error, heif_suberror_Unspecified, "No memory for the encoded file"};
  }
}

/// The settings for a raster as far as threads can be started, or nothing where none can.
std::optional<EncoderSettings> affordableSettings(const Raster& raster, double quality) {
  const EncoderThreads threads = encoderThreads();
  if (threads == EncoderThreads::none) return std::nullopt;
  EncoderSettings settings = encoderSettingsFor(raster, quality);
  if (threads == EncoderThreads::one) settings.emplace_back("x265:pools", "none");
  return settings;
}

std::optional<Bytes> encodeWithLibrary(const Raster& raster, double quality) {
  heif::startLibraryForEncoding();
  const ContextPointer context(heif_context_alloc());
  const ImagePointer image = imageOf(raster);
  const NclxPointer nclx = nclxOf(raster.coding);
  const OptionsPointer options(heif_encoding_options_alloc());
  if (!context || !image || !nclx || !options) return std::nullopt;
  const auto settings = affordableSettings(raster, quality);
  if (!settings) return std::nullopt;
  const EncoderPointer encoder = encoderFor(context.get(), *settings);
  if (!encoder || !succeeded(heif_image_set_nclx_color_profile(image.get(), nclx.get()))) return std::nullopt;
  options->save_alpha_channel = 1;
  options->output_nclx_profile = nclx.get();
  options->macOS_compatibility_workaround_no_nclx_profile = 0;

  heif_image_handle* handle = nullptr;
  if (!succeeded(heif_context_encode_image(context.get(), image.get(), encoder.get(), options.get(), &handle))) {
    return std::nullopt;
  }
  const HandlePointer encoded(handle);
  heif_writer writer{1, append};
  Bytes file;
  if (!succeeded(heif_context_write(context.get(), &writer, &file))) return std::nullopt;
  return file;
}

std::optional<Bytes> encode(const Raster& raster, double quality) noexcept {
  try {
    return encodeWithLibrary(raster, quality);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

constexpr HeicEncoder kEncoder = {encode};

}  // namespace

}  // namespace quellor

QUELLOR_MODULE_ENTRY const quellor::HeicEncoder* quellorHeicEncoder() { return &quellor::kEncoder; }
