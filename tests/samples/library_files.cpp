// HEIC files as the HEIF library writes them, with its structure, order of boxes and kinds of properties.

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include <libheif/heif.h>

#include "tests/samples/profiles.h"
#include "tests/samples/sample.h"
#include "tests/support/photo_metadata.h"

namespace quellor::samples {
namespace {

template <auto release>
struct Releaser {
  template <typename T>
  void operator()(T* handle) const {
    release(handle);
  }
};
using Context = std::unique_ptr<heif_context, Releaser<heif_context_free>>;
using Encoder = std::unique_ptr<heif_encoder, Releaser<heif_encoder_release>>;
using Image = std::unique_ptr<heif_image, Releaser<heif_image_release>>;
using Handle = std::unique_ptr<heif_image_handle, Releaser<heif_image_handle_release>>;
using Options = std::unique_ptr<heif_encoding_options, Releaser<heif_encoding_options_free>>;

void require(const heif_error& error) {
  if (error.code != heif_error_Ok) throw std::runtime_error(std::string("libheif: ") + error.message);
}

Image imageOf(Size size, bool alpha) {
  heif_image* created = nullptr;
  const auto width = static_cast<int>(size.width), height = static_cast<int>(size.height);
  const auto chroma = alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
  require(heif_image_create(width, height, heif_colorspace_RGB, chroma, &created));
  Image image(created);
  require(heif_image_add_plane(created, heif_channel_interleaved, width, height, 8));
  int stride = 0;
  std::uint8_t* const plane = heif_image_get_plane(created, heif_channel_interleaved, &stride);
  const std::uint32_t components = alpha ? 4 : 3;
  for (std::uint32_t i = 0; i < size.width * size.height * components; ++i) {
    const std::uint32_t x = i / components % size.width, y = i / components / size.width;
    plane[y * static_cast<std::size_t>(stride) + x * components + i % components] =
        static_cast<std::uint8_t>(sceneSample(x, y, i % components));
  }
  return image;
}

/// A file that one image after the other is written into, the primary one first.
class LibraryFile {
 public:
  LibraryFile() : context_(heif_context_alloc()) {
    heif_encoder* encoder = nullptr;
    require(heif_context_get_encoder_for_format(context_.get(), heif_compression_HEVC, &encoder));
    encoder_.reset(encoder);
    require(heif_encoder_set_lossy_quality(encoder, 60));
    require(heif_encoder_set_parameter_string(encoder, "preset", "veryfast"));
  }

  Handle write(const Image& image, const char* chroma = "420",
               heif_orientation orientation = heif_orientation_normal) const {
    require(heif_encoder_set_parameter_string(encoder_.get(), "chroma", chroma));
    const Options options(heif_encoding_options_alloc());
    options->image_orientation = orientation;
    heif_image_handle* handle = nullptr;
    require(heif_context_encode_image(context_.get(), image.get(), encoder_.get(), options.get(), &handle));
    return Handle(handle);
  }

  void describe(const Handle& image) const {
    const Bytes exif = test_support::photoExif(1);
    require(heif_context_add_exif_metadata(context_.get(), image.get(), exif.data(), static_cast<int>(exif.size())));
    const auto packet = test_support::kPhotoPacket;
    require(heif_context_add_XMP_metadata(context_.get(), image.get(), packet.data(), static_cast<int>(packet.size())));
  }

  void addThumbnail(const Image& image, const Handle& of) const {
    heif_image_handle* handle = nullptr;
    require(heif_context_encode_thumbnail(context_.get(), image.get(), of.get(), encoder_.get(), nullptr, 64, &handle));
    heif_image_handle_release(handle);
  }

  [[nodiscard]] Bytes bytes() const {
    Bytes file;
    heif_writer writer{};
    writer.writer_api_version = 1;
    writer.write = [](heif_context*, const void* data, std::size_t size, void* to) {
      const auto* const first = static_cast<const std::uint8_t*>(data);
      static_cast<Bytes*>(to)->assign(first, first + size);
      return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
    };
    require(heif_context_write(context_.get(), &writer, &file));
    return file;
  }

 private:
  Context context_;
  Encoder encoder_;
};

}  // namespace

void addLibraryFiles(Samples& samples) {
  const LibraryFile described;
  const Image picture = imageOf(kScene, false);
  const Bytes profile = displayP3();
  require(heif_image_set_raw_color_profile(picture.get(), "prof", profile.data(), profile.size()));
  const Handle primary = described.write(picture);
  described.describe(primary);
  described.addThumbnail(picture, primary);
  Facts facts;
  facts.color = "kCGColorSpaceDisplayP3";
  facts.profile = profile;
  facts.orientation = 1;
  samples.push_back({"library-described-thumbnail.heic", described.bytes(), facts});

  const LibraryFile turned;
  turned.write(imageOf(kScene, false), "444", heif_orientation_rotate_90_cw);
  Facts turnedFacts;
  turnedFacts.orientation = 6;
  samples.push_back({"library-turned-444.heic", turned.bytes(), turnedFacts});

  const LibraryFile transparent;
  transparent.write(imageOf(kScene, true));
  samples.push_back({"library-alpha.heic", transparent.bytes()});

  const LibraryFile odd;  // coded larger than it is, with a clean aperture
  odd.write(imageOf({101, 67}, false), "422");
  samples.push_back({"library-odd-size-422.heic", odd.bytes(), Facts{{101, 67}}});
}

}  // namespace quellor::samples
