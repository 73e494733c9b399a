#pragma once
#include <optional>
#include <vector>

#include "platform/heif/container.h"

namespace quellor::heif {

/// The runs of bytes that make up an item, in their order, as views into the file. Absent when any of them lies
/// outside what it is relative to, when the data is encrypted or in another file, or when the item has no location.
std::optional<std::vector<ByteView>> itemPieces(const Container& container, const Item& item);

/// The bytes of an item in one piece, or absent under the same conditions or beyond `maximumSize`.
std::optional<Bytes> itemData(const Container& container, const Item& item, std::size_t maximumSize);

}  // namespace quellor::heif
