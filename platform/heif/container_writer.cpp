#include "platform/heif/container_writer.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <unordered_set>

#include "platform/heif/box_writer.h"

namespace quellor::heif {
namespace {

constexpr std::size_t kMaximumItems = 65535;
constexpr std::size_t kMaximumIndexOfOneByte = 127;
constexpr std::size_t kMaximumIndex = 32767;

std::uint64_t checkedSum(std::uint64_t a, std::uint64_t b) {
  if (b > UINT64_MAX - a) throw UnwritableContainer("more data than can be counted");
  return a + b;
}

std::uint64_t sizeOf(const OutputItem& item) {
  std::uint64_t size = 0;
  for (const ByteView run : item.data) size = checkedSum(size, run.size());
  return size;
}

/// How many bytes the fields take whose size a file can choose.
struct FieldSizes {
  bool wideIds = false;
  std::size_t offset = 4;
  std::size_t length = 4;
  bool wideMediaData = false;
};

class HeadWriter {
 public:
  explicit HeadWriter(const OutputFile& file) : file_(file) {
    if (file.items.size() > kMaximumItems) throw UnwritableContainer("too many items");
    checkIds();
    numberProperties();
    for (const OutputItem& item : file.items) {
      lengths_.push_back(sizeOf(item));
      total_ = checkedSum(total_, lengths_.back());
    }
    chooseFieldSizes();
  }

  /// The offsets in the head depend on its size, its size on how wide the offsets are.
  Bytes write() {
    std::size_t size = headWithDataAt(0).size();
    if (checkedSum(size, total_) > UINT32_MAX) {
      sizes_.offset = 8;
      size = headWithDataAt(0).size();
    }
    return headWithDataAt(size);
  }

 private:
  void checkIds() const {
    std::unordered_set<ItemId> ids;
    for (const OutputItem& item : file_.items) {
      if (!ids.insert(item.id).second) throw UnwritableContainer("an item id twice");
    }
    if (!ids.contains(file_.primaryItem)) throw UnwritableContainer("the primary item does not exist");
  }

  /// Gives the properties that belong to an item their numbers in the file, from 1.
  void numberProperties() {
    numbers_.assign(file_.properties.size(), 0);
    for (const OutputItem& item : file_.items) {
      for (const OutputAssociation& association : item.properties) {
        if (association.index >= numbers_.size()) throw UnwritableContainer("a property that does not exist");
        numbers_[association.index] = 1;
      }
    }
    for (std::size_t& number : numbers_) {
      if (number != 0) number = ++propertyCount_;
    }
    if (propertyCount_ > kMaximumIndex) throw UnwritableContainer("too many properties");
  }

  void chooseFieldSizes() {
    const auto isWide = [](ItemId id) { return id > UINT16_MAX; };
    sizes_.wideIds =
        std::any_of(file_.items.begin(), file_.items.end(), [&](const OutputItem& item) { return isWide(item.id); }) ||
        std::any_of(file_.references.begin(), file_.references.end(), [&](const Reference& reference) {
          return isWide(reference.from) || std::any_of(reference.to.begin(), reference.to.end(), isWide);
        });
    if (std::any_of(lengths_.begin(), lengths_.end(), [](std::uint64_t length) { return length > UINT32_MAX; })) {
      sizes_.length = 8;
    }
    if (total_ > UINT32_MAX) sizes_.offset = 8;
    sizes_.wideMediaData = checkedSum(total_, 8) > UINT32_MAX;
  }

  Bytes headWithDataAt(std::uint64_t dataOffset) {
    writer_ = BoxWriter();
    writeFileType();
    writer_.fullBox(fourCC("meta"), 0, 0, [&] {
      writeHandler();
      writer_.fullBox(fourCC("pitm"), sizes_.wideIds ? 1 : 0, 0, [&] { writeId(file_.primaryItem); });
      writeItemInformation();
      if (!file_.references.empty()) writeItemReferences();
      if (propertyCount_ != 0) writeItemProperties();
      writeItemLocations(dataOffset);
    });
    writeMediaDataHeader();
    return writer_.take();
  }

  void writeId(ItemId id) { writer_.unsignedOf(id, sizes_.wideIds ? 4 : 2); }

  void writeFileType() {
    writer_.box(fourCC("ftyp"), [&] {
      writer_.u32(file_.majorBrand).u32(0);
      for (const FourCC brand : file_.compatibleBrands) writer_.u32(brand);
    });
  }

  /// 14496-12, 8.4.3
  void writeHandler() {
    writer_.fullBox(fourCC("hdlr"), 0, 0, [&] { writer_.u32(0).u32(fourCC("pict")).u32(0).u32(0).u32(0).text(""); });
  }

  /// 14496-12, 8.11.6
  void writeItemInformation() {
    writer_.fullBox(fourCC("iinf"), 0, 0, [&] {
      writer_.u16(file_.items.size());
      for (const OutputItem& item : file_.items) {
        writer_.fullBox(fourCC("infe"), sizes_.wideIds ? 3 : 2, item.hidden ? 1 : 0, [&] {
          writeId(item.id);
          writer_.u16(0).u32(item.type).text(item.name);
          if (item.type == fourCC("mime")) writer_.text(item.contentType);
        });
      }
    });
  }

  /// 14496-12, 8.11.12
  void writeItemReferences() {
    writer_.fullBox(fourCC("iref"), sizes_.wideIds ? 1 : 0, 0, [&] {
      for (const Reference& reference : file_.references) {
        writer_.box(reference.type, [&] {
          writeId(reference.from);
          writer_.u16(reference.to.size());
          for (const ItemId to : reference.to) writeId(to);
        });
      }
    });
  }

  /// 23008-12, 9.3
  void writeItemProperties() {
    writer_.box(fourCC("iprp"), [&] {
      writer_.box(fourCC("ipco"), [&] {
        for (std::size_t i = 0; i < numbers_.size(); ++i) {
          if (numbers_[i] != 0) writer_.append(file_.properties[i]);
        }
      });
      writeAssociations();
    });
  }

  /// The entries stand in ascending order of ids.
  void writeAssociations() {
    std::vector<const OutputItem*> items;
    for (const OutputItem& item : file_.items) {
      if (!item.properties.empty()) items.push_back(&item);
    }
    std::sort(items.begin(), items.end(), [](const auto* a, const auto* b) { return a->id < b->id; });
    const bool wide = propertyCount_ > kMaximumIndexOfOneByte;
    writer_.fullBox(fourCC("ipma"), sizes_.wideIds ? 1 : 0, wide ? 1 : 0, [&] {
      writer_.u32(items.size());
      for (const OutputItem* item : items) {
        writeId(item->id);
        writer_.u8(item->properties.size());
        for (const OutputAssociation& association : item->properties) {
          const std::size_t essential = !association.essential ? 0 : wide ? 0x8000 : 0x80;
          writer_.unsignedOf(essential | numbers_[association.index], wide ? 2 : 1);
        }
      }
    });
  }

  /// 14496-12, 8.11.3; one extent an item. A length of 0 would mean the whole file.
  void writeItemLocations(std::uint64_t dataOffset) {
    const auto located = lengths_.size() - static_cast<std::size_t>(std::count(lengths_.begin(), lengths_.end(), 0u));
    writer_.fullBox(fourCC("iloc"), sizes_.wideIds ? 2 : 0, 0, [&] {
      writer_.u8(sizes_.offset << 4 | sizes_.length).u8(0).unsignedOf(located, sizes_.wideIds ? 4 : 2);
      for (std::size_t i = 0; i < lengths_.size(); ++i) {
        if (lengths_[i] == 0) continue;
        writeId(file_.items[i].id);
        if (sizes_.wideIds) writer_.u16(0);  // construction method: an offset in the file
        writer_.u16(0).u16(1).unsignedOf(dataOffset, sizes_.offset).unsignedOf(lengths_[i], sizes_.length);
        dataOffset = checkedSum(dataOffset, lengths_[i]);
      }
    });
  }

  void writeMediaDataHeader() {
    if (sizes_.wideMediaData) {
      writer_.u32(1).u32(fourCC("mdat")).u64(checkedSum(total_, 16));
    } else {
      writer_.u32(total_ + 8).u32(fourCC("mdat"));
    }
  }

  const OutputFile& file_;
  FieldSizes sizes_;
  std::vector<std::size_t> numbers_;  // of the properties, in the file; 0 for one that no item has
  std::size_t propertyCount_ = 0;
  std::vector<std::uint64_t> lengths_;  // of the items' data
  std::uint64_t total_ = 0;
  BoxWriter writer_;
};

}  // namespace

std::vector<ByteView> SerialisedFile::parts() const {
  std::vector<ByteView> all = {head};
  all.insert(all.end(), runs.begin(), runs.end());
  return all;
}

std::optional<SerialisedFile> serialise(const OutputFile& file) {
  try {
    SerialisedFile serialised{HeadWriter(file).write(), {}};
    for (const OutputItem& item : file.items) {
      std::copy_if(item.data.begin(), item.data.end(), std::back_inserter(serialised.runs),
                   [](ByteView run) { return !run.empty(); });
    }
    return serialised;
  } catch (const UnwritableContainer&) {
    return std::nullopt;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace quellor::heif
