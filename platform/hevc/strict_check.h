#pragma once
#include <array>
#include <cstdint>
#include <future>
#include <optional>
#include <vector>

#include "platform/hevc/nal.h"
#include "platform/hevc/verify.h"
#include "platform/values/bytes.h"

namespace quellor::hevc {

/// verify() while something else decodes the same picture, where there is a processor for it, and once for each
/// picture in the life of the process: an operation decodes the same one up to five times, and to recognise it by its
/// SHA-256 digest costs a fiftieth of judging it again. May be used for different pictures on several threads.
class StrictCheck {
 public:
  /// `bytes` is what stream.bytes() returned and must outlive this. With `besides` another thread begins at once. May
  /// throw std::bad_alloc.
  StrictCheck(const NalStream& stream, ByteView bytes, bool besides);

  /// Waits for the verdict, or judges now. May throw std::bad_alloc.
  [[nodiscard]] bool passes();

 private:
  std::array<std::uint8_t, 32> digest_;
  std::optional<Verdict> known_;
  std::vector<NalUnit> units_;
  std::future<Verdict> pending_;  // waits in its destructor, so it goes first
};

}  // namespace quellor::hevc
