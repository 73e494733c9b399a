#include "platform/heif/heif_facts.h"

#include <algorithm>
#include <string_view>

#include "platform/heif/auxiliary_images.h"
#include "platform/heif/auxiliary_type.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/item_relations.h"

namespace quellor::heif {
namespace {

constexpr std::size_t kMaximumMetadataBytes = std::size_t{64} << 20;

/// An Exif item begins with the distance from its fifth byte to the TIFF header (ISO/IEC 23008-12, annex A.2.1).
std::optional<Bytes> exifBlock(const Bytes& item) {
  if (item.size() < 4) return std::nullopt;
  const std::uint32_t offset = ByteReader(item).u32();
  if (offset >= item.size() - 4) return std::nullopt;
  return Bytes(item.begin() + 4 + static_cast<std::ptrdiff_t>(offset), item.end());
}

/// The blocks that describe `image`; the first of a kind counts.
MetadataBlocks metadataOf(const Container& container, const Item& image) {
  MetadataBlocks blocks;
  for (const Item* item : container.itemsReferringTo(image.id, fourCC("cdsc"))) {
    const bool xmp = item->type == fourCC("mime") && item->contentType == "application/rdf+xml";
    const bool iptc = item->type == fourCC("iptc");
    const bool exif = item->type == fourCC("Exif");
    if ((!exif && !xmp && !iptc) || !item->contentEncoding.empty()) continue;
    auto data = itemData(container, *item, kMaximumMetadataBytes);
    if (!data) continue;
    if (exif && !blocks.exif) blocks.exif = exifBlock(*data);
    if (xmp && !blocks.xmp) {
      blocks.xmp = std::move(data);
    } else if (iptc && !blocks.iptc) {
      blocks.iptc = std::move(data);
    }
  }
  return blocks;
}

}  // namespace

Outcome<ImageFacts> factsOf(ByteView file) {
  const auto container = readContainer(file);
  if (!container) return container.refusal();
  const Item& primary = *container->find(container->primaryItem);
  const ImageSize size = storedSize(*container, primary).value_or(ImageSize{});
  const SampleFormat format = sampleFormatOf(*container, primary);

  ImageFacts facts;
  facts.imageCount = topLevelImages(*container).size();
  facts.primaryImage = facts.imageCount > 1;
  facts.width = size.width;
  facts.height = size.height;
  facts.bitsPerComponent = format.bitsPerComponent;
  facts.colorModel = format.model;
  facts.hasAlpha = alphaImageOf(*container, primary.id) != nullptr;
  facts.orientation = orientationOf(*container, primary);
  // Viewers take the Exif orientation for history in a file that promises MIAF (ISO/IEC 23000-22), and for an
  // instruction in any other one.
  facts.exifOrientationCounts = !container->hasCompatibleBrand(fourCC("miaf"));
  facts.iccProfile = iccProfileOf(*container, primary);
  facts.cicp = cicpOf(*container, primary);
  facts.metadata = metadataOf(*container, primary);
  facts.auxiliaryImages = auxiliaryImagesOf(*container, primary);
  return facts;
}

}  // namespace quellor::heif
