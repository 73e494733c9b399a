#include "platform/metadata/block_editing.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "platform/metadata/exif_editor.h"
#include "platform/metadata/exif_tags.h"
#include "platform/metadata/metadata_properties.h"
#include "platform/metadata/metadata_removals.h"

namespace quellor {
namespace {

using namespace metadata;
using namespace property_key;

std::optional<int> orientationOf(const PropertyDictionary& properties) {
  const PropertyValue* const value = properties.find(kOrientation);
  const auto* const number = value == nullptr ? nullptr : value->as<std::int64_t>();
  if (number == nullptr || *number < 1 || *number > 8) return std::nullopt;
  return static_cast<int>(*number);
}

XmpEdit xmpEditFor(const PropertyDictionary& properties) {
  XmpEdit edit;
  edit.removeGps = !properties.contains(kGps);
  edit.removeMake = !hasNested(properties, kTiff, kTiffMake);
  edit.removeModel = !hasNested(properties, kTiff, kTiffModel);
  edit.removeMakerNote = !hasNested(properties, kExif, kExifMakerNote);
  edit.orientation = orientationOf(properties);
  return edit;
}

PropertyDictionary readExif(ByteView block) {
  PropertyDictionary properties;
  addMetadataProperties({Bytes(block.begin(), block.end()), {}, {}}, properties);
  return properties;
}

/// The dictionary under `group` without the entries of `tags` and the orientation.
PropertyDictionary remaining(const PropertyDictionary& properties, std::string_view group, TagGroup names,
                             const std::set<std::uint16_t>& tags) {
  const PropertyValue* const value = properties.find(group);
  const auto* const dictionary = value == nullptr ? nullptr : value->as<PropertyDictionary>();
  if (dictionary == nullptr) return {};
  PropertyDictionary left = *dictionary;
  left.remove(kOrientation);
  for (const std::uint16_t tag : tags) left.remove(tagKey(names, tag));
  return left;
}

/// Edits the blocks of one dictionary.
class BlockEditor {
 public:
  BlockEditor(const PropertyDictionary& properties, const MetadataBlocks& blocks, const XmpEngine* xmp)
      : properties_(properties), blocks_(blocks), xmp_(xmp), xmpEdit_(xmpEditFor(properties)) {
    if (!blocks.exif) return;
    directories_ = readExifDirectories(*blocks.exif);
    read_ = readExif(*blocks.exif);
    if (directories_) removals_ = removalsFrom(*directories_, read_, properties);
  }

  [[nodiscard]] std::optional<Bytes> exif() const {
    if (!blocks_.exif) return std::nullopt;
    if (!directories_) return nothingIsGone() ? blocks_.exif : std::nullopt;
    ExifEdit edit{removals_.firstTags, removals_.exifTags, removals_.gps, orientationOf(properties_)};
    if (!packetInsideStays()) edit.firstTags.insert(exif_tag::kXmp);
    auto edited = editedExif(*directories_, edit);
    if (edited && !saysWhatItShould(*edited, edit)) return std::nullopt;
    return edited;
  }

  [[nodiscard]] std::optional<Bytes> packet() const {
    if (!blocks_.xmp || !properties_.contains(kXmp)) return std::nullopt;
    if (auto edited = editedPacket(*blocks_.xmp)) return edited;
    return removals_.any() ? std::nullopt : blocks_.xmp;
  }

 private:
  [[nodiscard]] bool nothingIsGone() const {
    const bool hadPacket = blocks_.xmp && !blocks_.xmp->empty();
    return !removals_.any() && (!hadPacket || properties_.contains(kXmp));
  }

  [[nodiscard]] std::optional<Bytes> editedPacket(ByteView packet) const {
    return xmp_ == nullptr ? std::nullopt : xmp_->edited(packet, xmpEdit_);
  }

  /// A packet in the first directory stays only as it is.
  [[nodiscard]] bool packetInsideStays() const {
    const TiffEntry* const entry = directories_->first.find(exif_tag::kXmp);
    if (entry == nullptr) return true;
    if (!properties_.contains(kXmp)) return false;
    const ByteView packet = valueBytes(directories_->block, *entry);
    const auto edited = editedPacket(packet);
    return edited ? std::equal(edited->begin(), edited->end(), packet.begin(), packet.end()) : !removals_.any();
  }

  /// In a block whose parts overlap, editing one may damage another. Then there is no way to do what has to be done.
  [[nodiscard]] bool saysWhatItShould(ByteView edited, const ExifEdit& edit) const {
    const PropertyDictionary now = readExif(edited);
    const auto same = [&](std::string_view group, TagGroup names, const std::set<std::uint16_t>& tags) {
      return remaining(read_, group, names, tags) == remaining(now, group, names, {});
    };
    const PropertyValue* const gps = edit.removeGps ? nullptr : read_.find(kGps);
    const PropertyValue* const gpsNow = now.find(kGps);
    const bool sameGps = gps == nullptr || gpsNow == nullptr ? gps == gpsNow : *gps == *gpsNow;
    return sameGps && same(kTiff, TagGroup::tiff, edit.firstTags) && same(kExif, TagGroup::exif, edit.exifTags) &&
           (!edit.orientation || exifOrientation(edited) == edit.orientation);
  }

  const PropertyDictionary& properties_;
  const MetadataBlocks& blocks_;
  const XmpEngine* xmp_;
  XmpEdit xmpEdit_;
  std::optional<ExifDirectories> directories_;  // of the Exif block, where it can be read
  PropertyDictionary read_;                     // from the Exif block
  MetadataRemovals removals_;
};

}  // namespace

MetadataBlocks editedBlocks(const PropertyDictionary& properties, const XmpEngine* xmp) {
  MetadataBlocks edited;
  try {
    if (const auto& blocks = properties.blocks()) {
      const BlockEditor editor(properties, *blocks, xmp);
      edited.xmp = editor.packet();
      edited.exif = editor.exif();
    }
  } catch (const std::bad_alloc&) {
    edited = {};
  }
  const auto orientation = orientationOf(properties);
  if (!edited.exif && orientation) edited.exif = exifOrientationBlock(*orientation);
  return edited;
}

}  // namespace quellor
