#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "platform/hevc/nal.h"
#include "platform/values/color.h"

namespace quellor::hevc {

enum class Verdict : std::uint8_t {
  intact,   // every slice segment's arithmetic code ends exactly where its data end, and they cover the picture
  damaged,  // that does not hold
  unknown,  // the picture uses coding tools that are not followed here, or a parameter set that is not understood
};

/// A verdict and, unless that is `intact`, the condition that failed first: a short English phrase for developers.
struct Judgement {
  Verdict verdict = Verdict::intact;
  const char* reason = "";  // lives as long as the program
  /// Of an intact picture: whether sample adaptive offset is on for the chroma of a coding tree unit in which a coding
  /// unit is exempt from it, as PCM and lossless units can be (ITU-T H.265, 8.7.3.2). Not every decoder obeys.
  bool exemptsChromaFromOffset = false;
};

/// The caller's threads: calls `task( 0 )` to `task( count - 1 )`, each once, begun in ascending order and possibly at
/// the same time, and returns when all have ended; what a task throws it raises then, and begins no further one. A task
/// may wait for those of lower index. An empty one stands for the calling thread alone.
using Spread = std::function<void(std::size_t count, const std::function<void(std::size_t)>& task)>;

/// Judges the one picture that `units` code without decoding it, in about half the time that decoding takes. May
/// throw std::bad_alloc, and what `spread` throws.
///
/// Where the picture is one slice segment whose entry points lead to every row of a wavefront, or to every tile, those
/// are judged on the threads of `spread`. The judgement, its reason included, is always that of one thread, and damage
/// ends the work on all that comes behind it.
///
/// Why: an arithmetic code has no redundancy. A damaged one decodes to some other picture, a cut one goes on as if
/// more data followed, and decoders, made for broadcasts, hand out what comes of it: libavcodec with all error
/// recognition on misses a third to a half of the damage and most cuts. What damage does upset is where the code
/// ends. The flag that ends a segment must come after its last coding tree unit, and the last bit used must be the
/// last of the data. Both hold by chance once in many thousand times, not to speak of the syntax elements whose range
/// is checked on the way. Beyond that, a damaged picture cannot be told from another valid one.
[[nodiscard]] Judgement verify(std::span<const NalUnit> units, const Spread& spread = {});

/// What is known of a picture without following its code.
struct PictureShape {
  std::uint64_t pixels = 0;
  unsigned shownWidth = 0;  // of the conformance window
  unsigned shownHeight = 0;
  unsigned chromaFormat = 1;  // chroma_format_idc
  unsigned bitDepthLuma = 8;
  unsigned bitDepthChroma = 8;  // signalled for a monochrome picture, too
  bool wavefront = false;       // rows can be decoded at the same time
  bool tiles = false;
  bool constrainedIntra = false;  // constrained_intra_pred_flag
  bool pcmWithoutChroma = false;  // PCM is allowed in a picture that is luma alone
  Cicp coding;                    // as the stream signals it
  /// Whether supplemental information comes with the picture that only a decoder can judge: a hash of the decoded
  /// samples (ITU-T H.265, D.3.19), which it compares, or what it takes for an error where it is malformed.
  bool supplementsNeedDecoder = false;
};

/// Absent when the first slice segment's parameter sets are not there or not understood.
[[nodiscard]] std::optional<PictureShape> shapeOf(std::span<const NalUnit> units);

}  // namespace quellor::hevc
