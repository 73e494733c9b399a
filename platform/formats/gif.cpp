#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <gif_lib.h>

#include "platform/formats/image_format.h"
#include "platform/values/big_endian.h"
#include "platform/values/limits.h"
#include "platform/values/sample_memory.h"

namespace quellor {
namespace {

struct CloseGif {
  void operator()(GifFileType* gif) const {
    int error = 0;
    DGifCloseFile(gif, &error);
  }
};

/// The packet lies in the file in one piece, not cut into sub-blocks. So that readers that know nothing of it find
/// the end, 258 bytes follow: 1, then 255 down to 0, then a terminator (ISO 16684-1 storage in files, GIF).
std::optional<Bytes> xmpPacket(ByteView subBlocks) {
  constexpr std::size_t kTrailerSize = 258;
  if (subBlocks.size() > kTrailerSize) {
    const ByteView trailer = subBlocks.last(kTrailerSize);
    bool magic = trailer[0] == 1 && trailer[kTrailerSize - 1] == 0;
    for (std::size_t i = 1; i < kTrailerSize - 1; ++i) magic = magic && trailer[i] == 256 - i;
    if (magic) return copyOf(subBlocks.first(subBlocks.size() - kTrailerSize));
  }
  Bytes packet;
  for (std::size_t size = subBlocks[0]; size != 0; size = subBlocks[0]) {
    packet.insert(packet.end(), subBlocks.begin() + 1, subBlocks.begin() + 1 + static_cast<std::ptrdiff_t>(size));
    subBlocks = subBlocks.subspan(1 + size);
  }
  return packet.empty() ? std::nullopt : std::optional(std::move(packet));
}

/// Reads the records of a file one after the other, from the header to the trailer; bytes behind that do not count.
/// The library holds its address, so it never moves.
class RecordReader {
 public:
  /// `file` outlives the reader.
  explicit RecordReader(ByteView file) : rest_(file) {
    int error = 0;
    const bool known = startsWith(file, "GIF87a") || startsWith(file, "GIF89a");
    if (known) gif_.reset(DGifOpen(this, read, &error));
  }
  RecordReader(const RecordReader&) = delete;
  RecordReader& operator=(const RecordReader&) = delete;
  ~RecordReader() = default;

  [[nodiscard]] bool isOpen() const { return gif_ != nullptr; }

  /// The library's view of the screen and of the current image. Only where it is open.
  [[nodiscard]] GifFileType& gif() const { return *gif_; }
  [[nodiscard]] std::optional<std::uint8_t> transparentIndex() const { return transparentIndex_; }
  /// The first packet among the records that were read.
  [[nodiscard]] const std::optional<Bytes>& xmp() const { return xmp_; }

  /// Reads up to the data of the next image. False at the trailer and at a record that is damaged, cut short or none
  /// of the standard's.
  bool toNextImage();
  /// Whether the last record that was read is the trailer.
  [[nodiscard]] bool atTrailer() const { return atTrailer_; }

  /// Passes over the data of an image of which no row was read. False when it is empty or cut short, or when its code
  /// size is none that the format has.
  bool skipImageData();

 private:
  static int read(GifFileType* gif, GifByteType* target, int size);
  bool readExtension();
  bool skipSubBlocks();

  ByteView rest_;  // what the library has not read yet: it never reads ahead
  std::unique_ptr<GifFileType, CloseGif> gif_;
  std::optional<std::uint8_t> nextTransparentIndex_;  // of the image to come
  std::optional<std::uint8_t> transparentIndex_;
  std::optional<Bytes> xmp_;
  bool atTrailer_ = false;
};

int RecordReader::read(GifFileType* gif, GifByteType* target, int size) {
  ByteView& rest = static_cast<RecordReader*>(gif->UserData)->rest_;
  const std::size_t taken = std::min(rest.size(), static_cast<std::size_t>(std::max(size, 0)));
  if (taken != 0) std::memcpy(target, rest.data(), taken);
  rest = rest.subspan(taken);
  return static_cast<int>(taken);
}

bool RecordReader::toNextImage() {
  GifRecordType type = UNDEFINED_RECORD_TYPE;
  while (DGifGetRecordType(gif_.get(), &type) == GIF_OK) {
    if (type == IMAGE_DESC_RECORD_TYPE) {
      transparentIndex_ = std::exchange(nextTransparentIndex_, std::nullopt);
      // Not DGifGetImageDesc(), which also keeps a record of every image.
      return DGifGetImageHeader(gif_.get()) == GIF_OK && gif_->Image.Width != 0 && gif_->Image.Height != 0;
    }
    atTrailer_ = type == TERMINATE_RECORD_TYPE;
    if (type != EXTENSION_RECORD_TYPE || !readExtension()) return false;
  }
  return false;
}

bool RecordReader::readExtension() {
  int label = 0;
  GifByteType* block = nullptr;  // its size, then its bytes
  if (DGifGetExtension(gif_.get(), &label, &block) != GIF_OK) return false;
  const ByteView first = block == nullptr ? ByteView() : ByteView(block + 1, block[0]);
  const bool isXmp = label == APPLICATION_EXT_FUNC_CODE && first.size() == 11 && startsWith(first, "XMP DataXMP");
  if (label == PLAINTEXT_EXT_FUNC_CODE) nextTransparentIndex_.reset();  // the control block before it was for this text
  if (label == GRAPHICS_EXT_FUNC_CODE && first.size() >= 4) {           // GIF89a, 23
    const bool transparent = (first[0] & 1) != 0;
    nextTransparentIndex_ = transparent ? std::optional(first[3]) : std::nullopt;
  }
  const ByteView subBlocks = rest_;
  if (block != nullptr && !skipSubBlocks()) return false;
  if (isXmp && !xmp_) xmp_ = xmpPacket(subBlocks.first(subBlocks.size() - rest_.size()));
  return true;
}

bool RecordReader::skipSubBlocks() {
  GifByteType* block = nullptr;
  do {
    if (DGifGetExtensionNext(gif_.get(), &block) != GIF_OK) return false;
  } while (block != nullptr);
  return true;
}

bool RecordReader::skipImageData() {
  int codeSize = 0;
  GifByteType* block = nullptr;
  if (DGifGetCode(gif_.get(), &codeSize, &block) != GIF_OK || block == nullptr || codeSize < 2) return false;
  while (block != nullptr) {
    if (DGifGetCodeNext(gif_.get(), &block) != GIF_OK) return false;
  }
  return true;
}

bool coversScreen(const GifFileType& gif) { return gif.Image.Width == gif.SWidth && gif.Image.Height == gif.SHeight; }

bool isInsideScreen(const GifFileType& gif) {
  return gif.Image.Left + gif.Image.Width <= gif.SWidth && gif.Image.Top + gif.Image.Height <= gif.SHeight;
}

/// Puts one row of indexes on the canvas. False when an index has no color.
///
/// The transparent index needs none: it leaves the canvas as it is (GIF89a, 23).
bool paintRow(const RecordReader& reader, const std::vector<GifPixelType>& indexes, std::uint8_t* pixel,
              std::size_t pixelBytes) {
  const GifFileType& gif = reader.gif();
  const ColorMapObject* const map = gif.Image.ColorMap != nullptr ? gif.Image.ColorMap : gif.SColorMap;
  const int colorCount = map == nullptr ? 0 : map->ColorCount;
  for (const GifPixelType index : indexes) {
    if (reader.transparentIndex() == index) {
      std::fill_n(pixel, pixelBytes, std::uint8_t{0});
    } else {
      if (index >= colorCount) return false;
      const GifColorType& color = map->Colors[index];
      pixel[0] = color.Red;
      pixel[1] = color.Green;
      pixel[2] = color.Blue;
      if (pixelBytes == 4) pixel[3] = 255;
    }
    pixel += pixelBytes;
  }
  return true;
}

struct Pass {
  int firstRow;
  int step;
};

/// The order of the rows (GIF89a, appendix E).
std::vector<Pass> passesOf(const GifFileType& gif) {
  if (!gif.Image.Interlace) return {{0, 1}};
  return {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
}

}  // namespace

Outcome<ImageFacts> formats::describeGif(ByteView file) {
  RecordReader reader(file);
  if (!reader.isOpen()) return Refusal{"the header is broken or ends early"};
  const GifFileType& gif = reader.gif();
  ImageFacts facts;
  facts.width = static_cast<std::uint32_t>(gif.SWidth);
  facts.height = static_cast<std::uint32_t>(gif.SHeight);
  if (facts.width == 0 || facts.height == 0) return Refusal{"the screen has no pixels"};
  if (std::uint64_t{facts.width} * facts.height > kMaximumPixels) return Refusal{"the image is too large"};
  for (facts.imageCount = 0; reader.toNextImage(); ++facts.imageCount) {
    const bool first = facts.imageCount == 0;
    if (first && !isInsideScreen(gif)) return Refusal{"the first frame leaves the screen"};
    if (first) facts.hasAlpha = reader.transparentIndex() || !coversScreen(gif);
    if (!reader.skipImageData()) return Refusal{"the data of a frame are empty, cut short or of no code size"};
  }
  if (gif.Error == D_GIF_ERR_WRONG_RECORD) return Refusal{"a record is none that the format has"};
  if (!reader.atTrailer()) return Refusal{"a record is broken, or the file ends before its trailer"};
  if (facts.imageCount == 0) return Refusal{"there is no frame"};
  facts.metadata.xmp = reader.xmp();
  facts.formatDictionary = FormatDictionary::gif;
  return facts;
}

Outcome<Raster> formats::decodeGif(ByteView file) {
  const auto facts = describeGif(file);  // no record may be broken, also behind the first frame
  if (!facts) return facts.refusal();
  RecordReader reader(file);
  if (!reader.isOpen() || !reader.toNextImage()) return Refusal{"memory runs out"};
  GifFileType& gif = reader.gif();

  const std::size_t pixelBytes = facts->hasAlpha ? 4 : 3;
  const std::size_t stride = facts->width * pixelBytes;
  const std::shared_ptr<std::uint8_t> memory = allocateSamples(stride * facts->height);
  if (!coversScreen(gif)) std::fill_n(memory.get(), stride * facts->height, std::uint8_t{0});

  std::vector<GifPixelType> indexes(static_cast<std::size_t>(gif.Image.Width));
  const auto left = static_cast<std::size_t>(gif.Image.Left);
  for (const Pass& pass : passesOf(gif)) {
    for (int row = pass.firstRow; row < gif.Image.Height; row += pass.step) {
      if (DGifGetLine(&gif, indexes.data(), gif.Image.Width) != GIF_OK) {
        return Refusal{"a row of the first frame does not decode"};
      }
      const std::size_t y = static_cast<std::size_t>(gif.Image.Top) + static_cast<std::size_t>(row);
      if (!paintRow(reader, indexes, memory.get() + y * stride + left * pixelBytes, pixelBytes)) {
        return Refusal{"a pixel has no color in the color map"};
      }
    }
  }

  Raster raster;
  raster.width = facts->width;
  raster.height = facts->height;
  const auto component = [&](std::size_t i) {
    return Component{memory.get() + i, pixelBytes, stride, raster.width, raster.height};
  };
  raster.components = {component(0), component(1), component(2)};
  if (pixelBytes == 4) raster.alpha = component(3);
  raster.coding.fullRange = true;
  raster.owner = memory;
  return raster;
}

}  // namespace quellor
