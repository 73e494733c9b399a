#pragma once
#include <csetjmp>
#include <cstdint>
#include <type_traits>
#include <vector>

#include <png.h>

#include "platform/values/bytes.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

namespace quellor::png {

/// One reading of a file with the PNG library.
class Session {
 public:
  enum class Purpose : std::uint8_t {
    facts,   // the image data is left out; ancillary chunks that are of no use are passed over
    samples  // ancillary chunks have no say; every irregularity of the image data is an error
  };

  explicit Session(Purpose purpose);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Prepares the library and reads the chunks before the image data. `file` outlives the session. When it returns
  /// false, headerRefusal() says why and the session is of no use; otherwise png() and info() are valid.
  bool readHeader(ByteView file);
  [[nodiscard]] Refusal headerRefusal() const { return refusal_; }

  /// Of a session for samples, in place of readHeader(): what the samples are once they are expanded to whole bytes.
  /// Absent, too, where the image is too large or the file is shorter than such an image can be.
  Outcome<RasterShape> readShape(ByteView file);

  /// Of a session for facts whose header was read: the image and the frames of an animation.
  [[nodiscard]] std::size_t imageCount() const { return imageCount_; }

  [[nodiscard]] png_structp png() { return png_; }
  [[nodiscard]] png_infop info() { return info_; }

  /// Calls `step`, which may call the library. False when the library reported an error: `step` was left by a jump
  /// then, so nothing with a destructor may live inside it.
  template <typename Step>
  [[gnu::noinline]] bool run(const Step& step) {
    static_assert(std::is_trivially_destructible_v<Step>);
    if (setjmp(escape_) != 0) return false;
    step();
    return true;
  }

  /// Leaves the running step. Only from inside run().
  [[noreturn]] void fail() { std::longjmp(escape_, 1); }

  /// Copies the next bytes, or fails. Only from inside run().
  void read(std::uint8_t* target, std::size_t size);

 private:
  bool selectParts(ByteView file);
  void configure();

  Purpose purpose_;
  std::vector<ByteView> parts_;
  std::size_t part_ = 0;  // of parts_: the first that is not read to its end; each loses what is read of it
  Refusal refusal_{"the header or another chunk is broken"};
  std::size_t imageCount_ = 1;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  std::jmp_buf escape_{};
};

}  // namespace quellor::png
