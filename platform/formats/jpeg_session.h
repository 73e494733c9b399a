#pragma once
#include <csetjmp>
#include <cstdio>
#include <type_traits>

#include <jpeglib.h>

#include "platform/values/bytes.h"

namespace quellor::jpeg {

/// One reading of a file with the JPEG library. Loss of samples is an error here, as is everything that the library
/// itself calls one.
class Session {
 public:
  /// `file` outlives the session.
  explicit Session(ByteView file);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Prepares the library and reads the file up to its first scan. False when the header is broken or the coding is
  /// none that the library knows; the session is of no use then.
  bool readHeader();

  /// Valid once readHeader() has succeeded.
  [[nodiscard]] jpeg_decompress_struct& info() { return info_; }

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

  /// The library's source of bytes: hands it the next ones, or fails at the end of the file. Only from inside run().
  void refill();
  void skip(std::size_t count);

 private:
  jpeg_decompress_struct info_{};
  jpeg_error_mgr errors_{};
  jpeg_source_mgr source_{};
  jpeg_progress_mgr progress_{};
  ByteView rest_;  // what the library has not been handed yet
  std::jmp_buf escape_{};
};

}  // namespace quellor::jpeg
