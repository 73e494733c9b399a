#include "platform/codecs/png_chunks.h"

#include <string_view>

#include "platform/codecs/big_endian.h"

namespace quellor::png {
namespace {

using namespace std::string_view_literals;

constexpr auto kSignature = "\x89PNG\r\n\x1A\n"sv;
constexpr std::size_t kLengthAndType = 8;
constexpr std::size_t kChecksum = 4;

}  // namespace

std::optional<FileParts> splitAtImageData(ByteView file) {
  if (!startsWith(file, kSignature)) return std::nullopt;
  std::size_t offset = kSignature.size();
  std::size_t dataBegin = 0;
  std::size_t dataEnd = 0;
  while (file.size() - offset >= kLengthAndType + kChecksum) {
    const ByteView type = file.subspan(offset + 4, 4);
    const std::size_t length = bigEndian32(file, offset);
    if (length > file.size() - offset - kLengthAndType - kChecksum) return std::nullopt;
    const std::size_t end = offset + kLengthAndType + length + kChecksum;
    if (startsWith(type, "IDAT")) {
      if (dataBegin == 0) dataBegin = offset;
      if (dataEnd != 0 && dataEnd != offset) return std::nullopt;
      dataEnd = end;
    } else if (startsWith(type, "IEND")) {
      if (dataBegin == 0) return std::nullopt;
      return FileParts{file.first(dataBegin), file.subspan(dataEnd, end - dataEnd)};
    }
    offset = end;
  }
  return std::nullopt;
}

}  // namespace quellor::png
