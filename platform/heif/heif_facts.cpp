#include "platform/heif/heif_facts.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "platform/heif/auxiliary_type.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/item_relations.h"
#include "platform/metadata/xmp_packet.h"
#include "platform/values/bit_reader.h"

namespace quellor::heif {
namespace {

using Kind = AuxiliaryImage::Kind;

constexpr std::size_t kMaximumXmpBytes = std::size_t{16} << 20;

bool isDepth(std::string_view urn) {
  return urn == "urn:mpeg:hevc:2015:auxid:2" || urn == "urn:mpeg:mpegB:cicp:systems:auxiliary:depth";
}

bool isSemanticMatte(std::string_view urn) {
  constexpr std::array<std::string_view, 2> families = {"urn:com:apple:photo:2019:aux:semantic",
                                                        "urn:com:apple:photo:2020:aux:semantic"};
  return urn.ends_with("matte") && std::any_of(families.begin(), families.end(),
                                               [urn](std::string_view family) { return urn.starts_with(family); });
}

bool isGainMap(std::string_view urn) {
  return urn == "urn:com:apple:photo:2020:aux:hdrgainmap" || urn == "urn:com:samsung:photo:2024:aux:hdrgainmap" ||
         urn == "urn:iso:std:iso:ts:21496:-1";
}

/// Whether a depth representation information message (ITU-T H.265, G.14.2.3) in the subtype says disparity:
/// type 1 is uniform in disparity, type 3 not uniform. The subtype is a length, then NAL units with their lengths,
/// then SEI messages (23008-12, annex B.2.2.3).
bool representsDisparity(ByteView subtype) {
  constexpr unsigned prefixSei = 39, suffixSei = 40, depthRepresentation = 177;
  ByteReader all(subtype);
  ByteReader units(all.bytes(std::min<std::size_t>(all.u32(), all.remaining())));
  while (units.remaining() > 4) {
    ByteReader unit(units.bytes(units.u32()));
    const unsigned type = (unit.u16() >> 9) & 0x3f;
    if (type != prefixSei && type != suffixSei) continue;
    const unsigned message = unit.u8();
    const ByteView payload = unit.bytes(unit.u8());
    if (message != depthRepresentation) continue;
    BitReader bits(payload);
    bits.skip(4);  // which of z near, z far, d min and d max follow
    const std::uint32_t representation = bits.unsignedGolomb();
    return !bits.failed() && (representation == 1 || representation == 3);
  }
  return false;
}

bool subtypeSaysDisparity(ByteView subtype) {
  try {
    return subtype.size() >= 4 && representsDisparity(subtype);
  } catch (const MalformedContainer&) {
    return false;
  }
}

bool xmpSaysDisparity(const Container& container, const Item& item) {
  const auto blocks = container.itemsReferringTo(item.id, fourCC("cdsc"));
  return std::any_of(blocks.begin(), blocks.end(), [&](const Item* block) {
    if (block->type != fourCC("mime") || block->contentType != "application/rdf+xml") return false;
    const auto packet = itemData(container, *block, kMaximumXmpBytes);
    return packet && xmpTextOf(*packet, "AuxiliaryImageType") == "disparity";
  });
}

std::optional<Kind> kindOf(const Container& container, const Item& item, const AuxiliaryType& type) {
  if (type.urn == "urn:com:apple:photo:2018:aux:portraiteffectsmatte") return Kind::portraitEffectsMatte;
  if (isSemanticMatte(type.urn)) return Kind::semanticSegmentationMatte;
  if (isGainMap(type.urn)) return Kind::hdrGainMap;
  if (!isDepth(type.urn)) return std::nullopt;
  const bool disparity = subtypeSaysDisparity(type.subtype) || xmpSaysDisparity(container, item);
  return disparity ? Kind::disparity : Kind::depth;
}

AuxiliaryImage describe(const Container& container, const Item& item, Kind kind, std::string type) {
  const ImageSize size = storedSize(container, item).value_or(ImageSize{});
  return {kind, size.width, size.height, std::move(type)};
}

/// The gain maps of tone-mapped renditions (ISO/IEC 23008-12:2022/Amd 1): a tmap item is derived from its base image
/// and, second, from the gain map.
void appendToneMapGainMaps(const Container& container, const Item& base, std::vector<AuxiliaryImage>& images) {
  for (const Item* rendition : container.itemsReferringTo(base.id, fourCC("dimg"))) {
    if (rendition->type != fourCC("tmap")) continue;
    const auto inputs = container.referencesFrom(rendition->id, fourCC("dimg"));
    const Item* const gainMap = inputs.size() == 2 && inputs[0] == base.id ? container.find(inputs[1]) : nullptr;
    if (gainMap != nullptr) images.push_back(describe(container, *gainMap, Kind::hdrGainMap, "tmap"));
  }
}

/// The auxiliary images of `image` of the kinds that are reported, in item order; alpha is none of them.
std::vector<AuxiliaryImage> auxiliaryImagesOf(const Container& container, const Item& image) {
  std::vector<AuxiliaryImage> images;
  for (const Item* item : container.itemsReferringTo(image.id, fourCC("auxl"))) {
    const auto type = auxiliaryTypeOf(container, *item);
    const auto kind = type ? kindOf(container, *item, *type) : std::nullopt;
    if (kind) images.push_back(describe(container, *item, *kind, type->urn));
  }
  appendToneMapGainMaps(container, image, images);
  return images;
}

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
