#pragma once
#include <array>
#include <optional>

#include "platform/hevc/nal.h"
#include "platform/hevc/parameter_sets.h"

namespace quellor::hevc {

/// The parameter sets that have come so far (ITU-T H.265, 7.4.2.4.2).
class ActiveSets {
 public:
  /// Keeps a set that is understood; other units are none of its business. `unit` must outlive this. May throw
  /// std::bad_alloc.
  void store(const NalUnit& unit);

  /// Whether a set came that is not understood.
  [[nodiscard]] bool lacksSome() const { return lacksSome_; }

  /// Whether all sets are such that no decoder stops over one, which some do even where no picture needs it: each is
  /// understood and comes behind the one that it names, and no two different ones have the same number.
  [[nodiscard]] bool areSound() const { return sound_ && !lacksSome_; }

  /// The sets that the slice segment in `raw` asks for, or null.
  struct Pair {
    const Sps* sps = nullptr;
    const Pps* pps = nullptr;
  };
  [[nodiscard]] Pair askedForBy(const RawPayload& raw, unsigned unitType) const;

 private:
  void storeVps(const NalUnit& unit);
  void storeSps(const NalUnit& unit);
  void storePps(const NalUnit& unit);

  std::array<ByteView, kMaximumVps> vpsPayloads_;  // empty where there is none
  std::array<ByteView, kMaximumSps> spsPayloads_;
  std::array<std::optional<Sps>, kMaximumSps> sps_;
  std::array<std::optional<Pps>, kMaximumPps> pps_;
  bool lacksSome_ = false;
  bool sound_ = true;
};

}  // namespace quellor::hevc
