#include "platform/formats/png_chunks.h"

namespace quellor::png {

using namespace std::string_view_literals;

std::optional<Chunk> chunkAt(ByteView file, std::size_t offset) {
  constexpr std::size_t kMaximumLength = 0x7FFFFFFF;  // PNG, third edition, 5.3
  constexpr std::size_t kFrame = Chunk::kHeadSize + Chunk::kChecksumSize;
  const ByteView rest = file.subspan(offset);
  if (rest.size() < kFrame) return std::nullopt;
  const std::size_t length = bigEndian32(rest, 0);
  if (length > kMaximumLength || length > rest.size() - kFrame) return std::nullopt;
  return Chunk{rest.first(kFrame + length)};
}

bool isEnd(const Chunk& chunk) {
  constexpr auto kEnd = "\0\0\0\0IEND\xAE\x42\x60\x82"sv;  // the same in every file: 11.2.5
  return startsWith(chunk.whole, kEnd);
}

}  // namespace quellor::png
