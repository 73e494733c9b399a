#pragma once
#include <optional>

#include "platform/heif/container.h"
#include "platform/values/outcome.h"

namespace quellor::formats {

/// Why the image must not be decoded, or absent where it and all that it is made of may be: looks at what the file
/// declares, before anything is decoded. There is a reason when
/// - an item is missing, of a kind that is not decoded here, or without its data; items refer to each other in a circle
///   or through more derivations than anybody needs;
/// - an item has an essential property that is not understood here (ISO/IEC 23008-12, 9.3.1);
/// - declared sizes do not agree: that of an item and that of its parameter sets, sequence header or frame header, that
///   of a derived image and those of its inputs;
/// - the work is out of proportion to the picture and the file, each use of an input counted.
/// May throw std::bad_alloc.
[[nodiscard]] std::optional<Refusal> refusalToDecode(const heif::Container& container, const heif::Item& image);

}  // namespace quellor::formats
