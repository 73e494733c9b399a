#include "platform/formats/heif_grid.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "platform/formats/heif_items.h"
#include "platform/formats/planes.h"
#include "platform/heif/auxiliary_type.h"
#include "platform/heif/derivations.h"
#include "platform/heif/item_data.h"
#include "platform/threads/threads.h"

namespace quellor::formats {
namespace {

using heif::fourCC;

constexpr std::size_t kMaximumDataBytes = 64;

/// Whether what is decoded of the item has alpha.
bool hasAlpha(const heif::Container& container, const heif::Item& item) {
  if (heif::alphaImageOf(container, item.id) != nullptr) return true;
  if (item.type != fourCC("grid") && item.type != fourCC("iden")) return false;
  const auto inputs = container.referencesFrom(item.id, fourCC("dimg"));
  return std::any_of(inputs.begin(), inputs.end(),
                     [&](heif::ItemId id) { return hasAlpha(container, *container.find(id)); });
}

/// What the tiles of one grid have in common.
struct TileForm {
  PlaneLayout layout;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  Cicp coding;
  ChromaSiting siting = ChromaSiting::left;
  bool chromaOnRight = false;
  friend bool operator==(const TileForm&, const TileForm&) = default;
};

TileForm formOf(const DecodedImage& tile) {
  const Raster& raster = tile.raster;
  return {layoutOf(raster), raster.width, raster.height, raster.coding, raster.chromaSiting, tile.chromaOnRight};
}

/// The refusal of whichever tile was the first to be refused.
class FirstRefusal {
 public:
  /// False, for the work that ends with it.
  bool keep(Refusal refusal) {
    const std::lock_guard lock(mutex_);
    if (!refusal_) refusal_ = refusal;
    return false;
  }

  /// Once all threads have ended.
  [[nodiscard]] Refusal kept() const { return *refusal_; }

 private:
  std::mutex mutex_;
  std::optional<Refusal> refusal_;
};

/// The picture that tiles are put into, each on whatever thread decoded it. The first one to come decides what all of
/// them have to be like.
class Mosaic {
 public:
  Mosaic(const heif::ImageGrid& grid, bool alpha) : grid_(grid), alpha_(alpha) {}

  bool put(const DecodedImage& tile, std::size_t index) {
    const Planes* const planes = planesFor(tile);
    if (planes == nullptr) return false;
    const Raster& raster = tile.raster;
    const auto column = static_cast<std::uint32_t>(index % grid_.columns);
    const auto row = static_cast<std::uint32_t>(index / grid_.columns);
    const std::uint64_t left = std::uint64_t{column} * raster.width, top = std::uint64_t{row} * raster.height;
    if (left >= grid_.size.width || top >= grid_.size.height) return true;
    const auto x = static_cast<std::uint32_t>(left), y = static_cast<std::uint32_t>(top);
    planes->paste(raster, x, y);
    if (alpha_ && !raster.alpha) {
      const auto opaque = static_cast<std::uint16_t>((1U << raster.bitsPerComponent) - 1);
      planes->fill(raster.components.size(), opaque, x, y, raster.width, raster.height);
    }
    return true;
  }

  /// Once every tile is in its place.
  [[nodiscard]] DecodedImage picture() const {
    DecodedImage image{planes_->raster(), form_.chromaOnRight};
    image.raster.coding = form_.coding;
    image.raster.chromaSiting = form_.siting;
    image.raster.premultiplied = premultiplied_.value_or(false);
    return image;
  }

 private:
  /// Null when the tile does not fit.
  const Planes* planesFor(const DecodedImage& tile) {
    const TileForm form = formOf(tile);
    const std::lock_guard lock(mutex_);
    if (!planes_) {
      const bool wholeDifferences = (grid_.columns == 1 || form.width % form.layout.across == 0) &&
                                    (grid_.rows == 1 || form.height % form.layout.down == 0);
      if (!wholeDifferences) return nullptr;
      form_ = form;
      planes_.emplace(form.layout, grid_.size.width, grid_.size.height, alpha_, tile.raster.hasSamples());
    }
    const Raster& raster = tile.raster;
    if (form != form_ || raster.chromaPhase != ChromaPhase() || (raster.alpha && !alpha_)) return nullptr;
    if (raster.alpha) {
      if (premultiplied_.value_or(raster.premultiplied) != raster.premultiplied) return nullptr;
      premultiplied_ = raster.premultiplied;
    }
    return &*planes_;
  }

  const heif::ImageGrid grid_;
  const bool alpha_;
  std::mutex mutex_;
  TileForm form_;
  std::optional<Planes> planes_;
  std::optional<bool> premultiplied_;  // of the tiles that have alpha
};

}  // namespace

Outcome<DecodedImage> decodeGrid(const ItemDecoder& decoder, const heif::Item& item, unsigned threads) {
  const heif::Container& container = decoder.container();
  const auto data = heif::itemData(container, item, kMaximumDataBytes);
  const auto grid = data ? heif::readImageGrid(*data) : std::nullopt;
  const auto tiles = container.referencesFrom(item.id, fourCC("dimg"));
  if (!grid || tiles.size() != std::size_t{grid->columns} * grid->rows) {
    return Refusal{"the description of a grid is broken"};
  }

  Mosaic mosaic(*grid, hasAlpha(container, item));
  const unsigned workers = std::min<unsigned>(threads, static_cast<unsigned>(tiles.size()));
  const unsigned threadsForATile = std::max(1U, threads / std::max(1U, workers));
  FirstRefusal refusal;
  const bool whole = forEachIndex(tiles.size(), workers, [&](std::size_t index) {
    const auto tile = decoder.decode(decoder.input(tiles[index]), Transformations::all, threadsForATile);
    if (!tile) return refusal.keep(tile.refusal());
    return mosaic.put(*tile, index) || refusal.keep({"tiles of a grid do not fit each other"});
  });
  if (!whole) return refusal.kept();
  return mosaic.picture();
}

}  // namespace quellor::formats
