#include "platform/metadata/block_editing.h"

#include <algorithm>

#include "platform/metadata/exif_editor.h"
#include "platform/metadata/xmp_editor.h"

namespace quellor {
namespace {

using namespace metadata;

std::optional<Bytes> editedPacket(ByteView packet, const XmpEdit& edit) {
  if (edit.removals.packet) return std::nullopt;
  auto edited = editedXmp(packet, edit);
  if (!edited && !edit.removals.inside()) return Bytes(packet.begin(), packet.end());
  return edited;
}

/// Whether the packet in the Exif block may stay where it is. Several of them are not looked into, because thousands
/// could share the bytes of one: they stay when nothing has to be removed.
bool packetInsideStays(const ExifDirectories& directories, const XmpEdit& edit) {
  const auto& entries = directories.first.entries;
  const auto isPacket = [](const TiffEntry& entry) { return entry.tag == exif_tag::kXmp; };
  const auto entry = std::find_if(entries.begin(), entries.end(), isPacket);
  if (entry == entries.end()) return true;
  const bool several = std::any_of(entry + 1, entries.end(), isPacket);
  if (several || !entry->valueReadable) return !edit.removals.inside();
  const ByteView packet = valueBytes(directories.block, *entry);
  const auto edited = editedPacket(packet, edit);
  return edited && std::ranges::equal(*edited, packet);
}

std::optional<Bytes> editedExifBlock(ByteView block, const XmpEdit& edit) {
  const auto directories = readExifDirectories(block);
  if (!directories) return std::nullopt;
  ExifEdit inBlock{edit.removals, edit.orientation};
  inBlock.removals.packet = edit.removals.packet || !packetInsideStays(*directories, edit);
  return editedExif(*directories, inBlock);
}

}  // namespace

MetadataBlocks editedBlocks(const MetadataBlocks& blocks, const MetadataRemovals& removals,
                            std::optional<int> orientation) {
  const XmpEdit edit{removals, orientation};
  MetadataBlocks edited;
  if (blocks.exif) edited.exif = editedExifBlock(*blocks.exif, edit);
  if (!edited.exif && orientation) edited.exif = exifOrientationBlock(*orientation);
  if (blocks.xmp) edited.xmp = editedPacket(*blocks.xmp, edit);
  return edited;
}

}  // namespace quellor
