#include "tests/support/heif_layout.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <vector>

namespace quellor::test_support {
namespace {

/// A forward reader of big-endian numbers; raises std::out_of_range at the end.
class Reader {
 public:
  Reader(std::string_view bytes, std::uint64_t offset) : bytes_(bytes), offset_(offset) {}

  std::uint64_t number(unsigned width) {
    std::uint64_t value = 0;
    for (const char byte : take(width)) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
  }
  std::string_view take(std::uint64_t count) {
    if (count > bytes_.size()) throw std::out_of_range("box ends early");
    const std::string_view taken = bytes_.substr(0, count);
    bytes_.remove_prefix(count);
    offset_ += count;
    return taken;
  }
  [[nodiscard]] bool atEnd() const { return bytes_.empty(); }
  [[nodiscard]] std::size_t left() const { return bytes_.size(); }
  [[nodiscard]] std::uint64_t offset() const { return offset_; }

 private:
  std::string_view bytes_;
  std::uint64_t offset_;  // in the file
};

struct Box {
  std::string_view type;
  Reader content;
};

Box nextBox(Reader& reader) {
  std::uint64_t size = reader.number(4);
  const std::string_view type = reader.take(4);
  std::uint64_t header = 8;
  if (size == 1) {
    size = reader.number(8);
    header = 16;
  }
  if (size == 0) size = header + reader.left();
  const std::uint64_t start = reader.offset();
  return {type, Reader(reader.take(size - header), start)};
}

using ItemId = std::uint64_t;

struct Items {
  ItemId primary = 0;
  std::map<ItemId, std::uint64_t> end;           // offset behind the item's last byte
  std::map<ItemId, std::vector<ItemId>> inputs;  // of derived images
};

void readPrimary(Reader box, Items& items) {
  const std::uint64_t version = box.number(4) >> 24;
  items.primary = box.number(version == 0 ? 2 : 4);
}

void readLocations(Reader box, Items& items) {
  const std::uint64_t version = box.number(4) >> 24;
  const std::uint64_t sizes = box.number(2);
  const auto width = [sizes](int nibble) { return static_cast<unsigned>(sizes >> (4 * nibble) & 0xF); };
  const std::uint64_t count = box.number(version < 2 ? 2 : 4);
  for (std::uint64_t i = 0; i < count; ++i) {
    const ItemId id = box.number(version < 2 ? 2 : 4);
    const std::uint64_t method = version == 0 ? 0 : box.number(2) & 0xF;
    box.number(2);  // data reference
    const std::uint64_t base = box.number(width(1));
    const std::uint64_t extents = box.number(2);
    for (std::uint64_t extent = 0; extent < extents; ++extent) {
      if (version > 0) box.number(width(0));  // extent index
      const std::uint64_t offset = box.number(width(3));
      const std::uint64_t length = box.number(width(2));
      // Other methods place the data inside the meta box or another item: no later than what counts anyway.
      if (method == 0) items.end[id] = std::max(items.end[id], base + offset + length);
    }
  }
}

void readReferences(Reader box, Items& items) {
  const unsigned width = box.number(4) >> 24 == 0 ? 2 : 4;
  while (!box.atEnd()) {
    auto [type, reference] = nextBox(box);
    const ItemId from = reference.number(width);
    const std::uint64_t count = reference.number(2);
    for (std::uint64_t i = 0; i < count; ++i) {
      const ItemId to = reference.number(width);
      if (type == "dimg") items.inputs[from].push_back(to);
    }
  }
}

Items readItems(Reader meta) {
  Items items;
  meta.number(4);
  while (!meta.atEnd()) {
    const auto [type, content] = nextBox(meta);
    if (type == "pitm") readPrimary(content, items);
    if (type == "iloc") readLocations(content, items);
    if (type == "iref") readReferences(content, items);
  }
  return items;
}

std::uint64_t endOfImage(const Items& items, ItemId id, std::set<ItemId>& seen) {
  if (!seen.insert(id).second) return 0;
  std::uint64_t end = items.end.contains(id) ? items.end.at(id) : 0;
  if (!items.inputs.contains(id)) return end;
  for (const ItemId input : items.inputs.at(id)) end = std::max(end, endOfImage(items, input, seen));
  return end;
}

}  // namespace

std::optional<HeifLayout> heifLayout(std::string_view file) try {
  Reader reader(file, 0);
  while (!reader.atEnd()) {
    const auto [type, content] = nextBox(reader);
    if (type != "meta") continue;
    const Items items = readItems(content);
    std::set<ItemId> seen;
    return HeifLayout{reader.offset(), endOfImage(items, items.primary, seen)};
  }
  return std::nullopt;
} catch (const std::out_of_range&) {
  return std::nullopt;
}

}  // namespace quellor::test_support
