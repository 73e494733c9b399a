#pragma once
#include <cstddef>
#include <vector>

#include "platform/values/bytes.h"

namespace quellor::hevc {

// nal_unit_type (ITU-T H.265, table 7-1)
inline constexpr unsigned kFirstParameterSetUnit = 32;  // below it are the slice segments
inline constexpr unsigned kVpsUnit = 32;
inline constexpr unsigned kSpsUnit = 33;
inline constexpr unsigned kPpsUnit = 34;
inline constexpr unsigned kPrefixSeiUnit = 39;
inline constexpr unsigned kSuffixSeiUnit = 40;

/// A NAL unit (7.3.1.1) as it is coded.
struct NalUnit {
  unsigned type = 0;
  ByteView payload;  // behind the two bytes of its header, with emulation prevention
};

/// The NAL units of one coded picture and its parameter sets, without those of layers above the base layer: the
/// picture does not depend on them.
class NalStream {
 public:
  /// Takes a unit, header included.
  ///
  /// False when it cannot be an undamaged one: it has an impossible header, or holds bytes which 7.4.2 keeps out of
  /// every unit. May throw std::bad_alloc.
  [[nodiscard]] bool appendUnit(ByteView unit);

  /// Takes a run of units, each behind its length in `lengthSize` big-endian bytes (1 to 4), as a HEIF item holds them.
  /// False, too, when a unit is cut short.
  [[nodiscard]] bool append(ByteView lengthPrefixedUnits, std::size_t lengthSize = 4);

  /// The byte stream (annex B): every unit behind a four-byte start code, then `padding` zero bytes that the size
  /// does not count. May throw std::bad_alloc. Valid until the next call of this function or append.
  [[nodiscard]] ByteView bytes(std::size_t padding);

  /// Valid until the next call of append or bytes. May throw std::bad_alloc.
  [[nodiscard]] std::vector<NalUnit> units() const;

 private:
  struct Place {
    std::size_t offset;  // of the unit's header
    std::size_t size;
  };

  Bytes stream_;
  std::size_t size_ = 0;
  std::vector<Place> places_;
};

/// Whether `unit` (header included) obeys 7.4.2: no 00 00 00, 00 00 01 or 00 00 02, no 00 00 03 before a byte above
/// 03, no zero byte at the end. Cheap, and zeros written over a part of a file never pass it.
[[nodiscard]] bool hasLegalBytes(ByteView unit);

/// A payload without its emulation prevention bytes.
struct RawPayload {
  Bytes bytes;
  std::vector<std::size_t> removed;  // the places in `bytes` before which one stood, ascending
};

/// May throw std::bad_alloc.
[[nodiscard]] RawPayload removeEmulationPrevention(ByteView payload);

}  // namespace quellor::hevc
