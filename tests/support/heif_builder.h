#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/values/bytes.h"

/// Writes HEIF files by hand, box by box (ISO/IEC 14496-12), so that tests can also write what no encoder would.
namespace quellor::test_support {

/// Big-endian fields one after the other.
class FieldWriter {
 public:
  FieldWriter& u8(std::uint64_t value) { return number(value, 1); }
  FieldWriter& u16(std::uint64_t value) { return number(value, 2); }
  FieldWriter& u32(std::uint64_t value) { return number(value, 4); }
  FieldWriter& u64(std::uint64_t value) { return number(value, 8); }
  FieldWriter& number(std::uint64_t value, int size) {
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    return *this;
  }
  FieldWriter& text(const std::string& value) {
    bytes.insert(bytes.end(), value.begin(), value.end());
    return *this;
  }
  FieldWriter& terminated(const std::string& value) { return text(value).u8(0); }
  FieldWriter& append(const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
  }

  Bytes bytes;
};

inline Bytes box(const std::string& type, const Bytes& payload) {
  return FieldWriter().u32(payload.size() + 8).text(type).append(payload).bytes;
}

inline Bytes fullBox(const std::string& type, unsigned version, unsigned flags, const Bytes& payload) {
  return box(type, FieldWriter().u8(version).number(flags, 3).append(payload).bytes);
}

/// One item of a file that HeifBuilder writes.
struct BuiltItem {
  std::uint32_t id = 0;
  std::string type;
  Bytes data;
  std::vector<std::pair<std::size_t, bool>> properties = {};  // index from 1, essential
  bool hidden = false;
  std::string contentType = {};
};

/// A file of items whose data lies in one `mdat` behind `meta`.
struct HeifBuilder {
  std::vector<std::string> brands = {"mif1", "heic"};
  std::uint32_t primary = 1;
  std::vector<BuiltItem> items;
  std::vector<Bytes> properties;  // whole boxes
  std::vector<Bytes> references;  // whole boxes inside iref (version 0)

  static Bytes reference(const std::string& type, std::uint32_t from, const std::vector<std::uint32_t>& to) {
    FieldWriter writer;
    writer.u16(from).u16(to.size());
    for (const std::uint32_t id : to) writer.u16(id);
    return box(type, writer.bytes);
  }

  [[nodiscard]] Bytes fileType() const {
    FieldWriter writer;
    writer.text(brands.front()).u32(0);
    for (const std::string& brand : brands) writer.text(brand);
    return box("ftyp", writer.bytes);
  }

  static Bytes handler(const std::string& type = "pict") {
    return fullBox("hdlr", 0, 0, FieldWriter().u32(0).text(type).u32(0).u32(0).u32(0).u8(0).bytes);
  }

  [[nodiscard]] Bytes itemInformation() const {
    FieldWriter writer;
    writer.u16(items.size());
    for (const BuiltItem& item : items) {
      FieldWriter entry;
      entry.u16(item.id).u16(0).text(item.type).terminated("");
      if (item.type == "mime") entry.terminated(item.contentType).terminated("");
      writer.append(fullBox("infe", 2, item.hidden ? 1 : 0, entry.bytes));
    }
    return fullBox("iinf", 0, 0, writer.bytes);
  }

  /// Version 0, offsets and lengths of four bytes, one extent an item.
  [[nodiscard]] Bytes itemLocations(std::size_t dataOffset) const {
    FieldWriter writer;
    writer.u8(0x44).u8(0).u16(items.size());
    for (const BuiltItem& item : items) {
      writer.u16(item.id).u16(0).u16(1).u32(dataOffset).u32(item.data.size());
      dataOffset += item.data.size();
    }
    return fullBox("iloc", 0, 0, writer.bytes);
  }

  [[nodiscard]] Bytes itemProperties() const {
    FieldWriter container, associations;
    for (const Bytes& property : properties) container.append(property);
    associations.u32(items.size());
    for (const BuiltItem& item : items) {
      associations.u16(item.id).u8(item.properties.size());
      for (const auto& [index, essential] : item.properties) associations.u8(index | (essential ? 0x80u : 0u));
    }
    return box(
        "iprp",
        FieldWriter().append(box("ipco", container.bytes)).append(fullBox("ipma", 0, 0, associations.bytes)).bytes);
  }

  [[nodiscard]] Bytes meta(std::size_t dataOffset) const {
    FieldWriter writer;
    writer.append(handler()).append(fullBox("pitm", 0, 0, FieldWriter().u16(primary).bytes));
    writer.append(itemInformation()).append(itemLocations(dataOffset)).append(itemProperties());
    FieldWriter links;
    for (const Bytes& link : references) links.append(link);
    if (!references.empty()) writer.append(fullBox("iref", 0, 0, links.bytes));
    return fullBox("meta", 0, 0, writer.bytes);
  }

  [[nodiscard]] Bytes build() const {
    const std::size_t dataOffset = fileType().size() + meta(0).size() + 8;
    FieldWriter data;
    for (const BuiltItem& item : items) data.append(item.data);
    return FieldWriter().append(fileType()).append(meta(dataOffset)).append(box("mdat", data.bytes)).bytes;
  }
};

/// Properties that most images have.
inline Bytes ispe(std::uint32_t width, std::uint32_t height) {
  return fullBox("ispe", 0, 0, FieldWriter().u32(width).u32(height).bytes);
}
inline Bytes irot(unsigned quarters) { return box("irot", {static_cast<std::uint8_t>(quarters)}); }
inline Bytes imir(unsigned axis) { return box("imir", {static_cast<std::uint8_t>(axis)}); }
inline Bytes auxC(const std::string& urn, const Bytes& subtype = {}) {
  return fullBox("auxC", 0, 0, FieldWriter().terminated(urn).append(subtype).bytes);
}
inline Bytes colrIcc(const Bytes& profile, const std::string& kind = "prof") {
  return box("colr", FieldWriter().text(kind).append(profile).bytes);
}
inline Bytes colrNclx(unsigned primaries, unsigned transfer, unsigned matrix, bool fullRange) {
  return box("colr",
             FieldWriter().text("nclx").u16(primaries).u16(transfer).u16(matrix).u8(fullRange ? 0x80 : 0).bytes);
}

}  // namespace quellor::test_support
