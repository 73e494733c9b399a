#include "platform/heif/item_data.h"

#include <algorithm>

#include "platform/heif/item_relations.h"

namespace quellor::heif {
namespace {

/// Items that are cut out of items that are cut out of items: one level occurs, more is no photo.
constexpr int kMaximumNesting = 4;

std::optional<std::vector<ByteView>> piecesOf(const Container& container, const Item& item, int nesting);

/// Bounds against items that are cut a thousand times out of items of a thousand extents: no photo comes near.
constexpr std::size_t kMaximumPieces = std::size_t{1} << 20;

/// Cuts `extent` out of bytes that lie in several runs.
bool appendCut(const std::vector<ByteView>& runs, Extent extent, std::vector<ByteView>& pieces) {
  std::uint64_t total = 0;
  for (const ByteView run : runs) total += run.size();
  if (extent.offset > total) return false;
  std::uint64_t wanted = extent.length == 0 ? total - extent.offset : extent.length;
  if (wanted > total - extent.offset) return false;
  std::uint64_t skip = extent.offset;
  for (const ByteView run : runs) {
    if (skip >= run.size()) {
      skip -= run.size();
      continue;
    }
    const std::size_t start = static_cast<std::size_t>(skip);
    const std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, run.size() - start));
    if (size > 0) pieces.push_back(run.subspan(start, size));
    if (pieces.size() > kMaximumPieces) return false;
    wanted -= size;
    skip = 0;
  }
  return true;
}

/// What the extents of an item are relative to (ISO/IEC 14496-12, 8.11.3.1).
std::optional<std::vector<ByteView>> origin(const Container& container, const Item& item, int nesting) {
  switch (item.constructionMethod) {
    case ConstructionMethod::file:
      return std::vector<ByteView>{container.file};
    case ConstructionMethod::idat:
      return std::vector<ByteView>{container.idat};
    case ConstructionMethod::item:
      break;
  }
  const std::vector<ItemId> sources = container.referencesFrom(item.id, fourCC("iloc"));
  const Item* const source = sources.size() == 1 ? container.find(sources.front()) : nullptr;
  if (source == nullptr || nesting >= kMaximumNesting) return std::nullopt;
  return piecesOf(container, *source, nesting + 1);
}

std::optional<std::vector<ByteView>> piecesOf(const Container& container, const Item& item, int nesting) {
  if (item.extents.empty() || item.protectionIndex != 0 || item.dataReferenceIndex != 0) return std::nullopt;
  const auto runs = origin(container, item, nesting);
  if (!runs) return std::nullopt;
  std::vector<ByteView> pieces;
  for (const Extent& extent : item.extents) {
    if (!appendCut(*runs, extent, pieces)) return std::nullopt;
  }
  return pieces;
}

}  // namespace

std::optional<std::vector<ByteView>> itemPieces(const Container& container, const Item& item) {
  return piecesOf(container, item, 0);
}

std::optional<Bytes> itemData(const Container& container, const Item& item, std::size_t maximumSize) {
  const auto pieces = itemPieces(container, item);
  if (!pieces) return std::nullopt;
  Bytes data;
  for (const ByteView piece : *pieces) {
    if (piece.size() > maximumSize - data.size()) return std::nullopt;
    data.insert(data.end(), piece.begin(), piece.end());
  }
  return data;
}

}  // namespace quellor::heif
