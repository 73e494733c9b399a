#include "platform/formats/heif_checks.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/formats/av1_items.h"
#include "platform/formats/hevc_configuration.h"
#include "platform/formats/jpeg_items.h"
#include "platform/heif/auxiliary_type.h"
#include "platform/heif/clean_aperture.h"
#include "platform/heif/derivations.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/item_relations.h"
#include "platform/values/limits.h"

namespace quellor::formats {
namespace {

using heif::Container;
using heif::fourCC;
using heif::ImageSize;
using heif::Item;

/// Properties that may be essential: those that decoding obeys, and those that tell about the image without changing
/// its samples. `lsel` and `iscl` are none of them: a layer would have to be chosen, the samples scaled.
constexpr std::array kUnderstood = {
    fourCC("hvcC"), fourCC("av1C"), fourCC("jpgC"), fourCC("ispe"), fourCC("clap"), fourCC("irot"), fourCC("imir"),
    fourCC("a1op"), fourCC("colr"), fourCC("pixi"), fourCC("pasp"), fourCC("auxC"), fourCC("clli"), fourCC("mdcv"),
    fourCC("cclv"), fourCC("amve"), fourCC("reve"), fourCC("ndwt"), fourCC("rloc"), fourCC("udes"), fourCC("altt"),
    fourCC("a1lx"), fourCC("crtt"), fourCC("mdft"), fourCC("cmin"), fourCC("cmex")};

bool understandsProperties(const Container& container, const Item& item) {
  return std::all_of(item.properties.begin(), item.properties.end(), [&](const heif::PropertyAssociation& each) {
    const heif::FourCC type = container.properties[each.index].type;
    return !each.essential || std::find(kUnderstood.begin(), kUnderstood.end(), type) != kUnderstood.end();
  });
}

bool isPossible(ImageSize size) {
  return size.width != 0 && size.height != 0 && std::uint64_t{size.width} * size.height <= kMaximumPixels;
}

bool isSame(ImageSize a, ImageSize b) { return a.width == b.width && a.height == b.height; }

std::optional<ImageSize> transformedSize(const Container& container, const Item& item);

/// The size of an item before it is transformed: that of an identity is its input's, whatever it declares.
std::optional<ImageSize> sizeOf(const Container& container, const Item& item) {
  if (item.type != fourCC("iden")) return heif::spatialExtents(container, item);
  const auto inputs = container.referencesFrom(item.id, fourCC("dimg"));
  return inputs.size() == 1 ? transformedSize(container, *container.find(inputs.front())) : std::nullopt;
}

/// The size of an item once it has been transformed; absent where it declares none or none is left.
std::optional<ImageSize> transformedSize(const Container& container, const Item& item) {
  auto size = sizeOf(container, item);
  for (const heif::PropertyAssociation& association : item.properties) {
    const heif::Property& property = container.properties[association.index];
    if (!size) break;
    if (property.type == fourCC("clap")) {
      const auto part = heif::cropBy(property.payload, size->width, size->height);
      size = part ? std::optional(ImageSize{part->width, part->height}) : std::nullopt;
    } else if (property.type == fourCC("irot") && !property.payload.empty() && (property.payload[0] & 1) != 0) {
      std::swap(size->width, size->height);
    }
  }
  return size;
}

bool coversGrid(const heif::ImageGrid& grid, ImageSize tile) {
  return std::uint64_t{tile.width} * grid.columns >= grid.size.width &&
         std::uint64_t{tile.height} * grid.rows >= grid.size.height;
}

/// The data of a derived item is a few fields for each input.
constexpr std::size_t kMaximumDerivationBytes = std::size_t{1} << 21;

using MaybeRefusal = std::optional<Refusal>;

class Checks {
 public:
  explicit Checks(const Container& container) : container_(container) {}

  /// Also keeps what reading the data will cost.
  [[nodiscard]] MaybeRefusal refusalOfData(const Item& item) {
    if (item.type == fourCC("iden")) return std::nullopt;  // most of them have no data of their own
    const auto pieces = heif::itemPieces(container_, item);
    if (!pieces) return Refusal{"an item lacks its data"};
    pieces_ += pieces->size();
    std::uint64_t& cost = dataCost_[item.id];
    for (const ByteView piece : *pieces) cost = sum(cost, kCostOfAPiece + piece.size());
    return unless(pieces_ <= kMaximumPieces, "items are cut out of too many pieces");
  }

  [[nodiscard]] MaybeRefusal refusalOfDeclarations(const Item& item) {
    const auto size = sizeOf(container_, item);
    if (!size) return Refusal{"an item declares no size"};
    if (!isPossible(*size)) return Refusal{"an item has no pixel or too many"};
    if (!understandsProperties(container_, item)) return Refusal{"an essential property is not understood"};
    switch (item.type) {
      case fourCC("grid"):
        return refusalOfGrid(item, *size);
      case fourCC("iovl"):
        return unless(isOverlay(item, *size), "an overlay and its inputs do not fit each other");
      case fourCC("iden"):
        return std::nullopt;
      case fourCC("hvc1"):
      case fourCC("hev1"):
        return refusalOfHevc(item, *size);
      case fourCC("av01"):
        return unless(isWithin(*size, declaredAv1Size(container_, item)), "a sequence header is of another size");
      case fourCC("jpeg"):
        return unless(isOf(declaredJpegSize(container_, item), *size), "a frame header is of another size");
      default:
        return Refusal{"an item is of a kind that is not decoded"};
    }
  }

  /// The work that an item takes, in samples; every use of it takes as much again. Only for items that have their data
  /// and refer to each other in no circle.
  std::uint64_t workOf(const Item& item) {
    if (const auto known = work_.find(item.id); known != work_.end()) return known->second;
    constexpr std::uint64_t kLeast = 4096;  // what setting up a decoder costs
    const ImageSize size = sizeOf(container_, item).value_or(ImageSize{});
    std::uint64_t work = std::max(kLeast, std::uint64_t{size.width} * size.height);
    if (const auto cost = dataCost_.find(item.id); cost != dataCost_.end()) work = sum(work, cost->second);
    const auto add = [&](const Item* each) { work = each == nullptr ? work : sum(work, workOf(*each)); };
    for (const heif::ItemId id : container_.referencesFrom(item.id, fourCC("dimg"))) add(container_.find(id));
    add(heif::alphaImageOf(container_, item.id));
    return work_[item.id] = work;
  }

 private:
  /// Runs of bytes that items may be cut out of, all together, and what each costs compared to a byte.
  static constexpr std::size_t kMaximumPieces = std::size_t{1} << 21;
  static constexpr std::uint64_t kCostOfAPiece = 64;

  static std::uint64_t sum(std::uint64_t a, std::uint64_t b) { return a > UINT64_MAX - b ? UINT64_MAX : a + b; }

  static MaybeRefusal unless(bool condition, const char* reason) {
    return condition ? std::nullopt : MaybeRefusal(Refusal{reason});
  }

  static bool isOf(std::optional<ImageSize> coded, ImageSize size) { return coded && isSame(*coded, size); }

  /// A frame may be smaller than the greatest of its sequence.
  static bool isWithin(ImageSize size, std::optional<ImageSize> greatest) {
    return greatest && size.width <= greatest->width && size.height <= greatest->height;
  }

  /// A parameter set that is not understood here may still be decoded: what comes of it is compared then.
  [[nodiscard]] MaybeRefusal refusalOfHevc(const Item& item, ImageSize size) const {
    const heif::Property* const property = heif::findProperty(container_, item, fourCC("hvcC"));
    const auto configuration = property != nullptr ? readHevcConfiguration(property->payload) : std::nullopt;
    if (!configuration) return Refusal{"an item lacks the configuration of its decoder"};
    const auto set = sequenceParameterSetOf(*configuration);
    return unless(!set || isSame({set->shownWidth, set->shownHeight}, size), "a parameter set is of another size");
  }

  [[nodiscard]] std::vector<std::optional<ImageSize>> inputSizes(const Item& item) const {
    std::vector<std::optional<ImageSize>> sizes;
    for (const heif::ItemId id : container_.referencesFrom(item.id, fourCC("dimg"))) {
      sizes.push_back(transformedSize(container_, *container_.find(id)));
    }
    return sizes;
  }

  [[nodiscard]] MaybeRefusal refusalOfGrid(const Item& item, ImageSize size) const {
    const auto data = heif::itemData(container_, item, kMaximumDerivationBytes);
    const auto grid = data ? heif::readImageGrid(*data) : std::nullopt;
    if (!grid) return Refusal{"the description of a grid is broken"};
    if (!isSame(grid->size, size)) return Refusal{"a grid is of another size than it declares"};
    const auto tiles = inputSizes(item);
    if (tiles.size() != std::size_t{grid->columns} * grid->rows) return Refusal{"a grid lacks a tile"};
    const auto isAsFirst = [&](const auto& tile) { return tile && isSame(*tile, *tiles.front()); };
    const bool alike = std::all_of(tiles.begin(), tiles.end(), isAsFirst);
    if (!tiles.front() || !alike) return Refusal{"tiles of a grid differ in size"};
    return unless(coversGrid(*grid, *tiles.front()), "the tiles do not cover their grid");
  }

  [[nodiscard]] bool isOverlay(const Item& item, ImageSize size) const {
    const auto data = heif::itemData(container_, item, kMaximumDerivationBytes);
    const auto inputs = inputSizes(item);
    const auto overlay = data ? heif::readImageOverlay(*data, inputs.size()) : std::nullopt;
    return overlay && isSame(overlay->size, size) &&
           std::all_of(inputs.begin(), inputs.end(), [](const auto& input) { return input.has_value(); });
  }

  const Container& container_;
  std::size_t pieces_ = 0;
  std::unordered_map<heif::ItemId, std::uint64_t> dataCost_;
  std::unordered_map<heif::ItemId, std::uint64_t> work_;
};

/// Far above what photos need: a grid reaches beyond its picture by less than one row and column of tiles, and alpha
/// doubles the work.
std::uint64_t reasonableWork(const Container& container, const Item& image) {
  constexpr std::uint64_t kAlways = std::uint64_t{1} << 26, kFactor = 8;
  const ImageSize size = sizeOf(container, image).value_or(ImageSize{});
  return std::max(kAlways, kFactor * size.width * size.height) + kFactor * container.file.size();
}

}  // namespace

std::optional<Refusal> refusalToDecode(const Container& container, const Item& image) {
  const auto items = heif::itemsNeededFor(container, image);
  if (!items) return Refusal{"an item is missing, or items refer to each other too deeply"};
  Checks checks(container);
  for (const Item* item : *items) {
    if (const auto refusal = checks.refusalOfData(*item)) return refusal;
    if (const auto refusal = checks.refusalOfDeclarations(*item)) return refusal;
  }
  if (checks.workOf(image) > reasonableWork(container, image)) return Refusal{"the work is out of proportion"};
  return std::nullopt;
}

}  // namespace quellor::formats
