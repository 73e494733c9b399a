#include "platform/formats/hevc_frame.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/values/limits.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

namespace quellor::hevc {
namespace {

struct ContextDeleter {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
using Context = std::unique_ptr<AVCodecContext, ContextDeleter>;

struct PacketDeleter {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using Packet = std::unique_ptr<AVPacket, PacketDeleter>;

// libavcodec does not tell when a slice ends early or is missing: what it does not decode keeps what the buffer held.
// So a few luma samples of every smallest possible coding tree block are marked before decoding, and a mark that is
// still there afterwards is a block that was not decoded. The samples lie where the filters across the edges of a
// block that was decoded do not reach (three samples) and inside a block that the picture's edge cuts (to no less
// than eight). Eight bytes of noise do not come about in a picture; above eight bits they are not even samples.
using Mark = std::array<std::uint8_t, 8>;
constexpr Mark kMark = {0xFB, 0x1A, 0xD3, 0xC6, 0x05, 0x97, 0xE8, 0x6C};
constexpr Mark kDeepMark = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr int kMarkPitch = 16;
constexpr int kMarkOffset = 4;
constexpr int kMarkWidth = 4;  // in samples; two rows of them at one byte a sample, one at two

/// Calls `visit( bytes, mark, size )` for every row of every mark until it returns false.
template <typename Visit>
bool visitMarks(const AVFrame& frame, const AVCodecContext& context, Visit visit) {
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  if (format == nullptr || format->comp[0].step < 1 || format->comp[0].step > 2) return true;
  const int step = format->comp[0].step;
  const Mark& mark = step == 1 ? kMark : kDeepMark;
  const int rows = step == 1 ? 2 : 1;
  const std::size_t rowBytes = mark.size() / static_cast<std::size_t>(rows);
  for (int y = kMarkOffset; y + rows <= context.coded_height; y += kMarkPitch) {
    for (int row = 0; row < rows; ++row) {
      std::uint8_t* line = frame.data[0] + std::ptrdiff_t{y + row} * frame.linesize[0];
      for (int x = kMarkOffset; x + kMarkWidth <= context.coded_width; x += kMarkPitch) {
        if (!visit(line + std::ptrdiff_t{x} * step, mark.data() + static_cast<std::size_t>(row) * rowBytes, rowBytes)) {
          return false;
        }
      }
    }
  }
  return true;
}

bool hasMark(const AVFrame& frame, const AVCodecContext& context) {
  return !visitMarks(frame, context, [](const std::uint8_t* at, const std::uint8_t* mark, std::size_t size) {
    return !std::equal(mark, mark + size, at);
  });
}

/// What the buffer callback counts: a buffer for something that never comes out stood in for a missing reference.
struct Buffers {
  int count = 0;
};

int getMarkedBuffer(AVCodecContext* context, AVFrame* frame, int flags) {
  const int result = avcodec_default_get_buffer2(context, frame, flags);
  if (result >= 0) {
    static_cast<Buffers*>(context->opaque)->count++;
    visitMarks(*frame, *context, [](std::uint8_t* at, const std::uint8_t* mark, std::size_t size) {
      std::copy_n(mark, size, at);
      return true;
    });
  }
  return result;
}

/// A decoder with its buffers, which the next picture of the same size finds in place.
struct OpenDecoder {
  std::unique_ptr<Buffers> buffers = std::make_unique<Buffers>();  // the context points to it
  Context context;
};

OpenDecoder openDecoder(int threads) {
  OpenDecoder decoder;
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_HEVC);
  Context context(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
  if (!context) return decoder;
  // The picture hash of AV_EF_CRCCHECK is verified where the stream carries one.
  context->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_EXPLODE | AV_EF_CAREFUL;
  context->flags &= ~AV_CODEC_FLAG_OUTPUT_CORRUPT;
  context->export_side_data |= AV_CODEC_EXPORT_DATA_FILM_GRAIN;  // or else the grain would be added to the samples
  context->apply_cropping = 0;                                   // done while copying, to the sample
  context->max_pixels = static_cast<std::int64_t>(kMaximumPixels);
  context->thread_type = FF_THREAD_SLICE;
  context->thread_count = threads;
  context->opaque = decoder.buffers.get();
  context->get_buffer2 = getMarkedBuffer;
  if (avcodec_open2(context.get(), codec, nullptr) == 0) decoder.context = std::move(context);
  return decoder;
}

/// The single-threaded decoders that are not in use: as many as there ever were workers on the tiles of a grid.
class IdleDecoders {
 public:
  OpenDecoder take() {
    const std::lock_guard lock(mutex_);
    if (decoders_.empty()) return {};
    OpenDecoder decoder = std::move(decoders_.back());
    decoders_.pop_back();
    return decoder;
  }

  void put(OpenDecoder decoder) {
    const std::lock_guard lock(mutex_);
    decoders_.push_back(std::move(decoder));
  }

 private:
  std::mutex mutex_;
  std::vector<OpenDecoder> decoders_;
};

/// Made at the first use, and lives as long as the module, which is never unloaded.
IdleDecoders& idleDecoders() {
  static IdleDecoders decoders;
  return decoders;
}

bool isSound(const AVFrame& frame) {
  return (frame.flags & (AV_FRAME_FLAG_CORRUPT | AV_FRAME_FLAG_DISCARD)) == 0 && frame.decode_error_flags == 0;
}

}  // namespace

Frame decodePicture(ByteView stream, HevcDecodingMeans means) {
  constexpr std::size_t kMaximumSize = std::numeric_limits<int>::max() - std::size_t{AV_INPUT_BUFFER_PADDING_SIZE};
  const bool shared = means.usedDecoder && means.threads == 1;
  OpenDecoder decoder = shared ? idleDecoders().take() : OpenDecoder{};
  if (!decoder.context) decoder = openDecoder(means.threads);
  const Packet packet(av_packet_alloc());
  Frame frame(av_frame_alloc());
  const Frame another(av_frame_alloc());
  if (!decoder.context || !packet || !frame || !another || stream.size() > kMaximumSize) return nullptr;
  AVCodecContext* const context = decoder.context.get();
  decoder.buffers->count = 0;
  packet->data = const_cast<std::uint8_t*>(stream.data());  // not written to: a packet without an owner is copied
  packet->size = static_cast<int>(stream.size());
  const bool decoded = avcodec_send_packet(context, packet.get()) == 0 && avcodec_send_packet(context, nullptr) == 0 &&
                       avcodec_receive_frame(context, frame.get()) == 0;
  if (!decoded || !isSound(*frame) || hasMark(*frame, *context)) return nullptr;
  if (avcodec_receive_frame(context, another.get()) != AVERROR_EOF || decoder.buffers->count != 1) return nullptr;
  if (shared) {  // after a failure a decoder is not used again
    avcodec_flush_buffers(context);
    idleDecoders().put(std::move(decoder));
  }
  return frame;
}

}  // namespace quellor::hevc
