#include "platform/formats/png_chunks.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/values/big_endian.h"

namespace quellor::png {
namespace {

using namespace std::string_view_literals;

constexpr auto kSignature = "\x89PNG\r\n\x1A\n"sv;
constexpr std::size_t kLengthAndType = 8;
constexpr std::size_t kChecksum = 4;
constexpr std::size_t kFrameControlSize = 26;

/// The end chunk is the same in every file (PNG, third edition, 11.2.5).
constexpr auto kEnd = "\0\0\0\0IEND\xAE\x42\x60\x82"sv;

/// Chunks that describe the image and may stand behind its data (PNG, third edition, 5.6); others there are out of
/// place.
bool mayFollowImageData(ByteView type) {
  constexpr std::array kTypes = {"tEXt"sv, "zTXt"sv, "iTXt"sv, "eXIf"sv, "tIME"sv};
  return std::any_of(kTypes.begin(), kTypes.end(), [type](std::string_view each) { return startsWith(type, each); });
}

}  // namespace

std::optional<FileParts> splitAtImageData(ByteView file) {
  if (!startsWith(file, kSignature)) return std::nullopt;
  std::size_t offset = kSignature.size();
  FileParts parts;
  std::size_t dataEnd = 0;
  bool animated = false;
  while (file.size() - offset >= kLengthAndType + kChecksum) {
    const ByteView type = file.subspan(offset + 4, 4);
    const std::size_t length = bigEndian32(file, offset);
    if (length > file.size() - offset - kLengthAndType - kChecksum) return std::nullopt;
    const std::size_t end = offset + kLengthAndType + length + kChecksum;
    if (startsWith(type, "IDAT")) {
      if (parts.before.empty()) parts.before = file.first(offset);
      if (dataEnd != 0 && dataEnd != offset) return std::nullopt;
      dataEnd = end;
    } else if (startsWith(type, "IEND")) {
      if (parts.before.empty() || !startsWith(file.subspan(offset), kEnd)) return std::nullopt;
      return parts;
    } else if (dataEnd != 0 && mayFollowImageData(type)) {
      parts.behind.push_back(file.subspan(offset, end - offset));
    } else if (startsWith(type, "acTL")) {
      animated = animated || dataEnd == 0;
    } else if (animated && dataEnd != 0 && startsWith(type, "fcTL") && length == kFrameControlSize) {
      ++parts.imageCount;
    }
    offset = end;
  }
  return std::nullopt;
}

}  // namespace quellor::png
