#include "platform/heif/item_properties.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/heif/clean_aperture.h"
#include "platform/heif/item_relations.h"

namespace quellor::heif {
namespace {

/// How many derivations a property is looked for through.
constexpr int kMaximumDerivations = 4;

/// Calls `read` with a reader of every property of `type`, in order, until it returns a value; a property that is
/// too short is passed over.
template <typename Read>
auto firstOf(const Container& container, const Item& item, FourCC type, Read read) -> decltype(read(ByteReader({}))) {
  for (const PropertyAssociation& association : item.properties) {
    const Property& property = container.properties[association.index];
    if (property.type != type) continue;
    try {
      if (auto value = read(ByteReader(property.payload))) return value;
    } catch (const MalformedContainer&) {
      continue;
    }
  }
  return std::nullopt;
}

/// Looks on the item, then on the first input of a grid or an identity derivation.
template <typename Find>
auto onItemOrInput(const Container& container, const Item& item, Find find) -> decltype(find(item)) {
  const Item* current = &item;
  for (int i = 0; i < kMaximumDerivations && current != nullptr; ++i) {
    if (auto value = find(*current)) return value;
    if (current->type != fourCC("grid") && current->type != fourCC("iden")) break;
    const auto inputs = container.referencesFrom(current->id, fourCC("dimg"));
    current = inputs.empty() ? nullptr : container.find(inputs.front());
  }
  return std::nullopt;
}

std::optional<Bytes> readIccProfile(ByteReader reader) {
  const FourCC kind = reader.u32();
  if (kind != fourCC("prof") && kind != fourCC("rICC")) return std::nullopt;
  const ByteView profile = reader.rest();
  if (profile.empty()) return std::nullopt;
  return Bytes(profile.begin(), profile.end());
}

std::optional<Cicp> readCicp(ByteReader reader) {
  if (reader.u32() != fourCC("nclx")) return std::nullopt;
  Cicp cicp;
  cicp.colorPrimaries = reader.u16();
  cicp.transferCharacteristics = reader.u16();
  cicp.matrixCoefficients = reader.u16();
  cicp.fullRange = (reader.u8() & 0x80) != 0;
  return cicp;
}

/// A rotation or mirroring of the plane: the images of the unit vectors, y pointing down.
struct Orientation {
  int xx, xy, yx, yy;

  friend bool operator==(const Orientation&, const Orientation&) = default;

  /// This one after `first`.
  [[nodiscard]] Orientation after(const Orientation& first) const {
    return {xx * first.xx + xy * first.yx, xx * first.xy + xy * first.yy, yx * first.xx + yy * first.yx,
            yx * first.xy + yy * first.yy};
  }
};

/// What each Exif orientation (Exif 2.32, tag 0x0112) does to the stored image to show it: entry i is value i + 1.
constexpr std::array<Orientation, 8> kOrientations = {{{1, 0, 0, 1},
                                                       {-1, 0, 0, 1},
                                                       {-1, 0, 0, -1},
                                                       {1, 0, 0, -1},
                                                       {0, 1, 1, 0},
                                                       {0, -1, 1, 0},
                                                       {0, -1, -1, 0},
                                                       {0, 1, -1, 0}}};

/// irot turns anticlockwise by quarters (23008-12, 6.5.10).
Orientation rotation(ByteReader reader) {
  constexpr std::array<int, 4> orientationOfQuarters = {1, 8, 3, 6};
  return kOrientations[static_cast<std::size_t>(orientationOfQuarters[reader.u8() & 3u] - 1)];
}

/// imir exchanges top and bottom for 0, left and right for 1 (23008-12:2022, 6.5.12: as Exif 4 and 2).
Orientation mirroring(ByteReader reader) { return kOrientations[(reader.u8() & 1) == 0 ? 3 : 1]; }

std::optional<int> bitsFromPixi(ByteReader reader) {
  reader.u32();
  if (reader.u8() == 0) return std::nullopt;
  return reader.u8();
}

/// HEVCDecoderConfigurationRecord (ISO/IEC 14496-15, 8.3.3.1): chroma format in byte 16, luma depth in byte 17.
std::optional<SampleFormat> formatFromHevc(ByteReader reader) {
  reader.bytes(16);
  const bool grey = (reader.u8() & 3) == 0;
  return SampleFormat{(reader.u8() & 7) + 8, grey ? ColorModel::grey : ColorModel::rgb};
}

/// AV1CodecConfigurationRecord (AV1 in ISOBMFF, 2.3.3): depth and monochrome flags in byte 2.
std::optional<SampleFormat> formatFromAv1(ByteReader reader) {
  reader.bytes(2);
  const unsigned flags = reader.u8();
  const int bits = (flags & 0x40) == 0 ? 8 : (flags & 0x20) == 0 ? 10 : 12;
  return SampleFormat{bits, (flags & 0x10) != 0 ? ColorModel::grey : ColorModel::rgb};
}

std::optional<SampleFormat> codedFormat(const Container& container, const Item& item) {
  if (auto format = firstOf(container, item, fourCC("hvcC"), formatFromHevc)) return format;
  return firstOf(container, item, fourCC("av1C"), formatFromAv1);
}

}  // namespace

const Property* findProperty(const Container& container, const Item& item, FourCC type) {
  for (const PropertyAssociation& association : item.properties) {
    const Property& property = container.properties[association.index];
    if (property.type == type) return &property;
  }
  return nullptr;
}

std::optional<ImageSize> spatialExtents(const Container& container, const Item& item) {
  return firstOf(container, item, fourCC("ispe"), [](ByteReader reader) -> std::optional<ImageSize> {
    reader.u32();
    const std::uint32_t width = reader.u32();
    return ImageSize{width, reader.u32()};
  });
}

std::optional<ImageSize> storedSize(const Container& container, const Item& item) {
  const auto coded = spatialExtents(container, item);
  if (!coded || coded->width == 0 || coded->height == 0) return coded;
  const Property* const aperture = findProperty(container, item, fourCC("clap"));
  const auto part = aperture == nullptr ? std::nullopt : cropBy(aperture->payload, coded->width, coded->height);
  return part ? ImageSize{part->width, part->height} : coded;
}

std::optional<int> orientationOf(const Container& container, const Item& item) {
  std::optional<Orientation> orientation;
  for (const PropertyAssociation& association : item.properties) {
    const Property& property = container.properties[association.index];
    const bool rotates = property.type == fourCC("irot"), mirrors = property.type == fourCC("imir");
    if ((!rotates && !mirrors) || property.payload.empty()) continue;
    const ByteReader reader(property.payload);
    orientation = (rotates ? rotation(reader) : mirroring(reader)).after(orientation.value_or(kOrientations[0]));
  }
  if (!orientation) return std::nullopt;
  const auto* const found = std::find(kOrientations.begin(), kOrientations.end(), *orientation);
  return static_cast<int>(found - kOrientations.begin()) + 1;
}

std::optional<Bytes> iccProfileOf(const Container& container, const Item& item) {
  return onItemOrInput(container, item,
                       [&](const Item& each) { return firstOf(container, each, fourCC("colr"), readIccProfile); });
}

std::optional<Cicp> cicpOf(const Container& container, const Item& item) {
  return onItemOrInput(container, item,
                       [&](const Item& each) { return firstOf(container, each, fourCC("colr"), readCicp); });
}

SampleFormat sampleFormatOf(const Container& container, const Item& item) {
  const auto images = itemsNeededFor(container, item);
  SampleFormat format;
  for (const Item* each : images.value_or(std::vector{&item})) {
    if (const auto coded = codedFormat(container, *each)) {
      format = *coded;
      break;
    }
  }
  if (const auto bits = firstOf(container, item, fourCC("pixi"), bitsFromPixi)) format.bitsPerComponent = *bits;
  format.bitsPerComponent = std::max(format.bitsPerComponent, 8);
  return format;
}

}  // namespace quellor::heif
