#pragma once
#include <cstddef>
#include <vector>

namespace quellor::metadata {

/// Bytes of a block, from `begin` up to and without `end`.
struct ByteRange {
  std::size_t begin = 0;
  std::size_t end = 0;
  friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

/// A set of bytes of a block, kept as ranges so that values that overlap a thousand times cost no more than once.
class ByteRanges {
 public:
  /// `position + size` is inside a block, so that it does not overflow.
  void add(std::size_t position, std::size_t size) {
    if (size != 0) ranges_.push_back({position, position + size});
  }

  /// The bytes as ascending ranges that neither overlap nor touch.
  [[nodiscard]] std::vector<ByteRange> merged() const;

  /// The bytes that are not in `others`, in the same form.
  [[nodiscard]] std::vector<ByteRange> without(const ByteRanges& others) const;

 private:
  std::vector<ByteRange> ranges_;
};

}  // namespace quellor::metadata
