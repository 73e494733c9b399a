#pragma once
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <type_traits>
#include <vector>

#include <jpeglib.h>

#include "platform/values/bytes.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

namespace quellor::jpeg {

/// An application segment that may hold metadata: APP1, APP2 or APP13 (ITU-T T.81, table B.1).
struct Segment {
  int marker;        // JPEG_APP0 + 1 and so on
  ByteView payload;  // without the length, inside the file
};

/// One reading of a file with the JPEG library. Loss of samples is an error here, as is everything that the library
/// itself calls one.
class Session {
 public:
  /// `file` outlives the session and its segments.
  explicit Session(ByteView file);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Prepares the library and reads the file up to its first scan. False when the header is broken or the coding is
  /// none that the library knows: headerRefusal() says why, and but for segments() the session is of no use then.
  bool readHeader();
  [[nodiscard]] Refusal headerRefusal() const;

  /// Valid once readHeader() has succeeded.
  [[nodiscard]] jpeg_decompress_struct& info() { return info_; }

  /// What the samples mean, once the header has been read. Absent for codings that mean nothing known, two components
  /// among them, and for depths other than eight bits.
  [[nodiscard]] Outcome<SampleModel> sampleModel() const;

  /// The segments before the first scan, or before the place where the header is broken, in the order of the file.
  [[nodiscard]] const std::vector<Segment>& segments() const { return segments_; }

  /// Calls `step`, which may call the library. False when the library reported an error or a loss: `step` was left
  /// by a jump then, so nothing with a destructor may live inside it.
  template <typename Step>
  [[gnu::noinline]] bool run(const Step& step) {
    static_assert(std::is_trivially_destructible_v<Step>);
    if (setjmp(escape_) != 0) return false;
    step();
    return true;
  }

  /// Leaves the running step. Only from inside run().
  [[noreturn]] void fail() { std::longjmp(escape_, 1); }

  // What the library calls while it reads. Each fails where the file ends too early. Only from inside run().

  void refill();  // hands it the next bytes
  void skip(std::size_t count);
  void takeSegment();

 private:
  bool keep(const Segment& segment) noexcept;

  jpeg_decompress_struct info_{};
  jpeg_error_mgr errors_{};
  jpeg_source_mgr source_{};
  jpeg_progress_mgr progress_{};
  ByteView file_;
  ByteView rest_;  // what the library has not been handed yet
  std::vector<Segment> segments_;
  std::jmp_buf escape_{};
};

}  // namespace quellor::jpeg
