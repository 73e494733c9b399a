#include "platform/formats/png_text.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "platform/formats/photoshop_resources.h"
#include "platform/metadata/exif_prefix.h"
#include "platform/values/big_endian.h"

namespace quellor::png {
namespace {

using namespace std::string_view_literals;

constexpr auto kXmpKeyword = "XML:com.adobe.xmp"sv;
constexpr auto kRawProfile = "Raw profile type "sv;
constexpr auto kXmpPrefix = "http://ns.adobe.com/xap/1.0/\0"sv;

std::optional<int> hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return std::nullopt;
}

bool isSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

/// Removes white space and then all up to the next one from the front of `text`, and returns the latter.
std::string_view takeWord(std::string_view& text) {
  const auto start = std::find_if_not(text.begin(), text.end(), isSpace);
  const auto end = std::find_if(start, text.end(), isSpace);
  const std::string_view word(start, end);
  text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
  return word;
}

/// "\nNAME\n  LENGTH\nHEX DIGITS IN LINES\n". Empty when it is anything else.
Bytes decodeRawProfile(std::string_view text) {
  takeWord(text);
  const std::string_view digits = takeWord(text);
  std::size_t length = 0;
  const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), length);
  if (parsed.ec != std::errc{} || parsed.ptr != digits.data() + digits.size() || length > text.size() / 2) return {};
  Bytes bytes;
  bytes.reserve(length);
  std::optional<int> high;
  for (const char c : text) {
    if (isSpace(c)) continue;
    const auto digit = hexDigit(c);
    if (!digit || bytes.size() == length) return {};
    if (high) bytes.push_back(static_cast<std::uint8_t>(*high << 4 | *digit));
    high = high ? std::nullopt : digit;
  }
  return bytes.size() == length && !high ? bytes : Bytes{};
}

void keepFirst(std::optional<Bytes>& place, ByteView bytes) {
  if (!place && !bytes.empty()) place = copyOf(bytes);
}

void readRawProfile(std::string_view type, std::string_view text, MetadataBlocks& blocks) {
  if (type != "exif"sv && type != "APP1"sv && type != "xmp"sv && type != "iptc"sv && type != "8bim"sv) return;
  const Bytes profile = decodeRawProfile(text);
  const ByteView bytes = profile;
  if (const auto exif = metadata::exifBlockIn(bytes)) {
    keepFirst(blocks.exif, *exif);
  } else if (startsWith(bytes, kXmpPrefix)) {
    keepFirst(blocks.xmp, bytes.subspan(kXmpPrefix.size()));
  } else if (type == "xmp"sv) {
    keepFirst(blocks.xmp, bytes);
  } else if (const auto iptc = iptcInResources(bytes)) {
    keepFirst(blocks.iptc, *iptc);
  } else if (type == "iptc"sv && startsWith(bytes, "\x1c"sv)) {
    keepFirst(blocks.iptc, bytes);  // datasets without a resource around them
  }
}

}  // namespace

void readMetadataText(std::string_view keyword, std::string_view text, MetadataBlocks& blocks) {
  if (keyword == kXmpKeyword) {
    keepFirst(blocks.xmp, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  } else if (keyword.substr(0, kRawProfile.size()) == kRawProfile) {
    readRawProfile(keyword.substr(kRawProfile.size()), text, blocks);
  }
}

}  // namespace quellor::png
