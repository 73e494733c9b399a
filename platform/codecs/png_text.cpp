#include "platform/codecs/png_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "platform/codecs/big_endian.h"
#include "platform/codecs/photoshop_resources.h"
#include "platform/metadata/exif_prefix.h"

namespace quellor::png {
namespace {

using namespace std::string_view_literals;

constexpr auto kXmpKeyword = "XML:com.adobe.xmp"sv;
constexpr auto kRawProfile = "Raw profile type "sv;
constexpr auto kXmpPrefix = "http://ns.adobe.com/xap/1.0/\0"sv;

constexpr std::array kRegistered{"Title"sv,         "Author"sv,   "Description"sv, "Copyright"sv,
                                 "Creation Time"sv, "Software"sv, "Disclaimer"sv,  "Warning"sv,
                                 "Source"sv,        "Comment"sv,  "Collection"sv};

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

/// The length of the well-formed sequence at the front of `text` (Unicode, table 3-7), or 0.
std::size_t utf8SequenceLength(std::string_view text) {
  const auto at = [&text](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
  const auto continues = [&at](std::size_t i) { return (at(i) & 0xC0U) == 0x80U; };
  const unsigned lead = at(0);
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return continues(1) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    if ((lead == 0xE0 && at(1) < 0xA0) || (lead == 0xED && at(1) > 0x9F)) return 0;
    return continues(1) && continues(2) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    if ((lead == 0xF0 && at(1) < 0x90) || (lead == 0xF4 && at(1) > 0x8F)) return 0;
    return continues(1) && continues(2) && continues(3) ? 4 : 0;
  }
  return 0;
}

}  // namespace

bool isRegisteredKeyword(std::string_view keyword) {
  return std::find(kRegistered.begin(), kRegistered.end(), keyword) != kRegistered.end();
}

std::string utf8FromLatin1(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      result.push_back(c);
    } else {
      result.push_back(static_cast<char>(0xC0 | code >> 6));
      result.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
  }
  return result;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

void readMetadataText(std::string_view keyword, std::string_view text, MetadataBlocks& blocks) {
  if (keyword == kXmpKeyword) {
    keepFirst(blocks.xmp, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  } else if (keyword.substr(0, kRawProfile.size()) == kRawProfile) {
    readRawProfile(keyword.substr(kRawProfile.size()), text, blocks);
  }
}

}  // namespace quellor::png
