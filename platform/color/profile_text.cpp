#include "platform/color/profile_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/values/big_endian.h"

namespace quellor {
namespace {

constexpr std::size_t kTypeBytes = 8;  // signature and reserved bytes that every tag begins with

/// As much of the range as there is.
ByteView clampedRange(ByteView bytes, std::size_t offset, std::size_t length) {
  const ByteView rest = bytes.subspan(std::min(offset, bytes.size()));
  return rest.first(std::min(length, rest.size()));
}

void appendUtf8(std::string& text, std::uint32_t c) {
  const auto append = [&text](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
  const auto appendTail = [&](int shift) { append(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    append(c);
  } else if (c < 0x800) {
    append(0xC0 | (c >> 6));
    appendTail(0);
  } else if (c < 0x10000) {
    append(0xE0 | (c >> 12));
    appendTail(6);
    appendTail(0);
  } else {
    append(0xF0 | (c >> 18));
    appendTail(12);
    appendTail(6);
    appendTail(0);
  }
}

void appendVisible(std::string& text, std::uint32_t c) {
  const bool control = c < 0x20 || (c >= 0x7F && c <= 0x9F);
  if (!control) appendUtf8(text, c);
}

std::optional<std::string> unlessBlank(std::string text) {
  if (text.find_first_not_of(' ') == std::string::npos) return std::nullopt;
  return text;
}

std::optional<std::string> latin1Text(ByteView characters) {
  std::string text;
  for (const std::uint8_t c : characters) {
    if (c == 0) break;
    appendVisible(text, c);
  }
  return unlessBlank(std::move(text));
}

std::optional<std::string> utf16Text(ByteView units) {
  constexpr std::uint32_t kReplacement = 0xFFFD;
  const auto isHigh = [](std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
  const auto isLow = [](std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
  std::string text;
  while (units.size() >= 2) {
    const std::uint32_t unit = bigEndian16(units, 0);
    if (unit == 0) break;
    units = units.subspan(2);
    const std::uint32_t next = units.size() >= 2 ? bigEndian16(units, 0) : 0;
    if (isHigh(unit) && isLow(next)) {
      units = units.subspan(2);
      appendUtf8(text, 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
    } else {
      appendVisible(text, isHigh(unit) || isLow(unit) ? kReplacement : unit);
    }
  }
  return unlessBlank(std::move(text));
}

std::optional<std::string> multiLocalizedText(ByteView tag) {
  constexpr std::size_t kRecords = 16;
  constexpr std::size_t kRecordBytes = 12;  // language, country, length, offset
  if (tag.size() < kRecords || bigEndian32(tag, 12) != kRecordBytes) return std::nullopt;
  const std::size_t count = std::min<std::size_t>(bigEndian32(tag, 8), (tag.size() - kRecords) / kRecordBytes);
  const auto preference = [](ByteView record) {
    return startsWith(record, "enUS") ? 2 : startsWith(record, "en") ? 1 : 0;
  };
  ByteView best;
  for (std::size_t i = 0; i < count; ++i) {
    const ByteView record = tag.subspan(kRecords + i * kRecordBytes, kRecordBytes);
    if (best.empty() || preference(record) > preference(best)) best = record;
  }
  if (best.empty()) return std::nullopt;
  return utf16Text(clampedRange(tag, bigEndian32(best, 8), bigEndian32(best, 4)));
}

std::optional<std::string> descriptionText(ByteView tag) {
  constexpr std::size_t kAscii = kTypeBytes + 4;
  constexpr std::size_t kUnicodeHeader = 8;  // language code and count of characters
  if (tag.size() < kAscii) return std::nullopt;
  const std::size_t length = bigEndian32(tag, kTypeBytes);
  if (std::optional<std::string> text = latin1Text(clampedRange(tag, kAscii, length))) return text;
  const ByteView rest = tag.subspan(std::min(kAscii + length, tag.size()));
  if (rest.size() < kUnicodeHeader) return std::nullopt;
  return utf16Text(clampedRange(rest, kUnicodeHeader, std::size_t{2} * bigEndian32(rest, 4)));
}

}  // namespace

std::optional<std::string> profileText(ByteView tag) {
  if (startsWith(tag, "mluc")) return multiLocalizedText(tag);
  if (startsWith(tag, "desc")) return descriptionText(tag);
  if (startsWith(tag, "text")) return latin1Text(clampedRange(tag, kTypeBytes, tag.size()));
  return std::nullopt;
}

}  // namespace quellor
