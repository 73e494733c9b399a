#include "platform/heif/container.h"

#include <algorithm>

namespace quellor::heif {

void Container::buildIndexes() {
  for (std::size_t i = 0; i < items.size(); ++i) itemIndex_.emplace(items[i].id, i);
  for (std::size_t i = 0; i < references.size(); ++i) {
    referencesByFrom_.emplace(references[i].from, i);
    for (const ItemId to : references[i].to) referencesByTo_.emplace(to, i);
  }
}

const Item* Container::find(ItemId id) const {
  const auto index = itemIndex_.find(id);
  return index == itemIndex_.end() ? nullptr : &items[index->second];
}

bool Container::hasCompatibleBrand(FourCC brand) const {
  return std::find(compatibleBrands.begin(), compatibleBrands.end(), brand) != compatibleBrands.end();
}

std::vector<ItemId> Container::referencesFrom(ItemId from, FourCC type) const {
  std::vector<std::size_t> indexes;
  const auto [first, last] = referencesByFrom_.equal_range(from);
  std::for_each(first, last, [&](const auto& entry) { indexes.push_back(entry.second); });
  std::sort(indexes.begin(), indexes.end());
  std::vector<ItemId> targets;
  for (const std::size_t index : indexes) {
    const Reference& reference = references[index];
    if (reference.type == type) targets.insert(targets.end(), reference.to.begin(), reference.to.end());
  }
  return targets;
}

std::vector<const Item*> Container::itemsReferringTo(ItemId to, FourCC type) const {
  std::vector<const Item*> found;
  const auto [first, last] = referencesByTo_.equal_range(to);
  std::for_each(first, last, [&](const auto& entry) {
    const Reference& reference = references[entry.second];
    const Item* const from = reference.type == type ? find(reference.from) : nullptr;
    if (from != nullptr) found.push_back(from);
  });
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

}  // namespace quellor::heif
