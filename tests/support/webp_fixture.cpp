#include "tests/support/webp_fixture.h"

#include <algorithm>
#include <stdexcept>

#include <webp/encode.h>

namespace quellor::test_support {
namespace {

void putNumber(Bytes& bytes, std::uint32_t number, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(number >> 8 * i));
}

void putChunk(Bytes& bytes, const WebpChunk& chunk) {
  bytes.insert(bytes.end(), chunk.fourCc.begin(), chunk.fourCc.end());
  putNumber(bytes, static_cast<std::uint32_t>(chunk.payload.size()), 4);
  bytes.insert(bytes.end(), chunk.payload.begin(), chunk.payload.end());
  if (chunk.payload.size() % 2 != 0) bytes.push_back(0);
}

Bytes encode(const WebpPicture& recipe, const WebPConfig& config) {
  WebPPicture picture;
  WebPMemoryWriter writer;
  if (WebPPictureInit(&picture) == 0) throw std::runtime_error("another version of the WebP library");
  WebPMemoryWriterInit(&writer);
  picture.use_argb = 1;
  picture.width = static_cast<int>(recipe.width);
  picture.height = static_cast<int>(recipe.height);
  picture.writer = WebPMemoryWrite;
  picture.custom_ptr = &writer;
  const std::vector<std::uint8_t> rgba(recipe.rgba.begin(), recipe.rgba.end());
  const bool good =
      WebPPictureImportRGBA(&picture, rgba.data(), picture.width * 4) != 0 && WebPEncode(&config, &picture) != 0;
  Bytes file(writer.mem, writer.mem + writer.size);
  WebPMemoryWriterClear(&writer);
  WebPPictureFree(&picture);
  if (!good) throw std::runtime_error("the WebP library does not write this picture");
  return file;
}

}  // namespace

Bytes losslessWebp(const WebpPicture& picture) {
  WebPConfig config;
  WebPConfigInit(&config);
  config.lossless = 1;
  config.exact = 1;  // also under transparent pixels
  return encode(picture, config);
}

Bytes lossyWebp(const WebpPicture& picture) {
  WebPConfig config;
  WebPConfigInit(&config);
  config.quality = 95;
  return encode(picture, config);
}

Bytes webpFile(const std::vector<WebpChunk>& chunks) {
  WebpChunk riff{"RIFF", {'W', 'E', 'B', 'P'}};
  for (const WebpChunk& chunk : chunks) putChunk(riff.payload, chunk);
  Bytes file;
  putChunk(file, riff);
  return file;
}

std::vector<WebpChunk> webpChunks(ByteView file) {
  std::vector<WebpChunk> chunks;
  for (std::size_t i = 12; i + 8 <= file.size();) {
    const ByteView head = file.subspan(i, 8);
    const std::size_t size =
        head[4] | std::size_t{head[5]} << 8 | std::size_t{head[6]} << 16 | std::size_t{head[7]} << 24;
    const ByteView payload = file.subspan(i + 8, size);
    chunks.push_back({std::string(head.begin(), head.begin() + 4), Bytes(payload.begin(), payload.end())});
    i += 8 + size + size % 2;
  }
  return chunks;
}

WebpChunk webpHeader(std::uint8_t flags, std::uint32_t width, std::uint32_t height) {
  WebpChunk chunk{"VP8X", {flags, 0, 0, 0}};
  putNumber(chunk.payload, width - 1, 3);
  putNumber(chunk.payload, height - 1, 3);
  return chunk;
}

WebpChunk webpAnimation() { return {"ANIM", {1, 2, 3, 255, 0, 0}}; }

WebpChunk webpFrame(ByteView still, std::uint32_t left, std::uint32_t top, std::uint32_t width, std::uint32_t height) {
  WebpChunk frame{"ANMF", {}};
  for (const std::uint32_t number : {left / 2, top / 2, width - 1, height - 1, std::uint32_t{100}}) {
    putNumber(frame.payload, number, 3);
  }
  frame.payload.push_back(0);
  for (const WebpChunk& chunk : webpChunks(still)) {
    if (chunk.fourCc != "VP8X") putChunk(frame.payload, chunk);
  }
  return frame;
}

}  // namespace quellor::test_support
