#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "platform/formats/image_format.h"
#include "platform/formats/photoshop_resources.h"
#include "platform/formats/png_session.h"
#include "platform/metadata/exif_prefix.h"
#include "platform/values/big_endian.h"

namespace quellor::formats {
namespace {

using namespace png;
using namespace std::string_view_literals;

constexpr auto kXmpKeyword = "XML:com.adobe.xmp"sv;
constexpr auto kRawProfile = "Raw profile type "sv;

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
  } else if (startsWith(bytes, kXmpSegmentName)) {
    keepFirst(blocks.xmp, bytes.subspan(kXmpSegmentName.size()));
  } else if (type == "xmp"sv) {
    keepFirst(blocks.xmp, bytes);
  } else if (const auto iptc = iptcInResources(bytes)) {
    keepFirst(blocks.iptc, *iptc);
  } else if (type == "iptc"sv && startsWith(bytes, "\x1c"sv)) {
    keepFirst(blocks.iptc, bytes);  // datasets without a resource around them
  }
}

/// Takes a metadata block out of a text chunk: "XML:com.adobe.xmp", or the hexadecimal "Raw profile type …" that
/// programs wrote before PNG had a place for Exif. A block that `blocks` has already stays.
void readMetadataText(std::string_view keyword, std::string_view text, MetadataBlocks& blocks) {
  if (keyword == kXmpKeyword) {
    keepFirst(blocks.xmp, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  } else if (keyword.substr(0, kRawProfile.size()) == kRawProfile) {
    readRawProfile(keyword.substr(kRawProfile.size()), text, blocks);
  }
}

// The getters that are called here outside a step of the session do not report errors.

void readResolution(Session& session, ImageFacts& facts) {
  constexpr double kMetresPerInch = 0.0254;
  png_uint_32 x = 0;
  png_uint_32 y = 0;
  int unit = PNG_RESOLUTION_UNKNOWN;
  if (png_get_pHYs(session.png(), session.info(), &x, &y, &unit) == 0) return;
  if (unit != PNG_RESOLUTION_METER || x == 0 || y == 0) return;
  facts.dpiWidth = x * kMetresPerInch;
  facts.dpiHeight = y * kMetresPerInch;
}

void readProfile(Session& session, ImageFacts& facts) {
  png_charp name = nullptr;
  int compression = 0;
  png_bytep profile = nullptr;
  png_uint_32 size = 0;
  if (png_get_iCCP(session.png(), session.info(), &name, &compression, &profile, &size) == 0 || size == 0) return;
  facts.iccProfile = Bytes(profile, profile + size);
}

/// The cICP chunk comes as an unknown one, whether or not the library's version knows it. The format has no other
/// matrix than the identity (PNG, third edition, 11.3.2.6) and wants the chunk before the image data, which stands
/// among the unknown chunks too.
void readCodePoints(Session& session, ImageFacts& facts) {
  png_unknown_chunkp chunks = nullptr;
  const int count = png_get_unknown_chunks(session.png(), session.info(), &chunks);
  for (int i = 0; i < count; ++i) {
    const ByteView name(chunks[i].name, 4);
    const ByteView data(chunks[i].data, chunks[i].size);
    if (startsWith(name, "IDAT")) return;
    if (!startsWith(name, "cICP") || data.size() != 4) continue;
    if (data[2] != 0 || data[3] > 1) continue;
    facts.cicp = Cicp{.colorPrimaries = data[0],
                      .transferCharacteristics = data[1],
                      .matrixCoefficients = data[2],
                      .fullRange = data[3] == 1};
    return;
  }
}

/// The eXIf chunks come as unknown ones, too: the library drops one with a prefix.
void readExif(Session& session, ImageFacts& facts) {
  png_unknown_chunkp chunks = nullptr;
  const int count = png_get_unknown_chunks(session.png(), session.info(), &chunks);
  for (int i = 0; i < count && !facts.metadata.exif; ++i) {
    if (!startsWith(ByteView(chunks[i].name, 4), "eXIf")) continue;
    const auto block = metadata::exifBlockIn({chunks[i].data, chunks[i].size});
    if (block) facts.metadata.exif = copyOf(*block);
  }
}

std::string_view textOf(const png_text& text) {
  const bool international =
      text.compression == PNG_ITXT_COMPRESSION_NONE || text.compression == PNG_ITXT_COMPRESSION_zTXt;
  return text.text == nullptr ? std::string_view()
                              : std::string_view(text.text, international ? text.itxt_length : text.text_length);
}

void readTexts(Session& session, ImageFacts& facts) {
  png_textp texts = nullptr;
  const int count = png_get_text(session.png(), session.info(), &texts, nullptr);
  for (int i = 0; i < count; ++i) readMetadataText(texts[i].key, textOf(texts[i]), facts.metadata);
}

}  // namespace

Outcome<ImageFacts> describePng(ByteView file) {
  Session session(Session::Purpose::facts);
  if (!session.readHeader(file)) return session.headerRefusal();
  png_structp png = session.png();
  png_infop info = session.info();
  const unsigned colorType = png_get_color_type(png, info);
  ImageFacts facts;
  facts.imageCount = session.imageCount();
  facts.width = png_get_image_width(png, info);
  facts.height = png_get_image_height(png, info);
  facts.bitsPerComponent = png_get_bit_depth(png, info) == 16 ? 16 : 8;
  facts.colorModel = (colorType & PNG_COLOR_MASK_COLOR) != 0 ? ColorModel::rgb : ColorModel::grey;
  facts.hasAlpha = (colorType & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png, info, PNG_INFO_tRNS) != 0;
  readResolution(session, facts);
  readProfile(session, facts);
  readCodePoints(session, facts);
  readExif(session, facts);
  readTexts(session, facts);
  facts.formatDictionary = FormatDictionary::png;
  return facts;
}

}  // namespace quellor::formats
