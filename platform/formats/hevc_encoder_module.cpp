#include "platform/formats/hevc_encoder_module.h"

#include <x265.h>

namespace quellor {
namespace {

/// The functions for one depth, and the handles that they make.
class Session {
 public:
  explicit Session(const x265_api& api) : api_(api) {}
  ~Session() {
    if (encoder_ != nullptr) api_.encoder_close(encoder_);
    if (picture_ != nullptr) api_.picture_free(picture_);
    if (parameters_ != nullptr) api_.param_free(parameters_);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  bool open(const HevcEncoderJob& job) {
    parameters_ = api_.param_alloc();
    if (parameters_ == nullptr || !configure(job)) return false;
    encoder_ = api_.encoder_open(parameters_);
    picture_ = api_.picture_alloc();
    return encoder_ != nullptr && picture_ != nullptr;
  }

  bool encode(const HevcEncoderJob& job, TakeHevcUnit take, void* receiver) {
    x265_nal* units = nullptr;
    std::uint32_t count = 0;
    if (api_.encoder_headers(encoder_, &units, &count) < 0 || !takeAll(units, count, true, take, receiver)) {
      return false;
    }
    api_.picture_init(parameters_, picture_);
    for (int plane = 0; plane < (job.grey ? 1 : 3); ++plane) {
      picture_->planes[plane] = const_cast<std::uint8_t*>(job.planes[plane]);  // only read
      picture_->stride[plane] = static_cast<int>(job.strideBytes[plane]);
    }
    picture_->bitDepth = job.bits;
    picture_->quantOffsets = const_cast<float*>(job.quantizationOffsets);  // copied
    int encoded = 0;
    for (x265_picture* input = picture_;; input = nullptr) {
      const int result = api_.encoder_encode(encoder_, &units, &count, input, nullptr);
      if (result < 0 || !takeAll(units, count, false, take, receiver)) return false;
      encoded += result;
      if (input == nullptr && result == 0) return encoded == 1;
    }
  }

 private:
  bool configure(const HevcEncoderJob& job) {
    if (api_.param_default_preset(parameters_, job.preset, job.tuning) != 0) return false;
    if (api_.param_apply_profile(parameters_, job.profile) != 0) return false;
    parameters_->fpsNum = 1;
    parameters_->fpsDenom = 1;
    parameters_->totalFrames = 1;
    parameters_->internalCsp = job.grey ? X265_CSP_I400 : X265_CSP_I420;
    for (std::size_t i = 0; i < job.optionCount; ++i) {
      if (api_.param_parse(parameters_, job.options[i].name, job.options[i].value) != 0) return false;
    }
    parameters_->logLevel = X265_LOG_NONE;
    parameters_->sourceWidth = static_cast<int>(job.width);
    parameters_->sourceHeight = static_cast<int>(job.height);
    parameters_->internalBitDepth = job.bits;
    return true;
  }

  /// Hands on either the parameter sets or the slices; messages about the encoder are left out.
  static bool takeAll(const x265_nal* units, std::uint32_t count, bool parameterSets, TakeHevcUnit take,
                      void* receiver) {
    for (std::uint32_t i = 0; i < count; ++i) {
      const x265_nal& unit = units[i];
      const bool isSet = unit.type == NAL_UNIT_VPS || unit.type == NAL_UNIT_SPS || unit.type == NAL_UNIT_PPS;
      const bool wanted = parameterSets ? isSet : unit.type < NAL_UNIT_VPS;
      if (wanted && !takeWithoutStartCode(unit, take, receiver)) return false;
    }
    return true;
  }

  /// A start code is zeros and a one (ITU-T H.265, annex B).
  static bool takeWithoutStartCode(const x265_nal& unit, TakeHevcUnit take, void* receiver) {
    std::uint32_t begin = 0;
    while (begin < unit.sizeBytes && unit.payload[begin] == 0) ++begin;
    ++begin;
    return begin < unit.sizeBytes && take(receiver, unit.payload + begin, unit.sizeBytes - begin);
  }

  const x265_api& api_;
  x265_param* parameters_ = nullptr;
  x265_encoder* encoder_ = nullptr;
  x265_picture* picture_ = nullptr;
};

bool encode(const HevcEncoderJob* job, TakeHevcUnit take, void* receiver) noexcept {
  const x265_api* const api = x265_api_get(job->bits);
  if (api == nullptr) return false;
  Session session(*api);
  return session.open(*job) && session.encode(*job, take, receiver);
}

constexpr HevcEncoder kEncoder = {kHevcEncoderVersion, encode};

}  // namespace
}  // namespace quellor

extern "C" __attribute__((visibility("default"))) const quellor::HevcEncoder* quellorHevcEncoder() {
  return &quellor::kEncoder;
}
