#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/heif_builder.h"
#include "tests/support/hevc_fixture.h"

namespace quellor::test_support {

/// Puts HEIF files together of pictures whose samples are known. What is added last is the primary image.
class HeifScene {
 public:
  /// An item of any type with these properties, all essential but `ispe`.
  std::uint32_t add(const std::string& type, const Bytes& data, const std::vector<Bytes>& properties) {
    BuiltItem item{static_cast<std::uint32_t>(builder_.items.size() + 1), type, data};
    for (const Bytes& property : properties) {
      builder_.properties.push_back(property);
      const bool describes = std::string(property.begin() + 4, property.begin() + 8) == "ispe";
      item.properties.emplace_back(builder_.properties.size(), !describes);
    }
    builder_.items.push_back(item);
    builder_.primary = item.id;
    return item.id;
  }

  /// A coded picture, with properties that come after its own.
  std::uint32_t picture(const Raster& raster, const std::vector<Bytes>& more = {}) {
    CodedPicture coded = codeLosslessly(raster);
    std::vector<Bytes> properties = {std::move(coded.configuration), ispe(raster.width, raster.height)};
    properties.insert(properties.end(), more.begin(), more.end());
    return add("hvc1", coded.data, properties);
  }

  /// Makes `item`, a picture, the alpha of `master`. The primary image stays the master.
  void makeAlpha(std::uint32_t item, std::uint32_t master, bool premultiplied = false) {
    builder_.properties.push_back(auxC("urn:mpeg:mpegB:cicp:systems:auxiliary:alpha"));
    builder_.items.at(item - 1).properties.emplace_back(builder_.properties.size(), true);
    refer("auxl", item, {master});
    if (premultiplied) refer("prem", master, {item});
    builder_.primary = master;
  }

  std::uint32_t grid(unsigned rows, unsigned columns, std::uint32_t width, std::uint32_t height,
                     const std::vector<std::uint32_t>& tiles, const std::vector<Bytes>& more = {}) {
    const Bytes data = FieldWriter().u8(0).u8(0).u8(rows - 1).u8(columns - 1).u16(width).u16(height).bytes;
    return derived("grid", data, width, height, tiles, more);
  }

  struct Placed {
    std::uint32_t item;
    std::int32_t x;
    std::int32_t y;
  };

  /// `fill` is red, green and blue of 16 bits.
  std::uint32_t overlay(const std::vector<unsigned>& fill, std::uint32_t width, std::uint32_t height,
                        const std::vector<Placed>& inputs, bool wideFields = false) {
    const int field = wideFields ? 4 : 2;
    FieldWriter data;
    data.u8(0).u8(wideFields ? 1 : 0);
    for (const unsigned value : fill) data.u16(value);
    data.u16(0xFFFF).number(width, field).number(height, field);
    std::vector<std::uint32_t> items;
    for (const Placed& input : inputs) {
      data.number(static_cast<std::uint32_t>(input.x), field).number(static_cast<std::uint32_t>(input.y), field);
      items.push_back(input.item);
    }
    return derived("iovl", data.bytes, width, height, items, {});
  }

  std::uint32_t identity(std::uint32_t input, const std::vector<Bytes>& properties = {}) {
    const std::uint32_t item = add("iden", {}, properties);
    refer("dimg", item, {input});
    return item;
  }

  std::uint32_t derived(const std::string& type, const Bytes& data, std::uint32_t width, std::uint32_t height,
                        const std::vector<std::uint32_t>& inputs, const std::vector<Bytes>& more) {
    std::vector<Bytes> properties = {ispe(width, height)};
    properties.insert(properties.end(), more.begin(), more.end());
    const std::uint32_t item = add(type, data, properties);
    refer("dimg", item, inputs);
    return item;
  }

  void refer(const std::string& type, std::uint32_t from, const std::vector<std::uint32_t>& to) {
    builder_.references.push_back(HeifBuilder::reference(type, from, to));
  }

  [[nodiscard]] HeifBuilder& builder() { return builder_; }
  [[nodiscard]] Bytes file() const { return builder_.build(); }

 private:
  HeifBuilder builder_;
};

/// A clean aperture of `width` x `height` that begins at the sample `left`, `top` of an image of `whole`.
inline Bytes clap(std::uint32_t left, std::uint32_t top, std::uint32_t width, std::uint32_t height,
                  std::pair<std::uint32_t, std::uint32_t> whole) {
  const auto offset = [](std::uint32_t begin, std::uint32_t size, std::uint32_t of) {
    return static_cast<std::uint32_t>(2 * begin + size - of);
  };
  FieldWriter fields;
  fields.u32(width).u32(1).u32(height).u32(1);
  fields.u32(offset(left, width, whole.first)).u32(2).u32(offset(top, height, whole.second)).u32(2);
  return box("clap", fields.bytes);
}

}  // namespace quellor::test_support
