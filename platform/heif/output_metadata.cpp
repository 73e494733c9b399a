#include "platform/heif/output_metadata.h"

#include <algorithm>
#include <array>
#include <unordered_set>

namespace quellor::heif {
namespace {

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
