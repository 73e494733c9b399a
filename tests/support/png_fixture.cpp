#include "tests/support/png_fixture.h"

#include <png.h>

namespace quellor::test_support {
namespace {

std::uint32_t componentsOf(int colorType) {
  switch (colorType) {
    case 2:
      return 3;
    case 4:
      return 2;
    case 6:
      return 4;
    default:
      return 1;
  }
}

Bytes packedRow(const PngSpec& spec, std::uint32_t y) {
  const std::uint32_t components = componentsOf(spec.colorType);
  const auto depth = static_cast<std::uint32_t>(spec.bitDepth);
  Bytes row((std::size_t{spec.width} * components * depth + 7) / 8);
  std::size_t bit = 0;
  for (std::uint32_t x = 0; x < spec.width; ++x) {
    for (std::uint32_t c = 0; c < components; ++c, bit += depth) {
      const std::uint32_t value = spec.sample ? spec.sample(x, y, c) : 0;
      if (depth == 16) {
        row[bit / 8] = static_cast<std::uint8_t>(value >> 8);
        row[bit / 8 + 1] = static_cast<std::uint8_t>(value);
      } else {
        row[bit / 8] = static_cast<std::uint8_t>(row[bit / 8] | value << (8 - depth - bit % 8));
      }
    }
  }
  return row;
}

void appendTo(png_structp png, png_bytep data, std::size_t size) {
  Bytes& file = *static_cast<Bytes*>(png_get_io_ptr(png));
  file.insert(file.end(), data, data + size);
}

int compressionOf(PngText::Kind kind) {
  switch (kind) {
    case PngText::Kind::latin1:
      return PNG_TEXT_COMPRESSION_NONE;
    case PngText::Kind::latin1Compressed:
      return PNG_TEXT_COMPRESSION_zTXt;
    case PngText::Kind::utf8:
      return PNG_ITXT_COMPRESSION_NONE;
    case PngText::Kind::utf8Compressed:
      return PNG_ITXT_COMPRESSION_zTXt;
  }
  return PNG_TEXT_COMPRESSION_NONE;
}

void setTransparency(png_structp png, png_infop info, const PngSpec& spec) {
  if (!spec.paletteAlpha.empty()) {
    png_set_tRNS(png, info, spec.paletteAlpha.data(), static_cast<int>(spec.paletteAlpha.size()), nullptr);
  }
  if (spec.transparentColor) {
    png_color_16 color{};
    color.gray = color.red = (*spec.transparentColor)[0];
    color.green = (*spec.transparentColor)[1];
    color.blue = (*spec.transparentColor)[2];
    png_set_tRNS(png, info, nullptr, 0, &color);
  }
}

void setInfo(png_structp png, png_infop info, const PngSpec& spec) {
  png_set_IHDR(png, info, spec.width, spec.height, spec.bitDepth, spec.colorType,
               spec.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE,
               PNG_FILTER_TYPE_BASE);
  std::vector<png_color> palette;
  for (const auto& [red, green, blue] : spec.palette) palette.push_back({red, green, blue});
  if (!palette.empty()) png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
  setTransparency(png, info, spec);
  if (spec.pixelsPerMetre) {
    png_set_pHYs(png, info, (*spec.pixelsPerMetre)[0], (*spec.pixelsPerMetre)[1], PNG_RESOLUTION_METER);
  }
  if (spec.gamma) png_set_gAMA(png, info, *spec.gamma);
  if (spec.renderingIntent) png_set_sRGB(png, info, *spec.renderingIntent);
  if (!spec.iccProfile.empty()) {
    png_set_iCCP(png, info, "profile", PNG_COMPRESSION_TYPE_BASE, spec.iccProfile.data(),
                 static_cast<png_uint_32>(spec.iccProfile.size()));
  }
  for (PngText text : spec.texts) {
    png_text entry{};
    entry.compression = compressionOf(text.kind);
    entry.key = text.keyword.data();
    entry.text = text.text.data();
    png_set_text(png, info, &entry, 1);
  }
}

void writeChunks(png_structp png, const std::vector<PngChunk>& chunks) {
  for (const PngChunk& chunk : chunks) {
    png_write_chunk(png, reinterpret_cast<png_const_bytep>(chunk.type.data()), chunk.data.data(), chunk.data.size());
  }
}

/// PNG, third edition, annex D.
std::uint32_t checksumOf(ByteView bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const std::uint8_t byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
  }
  return ~crc;
}

void appendNumber(Bytes& data, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) data.push_back(static_cast<std::uint8_t>(number >> shift));
}

std::uint32_t numberAt(ByteView file, std::size_t offset) {
  return std::uint32_t{file[offset]} << 24 | std::uint32_t{file[offset + 1]} << 16 |
         std::uint32_t{file[offset + 2]} << 8 | file[offset + 3];
}

}  // namespace

Bytes encodePng(const PngSpec& spec) {
  Bytes file;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(png, &file, appendTo, nullptr);
  png_set_check_for_invalid_index(png, 0);  // some tests write them on purpose
  setInfo(png, info, spec);
  png_write_info(png, info);
  writeChunks(png, spec.chunksBeforeData);
  const int passes = png_set_interlace_handling(png);
  for (int pass = 0; pass < passes; ++pass) {
    for (std::uint32_t y = 0; y < spec.height; ++y) png_write_row(png, packedRow(spec, y).data());
  }
  writeChunks(png, spec.chunksAfterData);
  png_write_end(png, nullptr);  // no info: the texts are written already
  png_destroy_write_struct(&png, &info);
  return file;
}

PngSpec plainPng() {
  PngSpec spec;
  spec.sample = [](auto x, auto y, auto component) { return (x * 40 + y * 10 + component) % 256; };
  return spec;
}

PngChunk animationControl(std::uint32_t frames) {
  Bytes data;
  for (const std::uint32_t number : {frames, 0U}) appendNumber(data, number);
  return {"acTL", data};
}

PngChunk frameControl(std::uint32_t sequenceNumber) {
  Bytes data;
  for (const std::uint32_t number : {sequenceNumber, 1U, 1U, 0U, 0U}) appendNumber(data, number);
  data.insert(data.end(), {0, 1, 0, 10, 0, 0});  // a tenth of a second, no disposal, no blending
  return {"fcTL", data};
}

PngChunk frameData(std::uint32_t sequenceNumber) {
  Bytes data;
  for (const std::uint32_t number : {sequenceNumber, 0U}) appendNumber(data, number);
  return {"fdAT", data};
}

std::vector<PngPlace> pngChunks(ByteView file) {
  std::vector<PngPlace> places;
  std::size_t offset = 8;
  while (offset + 12 <= file.size()) {
    const std::size_t length = numberAt(file, offset);
    const ByteView type = file.subspan(offset + 4, 4);
    places.push_back({std::string(type.begin(), type.end()), offset, length});
    offset += 12 + length;
  }
  return places;
}

std::vector<PngChunk> disassemblePng(ByteView file) {
  std::vector<PngChunk> chunks;
  for (const PngPlace& place : pngChunks(file)) {
    const ByteView data = file.subspan(place.offset + 8, place.length);
    chunks.push_back({place.type, Bytes(data.begin(), data.end())});
  }
  return chunks;
}

Bytes assemblePng(const std::vector<PngChunk>& chunks) {
  Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  for (const PngChunk& chunk : chunks) {
    const PngPlace place{chunk.type, file.size(), chunk.data.size()};
    appendNumber(file, static_cast<std::uint32_t>(chunk.data.size()));
    file.insert(file.end(), chunk.type.begin(), chunk.type.end());
    file.insert(file.end(), chunk.data.begin(), chunk.data.end());
    file.resize(file.size() + 4);
    repairChecksum(file, place);
  }
  return file;
}

void repairChecksum(Bytes& file, const PngPlace& chunk) {
  const std::uint32_t crc = checksumOf(ByteView(file).subspan(chunk.offset + 4, chunk.length + 4));
  for (std::size_t i = 0; i < 4; ++i) {
    file[chunk.offset + 8 + chunk.length + i] = static_cast<std::uint8_t>(crc >> (24 - 8 * i));
  }
}

}  // namespace quellor::test_support
