#pragma once
#include <cstdint>

#include "platform/formats/transformations.h"
#include "platform/heif/container.h"
#include "platform/values/outcome.h"

namespace quellor::formats {

/// What is made of coded items.
enum class Samples : std::uint8_t {
  decoded,
  /// None: a picture is proved whole instead, and a raster without samples takes its place. What is composed of such
  /// rasters is one again, by the same rules and with the same refusals. Only for items that have passed
  /// needsSamples().
  proved,
};

/// Whether the image can be known to be whole only by decoding: it is made of anything else than HEVC pictures and
/// grids and identities of them. Only for items that have passed refusalToDecode() (heif_checks.h).
bool needsSamples(const heif::Container& container, const heif::Item& image);

/// Decodes image items (ISO/IEC 23008-12): coded with HEVC, AV1 or JPEG, and grids, overlays and identities of images.
class ItemDecoder {
 public:
  /// `container`, and the file that it points into, outlive this.
  ItemDecoder(const heif::Container& container, Samples samples) : container_(container), samples_(samples) {}

  /// The samples of `item` as they are coded or composed, with its alpha and what `which` says of its transformations;
  /// those of the inputs of derived images are applied. `threads` is how many may work on it. The items must have
  /// passed refusalToDecode() (heif_checks.h).
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
  Samples samples_;
};

}  // namespace quellor::formats
