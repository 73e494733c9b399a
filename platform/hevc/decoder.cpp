#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <thread>
#include <vector>

#include <libheif/heif.h>
#include <libheif/heif_plugin.h>

#include "platform/hevc/frame.h"
#include "platform/hevc/image.h"
#include "platform/hevc/nal.h"
#include "platform/hevc/strict_check.h"
#include "platform/hevc/verify.h"
#include "platform/module.h"

extern "C" {
#include <libavcodec/defs.h>
#include <libavutil/log.h>
}

/// A decoder plugin of libheif on libavcodec's HEVC decoder, which takes half to two thirds of libde265's time and,
/// on several threads, less. It refuses a picture of which any part is missing or reported as damaged, and in strict
/// mode (heif_decoding_options) also one that verify.h finds damaged.
///
/// A module of its own, because loading libavcodec takes longer than most runs.
namespace quellor::hevc {
namespace {

constexpr heif_error kOk = {heif_error_Ok, heif_suberror_Unspecified, "Success"};
constexpr heif_error kDamaged = {heif_error_Invalid_input, heif_suberror_End_of_data,
                                 "The HEVC picture is incomplete or damaged"};
constexpr heif_error kNoMemory = {heif_error_Memory_allocation_error, heif_suberror_Unspecified,
                                  "There is no memory for the HEVC picture"};

/// Pictures up to this size, tiles above all, are decoded on the calling thread: libheif decodes tiles in parallel.
constexpr std::uint64_t kSmallPicture = std::uint64_t{1024} * 1024;
constexpr unsigned kMaximumThreads = 16;  // of libavcodec

struct Decoder {
  NalStream stream;
  bool strict = false;
};

heif_error decode(Decoder& decoder, heif_image** image) {
  const ByteView bytes = decoder.stream.bytes(AV_INPUT_BUFFER_PADDING_SIZE);
  const auto shape = shapeOf(decoder.stream.units());
  const unsigned processors = std::clamp(std::thread::hardware_concurrency(), 1U, kMaximumThreads);
  const bool large = shape && shape->pixels > kSmallPicture;
  const int threads = large && shape->wavefront ? static_cast<int>(processors) : 1;

  std::optional<StrictCheck> check;
  if (decoder.strict) {
    check.emplace(decoder.stream, bytes, large && processors > 1);
  }
  if (check && !large && !check->passes()) {
    return kDamaged;
  }
  const Frame frame = decodePicture(bytes, {threads, shape.has_value()});
  if (!frame || (check && large && !check->passes())) {
    return kDamaged;
  }
  return makeImage(*frame, image);
}

// The functions below are called through libheif, which is not to see an exception.

const char* name() { return "HEVC decoder on libavcodec"; }

void initialise() {
  // Process-wide, like the library's log itself: this program answers on standard output and reports no details.
  av_log_set_level(AV_LOG_QUIET);
}

int priorityFor(heif_compression_format format) {
  constexpr int kAboveAllOthers = 200;  // 100 is the default
  return format == heif_compression_HEVC ? kAboveAllOthers : 0;
}

heif_error createDecoder(void** decoder) {
  *decoder = new (std::nothrow) Decoder;  // libheif owns it until freeDecoder
  return *decoder == nullptr ? kNoMemory : kOk;
}

void freeDecoder(void* decoder) { delete static_cast<Decoder*>(decoder); }

heif_error pushData(void* decoder, const void* data, std::size_t size) {
  try {
    const ByteView units(static_cast<const std::uint8_t*>(data), size);
    return static_cast<Decoder*>(decoder)->stream.append(units) ? kOk : kDamaged;
  } catch (...) {
    return kNoMemory;
  }
}

heif_error decodeImage(void* decoder, heif_image** image) {
  *image = nullptr;
  try {
    return decode(*static_cast<Decoder*>(decoder), image);
  } catch (...) {
    return kNoMemory;
  }
}

void setStrict(void* decoder, int strict) { static_cast<Decoder*>(decoder)->strict = strict != 0; }

constexpr heif_decoder_plugin kPlugin = {
    .plugin_api_version = 3,
    .get_plugin_name = name,
    .init_plugin = initialise,
    .deinit_plugin = nullptr,
    .does_support_format = priorityFor,
    .new_decoder = createDecoder,
    .free_decoder = freeDecoder,
    .push_data = pushData,
    .decode_image = decodeImage,
    .set_strict_decoding = setStrict,
    .id_name = "quellor-hevc",
};

}  // namespace
}  // namespace quellor::hevc

/// What heif_load_plugin() looks for. Not constant because libheif keeps its handle in it.
QUELLOR_MODULE_ENTRY heif_plugin_info plugin_info;
heif_plugin_info plugin_info = {1, heif_plugin_type_decoder, &quellor::hevc::kPlugin, nullptr};
