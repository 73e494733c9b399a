#include "platform/formats/image_format.h"

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <string_view>
#include <utility>

#include "platform/formats/hevc_modules.h"
#include "platform/values/big_endian.h"

namespace quellor {
namespace {

using namespace std::string_view_literals;

/// Brands of still images and image collections (ISO/IEC 23008-12, annexes B to L; 23000-22; AVIF 1.1), so that a
/// film in the same container is not taken for one.
constexpr std::array kImageBrands = {"heic"sv, "heix"sv, "heim"sv, "heis"sv, "hevc"sv, "hevx"sv, "hevm"sv, "hevs"sv,
                                     "mif1"sv, "mif2"sv, "mif3"sv, "msf1"sv, "miaf"sv, "avif"sv, "avis"sv, "avci"sv,
                                     "avcs"sv, "jpeg"sv, "jpgs"sv, "j2ki"sv, "j2is"sv, "vvic"sv, "unif"sv, "1pic"sv};

ByteView behind(ByteView head, std::size_t size) { return head.subspan(std::min(size, head.size())); }

bool isHeif(ByteView head) {
  if (!startsWith(behind(head, 4), "ftyp")) return false;
  const std::size_t end = std::min<std::size_t>(bigEndian32(head, 0), head.size());
  for (std::size_t offset = 8; offset + 4 <= end; offset += 4) {
    const bool minorVersion = offset == 12;
    if (minorVersion) continue;
    const auto isBrand = [rest = head.subspan(offset)](std::string_view each) { return startsWith(rest, each); };
    if (std::any_of(kImageBrands.begin(), kImageBrands.end(), isBrand)) return true;
  }
  return false;
}

/// Classic TIFF (TIFF 6.0, section 2), little and big endian. BigTIFF is left out: photos have no need of it, and what
/// reads metadata would not find any in it.
bool isTiff(ByteView head) { return startsWith(head, "II*\0"sv) || startsWith(head, "MM\0*"sv); }

/// `function`, with absence where memory runs out or a library raises an error.
template <auto function>
auto absentWithoutMemory(ByteView file) -> decltype(function(file)) {
  try {
    return function(file);
  } catch (const MissingModule&) {
    throw;
  } catch (const std::bad_alloc&) {
    return Refusal{"memory runs out"};
  } catch (const std::exception&) {
    return Refusal{"an unexpected error"};
  }
}

/// The look of a format that has no cheaper proof than a decoding.
template <auto decode>
Outcome<Look> lookByDecoding(ByteView file) {
  return lookFrom(decode(file));
}

template <auto describe, auto decode, auto look = lookByDecoding<decode>>
constexpr ImageFormat format(const char* name) {
  return {name, absentWithoutMemory<describe>, absentWithoutMemory<look>, absentWithoutMemory<decode>};
}

constexpr ImageFormat kHeif = format<formats::describeHeif, formats::decodeHeif, formats::lookAtHeif>("HEIF");
constexpr ImageFormat kJpeg = format<formats::describeJpeg, formats::decodeJpeg, formats::lookAtJpeg>("JPEG");
constexpr ImageFormat kPng = format<formats::describePng, formats::decodePng, formats::lookAtPng>("PNG");
constexpr ImageFormat kTiff = format<formats::describeTiff, formats::decodeTiff>("TIFF");
constexpr ImageFormat kWebp = format<formats::describeWebp, formats::decodeWebp>("WebP");
constexpr ImageFormat kGif = format<formats::describeGif, formats::decodeGif>("GIF");

}  // namespace

Outcome<Look> lookFrom(Outcome<Raster> decoded) {
  if (!decoded) return decoded.refusal();
  const RasterShape shape = shapeOf(*decoded);
  return Look{shape, std::move(*decoded)};
}

const ImageFormat* formatOf(ByteView head) {
  if (isHeif(head)) return &kHeif;
  if (startsWith(head, "\xff\xd8\xff"sv)) return &kJpeg;
  if (startsWith(head, "\x89PNG\r\n\x1a\n"sv)) return &kPng;
  if (isTiff(head)) return &kTiff;
  if (startsWith(head, "RIFF"sv) && startsWith(behind(head, 8), "WEBP"sv)) return &kWebp;
  if (startsWith(head, "GIF87a"sv) || startsWith(head, "GIF89a"sv)) return &kGif;
  return nullptr;
}

}  // namespace quellor
