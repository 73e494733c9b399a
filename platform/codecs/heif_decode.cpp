#include "platform/codecs/heif_decode.h"

#include <algorithm>
#include <initializer_list>
#include <thread>
#include <vector>

#include "platform/codecs/codec.h"
#include "platform/codecs/heif_library.h"
#include "platform/codecs/heif_raster.h"
#include "platform/heif/auxiliary_type.h"
#include "platform/heif/chroma_siting.h"
#include "platform/heif/clean_aperture.h"
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

std::vector<const Property*> propertiesOf(const Container& container, const Item& item, FourCC type) {
  std::vector<const Property*> found;
  for (const PropertyAssociation& association : item.properties) {
    const Property& property = container.properties[association.index];
    if (property.type == type) found.push_back(&property);
  }
  return found;
}

/// The clean aperture of an image that is cut from its decoded samples here: the library repeats or drops colour
/// differences where it begins at an odd sample, and copies the image. Null where there is none, or where there are
/// several or alpha has a size or clean aperture of its own: those the library brings together.
const Property* ownCleanAperture(const Container& container, const Item& image, const Item* alpha) {
  const auto apertures = propertiesOf(container, image, fourCC("clap"));
  if (apertures.size() != 1) return nullptr;
  if (alpha == nullptr) return apertures.front();
  const auto size = spatialExtents(container, image), alphaSize = spatialExtents(container, *alpha);
  if (!size || !alphaSize || size->width != alphaSize->width || size->height != alphaSize->height) return nullptr;
  for (const Property* other : propertiesOf(container, *alpha, fourCC("clap"))) {
    if (!std::equal(other->payload.begin(), other->payload.end(), apertures.front()->payload.begin(),
                    apertures.front()->payload.end())) {
      return nullptr;
    }
  }
  return apertures.front();
}

/// The file without the transformations of these items: their associations say "no property" (ISO/IEC 23008-12,
/// 9.3.3). Rotation and mirroring always go, the clean aperture where `uncropped` is set. The library's own switch
/// would drop what derived images are made with as well.
Bytes withoutTransformations(const Container& container, std::initializer_list<const Item*> items, bool uncropped) {
  Bytes file(container.file.begin(), container.file.end());
  for (const Item* item : items) {
    if (item == nullptr) continue;
    for (const PropertyAssociation& association : item->properties) {
      const FourCC type = container.properties[association.index].type;
      if (type != fourCC("irot") && type != fourCC("imir") && !(uncropped && type == fourCC("clap"))) continue;
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

ImagePointer decodeWithLibrary(ByteView file, ItemId item) {
  const ContextPointer context(heif_context_alloc());
  if (!context) return nullptr;
  setLimits(context.get());
  heif_context_set_max_decoding_threads(context.get(), static_cast<int>(std::thread::hardware_concurrency()));
  // The library's file reader stops the process on some damaged files; the one on memory reports an error.
  if (heif_context_read_from_memory_without_copy(context.get(), file.data(), file.size(), nullptr).code != 0) {
    return nullptr;
  }
  heif_image_handle* found = nullptr;
  if (heif_context_get_image_handle(context.get(), item, &found).code != 0) return nullptr;
  const HandlePointer handle(found);

  const OptionsPointer options(heif_decoding_options_alloc());
  if (!options) return nullptr;
  options->strict_decoding = 1;
  heif_image* image = nullptr;
  const heif_error error =
      heif_decode_image(handle.get(), &image, heif_colorspace_undefined, heif_chroma_undefined, options.get());
  return error.code == 0 ? ImagePointer(image) : nullptr;
}

bool isTransformed(const Container& container, const Item& item) {
  return std::any_of(item.properties.begin(), item.properties.end(), [&](const PropertyAssociation& association) {
    const FourCC type = container.properties[association.index].type;
    return type == fourCC("irot") || type == fourCC("imir") || type == fourCC("clap");
  });
}

/// The image that an identity derivation stands for; null for any other item and where there is not exactly one.
const Item* originalOf(const Container& container, const Item& item) {
  if (item.type != fourCC("iden")) return nullptr;
  const auto inputs = container.referencesFrom(item.id, fourCC("dimg"));
  return inputs.size() == 1 ? container.find(inputs.front()) : nullptr;
}

/// The library takes an identity derivation for its original without the original's transformations.
bool libraryIsRightAbout(const Container& container, const Item& image) {
  const Item* original = originalOf(container, image);
  while (original != nullptr && !isTransformed(container, *original)) original = originalOf(container, *original);
  return original == nullptr;
}

/// The item that the library is to decode for an image: where it would be wrong about an identity derivation, the
/// original, transformed. Null where that does not help either.
const Item* itemToDecode(const Container& container, const Item& image, const Item* alpha) {
  if (libraryIsRightAbout(container, image)) return &image;
  const Item* const original = originalOf(container, image);
  const bool onlyCropped = alpha == nullptr && propertiesOf(container, image, fourCC("clap")).size() <= 1;
  return onlyCropped && libraryIsRightAbout(container, *original) ? original : nullptr;
}

}  // namespace

std::optional<Raster> decodePrimaryImage(ByteView file) {
  const auto container = readContainer(file);
  if (!container) return std::nullopt;
  const Item& primary = *container->find(container->primaryItem);
  const auto items = itemsNeededFor(*container, primary);
  if (!items || !allDataIsThere(*container, *items)) return std::nullopt;

  const Item* const alpha = alphaImageOf(*container, primary.id);
  const Item* const decoded = itemToDecode(*container, primary, alpha);
  if (decoded == nullptr) return std::nullopt;
  startLibraryFor(*items);
  const Property* const aperture = ownCleanAperture(*container, primary, alpha);
  const Bytes coded = withoutTransformations(*container, {&primary, alpha}, aperture != nullptr);
  ImagePointer image = decodeWithLibrary(coded, decoded->id);
  if (!image) return std::nullopt;
  const bool premultiplied = !container->referencesFrom(primary.id, fourCC("prem")).empty();
  auto raster =
      rasterOf(std::move(image), {cicpOf(*container, primary), premultiplied, chromaSitingOf(*container, primary)});
  if (!raster || aperture == nullptr) return raster;
  const auto part = cropBy(aperture->payload, raster->width, raster->height);
  if (!part) return std::nullopt;
  crop(*raster, *part);
  return raster;
}

}  // namespace quellor::heif
