#include "tests/samples/heif_file.h"

#include <utility>

#include "tests/support/byte_texts.h"

namespace quellor::samples {

using test_support::ispe;

namespace {

std::vector<Bytes> propertiesOf(const test_support::CodedPicture& coded, const Raster& raster,
                                const std::vector<Bytes>& more) {
  std::vector<Bytes> properties = {coded.configuration, ispe(raster.width, raster.height)};
  properties.insert(properties.end(), more.begin(), more.end());
  return properties;
}

}  // namespace

std::uint32_t HeifFile::picture(const Raster& raster, const std::vector<Bytes>& more, const HevcSettings& settings) {
  const test_support::CodedPicture coded = codeWithLoss(raster, settings);
  return scene_.add("hvc1", coded.data, propertiesOf(coded, raster, more));
}

std::uint32_t HeifFile::grid(const ScenePlan& tile, Size size, const std::vector<Bytes>& more,
                             const std::vector<Bytes>& ofTiles) {
  const std::uint32_t columns = (size.width + tile.size.width - 1) / tile.size.width;
  const std::uint32_t rows = (size.height + tile.size.height - 1) / tile.size.height;
  std::vector<std::uint32_t> tiles;
  for (std::uint32_t i = 0; i < rows * columns; ++i) {
    ScenePlan plan = tile;
    plan.left = i % columns * tile.size.width;
    plan.top = i / columns * tile.size.height;
    tiles.push_back(picture(sceneRaster(plan), ofTiles));
    scene_.builder().items.back().hidden = true;
  }
  return scene_.grid(rows, columns, size.width, size.height, tiles, more);
}

HeifFile& HeifFile::auxiliary(const Raster& raster, const std::string& urn, std::string_view packet) {
  const std::uint32_t item = pictureBeside(raster, {test_support::auxC(urn)}, "auxl");
  if (!packet.empty()) this->packet(packet, item);
  return *this;
}

HeifFile& HeifFile::alpha(const Raster& raster, bool premultiplied) {
  const std::uint32_t item =
      pictureBeside(raster, {test_support::auxC("urn:mpeg:mpegB:cicp:systems:auxiliary:alpha")}, "auxl");
  if (premultiplied) scene_.refer("prem", primary(), {item});
  return *this;
}

HeifFile& HeifFile::thumbnail(const Raster& raster) {
  pictureBeside(raster, {srgb()}, "thmb");
  return *this;
}

HeifFile& HeifFile::furtherPicture(const Raster& raster, bool hidden) {
  pictureBeside(raster, {srgb()}, "");
  scene_.builder().items.back().hidden = hidden;
  return *this;
}

HeifFile& HeifFile::exif(const Bytes& tiff) {
  beside("Exif", test_support::FieldWriter().u32(6).text("Exif").u16(0).append(tiff).bytes, {}, "cdsc", primary());
  return *this;
}

HeifFile& HeifFile::packet(std::string_view packet, std::uint32_t of) {
  beside("mime", test_support::bytesOf(packet), {}, "cdsc", of == 0 ? primary() : of);
  scene_.builder().items.back().contentType = "application/rdf+xml";
  return *this;
}

HeifFile& HeifFile::iptc(const Bytes& datasets) {
  beside("iptc", datasets, {}, "cdsc", primary());
  return *this;
}

HeifFile& HeifFile::brands(const std::vector<std::string>& brands) {
  scene_.builder().brands = brands;
  return *this;
}

std::uint32_t HeifFile::beside(const std::string& type, const Bytes& data, const std::vector<Bytes>& properties,
                               std::string_view reference, std::uint32_t to) {
  const std::uint32_t before = primary();
  const std::uint32_t item = scene_.add(type, data, properties);
  scene_.builder().primary = before;
  if (!reference.empty()) scene_.refer(std::string(reference), item, {to});
  return item;
}

std::uint32_t HeifFile::pictureBeside(const Raster& raster, const std::vector<Bytes>& more,
                                      std::string_view reference) {
  const test_support::CodedPicture coded = codeWithLoss(raster);
  return beside("hvc1", coded.data, propertiesOf(coded, raster, more), reference, primary());
}

}  // namespace quellor::samples
