#include "platform/heif/item_relations.h"

#include <algorithm>
#include <unordered_set>

#include "platform/heif/auxiliary_type.h"

namespace quellor::heif {
namespace {

/// Derived images of derived images (ISO/IEC 23008-12, 6.6); three levels occur in practice.
constexpr std::size_t kMaximumDerivations = 16;

void collectTargets(const Container& container, FourCC type, bool (*counts)(const Item&),
                    std::unordered_set<ItemId>& into) {
  for (const Reference& reference : container.references) {
    if (reference.type != type) continue;
    const Item* const from = container.find(reference.from);
    if (from != nullptr && counts(*from)) into.insert(reference.to.begin(), reference.to.end());
  }
}

/// Every image that is part of another one, or stands beside it.
std::unordered_set<ItemId> dependentImages(const Container& container) {
  std::unordered_set<ItemId> dependent;
  for (const Reference& reference : container.references) {
    if (reference.type == fourCC("thmb") || reference.type == fourCC("auxl")) dependent.insert(reference.from);
  }
  collectTargets(
      container, fourCC("dimg"), [](const Item& item) { return item.type == fourCC("grid"); }, dependent);
  return dependent;
}

class NeededItems {
 public:
  explicit NeededItems(const Container& container) : container_(container) {}

  bool add(ItemId id) {
    const Item* const item = container_.find(id);
    const bool circular = std::find(path_.begin(), path_.end(), id) != path_.end();
    if (item == nullptr || !isImage(*item) || circular || path_.size() > kMaximumDerivations) return false;
    if (!seen_.insert(id).second) return true;
    items_.push_back(item);
    path_.push_back(id);
    const bool complete = addInputsAndAlpha(id);
    path_.pop_back();
    return complete;
  }

  std::vector<const Item*> take() { return std::move(items_); }

 private:
  bool addInputsAndAlpha(ItemId id) {
    const std::vector<ItemId> inputs = container_.referencesFrom(id, fourCC("dimg"));
    if (!std::all_of(inputs.begin(), inputs.end(), [&](ItemId input) { return add(input); })) return false;
    const Item* const alpha = alphaImageOf(container_, id);
    return alpha == nullptr || add(alpha->id);
  }

  const Container& container_;
  std::unordered_set<ItemId> seen_;
  std::vector<ItemId> path_;  // from the image down to what is being added
  std::vector<const Item*> items_;
};

}  // namespace

bool isDerivedImage(const Item& item) {
  return item.type == fourCC("grid") || item.type == fourCC("iovl") || item.type == fourCC("iden");
}

bool isImage(const Item& item) {
  switch (item.type) {
    case fourCC("hvc1"):
    case fourCC("hev1"):
    case fourCC("lhv1"):
    case fourCC("av01"):
    case fourCC("avc1"):
    case fourCC("vvc1"):
    case fourCC("evc1"):
    case fourCC("jpeg"):
    case fourCC("j2k1"):
    case fourCC("unci"):
      return true;
    case fourCC("mime"):
      return item.contentType == "image/jpeg";
    default:
      return isDerivedImage(item);
  }
}

std::vector<const Item*> topLevelImages(const Container& container) {
  const std::unordered_set<ItemId> dependent = dependentImages(container);
  std::vector<const Item*> images;
  for (const Item& item : container.items) {
    const bool primary = item.id == container.primaryItem;
    if (primary) {
      images.insert(images.begin(), &item);
    } else if (isImage(item) && !item.hidden && !dependent.contains(item.id)) {
      images.push_back(&item);
    }
  }
  return images;
}

std::optional<std::vector<const Item*>> itemsNeededFor(const Container& container, const Item& image) {
  NeededItems needed(container);
  if (!needed.add(image.id)) return std::nullopt;
  return needed.take();
}

}  // namespace quellor::heif
