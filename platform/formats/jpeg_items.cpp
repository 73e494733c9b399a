#include "platform/formats/jpeg_items.h"

#include "platform/formats/image_format.h"
#include "platform/formats/jpeg_session.h"
#include "platform/heif/item_data.h"

namespace quellor::formats {
namespace {

/// The tables that several items may share (`jpgC`), then the item's own data.
std::optional<Bytes> fileOf(const heif::Container& container, const heif::Item& item) {
  const heif::Property* const prefix = heif::findProperty(container, item, heif::fourCC("jpgC"));
  auto data = heif::itemData(container, item, SIZE_MAX);
  if (data && prefix != nullptr) data->insert(data->begin(), prefix->payload.begin(), prefix->payload.end());
  return data;
}

}  // namespace

std::optional<heif::ImageSize> declaredJpegSize(const heif::Container& container, const heif::Item& item) {
  const auto file = fileOf(container, item);
  if (!file) return std::nullopt;
  jpeg::Session session(*file);
  if (!session.readHeader()) return std::nullopt;
  return heif::ImageSize{session.info().image_width, session.info().image_height};
}

Outcome<Raster> decodeJpegItem(const heif::Container& container, const heif::Item& item) {
  const auto file = fileOf(container, item);
  if (!file) return Refusal{"an item lacks its data"};
  auto raster = decodeJpeg(*file);
  // A container knows no coding of four inks.
  if (raster && raster->model == SampleModel::cmyk) return Refusal{"a JPEG item has four inks"};
  return raster;
}

}  // namespace quellor::formats
