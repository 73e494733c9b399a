#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/heif/container.h"
#include "platform/heif/item_properties.h"

/// How derived images are made of their inputs (ISO/IEC 23008-12, 6.6.2): the data of the derived items.
namespace quellor::heif {

/// A `grid` item (6.6.2.3): the inputs row by row, all of one size, what lies beyond the size cut away.
struct ImageGrid {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  ImageSize size;
};

/// Absent for data that is cut short or of an unknown version, and for a size of nothing.
std::optional<ImageGrid> readImageGrid(ByteView data);

/// An `iovl` item (6.6.2.2): the inputs one on top of the other on a canvas of one colour.
struct ImageOverlay {
  struct Offset {
    std::int32_t x = 0;  // of the input's left edge from the canvas's, may be negative
    std::int32_t y = 0;
  };
  /// Red, green and blue in sRGB with 16 bits. The opacity that follows them in the file is not kept: the result is an
  /// opaque picture, as other readers have it.
  std::uint16_t fill[3] = {};
  ImageSize size;
  std::vector<Offset> offsets;  // as many as there are inputs
};

/// Absent as above.
std::optional<ImageOverlay> readImageOverlay(ByteView data, std::size_t inputs);

}  // namespace quellor::heif
