#include "platform/heif/container_reader.h"

#include <unordered_map>
#include <utility>

#include "platform/heif/box_reader.h"

namespace quellor::heif {
namespace {

/// Bounds against files whose small boxes ask for much: real photos have about a thousand items.
constexpr std::size_t kMaximumItems = 65536;
constexpr std::size_t kMaximumExtents = 1 << 20;
constexpr std::size_t kMaximumReferences = 1 << 18;

class Reader {
 public:
  explicit Reader(ByteView file) { container_.file = file; }

  Container read() {
    readTopLevel();
    locate();
    attach();
    container_.buildIndexes();
    return std::move(container_);
  }

 private:
  /// Boxes after the last whole one are ignored as long as the structure was complete before: a cut file keeps its
  /// structure, and what is missing of its media data is noticed where that is needed.
  void readTopLevel() {
    ByteReader reader(container_.file);
    const Box brands = readBox(reader);
    if (brands.type != fourCC("ftyp")) throw MalformedContainer("no file type box");
    readBrands(ByteReader(brands.payload));
    while (reader.remaining() >= 8) {
      const BoxHeader header = readBoxHeader(reader);
      const std::uint64_t size = header.payloadSize.value_or(reader.remaining());
      if (size > reader.remaining()) {
        if (header.type == fourCC("meta")) throw MalformedContainer("the meta box ends past the file");
        break;
      }
      const ByteView payload = reader.bytes(static_cast<std::size_t>(size));
      if (header.type != fourCC("meta")) continue;
      readMeta(ByteReader(payload));
      return;
    }
    throw MalformedContainer("no meta box");
  }

  void readBrands(ByteReader reader) {
    container_.majorBrand = reader.u32();
    reader.u32();  // minor version
    while (reader.remaining() >= 4) container_.compatibleBrands.push_back(reader.u32());
  }

  void readMeta(ByteReader reader) {
    requireVersion(readFullBoxHeader(reader), 0);
    bool hasHandler = false, hasPrimary = false, hasItems = false;
    while (!reader.atEnd()) {
      const Box box = readBox(reader);
      const ByteReader payload(box.payload);
      switch (box.type) {
        case fourCC("hdlr"):
          readHandler(payload), hasHandler = true;
          break;
        case fourCC("pitm"):
          readPrimaryItem(payload), hasPrimary = true;
          break;
        case fourCC("iinf"):
          readItemInformation(payload), hasItems = true;
          break;
        case fourCC("iloc"):
          readItemLocations(payload);
          break;
        case fourCC("iprp"):
          readItemProperties(payload);
          break;
        case fourCC("iref"):
          readItemReferences(payload);
          break;
        case fourCC("idat"):
          container_.idat = box.payload;
          break;
        default:
          break;
      }
    }
    if (!hasHandler || !hasPrimary || !hasItems) throw MalformedContainer("a required box is missing");
  }

  /// 14496-12, 8.4.3; 23008-12, 6.2 asks for `pict`.
  static void readHandler(ByteReader reader) {
    readFullBoxHeader(reader);
    reader.u32();
    if (reader.u32() != fourCC("pict")) throw MalformedContainer("not a picture file");
  }

  /// 14496-12, 8.11.4
  void readPrimaryItem(ByteReader reader) {
    const FullBoxHeader header = readFullBoxHeader(reader);
    requireVersion(header, 1);
    container_.primaryItem = header.version == 0 ? reader.u16() : reader.u32();
  }

  /// 14496-12, 8.11.6
  void readItemInformation(ByteReader reader) {
    const FullBoxHeader header = readFullBoxHeader(reader);
    requireVersion(header, 1);
    const std::uint32_t count = header.version == 0 ? reader.u16() : reader.u32();
    if (count > kMaximumItems) throw MalformedContainer("too many items");
    for (std::uint32_t i = 0; i < count; ++i) {
      const Box entry = readBox(reader);
      if (entry.type == fourCC("infe")) readItemEntry(ByteReader(entry.payload));
    }
  }

  void readItemEntry(ByteReader reader) {
    const FullBoxHeader header = readFullBoxHeader(reader);
    requireVersion(header, 3);
    if (header.version < 2) return;  // has no item type, so it is no image and no metadata of one
    Item item;
    item.hidden = (header.flags & 1) != 0;
    item.id = header.version == 2 ? reader.u16() : reader.u32();
    item.protectionIndex = reader.u16();
    item.type = reader.u32();
    item.name = reader.text();
    if (item.type == fourCC("mime")) {
      item.contentType = reader.text();
      item.contentEncoding = reader.text();
    }
    if (!indexOf_.emplace(item.id, container_.items.size()).second) throw MalformedContainer("an item id twice");
    container_.items.push_back(std::move(item));
  }

  /// 14496-12, 8.11.3
  void readItemLocations(ByteReader reader) {
    const FullBoxHeader header = readFullBoxHeader(reader);
    requireVersion(header, 2);
    const std::uint8_t sizes = reader.u8();
    const std::uint8_t moreSizes = reader.u8();
    const std::size_t offsetSize = sizes >> 4, lengthSize = sizes & 15, baseOffsetSize = moreSizes >> 4;
    const std::size_t indexSize = header.version == 0 ? 0 : moreSizes & 15;
    for (const std::size_t size : {offsetSize, lengthSize, baseOffsetSize, indexSize}) {
      if (size != 0 && size != 4 && size != 8) throw MalformedContainer("a field size that is not 0, 4 or 8");
    }
    const std::uint32_t count = header.version < 2 ? reader.u16() : reader.u32();
    for (std::uint32_t i = 0; i < count; ++i) {
      Location location;
      location.id = header.version < 2 ? reader.u16() : reader.u32();
      const unsigned method = header.version == 0 ? 0 : reader.u16() & 15u;
      if (method > 2) throw MalformedContainer("unknown construction method");
      location.method = static_cast<ConstructionMethod>(method);
      location.dataReferenceIndex = reader.u16();
      const std::uint64_t base = reader.unsignedOf(baseOffsetSize);
      const std::uint16_t extents = reader.u16();
      if (extentCount_ += extents; extentCount_ > kMaximumExtents) throw MalformedContainer("too many extents");
      for (std::uint16_t e = 0; e < extents; ++e) {
        reader.unsignedOf(indexSize);
        const std::uint64_t offset = reader.unsignedOf(offsetSize);
        const std::uint64_t length = reader.unsignedOf(lengthSize);
        if (offset > UINT64_MAX - base) throw MalformedContainer("an offset that overflows");
        location.extents.push_back({base + offset, length});
      }
      locations_.push_back(std::move(location));
    }
  }

  /// 23008-12, 9.3
  void readItemProperties(ByteReader reader) {
    while (!reader.atEnd()) {
      const Box box = readBox(reader);
      if (box.type == fourCC("ipco")) {
        ByteReader properties(box.payload);
        while (!properties.atEnd()) {
          const Box property = readBox(properties);
          container_.properties.push_back({property.type, property.payload});
        }
      } else if (box.type == fourCC("ipma")) {
        readAssociations(ByteReader(box.payload),
                         static_cast<std::size_t>(box.payload.data() - container_.file.data()));
      }
    }
  }

  void readAssociations(ByteReader reader, std::size_t payloadOffset) {
    const FullBoxHeader header = readFullBoxHeader(reader);
    requireVersion(header, 1);
    const std::size_t entrySize = (header.flags & 1) != 0 ? 2 : 1;
    const std::uint64_t essentialBit = entrySize == 2 ? 0x8000 : 0x80;
    const std::uint32_t count = reader.u32();
    for (std::uint32_t i = 0; i < count; ++i) {
      const ItemId id = header.version == 0 ? reader.u16() : reader.u32();
      const std::uint8_t entries = reader.u8();
      for (std::uint8_t e = 0; e < entries; ++e) {
        const std::size_t offset = payloadOffset + reader.position();
        const std::uint64_t word = reader.unsignedOf(entrySize);
        const std::size_t index = static_cast<std::size_t>(word & ~essentialBit);
        if (index == 0) continue;  // stands for no property
        associations_.push_back({id, {index - 1, (word & essentialBit) != 0, offset, entrySize}});
      }
    }
  }

  /// 14496-12, 8.11.12
  void readItemReferences(ByteReader reader) {
    const FullBoxHeader header = readFullBoxHeader(reader);
    requireVersion(header, 1);
    const auto readId = [&header](ByteReader& from) -> ItemId { return header.version == 0 ? from.u16() : from.u32(); };
    while (!reader.atEnd()) {
      const Box box = readBox(reader);
      ByteReader entry(box.payload);
      Reference reference{box.type, readId(entry), {}};
      const std::uint16_t count = entry.u16();
      if (referenceCount_ += count; referenceCount_ > kMaximumReferences) {
        throw MalformedContainer("too many references");
      }
      for (std::uint16_t i = 0; i < count; ++i) reference.to.push_back(readId(entry));
      container_.references.push_back(std::move(reference));
    }
  }

  /// Gives the items their locations; `iloc` may stand before `iinf`.
  void locate() {
    for (Location& location : locations_) {
      const auto item = indexOf_.find(location.id);
      if (item == indexOf_.end()) continue;
      Item& target = container_.items[item->second];
      target.constructionMethod = location.method;
      target.dataReferenceIndex = location.dataReferenceIndex;
      target.extents = std::move(location.extents);
    }
    if (!indexOf_.contains(container_.primaryItem)) throw MalformedContainer("the primary item does not exist");
  }

  void attach() {
    for (const auto& [id, association] : associations_) {
      if (association.index >= container_.properties.size()) throw MalformedContainer("a property that does not exist");
      const auto item = indexOf_.find(id);
      if (item != indexOf_.end()) container_.items[item->second].properties.push_back(association);
    }
  }

  struct Location {
    ItemId id = 0;
    ConstructionMethod method = ConstructionMethod::file;
    std::uint16_t dataReferenceIndex = 0;
    std::vector<Extent> extents;
  };

  Container container_;
  std::unordered_map<ItemId, std::size_t> indexOf_;
  std::vector<Location> locations_;
  std::vector<std::pair<ItemId, PropertyAssociation>> associations_;
  std::size_t extentCount_ = 0;
  std::size_t referenceCount_ = 0;
};

}  // namespace

Outcome<Container> readContainer(ByteView file) {
  try {
    return Reader(file).read();
  } catch (const MalformedContainer& error) {
    return Refusal{error.what()};
  }
}

}  // namespace quellor::heif
