#pragma once
#include <optional>

#include "platform/formats/transformations.h"
#include "platform/heif/container.h"
#include "platform/values/outcome.h"

namespace quellor::formats {

/// An image that has not been transformed yet, and the item that says how it is to be.
struct UntransformedImage {
  DecodedImage image;
  const heif::Item& item;
};

/// The colour of one image and the first component of another as its alpha, both transformed as their items say. Where
/// the alpha item says nothing and both are of one size, its master's transformations are meant for both. Where the
/// depths differ, the samples of the lower one are stretched to the range of the other.
///
/// Absent when the two are not of one size once they are transformed. Throws std::bad_alloc.
Outcome<DecodedImage> withAlpha(UntransformedImage master, UntransformedImage alpha, const heif::Container& container,
                                Transformations which);

}  // namespace quellor::formats
