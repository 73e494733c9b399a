
#include <bit>

#include "platform/formats/image_format.h"
#include "platform/formats/png_session.h"
#include "platform/values/limits.h"
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

Layout layoutOf(Session& session) {
  const unsigned colorType = png_get_color_type(session.png(), session.info());
  Layout layout;
  layout.palette = colorType == PNG_COLOR_TYPE_PALETTE;
  layout.grey = (colorType & PNG_COLOR_MASK_COLOR) == 0;
  layout.alpha =
      (colorType & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(session.png(), session.info(), PNG_INFO_tRNS) != 0;
  layout.bytesPerSample = png_get_bit_depth(session.png(), session.info()) == 16 ? 2 : 1;
  layout.pixelBytes = (layout.colorCount() + (layout.alpha ? 1 : 0)) * layout.bytesPerSample;
  layout.stride = layout.pixelBytes * png_get_image_width(session.png(), session.info());
  layout.total = layout.stride * png_get_image_height(session.png(), session.info());
  return layout;
}

/// Whether a file of that size can hold the image: asked before memory is taken for it. Deflate makes at most 1032
/// bytes of one (two bits for a match of 258 bytes).
bool canHoldImage(Session& session, std::size_t fileSize) {
  constexpr std::uint64_t kGreatestExpansion = 1032;
  const std::uint64_t rowBytes = png_get_rowbytes(session.png(), session.info());
  return rowBytes * png_get_image_height(session.png(), session.info()) / kGreatestExpansion <= fileSize;
}

/// Sets up the expansion and returns the number of passes. Called inside a step of the session.
int prepareRows(Session& session, const Layout& layout) {
  png_structp png = session.png();
  if (layout.palette) {
    png_set_packing(png);
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
  if (!session.readHeader(file)) return session.headerRefusal();
  Raster raster;
  raster.width = png_get_image_width(session.png(), session.info());
  raster.height = png_get_image_height(session.png(), session.info());
  if (std::uint64_t{raster.width} * raster.height > kMaximumPixels) return Refusal{"the image is too large"};
  if (!canHoldImage(session, file.size())) return Refusal{"the file is shorter than an image of that size can be"};
  const Layout layout = layoutOf(session);
  const auto memory = allocateSamples(layout.total);
  if (!readRows(session, layout, memory.get())) return Refusal{"the image data is damaged or not complete"};
  if (layout.palette && !expandPalette(session, layout, memory.get())) {
    return Refusal{"a pixel has no color in the palette"};
  }

  raster.bitsPerComponent = static_cast<int>(layout.bytesPerSample * 8);
  raster.model = layout.grey ? SampleModel::grey : SampleModel::rgb;
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
