#include <string>

#include "platform/formats/image_format.h"
#include "platform/formats/png_session.h"
#include "platform/formats/png_text.h"
#include "platform/metadata/exif_prefix.h"
#include "platform/values/big_endian.h"

namespace quellor::formats {
namespace {

using namespace png;

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
  if (!session.readHeader(file)) return Refusal{"the header or a chunk is broken"};
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
