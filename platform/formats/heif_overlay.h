#pragma once
#include <optional>

#include "platform/formats/transformations.h"
#include "platform/heif/container.h"
#include "platform/values/outcome.h"

namespace quellor::formats {

class ItemDecoder;

/// The samples of an `iovl` item: red, green and blue in the depth of its inputs, drawn one after the other over the
/// fill colour, each by its alpha. The result is opaque.
///
/// Absent when an input is, and when the inputs are of different depths or have no colour that can be drawn. Throws
/// std::bad_alloc.
Outcome<DecodedImage> decodeOverlay(const ItemDecoder& decoder, const heif::Item& item, unsigned threads);

}  // namespace quellor::formats
