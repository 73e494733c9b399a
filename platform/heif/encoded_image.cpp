#include "platform/heif/encoded_image.h"

#include <algorithm>
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

/// 23008-12, 6.6.2.3.2
Bytes gridData(const EncodedImage& image) {
  constexpr std::uint8_t kFieldsOf32Bits = 1;
  BoxWriter data;
  data.u8(0).u8(kFieldsOf32Bits).u8(image.rows - 1).u8(image.columns - 1);
  data.u32(image.codedSize.width).u32(image.codedSize.height);
  return data.take();
}

class FileBuilder {
 public:
  explicit FileBuilder(EncodedImage image) : image_(std::move(image)) {}

  OutputFile build() {
    const bool cropped = image_.size.width != image_.codedSize.width || image_.size.height != image_.codedSize.height;
    add(image_.tiles.front().configuration, true);
    const auto coding = add(codePoints(image_.coding), false);
    size_ = add(spatialExtentsOf(image_.codedSize), false);
    if (isGrid()) tileSize_ = add(spatialExtentsOf(image_.tileSize), false);
    if (cropped) aperture_ = add(cleanAperture(image_.size, image_.codedSize), true);
    const auto depths = add(channelDepths(image_.grey ? 1 : 3, image_.bitsPerComponent), false);
    addImage(kImage, std::move(image_.tiles), depths, {coding});
    if (image_.alpha) addAlpha(depths);
    file_.primaryItem = kImage;
    // The brand for the Main Still Picture profile, or that for all others (23008-12, B.4.1).
    file_.majorBrand = image_.grey || image_.bitsPerComponent != 8 ? fourCC("heix") : fourCC("heic");
    file_.compatibleBrands = {fourCC("mif1"), file_.majorBrand};
    return std::move(file_);
  }

 private:
  [[nodiscard]] bool isGrid() const { return image_.columns * image_.rows > 1; }

  /// A property that is there already is not added again.
  OutputAssociation add(Bytes box, bool essential) {
    const auto same = std::find(file_.properties.begin(), file_.properties.end(), box);
    const auto index = static_cast<std::size_t>(same - file_.properties.begin());
    if (same == file_.properties.end()) file_.properties.push_back(std::move(box));
    return {index, essential};
  }

  ByteView keep(Bytes data) {
    file_.owned.push_back(std::make_shared<const Bytes>(std::move(data)));
    return *file_.owned.back();
  }

  /// The item of a picture, or that of a grid and those of its tiles. Transformations come last (23008-12, 6.5.1).
  void addImage(ItemId id, EncodedTiles tiles, OutputAssociation depths, std::vector<OutputAssociation> more) {
    OutputItem item{id, fourCC("hvc1"), false, {}, {}, {}, {}};
    if (isGrid()) {
      item.type = fourCC("grid");
      item.data = {keep(gridData(image_))};
    } else {
      item.data = {keep(std::move(tiles.front().data))};
      item.properties.push_back(add(std::move(tiles.front().configuration), true));
    }
    item.properties.insert(item.properties.end(), {*size_, depths});
    item.properties.insert(item.properties.end(), more.begin(), more.end());
    if (aperture_) item.properties.push_back(*aperture_);
    file_.items.push_back(std::move(item));
    if (isGrid()) addTiles(id, std::move(tiles), depths);
  }

  void addTiles(ItemId grid, EncodedTiles tiles, OutputAssociation depths) {
    Reference inputs{fourCC("dimg"), grid, {}};
    for (EncodedPicture& tile : tiles) {
      const auto configuration = add(std::move(tile.configuration), true);
      const ItemId id = nextTile_++;
      file_.items.push_back(
          {id, fourCC("hvc1"), true, {}, {}, {keep(std::move(tile.data))}, {configuration, *tileSize_, depths}});
      inputs.to.push_back(id);
    }
    file_.references.push_back(std::move(inputs));
  }

  void addAlpha(OutputAssociation depthsOfImage) {
    add(image_.alpha->front().configuration, true);
    const auto depths = image_.grey ? depthsOfImage : add(channelDepths(1, image_.bitsPerComponent), false);
    addImage(kAlpha, std::move(*image_.alpha), depths, {add(auxiliaryType(), true)});
    file_.references.push_back({fourCC("auxl"), kAlpha, {kImage}});
    if (image_.premultiplied) file_.references.push_back({fourCC("prem"), kImage, {kAlpha}});
  }

  EncodedImage image_;
  OutputFile file_;
  std::optional<OutputAssociation> size_;
  std::optional<OutputAssociation> tileSize_;  // of a grid
  std::optional<OutputAssociation> aperture_;
  ItemId nextTile_ = kAlpha + 1;
};

}  // namespace

OutputFile fileOf(EncodedImage image) { return FileBuilder(std::move(image)).build(); }

}  // namespace quellor::heif
