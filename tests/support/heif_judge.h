#pragma once
#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include <libheif/heif.h>

#include "platform/image.h"

/// What the HEIF library makes of a file by itself, with its own decoders: for comparison. Needs the library.
namespace quellor::test_support {

template <auto release>
struct HeifReleaser {
  template <typename T>
  void operator()(T* handle) const {
    release(handle);
  }
};
using HeifImage = std::shared_ptr<heif_image>;
using HeifContext = std::unique_ptr<heif_context, HeifReleaser<heif_context_free>>;
using HeifHandle = std::unique_ptr<heif_image_handle, HeifReleaser<heif_image_handle_release>>;
using HeifOptions = std::unique_ptr<heif_decoding_options, HeifReleaser<heif_decoding_options_free>>;
using HeifNclx = std::unique_ptr<heif_color_profile_nclx, HeifReleaser<heif_nclx_color_profile_free>>;

/// The primary image of a file that the library can read, or another one of its images.
class HeifJudge {
 public:
  explicit HeifJudge(const std::string& path, std::optional<heif_item_id> item = std::nullopt)
      : context_(heif_context_alloc()) {
    heif_image_handle* handle = nullptr;
    if (heif_context_read_from_file(context_.get(), path.c_str(), nullptr).code != 0) return;
    const heif_error error = item ? heif_context_get_image_handle(context_.get(), *item, &handle)
                                  : heif_context_get_primary_image_handle(context_.get(), &handle);
    if (error.code == 0) handle_.reset(handle);
  }

  /// Null where the library does not decode the image.
  [[nodiscard]] HeifImage decode(heif_colorspace space, heif_chroma chroma,
                                 const heif_decoding_options* options) const {
    heif_image* image = nullptr;
    if (!handle_ || heif_decode_image(handle_.get(), &image, space, chroma, options).code != 0) return nullptr;
    return {image, heif_image_release};
  }

  /// The samples as they are coded, of one depth. Rotation, mirroring and clean aperture are not applied, nor those of
  /// what a derived image is made of. Absent for grey images, and where depths differ or are below 8 bits.
  [[nodiscard]] std::optional<Raster> coded() const {
    const HeifOptions options(heif_decoding_options_alloc());
    options->ignore_transformations = 1;
    const HeifImage image = decode(heif_colorspace_undefined, heif_chroma_undefined, options.get());
    if (!image) return std::nullopt;
    Raster raster;
    raster.owner = image;
    raster.coding = codingOf(*image);
    return withComponents(raster, *image) ? std::optional(raster) : std::nullopt;
  }

 private:
  /// That of the container, else of the bitstream, else what is inferred (ISO/IEC 23000-22, 7.3.6.4).
  [[nodiscard]] Cicp codingOf(heif_image& image) const {
    heif_color_profile_nclx* found = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle_.get(), &found).code != 0 &&
        heif_image_get_nclx_color_profile(&image, &found).code != 0) {
      return {2, 2, 6, true};
    }
    const HeifNclx nclx(found);
    return {static_cast<std::uint16_t>(nclx->color_primaries),
            static_cast<std::uint16_t>(nclx->transfer_characteristics),
            static_cast<std::uint16_t>(nclx->matrix_coefficients), nclx->full_range_flag != 0};
  }

  static bool withComponents(Raster& raster, heif_image& image) {
    const heif_colorspace space = heif_image_get_colorspace(&image);
    if (space == heif_colorspace_monochrome) return false;
    raster.model = space == heif_colorspace_RGB ? SampleModel::rgb : SampleModel::ycbcr;
    const bool rgb = raster.model == SampleModel::rgb;
    raster.bitsPerComponent = heif_image_get_bits_per_pixel_range(&image, rgb ? heif_channel_R : heif_channel_Y);
    for (const heif_channel channel : {rgb ? heif_channel_R : heif_channel_Y, rgb ? heif_channel_G : heif_channel_Cb,
                                       rgb ? heif_channel_B : heif_channel_Cr}) {
      if (!heif_image_has_channel(&image, channel)) return false;
      if (heif_image_get_bits_per_pixel_range(&image, channel) != raster.bitsPerComponent) return false;
      raster.components.push_back(component(image, channel, raster.bitsPerComponent));
    }
    if (heif_image_has_channel(&image, heif_channel_Alpha)) {
      if (heif_image_get_bits_per_pixel_range(&image, heif_channel_Alpha) != raster.bitsPerComponent) return false;
      raster.alpha = component(image, heif_channel_Alpha, raster.bitsPerComponent);
    }
    raster.premultiplied = heif_image_is_premultiplied_alpha(&image) != 0;
    raster.width = raster.components[0].width;
    raster.height = raster.components[0].height;
    return raster.bitsPerComponent >= 8;
  }

  static Component component(heif_image& image, heif_channel channel, int bits) {
    int stride = 0;
    const std::uint8_t* const first = heif_image_get_plane_readonly(&image, channel, &stride);
    return {first, bits > 8 ? 2U : 1U, static_cast<std::size_t>(stride),
            static_cast<std::uint32_t>(heif_image_get_width(&image, channel)),
            static_cast<std::uint32_t>(heif_image_get_height(&image, channel))};
  }

  HeifContext context_;
  HeifHandle handle_;
};

}  // namespace quellor::test_support
