#pragma once
#include <optional>

#include "platform/formats/transformations.h"
#include "platform/heif/container.h"
#include "platform/values/outcome.h"

namespace quellor::formats {

class ItemDecoder;

/// The samples of a `grid` item: its tiles, each decoded into its place in one set of planes, on up to `threads`
/// threads. Tiles with alpha give it alpha, opaque where others have none.
///
/// Absent when a tile is, and when tiles do not fit each other in size, form or coding of their samples, or in what
/// alpha means. Throws std::bad_alloc.
Outcome<DecodedImage> decodeGrid(const ItemDecoder& decoder, const heif::Item& item, unsigned threads);

}  // namespace quellor::formats
