#include "platform/formats/av1_items.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <utility>

#include <dav1d/dav1d.h>

#include "platform/heif/item_data.h"

namespace quellor::formats {
namespace {

using heif::fourCC;

constexpr unsigned kMaximumThreads = 16;
constexpr std::size_t kConfigurationHeader = 4;  // AV1CodecConfigurationRecord (AV1 in ISOBMFF, 2.3.3)

struct ContextCloser {
  void operator()(Dav1dContext* context) const { dav1d_close(&context); }
};
using Context = std::unique_ptr<Dav1dContext, ContextCloser>;

/// Data that the decoder may still hold a part of.
class PendingData {
 public:
  explicit PendingData(const Bytes& bytes) {
    dav1d_data_wrap(
        &data_, bytes.data(), bytes.size(), [](const std::uint8_t*, void*) {}, nullptr);
  }
  ~PendingData() { dav1d_data_unref(&data_); }
  PendingData(const PendingData&) = delete;
  PendingData& operator=(const PendingData&) = delete;

  Dav1dData* get() { return &data_; }
  [[nodiscard]] bool empty() const { return data_.sz == 0; }

 private:
  Dav1dData data_{};
};

/// A picture of the decoder, or none yet.
class Picture {
 public:
  Picture() = default;
  ~Picture() { dav1d_picture_unref(&picture_); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  Dav1dPicture* get() { return &picture_; }
  const Dav1dPicture& operator*() const { return picture_; }

 private:
  Dav1dPicture picture_{};
};

/// The units of the configuration and those of the item, in one run.
std::optional<Bytes> unitsOf(const heif::Container& container, const heif::Item& item) {
  const heif::Property* const configuration = heif::findProperty(container, item, fourCC("av1C"));
  const auto data = heif::itemData(container, item, SIZE_MAX);
  if (configuration == nullptr || configuration->payload.size() < kConfigurationHeader || !data) return std::nullopt;
  const ByteView units = configuration->payload.subspan(kConfigurationHeader);
  Bytes bytes(units.begin(), units.end());
  bytes.insert(bytes.end(), data->begin(), data->end());
  return bytes;
}

/// The operating point that the item asks for (`a1op`; AVIF, 2.3.2.1), else the first.
int operatingPointOf(const heif::Container& container, const heif::Item& item) {
  constexpr int kGreatest = 31;
  const heif::Property* const property = heif::findProperty(container, item, fourCC("a1op"));
  return property == nullptr || property->payload.empty() ? 0 : std::min<int>(property->payload[0], kGreatest);
}

Context openDecoder(const heif::Container& container, const heif::Item& item, unsigned threads) {
  const auto size = heif::spatialExtents(container, item).value_or(heif::ImageSize{1, 1});
  Dav1dSettings settings;
  dav1d_default_settings(&settings);
  settings.n_threads = static_cast<int>(std::clamp(threads, 1U, kMaximumThreads));
  settings.max_frame_delay = 1;
  settings.all_layers = 0;
  settings.operating_point = operatingPointOf(container, item);
  settings.strict_std_compliance = 1;
  settings.frame_size_limit = static_cast<unsigned>(std::uint64_t{size.width} * size.height);
  settings.logger.callback = [](void*, const char*, va_list) {};
  Dav1dContext* context = nullptr;
  return dav1d_open(&context, &settings) == 0 ? Context(context) : nullptr;
}

/// Null when there is not exactly one picture without an error.
std::shared_ptr<const Picture> decodeOne(Dav1dContext* context, const Bytes& units) {
  PendingData data(units);
  std::shared_ptr<const Picture> picture;
  while (true) {
    if (!data.empty()) {
      const int sent = dav1d_send_data(context, data.get());
      if (sent < 0 && sent != DAV1D_ERR(EAGAIN)) return nullptr;
    }
    const auto next = std::make_shared<Picture>();
    const int got = dav1d_get_picture(context, next->get());
    if (got == 0 && picture) return nullptr;  // one too many
    if (got == 0) picture = next;
    if (got < 0 && got != DAV1D_ERR(EAGAIN)) return nullptr;
    if (got < 0 && data.empty()) return picture;
  }
}

Raster rasterOf(const std::shared_ptr<const Picture>& owner) {
  const Dav1dPicture& picture = **owner;
  const Dav1dPictureParameters& form = picture.p;
  const Dav1dSequenceHeader& sequence = *picture.seq_hdr;
  Raster raster;
  raster.width = static_cast<std::uint32_t>(form.w);
  raster.height = static_cast<std::uint32_t>(form.h);
  raster.bitsPerComponent = form.bpc;
  raster.model = form.layout == DAV1D_PIXEL_LAYOUT_I400 ? SampleModel::grey : SampleModel::ycbcr;
  raster.coding = {static_cast<std::uint16_t>(sequence.pri), static_cast<std::uint16_t>(sequence.trc),
                   static_cast<std::uint16_t>(sequence.mtrx), sequence.color_range != 0};
  const std::size_t step = form.bpc > 8 ? 2 : 1;
  const unsigned across = form.layout == DAV1D_PIXEL_LAYOUT_I420 || form.layout == DAV1D_PIXEL_LAYOUT_I422 ? 1 : 0;
  const unsigned down = form.layout == DAV1D_PIXEL_LAYOUT_I420 ? 1 : 0;
  for (std::size_t i = 0; i < (raster.model == SampleModel::grey ? 1U : 3U); ++i) {
    const unsigned shiftX = i == 0 ? 0 : across, shiftY = i == 0 ? 0 : down;
    raster.components.push_back({static_cast<const std::uint8_t*>(picture.data[i]), step,
                                 static_cast<std::size_t>(picture.stride[i == 0 ? 0 : 1]),
                                 (raster.width + shiftX) >> shiftX, (raster.height + shiftY) >> shiftY});
  }
  raster.owner = owner;
  return raster;
}

}  // namespace

std::optional<heif::ImageSize> declaredAv1Size(const heif::Container& container, const heif::Item& item) {
  const auto units = unitsOf(container, item);
  Dav1dSequenceHeader header;
  if (!units || units->empty() || dav1d_parse_sequence_header(&header, units->data(), units->size()) != 0) {
    return std::nullopt;
  }
  return heif::ImageSize{static_cast<std::uint32_t>(header.max_width), static_cast<std::uint32_t>(header.max_height)};
}

Outcome<Raster> decodeAv1Item(const heif::Container& container, const heif::Item& item, unsigned threads) {
  const auto units = unitsOf(container, item);
  const Context context = units && !units->empty() ? openDecoder(container, item, threads) : nullptr;
  if (!context) return Refusal{"the units of an AV1 item are missing"};
  const auto picture = decodeOne(context.get(), *units);
  if (!picture || (**picture).stride[0] <= 0) return Refusal{"an AV1 item is damaged"};
  return rasterOf(picture);
}

}  // namespace quellor::formats
