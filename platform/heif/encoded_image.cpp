#include "platform/heif/encoded_image.h"

#include <memory>
#include <utility>

#include "platform/heif/box_writer.h"

namespace quellor::heif {
namespace {

constexpr ItemId kImage = 1;
constexpr ItemId kAlpha = 2;
constexpr const char* kAlphaUrn = "urn:mpeg:hevc:2015:auxid:1";

template <typename Fill>
Bytes property(FourCC type, Fill fill) {
  BoxWriter writer;
  writer.box(type, [&] { fill(writer); });
  return writer.take();
}

/// 23008-12, 6.5.3
Bytes spatialExtentsOf(ImageSize size) {
  return property(fourCC("ispe"), [&](BoxWriter& box) { box.u32(0).u32(size.width).u32(size.height); });
}

/// 23008-12, 6.5.6
Bytes channelDepths(std::size_t channels, int bits) {
  return property(fourCC("pixi"), [&](BoxWriter& box) {
    box.u32(0).u8(channels);
    for (std::size_t i = 0; i < channels; ++i) box.u8(static_cast<std::uint64_t>(bits));
  });
}

/// 23008-12, 6.5.5
Bytes codePoints(const Cicp& coding) {
  return property(fourCC("colr"), [&](BoxWriter& box) {
    box.u32(fourCC("nclx")).u16(coding.colorPrimaries).u16(coding.transferCharacteristics);
    box.u16(coding.matrixCoefficients).u8(coding.fullRange ? 0x80 : 0);
  });
}

/// The upper left part (14496-12, 12.1.4): its centre lies half of what is cut away before that of the whole.
Bytes cleanAperture(ImageSize part, ImageSize whole) {
  return property(fourCC("clap"), [&](BoxWriter& box) {
    box.u32(part.width).u32(1).u32(part.height).u32(1);
    box.u32(static_cast<std::uint32_t>(part.width - whole.width)).u32(2);
    box.u32(static_cast<std::uint32_t>(part.height - whole.height)).u32(2);
  });
}

/// 23008-12, 6.5.8
Bytes auxiliaryType() {
  return property(fourCC("auxC"), [](BoxWriter& box) { box.u32(0).text(kAlphaUrn); });
}

class FileBuilder {
 public:
  explicit FileBuilder(EncodedImage image) : image_(std::move(image)) {}

  OutputFile build() {
    const bool cropped = image_.size.width != image_.codedSize.width || image_.size.height != image_.codedSize.height;
    OutputItem item{kImage, fourCC("hvc1"), false, {}, {}, {keep(std::move(image_.picture.data))}, {}};
    const auto configuration = add(std::move(image_.picture.configuration), true);
    const auto coding = add(codePoints(image_.coding), false);
    const auto size = add(spatialExtentsOf(image_.codedSize), false);
    const auto aperture =
        cropped ? std::optional(add(cleanAperture(image_.size, image_.codedSize), true)) : std::nullopt;
    const auto depths = add(channelDepths(image_.grey ? 1 : 3, image_.bitsPerComponent), false);
    item.properties = {configuration, size, depths, coding};
    if (aperture) item.properties.push_back(*aperture);
    file_.items.push_back(std::move(item));
    if (image_.alpha) addAlpha(size, aperture, depths);
    file_.primaryItem = kImage;
    // The brand for the Main Still Picture profile, or that for all others (23008-12, B.4.1).
    file_.majorBrand = image_.grey || image_.bitsPerComponent != 8 ? fourCC("heix") : fourCC("heic");
    file_.compatibleBrands = {fourCC("mif1"), file_.majorBrand};
    return std::move(file_);
  }

 private:
  OutputAssociation add(Bytes box, bool essential) {
    file_.properties.push_back(std::move(box));
    return {file_.properties.size() - 1, essential};
  }

  ByteView keep(Bytes data) {
    file_.owned.push_back(std::make_shared<const Bytes>(std::move(data)));
    return *file_.owned.back();
  }

  void addAlpha(OutputAssociation size, const std::optional<OutputAssociation>& aperture,
                OutputAssociation depthsOfImage) {
    OutputItem item{kAlpha, fourCC("hvc1"), false, {}, {}, {keep(std::move(image_.alpha->data))}, {}};
    const auto configuration = add(std::move(image_.alpha->configuration), true);
    const auto depths = image_.grey ? depthsOfImage : add(channelDepths(1, image_.bitsPerComponent), false);
    item.properties = {configuration, size, depths, add(auxiliaryType(), true)};
    if (aperture) item.properties.push_back(*aperture);
    file_.items.push_back(std::move(item));
    file_.references.push_back({fourCC("auxl"), kAlpha, {kImage}});
    if (image_.premultiplied) file_.references.push_back({fourCC("prem"), kImage, {kAlpha}});
  }

  EncodedImage image_;
  OutputFile file_;
};

}  // namespace

OutputFile fileOf(EncodedImage image) { return FileBuilder(std::move(image)).build(); }

}  // namespace quellor::heif
