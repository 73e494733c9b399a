#pragma once
#include <cstdint>

#include "platform/formats/transformations.h"
#include "platform/heif/container.h"
#include "platform/values/outcome.h"

namespace quellor::formats {

/// Decodes image items (ISO/IEC 23008-12): coded with HEVC, AV1 or JPEG, and grids, overlays and identities of images.
class ItemDecoder {
 public:
  /// `container`, and the file that it points into, outlive this.
  explicit ItemDecoder(const heif::Container& container) : container_(container) {}

  /// The samples of `item` as they are coded or composed, with its alpha and what `which` says of its transformations;
  /// those of the inputs of derived images are applied. `threads` is how many may work on it. The items must have
  /// passed checkedItems() (heif_checks.h).
  ///
  /// Absent when anything is missing or damaged or does not fit together. Throws std::bad_alloc. Different threads may
  /// decode at the same time.
  [[nodiscard]] Outcome<DecodedImage> decode(const heif::Item& item, Transformations which, unsigned threads) const;

  [[nodiscard]] const heif::Container& container() const { return container_; }

  /// The image that a derived one refers to. Only for items that have passed.
  [[nodiscard]] const heif::Item& input(heif::ItemId id) const { return *container_.find(id); }

 private:
  [[nodiscard]] Outcome<DecodedImage> samplesOf(const heif::Item& item, unsigned threads) const;
  [[nodiscard]] Outcome<DecodedImage> identityOf(const heif::Item& item, unsigned threads) const;

  const heif::Container& container_;
};

}  // namespace quellor::formats
