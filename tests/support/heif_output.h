#pragma once
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/heif/container_writer.h"
#include "platform/heif/item_data.h"
#include "tests/support/heif_builder.h"

/// What tests of the HEIF writer look at: written files, and items in a form that compares.
namespace quellor::test_support {

/// The whole of a written file; empty, with a failure, where it cannot be written.
inline Bytes written(const heif::OutputFile& file) {
  const auto serialised = heif::serialise(file);
  EXPECT_TRUE(serialised);
  Bytes bytes;
  if (!serialised) return bytes;
  for (const ByteView part : serialised->parts()) bytes.insert(bytes.end(), part.begin(), part.end());
  return bytes;
}

inline std::string textOf(heif::FourCC code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(code >> shift);
  return text;
}

/// One property of an item: its type, whether it is essential, what follows the header of its box.
struct ItemProperty {
  std::string type;
  bool essential = false;
  Bytes payload;
  friend bool operator==(const ItemProperty&, const ItemProperty&) = default;
  friend void PrintTo(const ItemProperty& property, std::ostream* out) {
    *out << property.type << (property.essential ? "!" : "") << " of " << property.payload.size() << " bytes";
  }
};

inline std::vector<ItemProperty> propertiesOf(const heif::Container& container, const heif::Item& item) {
  std::vector<ItemProperty> properties;
  for (const auto& [index, essential, offset, size] : item.properties) {
    const heif::Property& property = container.properties.at(index);
    properties.push_back({textOf(property.type), essential, {property.payload.begin(), property.payload.end()}});
  }
  return properties;
}

/// The types of an item's properties in their order, an essential one with an exclamation mark.
inline std::vector<std::string> propertyTypesOf(const heif::Container& container, const heif::Item& item) {
  std::vector<std::string> types;
  for (const ItemProperty& property : propertiesOf(container, item)) {
    types.push_back(property.type + (property.essential ? "!" : ""));
  }
  return types;
}

/// The data of an item; empty where it has none.
inline Bytes dataOf(const heif::Container& container, const heif::Item& item) {
  return heif::itemData(container, item, SIZE_MAX).value_or(Bytes{});
}

/// "dimg 3>1,2"
inline std::string textOf(const heif::Reference& reference) {
  std::string text = textOf(reference.type) + " " + std::to_string(reference.from) + ">";
  for (std::size_t i = 0; i < reference.to.size(); ++i) text += (i == 0 ? "" : ",") + std::to_string(reference.to[i]);
  return text;
}

inline std::vector<std::string> textsOf(const std::vector<heif::Reference>& references) {
  std::vector<std::string> texts;
  for (const heif::Reference& reference : references) texts.push_back(textOf(reference));
  return texts;
}

inline std::vector<heif::ItemId> idsOf(const std::vector<heif::Item>& items) {
  std::vector<heif::ItemId> ids;
  for (const heif::Item& item : items) ids.push_back(item.id);
  return ids;
}

/// A decoder configuration record without parameter sets (ISO/IEC 14496-15, 8.3.3.1).
inline Bytes hvcC(unsigned profile = 1, unsigned chroma = 1, unsigned lumaBits = 8, unsigned chromaBits = 8) {
  FieldWriter writer;
  writer.u8(1).u8(profile).u32(0x60000000).u32(0x90000000).u16(0).u8(93).u16(0xf000).u8(0xfc);
  writer.u8(0xfc | chroma).u8(0xf8 | (lumaBits - 8)).u8(0xf8 | (chromaBits - 8)).u16(0).u8(0x0f).u8(0);
  return box("hvcC", writer.bytes);
}

}  // namespace quellor::test_support
