#include "platform/hevc/passed_pictures.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <optional>

#include "platform/values/sha256.h"

namespace quellor::hevc {
namespace {

using Digest = std::array<std::uint8_t, 32>;

/// The pictures that passed, by their digests.
class PassedPictures {
 public:
  [[nodiscard]] std::optional<Judgement> find(const Digest& digest) const {
    const std::lock_guard lock(mutex_);
    const auto found = judgements_.find(digest);
    return found != judgements_.end() ? std::optional(found->second) : std::nullopt;
  }

  void insert(const Digest& digest, const Judgement& judgement) {
    const std::lock_guard lock(mutex_);
    judgements_.emplace(digest, judgement);
  }

 private:
  mutable std::mutex mutex_;
  std::map<Digest, Judgement> judgements_;
};

/// Made at the first use, and lives as long as the program.
PassedPictures& passedPictures() {
  static PassedPictures pictures;
  return pictures;
}

/// Bytes of a slice segment above which threads save more time than it takes to start them.
constexpr std::size_t kWorthThreads = std::size_t{16} * 1024;

bool isWorthThreads(const std::vector<NalUnit>& units) {
  const auto isLarge = [](const NalUnit& unit) { return unit.payload.size() >= kWorthThreads; };
  return std::any_of(units.begin(), units.end(), isLarge);
}

/// Of all that a judgement depends on. Each unit stands behind its type and its length, so that no two pictures give
/// the same bytes.
Digest digestOf(const std::vector<NalUnit>& units) {
  Sha256 sha256;
  for (const NalUnit& unit : units) {
    if (unit.type > kPpsUnit) continue;  // neither a slice segment nor a parameter set
    std::array<std::uint8_t, 1 + sizeof(std::uint64_t)> frame = {static_cast<std::uint8_t>(unit.type)};
    std::uint64_t size = unit.payload.size();
    for (std::size_t i = 1; i < frame.size(); ++i, size >>= 8) frame[i] = static_cast<std::uint8_t>(size);
    sha256.update(frame);
    sha256.update(unit.payload);
  }
  return sha256.digest();
}

}  // namespace

Judgement judgementOf(const NalStream& stream, const Spread& spread) {
  const auto units = stream.units();
  const Digest digest = digestOf(units);
  if (const auto known = passedPictures().find(digest)) return *known;
  const Judgement judgement = verify(units, isWorthThreads(units) ? spread : Spread());
  if (judgement.verdict != Verdict::damaged) passedPictures().insert(digest, judgement);
  return judgement;
}

}  // namespace quellor::hevc
