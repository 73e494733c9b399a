#include "platform/codecs/file_format.h"

#include <algorithm>
#include <array>

namespace quellor {
namespace {

using namespace std::string_view_literals;

std::string_view textAt(ByteView bytes, std::size_t offset, std::size_t size) {
  if (offset > bytes.size() || size > bytes.size() - offset) return {};
  return {reinterpret_cast<const char*>(bytes.data()) + offset, size};
}

bool startsWith(ByteView head, std::string_view signature) { return textAt(head, 0, signature.size()) == signature; }

/// Brands of still images and image collections (ISO/IEC 23008-12, annexes B to L; 23000-22; AVIF 1.1), so that a
/// film in the same container is not taken for one.
constexpr std::array kImageBrands = {"heic"sv, "heix"sv, "heim"sv, "heis"sv, "hevc"sv, "hevx"sv, "hevm"sv, "hevs"sv,
                                     "mif1"sv, "mif2"sv, "mif3"sv, "msf1"sv, "miaf"sv, "avif"sv, "avis"sv, "avci"sv,
                                     "avcs"sv, "jpeg"sv, "jpgs"sv, "j2ki"sv, "j2is"sv, "vvic"sv, "unif"sv, "1pic"sv};

bool isHeif(ByteView head) {
  if (textAt(head, 4, 4) != "ftyp"sv) return false;
  const std::size_t boxSize =
      std::size_t{head[0]} << 24 | std::size_t{head[1]} << 16 | std::size_t{head[2]} << 8 | std::size_t{head[3]};
  const std::size_t end = std::min(boxSize, head.size());
  for (std::size_t offset = 8; offset + 4 <= end; offset += 4) {
    const bool minorVersion = offset == 12;
    if (minorVersion) continue;
    const std::string_view brand = textAt(head, offset, 4);
    if (std::find(kImageBrands.begin(), kImageBrands.end(), brand) != kImageBrands.end()) return true;
  }
  return false;
}

/// Classic TIFF (TIFF 6.0, section 2), little and big endian. BigTIFF is left out: photos have no need of it, and what
/// reads metadata would not find any in it.
bool isTiff(ByteView head) { return startsWith(head, "II*\0"sv) || startsWith(head, "MM\0*"sv); }

}  // namespace

std::optional<FileFormat> recogniseFormat(ByteView head) {
  if (isHeif(head)) return FileFormat::heif;
  if (startsWith(head, "\xff\xd8\xff"sv)) return FileFormat::jpeg;
  if (startsWith(head, "\x89PNG\r\n\x1a\n"sv)) return FileFormat::png;
  if (isTiff(head)) return FileFormat::tiff;
  if (startsWith(head, "RIFF"sv) && textAt(head, 8, 4) == "WEBP"sv) return FileFormat::webp;
  if (startsWith(head, "GIF87a"sv) || startsWith(head, "GIF89a"sv)) return FileFormat::gif;
  return std::nullopt;
}

std::string_view moduleNameOf(FileFormat format) {
  switch (format) {
    case FileFormat::heif:
      return "heif";
    case FileFormat::jpeg:
      return "jpeg";
    case FileFormat::png:
      return "png";
    case FileFormat::tiff:
      return "tiff";
    case FileFormat::webp:
      return "webp";
    case FileFormat::gif:
      return "gif";
  }
  return {};
}

}  // namespace quellor
