#include "platform/heif/primary_copy.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <unordered_set>

#include "platform/heif/box_writer.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/item_relations.h"

namespace quellor::heif {
namespace {

constexpr std::size_t kNotCopied = SIZE_MAX;
constexpr std::size_t kExtendedTypeSize = 16;

/// The box that `property` was read from, its size in the short form.
Bytes boxOf(const Container& container, const Property& property) {
  BoxWriter writer;
  writer.box(property.type, [&] {
    if (property.type == fourCC("uuid")) {  // the extended type stands between header and payload (14496-12, 4.2)
      const auto offset = static_cast<std::size_t>(property.payload.data() - container.file.data());
      writer.append(container.file.subspan(offset - kExtendedTypeSize, kExtendedTypeSize));
    }
    writer.append(property.payload);
  });
  return writer.take();
}

/// Main or Main Still Picture profile, 4:2:0, 8 bits (HEVCDecoderConfigurationRecord, ISO/IEC 14496-15, 8.3.3.1).
bool isMainProfile(const Property& configuration) {
  constexpr unsigned main = 1, mainStillPicture = 3, chroma420 = 1;
  const ByteView record = configuration.payload;
  if (record.size() < 19) return false;
  const unsigned profile = record[1] & 0x1fu;
  const bool eightBits = (record[17] & 7) == 0 && (record[18] & 7) == 0;
  return (profile == main || profile == mainStillPicture) && (record[16] & 3) == chroma420 && eightBits;
}

class PrimaryCopy {
 public:
  explicit PrimaryCopy(const Container& container)
      : container_(container), newIndexes_(container.properties.size(), kNotCopied) {}

  std::optional<OutputFile> make() {
    const Item* const primary = container_.find(container_.primaryItem);
    auto needed = primary != nullptr ? itemsNeededFor(container_, *primary) : std::nullopt;
    if (!needed) return std::nullopt;
    std::sort(needed->begin(), needed->end());  // as in the container
    for (const Item* item : *needed) {
      copied_.insert(item->id);
      const auto inputs = container_.referencesFrom(item->id, fourCC("dimg"));
      inputs_.insert(inputs.begin(), inputs.end());
    }
    copyProperties(*needed);
    if (!std::all_of(needed->begin(), needed->end(), [&](const Item* item) { return copyItem(*item); })) {
      return std::nullopt;
    }
    copyReferences();
    output_.primaryItem = primary->id;
    if (!chooseBrands()) return std::nullopt;
    return std::move(output_);
  }

 private:
  /// In the container's order, each that is used once, however many items share it.
  void copyProperties(const std::vector<const Item*>& items) {
    std::vector<bool> used(container_.properties.size());
    for (const Item* item : items) {
      for (const PropertyAssociation& association : item->properties) used[association.index] = true;
    }
    for (std::size_t i = 0; i < used.size(); ++i) {
      if (!used[i]) continue;
      newIndexes_[i] = output_.properties.size();
      output_.properties.push_back(boxOf(container_, container_.properties[i]));
    }
  }

  bool copyItem(const Item& item) {
    const bool coded = item.type == fourCC("hvc1");
    if (!coded && !isDerivedImage(item)) return false;
    if (coded && findProperty(container_, item, fourCC("hvcC")) == nullptr) return false;
    auto data = dataOf(item);
    if (!data || (data->empty() && item.type != fourCC("iden"))) return false;
    for (const ByteView run : *data) {
      if (run.size() > container_.file.size() - copiedBytes_) return false;
      copiedBytes_ += run.size();
    }
    // What an image is derived from was perhaps an image of its own; in the copy there is only the derived one.
    const bool hidden = item.hidden || inputs_.contains(item.id);
    OutputItem copy{item.id, item.type, hidden, item.name, {}, std::move(*data), {}};
    for (const PropertyAssociation& association : item.properties) {
      copy.properties.push_back({newIndexes_[association.index], association.essential});
    }
    output_.items.push_back(std::move(copy));
    return true;
  }

  /// An identity derivation usually has neither data nor a location (23008-12, 6.6.2.1).
  std::optional<std::vector<ByteView>> dataOf(const Item& item) const {
    const bool none = item.type == fourCC("iden") && item.extents.empty() && item.protectionIndex == 0;
    return none ? std::vector<ByteView>{} : itemPieces(container_, item);
  }

  /// A reference of type iloc says where the bytes of an item were taken from, which is over.
  void copyReferences() {
    for (const Reference& reference : container_.references) {
      if (reference.type == fourCC("iloc") || !copied_.contains(reference.from)) continue;
      Reference copy{reference.type, reference.from, {}};
      std::copy_if(reference.to.begin(), reference.to.end(), std::back_inserter(copy.to),
                   [&](ItemId to) { return copied_.contains(to); });
      if (!copy.to.empty()) output_.references.push_back(std::move(copy));
    }
  }

  /// False when there is no coded image at all.
  bool chooseBrands() {
    bool anyCoded = false, allMain = true;
    std::vector<ItemId> pending = {output_.primaryItem};
    std::unordered_set<ItemId> seen(pending.begin(), pending.end());
    while (!pending.empty()) {
      const Item& item = *container_.find(pending.back());
      pending.pop_back();
      if (const Property* configuration = findProperty(container_, item, fourCC("hvcC"));
          configuration != nullptr && item.type == fourCC("hvc1")) {
        anyCoded = true;
        allMain = allMain && isMainProfile(*configuration);
      }
      for (const ItemId input : container_.referencesFrom(item.id, fourCC("dimg"))) {
        if (seen.insert(input).second) pending.push_back(input);
      }
    }
    output_.majorBrand = allMain ? fourCC("heic") : fourCC("heix");
    output_.compatibleBrands = {fourCC("mif1"), output_.majorBrand};
    if (container_.hasCompatibleBrand(fourCC("miaf"))) output_.compatibleBrands.push_back(fourCC("miaf"));
    return anyCoded;
  }

  const Container& container_;
  OutputFile output_;
  std::unordered_set<ItemId> copied_;
  std::unordered_set<ItemId> inputs_;  // of derived images
  std::vector<std::size_t> newIndexes_;
  std::size_t copiedBytes_ = 0;
};

}  // namespace

std::optional<OutputFile> copyOfPrimaryImage(const Container& container) {
  try {
    return PrimaryCopy(container).make();
  } catch (const UnwritableContainer&) {
    return std::nullopt;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace quellor::heif
