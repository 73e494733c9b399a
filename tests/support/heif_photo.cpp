#include "tests/support/heif_photo.h"

#include <stdexcept>
#include <utility>

#include "platform/heif/container_reader.h"
#include "tests/platform/color/icc_bytes.h"
#include "tests/support/byte_texts.h"
#include "tests/support/heif_output.h"
#include "tests/support/png_fixture.h"
#include "tests/support/process.h"
#include "tests/support/stored_pixels.h"
#include "tests/support/temporary_directory.h"

namespace quellor::test_support {
namespace {

constexpr std::uint32_t kWidth = 64, kHeight = 48;

std::string_view textIn(ByteView bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

Bytes slopes() {
  PngSpec spec;
  spec.width = kWidth;
  spec.height = kHeight;
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t c) { return 40 + x + 2 * y + 20 * c; };
  const std::string example = contentsOf(std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic");
  spec.iccProfile = icc::findProfile(bytesOf(example)).value();
  return encodePng(spec);
}

/// The coded picture with its properties, as the first item of a file.
HeifBuilder encodePicture() {
  const Bytes file = encodedByHeifLibrary(slopes());
  const auto container = heif::readContainer(file);
  if (!container) throw std::runtime_error("the HEIF library's file has another structure");
  const heif::Item& primary = *container->find(container->primaryItem);
  HeifBuilder builder;
  builder.brands = {"heic", "mif1", "miaf"};
  builder.items = {{1, "hvc1", dataOf(*container, primary)}};
  for (const ItemProperty& property : propertiesOf(*container, primary)) {
    builder.properties.push_back(box(property.type, property.payload));
    builder.items[0].properties.emplace_back(builder.properties.size(), property.essential);
  }
  return builder;
}

const HeifBuilder& codedPicture() {
  static const HeifBuilder picture = encodePicture();
  return picture;
}

}  // namespace

Bytes encodedByHeifLibrary(ByteView png, const std::vector<std::string>& arguments) {
  const TemporaryDirectory folder;
  ProcessOptions options;
  options.arguments = arguments;
  for (const auto& argument :
       {std::string("-o"), (folder.path() / "out.heic").string(), folder.write("in.png", textIn(png)).string()}) {
    options.arguments.push_back(argument);
  }
  const ProcessResult run = runProcess("/usr/bin/heif-enc", options);
  const std::string file = contentsOf(folder.path() / "out.heic");
  if (file.empty()) throw std::runtime_error("heif-enc: " + run.standardError);
  return {file.begin(), file.end()};
}

HeifPhoto::HeifPhoto() : builder_(codedPicture()) {}

HeifPhoto& HeifPhoto::with(const Bytes& property) {
  builder_.properties.push_back(property);
  builder_.items[0].properties.emplace_back(builder_.properties.size(), true);
  return *this;
}

HeifPhoto& HeifPhoto::withExif(const Bytes& tiff) {
  addDescription(1, "Exif", FieldWriter().u32(6).text("Exif").u16(0).append(tiff).bytes);
  return *this;
}

HeifPhoto& HeifPhoto::withPacket(std::string_view packet) {
  addDescription(1, "mime", bytesOf(packet), "application/rdf+xml");
  return *this;
}

HeifPhoto& HeifPhoto::withIptc(const Bytes& datasets) {
  addDescription(1, "iptc", datasets);
  return *this;
}

HeifPhoto& HeifPhoto::withAuxiliary(const std::string& urn, std::string_view packet) {
  builder_.properties.push_back(auxC(urn));
  const std::uint32_t type = static_cast<std::uint32_t>(builder_.properties.size());
  BuiltItem& item = addPicture("auxl");
  item.properties.emplace_back(type, true);
  const std::uint32_t id = item.id;
  if (!packet.empty()) addDescription(id, "mime", bytesOf(packet), "application/rdf+xml");
  return *this;
}

HeifPhoto& HeifPhoto::withThumbnail() {
  addPicture("thmb");
  return *this;
}

HeifPhoto& HeifPhoto::withHiddenPicture() {
  addPicture("").hidden = true;
  return *this;
}

HeifPhoto& HeifPhoto::withFurtherPicture() {
  addPicture("");
  return *this;
}

BuiltItem& HeifPhoto::addPicture(std::string_view reference) {
  const auto id = static_cast<std::uint32_t>(builder_.items.size() + 1);
  BuiltItem item = codedPicture().items[0];
  item.id = id;
  if (!reference.empty()) builder_.references.push_back(HeifBuilder::reference(std::string(reference), id, {1}));
  builder_.items.push_back(std::move(item));
  return builder_.items.back();
}

void HeifPhoto::addDescription(std::uint32_t of, const std::string& type, const Bytes& data,
                               const std::string& contentType) {
  const auto id = static_cast<std::uint32_t>(builder_.items.size() + 1);
  builder_.items.push_back({id, type, data, {}, false, contentType});
  builder_.references.push_back(HeifBuilder::reference("cdsc", id, {of}));
}

}  // namespace quellor::test_support
