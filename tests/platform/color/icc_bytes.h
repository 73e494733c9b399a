#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/values/bytes.h"

/// ICC profiles written and read byte by byte (ICC.1:2010, clauses 7 and 10), without any library.
namespace quellor::icc {

inline void append(Bytes& bytes, std::string_view text) { bytes.insert(bytes.end(), text.begin(), text.end()); }
inline void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

inline void append16(Bytes& bytes, std::uint32_t value) {
  // Two calls of push_back() are more than GCC 12 follows: it warns of writing beyond a vector of known size.
  const std::array<std::uint8_t, 2> digits = {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
  bytes.insert(bytes.end(), digits.begin(), digits.end());
}

inline void append32(Bytes& bytes, std::uint32_t value) {
  append16(bytes, value >> 16);
  append16(bytes, value);
}

inline void put32(Bytes& bytes, std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

inline std::uint32_t read32(ByteView bytes, std::size_t offset) {
  return std::uint32_t{bytes[offset]} << 24 | std::uint32_t{bytes[offset + 1]} << 16 |
         std::uint32_t{bytes[offset + 2]} << 8 | std::uint32_t{bytes[offset + 3]};
}

/// s15Fixed16Number.
inline double readFixed(ByteView bytes, std::size_t offset) {
  return static_cast<std::int32_t>(read32(bytes, offset)) / 65536.0;
}

inline void appendFixed(Bytes& bytes, double value) {
  append32(bytes, static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(value * 65536))));
}

/// Start of tag data: the type and four zero bytes.
inline Bytes typed(std::string_view type) {
  Bytes bytes;
  append(bytes, type);
  append32(bytes, 0);
  return bytes;
}

inline Bytes xyz(double x, double y, double z) {
  Bytes bytes = typed("XYZ ");
  for (const double value : {x, y, z}) appendFixed(bytes, value);
  return bytes;
}

inline Bytes parametric(std::uint32_t function, const std::vector<double>& parameters) {
  Bytes bytes = typed("para");
  append16(bytes, function);
  append16(bytes, 0);
  for (const double value : parameters) appendFixed(bytes, value);
  return bytes;
}

/// A curve of one number: gamma as u8Fixed8Number.
inline Bytes gamma(double value) {
  Bytes bytes = typed("curv");
  append32(bytes, 1);
  append16(bytes, static_cast<std::uint32_t>(std::lround(value * 256)));
  return bytes;
}

/// A table of `points` values of `curve`, evenly spaced from 0 to 1.
template <typename Curve>
Bytes table(std::uint32_t points, Curve curve) {
  Bytes bytes = typed("curv");
  append32(bytes, points);
  for (std::uint32_t i = 0; i < points; ++i) {
    append16(bytes, static_cast<std::uint32_t>(std::lround(curve(i / (points - 1.0)) * 65535)));
  }
  return bytes;
}

struct Translation {
  std::string_view locale;  // language and country: "enUS"
  std::u16string text;
};

inline Bytes multiLocalized(const std::vector<Translation>& translations) {
  Bytes bytes = typed("mluc");
  append32(bytes, static_cast<std::uint32_t>(translations.size()));
  append32(bytes, 12);
  Bytes texts;
  for (const Translation& translation : translations) {
    append(bytes, translation.locale);
    append32(bytes, static_cast<std::uint32_t>(2 * translation.text.size()));
    append32(bytes, static_cast<std::uint32_t>(16 + 12 * translations.size() + texts.size()));
    for (const char16_t unit : translation.text) append16(texts, unit);
  }
  append(bytes, texts);
  return bytes;
}

/// The description of a version 2 profile (textDescriptionType), with its ASCII part only.
inline Bytes asciiDescription(std::string_view text) {
  Bytes bytes = typed("desc");
  append32(bytes, static_cast<std::uint32_t>(text.size() + 1));
  append(bytes, text);
  bytes.resize(bytes.size() + 1 + 8 + 3 + 67);
  return bytes;
}

struct Tag {
  std::string_view signature;
  Bytes data;
};

struct Header {
  std::string_view space = "RGB ";
  std::string_view connection = "XYZ ";
  std::string_view profileClass = "mntr";
  std::uint32_t version = 0x02100000;
};

inline Bytes profile(const Header& header, const std::vector<Tag>& tags) {
  Bytes bytes(8);
  append32(bytes, header.version);
  append(bytes, header.profileClass);
  append(bytes, header.space);
  append(bytes, header.connection);
  bytes.resize(36);
  append(bytes, "acsp");
  bytes.resize(68);
  for (const double value : {0.9642, 1.0, 0.8249}) appendFixed(bytes, value);
  bytes.resize(128);
  append32(bytes, static_cast<std::uint32_t>(tags.size()));
  Bytes data;
  for (const Tag& tag : tags) {
    append(bytes, tag.signature);
    append32(bytes, static_cast<std::uint32_t>(132 + 12 * tags.size() + data.size()));
    append32(bytes, static_cast<std::uint32_t>(tag.data.size()));
    append(data, tag.data);
    data.resize((data.size() + 3) / 4 * 4);
  }
  append(bytes, data);
  put32(bytes, 0, static_cast<std::uint32_t>(bytes.size()));
  return bytes;
}

/// The bytes of a tag of a well-formed profile, or absent.
inline std::optional<ByteView> findTag(ByteView profile, std::string_view signature) {
  for (std::size_t entry = 132; entry < 132 + std::size_t{12} * read32(profile, 128); entry += 12) {
    if (std::ranges::equal(profile.subspan(entry, 4), signature)) {
      return profile.subspan(read32(profile, entry + 4), read32(profile, entry + 8));
    }
  }
  return std::nullopt;
}

/// The first profile that stands in a file as one run of bytes, whatever the file's format.
inline std::optional<Bytes> findProfile(ByteView file) {
  constexpr std::string_view kSignature = "acsp";
  constexpr std::size_t kSignatureOffset = 36;
  if (file.size() < 128) return std::nullopt;
  const auto found = std::search(file.begin() + kSignatureOffset, file.end(), kSignature.begin(), kSignature.end());
  if (found == file.end()) return std::nullopt;
  const auto start = static_cast<std::size_t>(found - file.begin()) - kSignatureOffset;
  const std::size_t size = read32(file, start);
  if (size < 128 || size > file.size() - start) return std::nullopt;
  const ByteView bytes = file.subspan(start, size);
  return Bytes(bytes.begin(), bytes.end());
}

}  // namespace quellor::icc
