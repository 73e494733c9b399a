#pragma once
#include <array>
#include <cstdint>
#include <future>
#include <optional>

#include "platform/hevc/nal.h"
#include "platform/hevc/verify.h"
#include "platform/values/bytes.h"

namespace quellor::hevc {

/// verify() once for each picture in the life of the process, at the same time as a decoder decodes it where there is
/// a processor for that: an operation decodes the same picture up to five times, and to recognise it by its SHA-256
/// digest costs a fiftieth of judging it again. May be used for different pictures on several threads.
class StrictCheck {
 public:
  /// `bytes` is what stream.bytes() returned and must outlive this. With std::launch::async another thread begins at
  /// once, if one can be had; with std::launch::deferred the thread that calls judgement() does the work. May throw
  /// std::bad_alloc.
  StrictCheck(const NalStream& stream, ByteView bytes, std::launch when);

  /// Waits for the judgement, judges now, or remembers.
  /// May throw std::bad_alloc.
  [[nodiscard]] Judgement judgement();

 private:
  std::array<std::uint8_t, 32> digest_;
  std::optional<Judgement> known_;
  std::future<Judgement> pending_;  // where nothing is known yet
};

}  // namespace quellor::hevc
