#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/heif/byte_reader.h"
#include "platform/values/bytes.h"

/// A HEIF file as a model of items, properties and references (ISO/IEC 23008-12 over the `meta` box of
/// ISO/IEC 14496-12). Views point into the file's bytes, which must outlive the model.
namespace quellor::heif {

using ItemId = std::uint32_t;

/// A run of an item's bytes, relative to what the item's construction method names (14496-12, 8.11.3).
struct Extent {
  std::uint64_t offset = 0;  // base offset included
  std::uint64_t length = 0;  // 0: all that there is from the offset on
};

enum class ConstructionMethod : std::uint8_t { file = 0, idat = 1, item = 2 };

/// One entry of `ipma`: property `index` of the container belongs to the item (23008-12, 9.3).
struct PropertyAssociation {
  std::size_t index = 0;  // into Container::properties, counted from 0
  bool essential = false;
  /// Where the entry stands in the file and how many bytes it has (1 or 2).
  std::size_t fileOffset = 0;
  std::size_t fileSize = 0;
};

struct Item {
  ItemId id = 0;
  FourCC type = 0;  // hvc1, av01, grid, iovl, iden, tmap, Exif, mime, …
  bool hidden = false;
  std::uint16_t protectionIndex = 0;  // not 0: encrypted
  std::string name;
  std::string contentType;  // of a mime item
  std::string contentEncoding;
  ConstructionMethod constructionMethod = ConstructionMethod::file;
  std::uint16_t dataReferenceIndex = 0;  // not 0: the data is in another file
  std::vector<Extent> extents;
  std::vector<PropertyAssociation> properties;  // in their order
};

/// A property box. `payload` is what follows its header: for a full box it begins with version and flags.
struct Property {
  FourCC type = 0;
  ByteView payload;
};

struct Reference {
  FourCC type = 0;
  ItemId from = 0;
  std::vector<ItemId> to;
};

/// Built by readContainer; what looks things up takes logarithmic or constant time, so that no file makes it slow.
class Container {
 public:
  ByteView file;
  FourCC majorBrand = 0;
  std::vector<FourCC> compatibleBrands;
  ItemId primaryItem = 0;
  std::vector<Item> items;  // in the order of `iinf`; every id once
  std::vector<Property> properties;
  std::vector<Reference> references;  // in the file's order
  ByteView idat;

  /// To be called once items and references are complete.
  void buildIndexes();

  [[nodiscard]] const Item* find(ItemId id) const;
  [[nodiscard]] bool hasCompatibleBrand(FourCC brand) const;

  /// The items that `from` refers to by references of `type`, in their order.
  [[nodiscard]] std::vector<ItemId> referencesFrom(ItemId from, FourCC type) const;

  /// The items that refer to `to` by references of `type`, in item order.
  [[nodiscard]] std::vector<const Item*> itemsReferringTo(ItemId to, FourCC type) const;

 private:
  std::unordered_map<ItemId, std::size_t> itemIndex_;
  std::unordered_multimap<ItemId, std::size_t> referencesByFrom_;
  std::unordered_multimap<ItemId, std::size_t> referencesByTo_;
};

}  // namespace quellor::heif
