#include "platform/codecs/heif_decode.h"

#include <algorithm>
#include <thread>

#include "platform/codecs/codec.h"
#include "platform/codecs/heif_library.h"
#include "platform/codecs/heif_raster.h"
#include "platform/heif/auxiliary_type.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/item_relations.h"

namespace quellor::heif {
namespace {

bool allDataIsThere(const Container& container, const std::vector<const Item*>& items) {
  return std::all_of(items.begin(), items.end(), [&](const Item* item) {
    // Some identity derivations have no data of their own.
    const bool empty = item->extents.empty() && item->type == fourCC("iden");
    return empty || itemPieces(container, *item).has_value();
  });
}

bool isOrientation(const Container& container, const PropertyAssociation& association) {
  const FourCC type = container.properties[association.index].type;
  return type == fourCC("irot") || type == fourCC("imir");
}

/// The file without the rotation and mirroring of its primary image and of that image's alpha: their associations
/// say "no property" (ISO/IEC 23008-12, 9.3.3). The library's own switch would drop the clean aperture, and the
/// rotation of what a derived image is made of, as well.
Bytes withoutOrientation(const Container& container) {
  Bytes file(container.file.begin(), container.file.end());
  const Item* const primary = container.find(container.primaryItem);
  for (const Item* item : {primary, alphaImageOf(container, primary->id)}) {
    if (item == nullptr) continue;
    for (const PropertyAssociation& association : item->properties) {
      if (!isOrientation(container, association)) continue;
      std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(association.fileOffset), association.fileSize,
                  std::uint8_t{0});
    }
  }
  return file;
}

/// The library's limits stay on; they are raised as far as a photo of 200 megapixels (16320 x 12240, 768 tiles and
/// those of its gain map) needs.
void setLimits(heif_context* context) {
  heif_security_limits* const limits = heif_context_get_security_limits(context);
  limits->max_image_size_pixels = kMaximumPixels;
  limits->max_items = std::max<std::uint32_t>(limits->max_items, 8192);
  limits->max_memory_block_size = std::max<std::uint64_t>(limits->max_memory_block_size, std::uint64_t{1} << 30);
}

ImagePointer decodeWithLibrary(ByteView file) {
  const ContextPointer context(heif_context_alloc());
  if (!context) return nullptr;
  setLimits(context.get());
  heif_context_set_max_decoding_threads(context.get(), static_cast<int>(std::thread::hardware_concurrency()));
  // The library's file reader stops the process on some damaged files; the one on memory reports an error.
  if (heif_context_read_from_memory_without_copy(context.get(), file.data(), file.size(), nullptr).code != 0) {
    return nullptr;
  }
  heif_image_handle* handle = nullptr;
  if (heif_context_get_primary_image_handle(context.get(), &handle).code != 0) return nullptr;
  const HandlePointer primary(handle);

  const OptionsPointer options(heif_decoding_options_alloc());
  if (!options) return nullptr;
  options->strict_decoding = 1;
  heif_image* image = nullptr;
  const heif_error error =
      heif_decode_image(primary.get(), &image, heif_colorspace_undefined, heif_chroma_undefined, options.get());
  return error.code == 0 ? ImagePointer(image) : nullptr;
}

}  // namespace

std::optional<Raster> decodePrimaryImage(ByteView file) {
  const auto container = readContainer(file);
  if (!container) return std::nullopt;
  const Item& primary = *container->find(container->primaryItem);
  const auto items = itemsNeededFor(*container, primary);
  if (!items || !allDataIsThere(*container, *items)) return std::nullopt;
  startLibraryFor(*items);

  const Bytes stored = withoutOrientation(*container);
  ImagePointer image = decodeWithLibrary(stored);
  if (!image) return std::nullopt;
  const bool premultiplied = !container->referencesFrom(primary.id, fourCC("prem")).empty();
  return rasterOf(std::move(image), {cicpOf(*container, primary), premultiplied});
}

}  // namespace quellor::heif
