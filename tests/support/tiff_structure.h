#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/values/bytes.h"

namespace quellor::test_support {

/// Builds TIFF structures (TIFF 6.0, section 2) for tests: a header and directories one behind the other, each
/// followed by its values. It checks nothing, so that a test can build broken structures.
class TiffStructure {
 public:
  struct Entry {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    Bytes value;  // as stored; placed behind the directory when it has more than 4 bytes
  };

  explicit TiffStructure(bool bigEndian, std::uint32_t firstDirectory = 8) : bigEndian_(bigEndian) {
    const std::uint8_t mark = bigEndian ? 'M' : 'I';
    bytes_ = joined({{mark, mark}, number(42, 2), number(firstDirectory, 4)});
  }

  [[nodiscard]] Bytes number(std::uint64_t value, std::size_t size) const {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
      bytes[bigEndian_ ? size - 1 - i : i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
    return bytes;
  }

  [[nodiscard]] Entry shortEntry(std::uint16_t tag, std::uint16_t value) const { return {tag, 3, 1, number(value, 2)}; }
  [[nodiscard]] Entry longEntry(std::uint16_t tag, std::uint32_t value) const { return {tag, 4, 1, number(value, 4)}; }
  [[nodiscard]] Entry rationalEntry(std::uint16_t tag, std::uint32_t numerator, std::uint32_t denominator) const {
    return {tag, 5, 1, joined({number(numerator, 4), number(denominator, 4)})};
  }
  [[nodiscard]] static Entry textEntry(std::uint16_t tag, std::string_view text) {
    Bytes value(text.begin(), text.end());
    value.push_back(0);
    const auto count = static_cast<std::uint32_t>(value.size());
    return {tag, 2, count, std::move(value)};
  }
  [[nodiscard]] static Entry undefinedEntry(std::uint16_t tag, Bytes value) {
    const auto count = static_cast<std::uint32_t>(value.size());
    return {tag, 7, count, std::move(value)};
  }

  /// Where the next directory will stand.
  [[nodiscard]] std::uint32_t end() const { return static_cast<std::uint32_t>(bytes_.size()); }

  TiffStructure& directory(const std::vector<Entry>& entries, std::uint32_t next = 0) {
    Bytes values;
    const std::size_t valuesAt = bytes_.size() + 2 + entries.size() * 12 + 4;
    append(number(entries.size(), 2));
    for (const Entry& entry : entries) {
      append(joined({number(entry.tag, 2), number(entry.type, 2), number(entry.count, 4)}));
      Bytes field = entry.value;
      if (field.size() > 4) {
        field = number(valuesAt + values.size(), 4);
        values.insert(values.end(), entry.value.begin(), entry.value.end());
      }
      field.resize(4);
      append(field);
    }
    append(number(next, 4));
    append(values);
    return *this;
  }

  /// Bytes that a directory of these entries takes with its values.
  [[nodiscard]] static std::uint32_t sizeOf(const std::vector<Entry>& entries) {
    std::size_t size = 2 + entries.size() * 12 + 4;
    for (const Entry& entry : entries) size += entry.value.size() > 4 ? entry.value.size() : 0;
    return static_cast<std::uint32_t>(size);
  }

  [[nodiscard]] const Bytes& bytes() const { return bytes_; }

  [[nodiscard]] static Bytes joined(const std::vector<Bytes>& parts) {
    Bytes all;
    for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
  }

 private:
  void append(const Bytes& more) { bytes_.insert(bytes_.end(), more.begin(), more.end()); }

  bool bigEndian_;
  Bytes bytes_;
};

}  // namespace quellor::test_support
