#include "platform/formats/gif_records.h"

#include <algorithm>
#include <string_view>

namespace quellor::gif {
namespace {

constexpr std::uint8_t kExtension = 0x21;
constexpr std::uint8_t kImage = 0x2C;
constexpr std::uint8_t kTrailer = 0x3B;
constexpr std::uint8_t kPlainText = 0x01;
constexpr std::uint8_t kGraphicControl = 0xF9;
constexpr std::uint8_t kApplication = 0xFF;

/// Reads forwards through the file. After a read beyond the end everything reads as nothing, and failed() is true.
class Reader {
 public:
  explicit Reader(ByteView rest) : rest_(rest) {}

  [[nodiscard]] bool failed() const { return failed_; }
  [[nodiscard]] ByteView rest() const { return rest_; }

  ByteView take(std::size_t size) {
    if (size > rest_.size()) {
      failed_ = true;
      rest_ = {};
      return {};
    }
    const ByteView taken = rest_.first(size);
    rest_ = rest_.subspan(size);
    return taken;
  }

  std::uint8_t byte() {
    const ByteView taken = take(1);
    return taken.empty() ? std::uint8_t{0} : taken[0];
  }

  std::uint16_t number() {
    const ByteView taken = take(2);
    return taken.empty() ? std::uint16_t{0} : static_cast<std::uint16_t>(taken[0] | taken[1] << 8);
  }

  /// The next data sub-block, empty at the block terminator.
  ByteView subBlock() { return take(byte()); }

  /// All sub-blocks up to and with the terminator, as they lie in the file.
  ByteView subBlocks() {
    const ByteView start = rest_;
    while (!subBlock().empty()) {
    }
    return failed_ ? ByteView{} : start.first(start.size() - rest_.size());
  }

 private:
  ByteView rest_;
  bool failed_ = false;
};

std::string_view text(ByteView bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

Bytes joined(ByteView subBlocks) {
  Bytes all;
  Reader reader(subBlocks);
  for (ByteView part = reader.subBlock(); !part.empty(); part = reader.subBlock()) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

/// The packet lies in the file in one piece, not cut into sub-blocks. So that readers that know nothing of it find
/// the end, 258 bytes follow: 1, then 255 down to 0, then a terminator (ISO 16684-1 storage in files, GIF).
std::optional<Bytes> xmpPacket(ByteView subBlocks) {
  constexpr std::size_t kTrailerSize = 258;
  if (subBlocks.size() > kTrailerSize) {
    const ByteView trailer = subBlocks.last(kTrailerSize);
    bool magic = trailer[0] == 1 && trailer[kTrailerSize - 1] == 0;
    for (std::size_t i = 1; i < kTrailerSize - 1; ++i) magic = magic && trailer[i] == 256 - i;
    if (magic) return Bytes(subBlocks.begin(), subBlocks.end() - kTrailerSize);
  }
  Bytes packet = joined(subBlocks);
  return packet.empty() ? std::nullopt : std::optional(std::move(packet));
}

class Walk {
 public:
  explicit Walk(ByteView file) : reader_(file) {}

  std::optional<Records> run() {
    if (!readScreen()) return std::nullopt;
    for (;;) {
      const std::uint8_t introducer = reader_.byte();
      if (introducer == kTrailer) break;
      const bool good = introducer == kImage ? readImage() : introducer == kExtension && readExtension();
      if (!good || reader_.failed()) return std::nullopt;
    }
    return records_.frameCount == 0 ? std::nullopt : std::optional(std::move(records_));
  }

 private:
  bool readScreen() {
    const ByteView signature = reader_.take(6);
    if (text(signature) != "GIF87a" && text(signature) != "GIF89a") return false;
    records_.width = reader_.number();
    records_.height = reader_.number();
    const std::uint8_t flags = reader_.byte();
    reader_.take(2);  // background colour and pixel aspect ratio
    globalColorMap_ = colorMap(flags);
    return !reader_.failed() && records_.width != 0 && records_.height != 0;
  }

  /// The colour map that the flags of a descriptor announce behind it.
  ByteView colorMap(std::uint8_t flags) {
    if ((flags & 0x80) == 0) return {};
    return reader_.take(std::size_t{3} << ((flags & 7) + 1));
  }

  bool readImage() {
    Frame frame = control_;
    control_ = {};
    frame.left = reader_.number();
    frame.top = reader_.number();
    frame.width = reader_.number();
    frame.height = reader_.number();
    const std::uint8_t flags = reader_.byte();
    frame.interlaced = (flags & 0x40) != 0;
    frame.colorMap = colorMap(flags);
    if (frame.colorMap.empty()) frame.colorMap = globalColorMap_;
    const std::uint8_t codeSize = reader_.byte();
    const ByteView data = reader_.subBlocks();
    if (data.size() <= 1 || codeSize < 2 || codeSize > 8 || frame.width == 0 || frame.height == 0) return false;
    if (records_.frameCount++ != 0) return true;
    records_.firstFrame = frame;
    return frame.left + frame.width <= records_.width && frame.top + frame.height <= records_.height;
  }

  bool readExtension() {
    const std::uint8_t label = reader_.byte();
    if (label == kGraphicControl) {
      readGraphicControl(reader_.subBlock());
    } else if (label == kApplication) {
      readApplication();
    } else if (label == kPlainText) {
      control_ = {};  // the control block before it was for this text
    }
    reader_.subBlocks();
    return true;
  }

  /// GIF89a, 23: what it says is for the next image.
  void readGraphicControl(ByteView block) {
    if (block.size() < 4) return;
    control_.transparentIndex.reset();
    if ((block[0] & 1) != 0) control_.transparentIndex = block[3];
  }

  void readApplication() {
    const ByteView application = reader_.subBlock();
    Reader data = reader_;
    if (text(application) == "XMP DataXMP" && !records_.xmp) records_.xmp = xmpPacket(data.subBlocks());
  }

  Reader reader_;
  Records records_;
  ByteView globalColorMap_;
  Frame control_;  // what a graphic control block said for the frame to come
};

}  // namespace

std::optional<Records> readRecords(ByteView file) { return Walk(file).run(); }

}  // namespace quellor::gif
