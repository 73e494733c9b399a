#include <string>

#include "platform/codecs/big_endian.h"
#include "platform/codecs/codec_module.h"
#include "platform/codecs/png_decode.h"
#include "platform/codecs/png_session.h"
#include "platform/codecs/png_text.h"
#include "platform/metadata/exif_prefix.h"

namespace quellor::png {
namespace {

// The getters that are called here outside a step of the session do not report errors.

void readResolution(Session& session, EncodedFacts& facts) {
  constexpr double kMetresPerInch = 0.0254;
  png_uint_32 x = 0;
  png_uint_32 y = 0;
  int unit = PNG_RESOLUTION_UNKNOWN;
  if (png_get_pHYs(session.png(), session.info(), &x, &y, &unit) == 0) return;
  if (unit != PNG_RESOLUTION_METER || x == 0 || y == 0) return;
  facts.dpiWidth = x * kMetresPerInch;
  facts.dpiHeight = y * kMetresPerInch;
}

void readProfile(Session& session, EncodedFacts& facts) {
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
void readCodePoints(Session& session, EncodedFacts& facts) {
  png_unknown_chunkp chunks = nullptr;
  const int count = png_get_unknown_chunks(session.png(), session.info(), &chunks);
  for (int i = 0; i < count; ++i) {
    const ByteView name(chunks[i].name, 4);
    const ByteView data(chunks[i].data, chunks[i].size);
    if (startsWith(name, "IDAT")) return;
    if (!startsWith(name, "cICP") || data.size() != 4) continue;
    if (data[2] != 0 || data[3] > 1) continue;
    facts.cicp = Cicp{.colourPrimaries = data[0],
                      .transferCharacteristics = data[1],
                      .matrixCoefficients = data[2],
                      .fullRange = data[3] == 1};
    return;
  }
}

/// The eXIf chunks come as unknown ones, too: the library drops one with a prefix.
void readExif(Session& session, EncodedFacts& facts) {
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

/// Metadata blocks, and the registered keywords as entries of `dictionary`.
void readTexts(Session& session, EncodedFacts& facts, PropertyDictionary& dictionary) {
  png_textp texts = nullptr;
  const int count = png_get_text(session.png(), session.info(), &texts, nullptr);
  for (int i = 0; i < count; ++i) {
    const std::string_view keyword(texts[i].key);
    const std::string_view text = textOf(texts[i]);
    readMetadataText(keyword, text, facts.metadata);
    if (!isRegisteredKeyword(keyword) || dictionary.contains(keyword)) continue;
    const bool international = texts[i].compression >= PNG_ITXT_COMPRESSION_NONE;
    if (international && !isUtf8(text)) continue;
    dictionary.set(keyword, international ? std::string(text) : utf8FromLatin1(text));
  }
}

PropertyDictionary readPngDictionary(Session& session, EncodedFacts& facts) {
  PropertyDictionary dictionary;
  dictionary.set("InterlaceType", int{png_get_interlace_type(session.png(), session.info())});
  double gamma = 0;
  if (png_get_gAMA(session.png(), session.info(), &gamma) != 0) dictionary.set("Gamma", gamma);
  int intent = 0;
  if (png_get_sRGB(session.png(), session.info(), &intent) != 0) dictionary.set("sRGBIntent", intent);
  readTexts(session, facts, dictionary);
  return dictionary;
}

std::optional<EncodedFacts> describeFile(ByteView file) {
  Session session(Session::Purpose::facts);
  if (!session.readHeader(file)) return std::nullopt;
  png_structp png = session.png();
  png_infop info = session.info();
  const unsigned colorType = png_get_color_type(png, info);
  EncodedFacts facts;
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
  facts.formatProperties.set(property_key::kPng, readPngDictionary(session, facts));
  return facts;
}

}  // namespace
}  // namespace quellor::png

QUELLOR_CODEC_MODULE(quellor::png::describeFile, quellor::png::decodeFile)
