#pragma once
#include <memory>

#include "platform/formats/hevc_decoder_module.h"
#include "platform/values/bytes.h"

extern "C" {
#include <libavutil/frame.h>
}

namespace quellor::hevc {

struct FrameDeleter {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;

/// Decodes the one picture in `stream`, a byte stream (annex B) behind which AV_INPUT_BUFFER_PADDING_SIZE zero bytes
/// stand. Safe to call from several threads.
///
/// Null when libavcodec reports or marks any error, when a part of the picture was not decoded, when there is not
/// exactly one picture, and when it is too large. Damage that leaves the arithmetic code decodable goes unnoticed
/// (verify.h). The frame holds the whole coded picture: its crop_* members tell the conformance window.
[[nodiscard]] Frame decodePicture(ByteView stream, HevcDecodingMeans means);

}  // namespace quellor::hevc
