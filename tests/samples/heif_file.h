#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/samples/hevc_coding.h"
#include "tests/samples/scene.h"
#include "tests/support/heif_scene.h"

namespace quellor::samples {

/// A HEIF file that is put together of coded parts of the picture. What makes up the image itself is added first, the
/// primary image last of it; then what belongs to it.
class HeifFile {
 public:
  /// A coded picture with these properties behind its own. It is the primary image.
  std::uint32_t picture(const Raster& raster, const std::vector<Bytes>& more = {}, const HevcSettings& settings = {});

  /// The tiles of a grid that covers `size`, row after row; what lies beyond its edges is coded as well. It is the
  /// primary image.
  std::uint32_t grid(const ScenePlan& tile, Size size, const std::vector<Bytes>& more = {},
                     const std::vector<Bytes>& ofTiles = {});

  /// The picture as an auxiliary image of the primary one, and perhaps a packet that describes it.
  HeifFile& auxiliary(const Raster& raster, const std::string& urn, std::string_view packet = {});
  HeifFile& alpha(const Raster& raster, bool premultiplied = false);
  HeifFile& thumbnail(const Raster& raster);
  /// One that can be looked at by itself.
  HeifFile& furtherPicture(const Raster& raster, bool hidden = false);

  // What describes an image, the primary one if none is said.
  HeifFile& exif(const Bytes& tiff);
  HeifFile& packet(std::string_view packet, std::uint32_t of = 0);
  HeifFile& iptc(const Bytes& datasets);

  [[nodiscard]] test_support::HeifScene& scene() { return scene_; }
  HeifFile& brands(const std::vector<std::string>& brands);
  [[nodiscard]] Bytes build() const { return scene_.file(); }

 private:
  /// Adds an item that is not the primary image.
  std::uint32_t beside(const std::string& type, const Bytes& data, const std::vector<Bytes>& properties,
                       std::string_view reference, std::uint32_t to);
  std::uint32_t pictureBeside(const Raster& raster, const std::vector<Bytes>& more, std::string_view reference);
  [[nodiscard]] std::uint32_t primary() { return scene_.builder().primary; }

  test_support::HeifScene scene_;
};

/// The code points of a raster's coding.
inline Bytes colrOf(const Cicp& coding) {
  return test_support::colrNclx(coding.colorPrimaries, coding.transferCharacteristics, coding.matrixCoefficients,
                                coding.fullRange);
}

/// sRGB, what the picture is coded in if nothing else is said.
inline Bytes srgb() { return colrOf(ScenePlan().coding); }

}  // namespace quellor::samples
