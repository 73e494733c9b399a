#include "platform/metadata/block_editing.h"

#include <algorithm>

#include "platform/metadata/exif_editor.h"

namespace quellor {
namespace {

using namespace metadata;

std::optional<Bytes> editedPacket(ByteView packet, const XmpEdit& edit, const XmpEngine& xmp) {
  if (edit.removals.packet) return std::nullopt;
  auto edited = xmp.edited(packet, edit);
  if (!edited && !edit.removals.inside()) return Bytes(packet.begin(), packet.end());
  return edited;
}

/// Whether a packet in the Exif block may stay where it is.
bool packetsInsideStay(const ExifDirectories& directories, const XmpEdit& edit, const XmpEngine& xmp) {
  const auto& entries = directories.first.entries;
  return std::all_of(entries.begin(), entries.end(), [&](const TiffEntry& entry) {
    if (entry.tag != exif_tag::kXmp) return true;
    if (!entry.valueReadable) return !edit.removals.inside();
    const ByteView packet = valueBytes(directories.block, entry);
    const auto edited = editedPacket(packet, edit, xmp);
    return edited && std::ranges::equal(*edited, packet);
  });
}

std::optional<Bytes> editedExifBlock(ByteView block, const XmpEdit& edit, const XmpEngine& xmp) {
  const auto directories = readExifDirectories(block);
  if (!directories) return std::nullopt;
  ExifEdit inBlock{edit.removals, edit.orientation};
  inBlock.removals.packet = edit.removals.packet || !packetsInsideStay(*directories, edit, xmp);
  return editedExif(*directories, inBlock);
}

}  // namespace

MetadataBlocks editedBlocks(const MetadataBlocks& blocks, const MetadataRemovals& removals,
                            std::optional<int> orientation, const XmpEngine& xmp) {
  const XmpEdit edit{removals, orientation};
  MetadataBlocks edited;
  if (blocks.exif) edited.exif = editedExifBlock(*blocks.exif, edit, xmp);
  if (!edited.exif && orientation) edited.exif = exifOrientationBlock(*orientation);
  if (blocks.xmp) edited.xmp = editedPacket(*blocks.xmp, edit, xmp);
  return edited;
}

}  // namespace quellor
