#include "platform/heif/output_editing.h"

#include <algorithm>
#include <array>
#include <unordered_set>

#include "platform/heif/box_writer.h"
#include "platform/heif/item_properties.h"

namespace quellor::heif {
namespace {

constexpr std::size_t kBoxHeaderSize = 8;

/// A property box of the model, read.
Property propertyOf(const Bytes& box) {
  if (box.size() < kBoxHeaderSize) return {};
  ByteReader reader(box);
  reader.u32();
  const FourCC type = reader.u32();
  return {type, reader.rest()};
}

FourCC typeOf(const OutputFile& file, const OutputAssociation& association) {
  return propertyOf(file.properties[association.index]).type;
}

bool isTransformative(FourCC type) {
  return type == fourCC("clap") || type == fourCC("irot") || type == fourCC("imir") || type == fourCC("iscl");
}

/// What the item's properties say at present.
std::optional<int> currentOrientation(const OutputFile& file, const OutputItem& item) {
  Container container;
  Item read;
  for (const OutputAssociation& association : item.properties) {
    read.properties.push_back({container.properties.size(), association.essential, 0, 0});
    container.properties.push_back(propertyOf(file.properties[association.index]));
  }
  return orientationOf(container, read);
}

/// The index of a property with these bytes, which is added where there is none yet.
std::size_t indexOf(OutputFile& file, Bytes box) {
  const auto found = std::find(file.properties.begin(), file.properties.end(), box);
  const auto index = static_cast<std::size_t>(found - file.properties.begin());
  if (found == file.properties.end()) file.properties.push_back(std::move(box));
  return index;
}

void removeProperties(const OutputFile& file, OutputItem& item, bool (*goes)(FourCC)) {
  std::erase_if(item.properties, [&](const OutputAssociation& association) { return goes(typeOf(file, association)); });
}

/// A rotation, anticlockwise by quarters, and then a mirroring: 0 exchanges top and bottom, 1 left and right.
struct Transformation {
  std::optional<std::uint8_t> quarters;
  std::optional<std::uint8_t> axis;
};

/// Entry i is orientation i + 1 (ISO/IEC 23008-12:2022, 6.5.10 and 6.5.12; Exif 2.32, tag 0x0112).
constexpr std::array<Transformation, 8> kTransformations = {{{0, std::nullopt},
                                                             {std::nullopt, 1},
                                                             {2, std::nullopt},
                                                             {std::nullopt, 0},
                                                             {3, 1},
                                                             {3, std::nullopt},
                                                             {1, 1},
                                                             {1, std::nullopt}}};

/// A property of one byte.
Bytes smallProperty(FourCC type, std::uint8_t value) {
  BoxWriter writer;
  writer.box(type, [&] { writer.u8(value); });
  return writer.take();
}

/// The properties that stand for `orientation`, in the order in which they are applied.
std::vector<OutputAssociation> transformationFor(OutputFile& file, int orientation) {
  std::vector<OutputAssociation> properties;
  const auto add = [&](FourCC type, std::optional<std::uint8_t> value) {
    if (value) properties.push_back({indexOf(file, smallProperty(type, *value)), true});
  };
  const Transformation& transformation = kTransformations[static_cast<std::size_t>(orientation - 1)];
  add(fourCC("irot"), transformation.quarters);
  add(fourCC("imir"), transformation.axis);
  return properties;
}

void replaceTransformation(const OutputFile& file, OutputItem& item, const std::vector<OutputAssociation>& by) {
  removeProperties(file, item, [](FourCC type) { return type == fourCC("irot") || type == fourCC("imir"); });
  std::stable_partition(item.properties.begin(), item.properties.end(), [&](const OutputAssociation& association) {
    return !isTransformative(typeOf(file, association));
  });
  item.properties.insert(item.properties.end(), by.begin(), by.end());
}

/// The primary item and the auxiliary images of it, which are alpha images: no other kind is ever taken along.
std::unordered_set<ItemId> primaryAndAlpha(const OutputFile& file) {
  std::unordered_set<ItemId> ids = {file.primaryItem};
  for (const Reference& reference : file.references) {
    const bool ofPrimary = std::find(reference.to.begin(), reference.to.end(), file.primaryItem) != reference.to.end();
    if (reference.type == fourCC("auxl") && ofPrimary) ids.insert(reference.from);
  }
  return ids;
}

/// The block's distance from the fifth byte on, then the prefix that it has in JPEG files. The standard asks for the
/// distance alone (23008-12, annex A.2.1), but cameras write the prefix, too, and some readers insist on it.
constexpr std::array<std::uint8_t, 10> kExifPrefix = {0, 0, 0, 6, 'E', 'x', 'i', 'f', 0, 0};

/// One more than the greatest id while that fits in 16 bits, else the smallest that is free.
ItemId freeId(const OutputFile& file) {
  std::unordered_set<ItemId> ids;
  ItemId greatest = 0;
  for (const OutputItem& item : file.items) {
    ids.insert(item.id);
    greatest = std::max(greatest, item.id);
  }
  if (greatest < UINT16_MAX) return greatest + 1;
  ItemId id = 1;
  while (ids.contains(id)) ++id;
  return id;
}

void addItem(OutputFile& file, OutputItem item, Bytes data) {
  file.owned.push_back(std::make_shared<const Bytes>(std::move(data)));
  item.id = freeId(file);
  item.hidden = true;
  item.data = {*file.owned.back()};
  file.references.push_back({fourCC("cdsc"), item.id, {file.primaryItem}});
  file.items.push_back(std::move(item));
}

}  // namespace

void setOrientation(OutputFile& file, int orientation) {
  if (orientation < 1 || orientation > 8) return;
  const std::unordered_set<ItemId> turned = primaryAndAlpha(file);
  const std::vector<OutputAssociation> transformation = transformationFor(file, orientation);
  for (OutputItem& item : file.items) {
    if (turned.contains(item.id) && currentOrientation(file, item) != orientation) {
      replaceTransformation(file, item, transformation);
    }
  }
}

void setColor(OutputFile& file, const std::optional<Bytes>& icc, const Cicp& cicp) {
  const auto primary = std::find_if(file.items.begin(), file.items.end(),
                                    [&](const OutputItem& item) { return item.id == file.primaryItem; });
  if (primary == file.items.end()) return;
  removeProperties(file, *primary, [](FourCC type) { return type == fourCC("colr"); });
  auto position =
      std::find_if(primary->properties.begin(), primary->properties.end(),
                   [&](const OutputAssociation& association) { return isTransformative(typeOf(file, association)); });
  const auto add = [&](BoxWriter& box) {
    position = primary->properties.insert(position, {indexOf(file, box.take()), false}) + 1;
  };
  if (icc && !icc->empty()) {
    BoxWriter box;
    box.box(fourCC("colr"), [&] { box.u32(fourCC("prof")).append(*icc); });
    add(box);
  }
  BoxWriter box;
  box.box(fourCC("colr"), [&] {
    box.u32(fourCC("nclx")).u16(cicp.colorPrimaries).u16(cicp.transferCharacteristics).u16(cicp.matrixCoefficients);
    box.u8(cicp.fullRange ? 0x80 : 0);
  });
  add(box);
}

void declareMiaf(OutputFile& file) {
  auto& brands = file.compatibleBrands;
  if (std::find(brands.begin(), brands.end(), fourCC("miaf")) == brands.end()) brands.push_back(fourCC("miaf"));
}

void addMetadata(OutputFile& file, const MetadataBlocks& blocks) {
  if (blocks.exif && !blocks.exif->empty()) {
    Bytes data(kExifPrefix.begin(), kExifPrefix.end());
    data.insert(data.end(), blocks.exif->begin(), blocks.exif->end());
    OutputItem item;
    item.type = fourCC("Exif");
    addItem(file, std::move(item), std::move(data));
  }
  if (blocks.xmp && !blocks.xmp->empty()) {
    OutputItem item;
    item.type = fourCC("mime");
    item.contentType = "application/rdf+xml";
    addItem(file, std::move(item), *blocks.xmp);
  }
}

}  // namespace quellor::heif
