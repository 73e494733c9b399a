
#include <bit>

#include "platform/formats/image_format.h"
#include "platform/formats/png_session.h"
#include "platform/values/sample_memory.h"

namespace quellor::png {
namespace {

/// How the expanded samples lie in memory.
struct Layout {
  bool palette = false;
  bool grey = false;
  bool alpha = false;
  std::size_t bytesPerSample = 1;
  std::size_t pixelBytes = 0;
  std::size_t stride = 0;
  std::size_t total = 0;

  [[nodiscard]] std::size_t colorCount() const { return grey ? 1 : 3; }
  /// A palette image's indices are read into the end of its rows and expanded from the front.
  [[nodiscard]] std::size_t readOffset(std::uint32_t width) const { return palette ? stride - width : 0; }
};

Layout layoutOf(Session& session, const RasterShape& shape) {
  Layout layout;
  layout.palette = png_get_color_type(session.png(), session.info()) == PNG_COLOR_TYPE_PALETTE;
  layout.grey = shape.model == SampleModel::grey;
  layout.alpha = shape.alpha;
  layout.bytesPerSample = bytesPerSample(shape.bitsPerComponent);
  layout.pixelBytes = (layout.colorCount() + (layout.alpha ? 1 : 0)) * layout.bytesPerSample;
  layout.stride = layout.pixelBytes * shape.width;
  layout.total = layout.stride * shape.height;
  return layout;
}

/// Sets up the expansion and returns the number of passes. Called inside a step of the session.
int prepareRows(Session& session, const Layout& layout) {
  png_structp png = session.png();
  if (layout.palette) {
    png_set_packing(png);
    png_set_check_for_invalid_index(png, 0);  // done when the indices are replaced
  } else {
    png_set_expand(png);
    if constexpr (std::endian::native == std::endian::little) png_set_swap(png);
  }
  const int passes = png_set_interlace_handling(png);
  png_read_update_info(png, session.info());
  const std::size_t expected = layout.palette ? png_get_image_width(png, session.info()) : layout.stride;
  if (png_get_rowbytes(png, session.info()) != expected) session.fail();
  return passes;
}

bool readRows(Session& session, const Layout& layout, std::uint8_t* samples) {
  return session.run([&session, &layout, samples] {
    const int passes = prepareRows(session, layout);
    const png_uint_32 height = png_get_image_height(session.png(), session.info());
    std::uint8_t* const first = samples + layout.readOffset(png_get_image_width(session.png(), session.info()));
    for (int pass = 0; pass < passes; ++pass) {
      for (png_uint_32 y = 0; y < height; ++y) png_read_row(session.png(), first + y * layout.stride, nullptr);
    }
    png_read_end(session.png(), nullptr);
  });
}

struct Palette {
  png_colorp colors = nullptr;
  int colorCount = 0;
  png_bytep alphas = nullptr;
  int alphaCount = 0;
};

/// Replaces indices by colours. False when an index is beyond the palette: that sample has no value.
bool expandPaletteRow(const Palette& palette, const Layout& layout, std::uint32_t width, std::uint8_t* row) {
  const std::uint8_t* const indices = row + layout.readOffset(width);
  for (std::uint32_t x = 0; x < width; ++x, row += layout.pixelBytes) {
    const int index = indices[x];
    if (index >= palette.colorCount) return false;
    row[0] = palette.colors[index].red;
    row[1] = palette.colors[index].green;
    row[2] = palette.colors[index].blue;
    if (layout.alpha) row[3] = index < palette.alphaCount ? palette.alphas[index] : std::uint8_t{255};
  }
  return true;
}

bool expandPalette(Session& session, const Layout& layout, std::uint8_t* samples) {
  Palette palette;
  png_get_PLTE(session.png(), session.info(), &palette.colors, &palette.colorCount);
  png_get_tRNS(session.png(), session.info(), &palette.alphas, &palette.alphaCount, nullptr);
  const std::uint32_t width = png_get_image_width(session.png(), session.info());
  const std::uint32_t height = png_get_image_height(session.png(), session.info());
  for (std::uint32_t y = 0; y < height; ++y) {
    if (!expandPaletteRow(palette, layout, width, samples + y * layout.stride)) return false;
  }
  return true;
}

}  // namespace

}  // namespace quellor::png

namespace quellor::formats {

using namespace png;

Outcome<Raster> decodePng(ByteView file) {
  Session session(Session::Purpose::samples);
  const auto shape = session.readShape(file);
  if (!shape) return shape.refusal();
  const Layout layout = layoutOf(session, *shape);
  const auto memory = allocateSamples(layout.total);
  if (!readRows(session, layout, memory.get())) return Refusal{"the image data is damaged or not complete"};
  if (layout.palette && !expandPalette(session, layout, memory.get())) {
    return Refusal{"a pixel has no color in the palette"};
  }

  Raster raster;
  raster.width = shape->width;
  raster.height = shape->height;
  raster.bitsPerComponent = shape->bitsPerComponent;
  raster.model = shape->model;
  raster.owner = memory;
  const auto component = [&](std::size_t index) {
    return Component{memory.get() + index * layout.bytesPerSample, layout.pixelBytes, layout.stride, raster.width,
                     raster.height};
  };
  for (std::size_t i = 0; i < layout.colorCount(); ++i) raster.components.push_back(component(i));
  if (layout.alpha) raster.alpha = component(layout.colorCount());
  raster.coding.fullRange = true;
  return raster;
}

}  // namespace quellor::formats
