#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <utility>

#include "platform/color/known_spaces.h"
#include "platform/files/descriptors.h"
#include "platform/files/durable_files.h"
#include "platform/files/path.h"
#include "platform/formats/heic_encoder.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/container_writer.h"
#include "platform/heif/output_editing.h"
#include "platform/heif/primary_copy.h"
#include "platform/image_destination.h"
#include "platform/image_properties.h"
#include "platform/metadata/block_editing.h"
#include "platform/pixels/encoding_form.h"

namespace quellor {
namespace {

std::optional<int> orientationIn(const PropertyDictionary& properties) {
  const PropertyValue* const value = properties.find(property_key::kOrientation);
  const auto* const orientation = value == nullptr ? nullptr : value->as<std::int64_t>();
  if (orientation == nullptr || *orientation < 1 || *orientation > 8) return std::nullopt;
  return static_cast<int>(*orientation);
}

double qualityIn(const PropertyDictionary& properties) {
  const PropertyValue* const value = properties.find(destination_option::kLossyCompressionQuality);
  const auto* const quality = value == nullptr ? nullptr : value->as<double>();
  return quality == nullptr ? kDefaultQuality : *quality;
}

/// Gives the file what the properties say of the image apart from its samples: its orientation and its metadata blocks,
/// without what was removed from the properties.
void describe(heif::OutputFile& file, const PropertyDictionary& properties) {
  const auto orientation = orientationIn(properties);
  if (orientation) heif::setOrientation(file, *orientation);
  const MetadataBlocks none;
  const MetadataBlocks& blocks = properties.blocks() ? *properties.blocks() : none;
  heif::addMetadata(file, editedBlocks(blocks, removalsOf(properties), orientation));
}

/// Code points for an encoded image: primaries and transfer of its colour space, matrix and range of its samples. An
/// embedded profile that is no known space leaves the first two unspecified.
Cicp codingOf(const Raster& raster, const std::optional<ColorSpace>& space) {
  Cicp coding = space && space->name() ? codePointsOf(*space->name()) : Cicp{};
  coding.matrixCoefficients = raster.coding.matrixCoefficients;
  coding.fullRange = raster.coding.fullRange;
  return coding;
}

std::optional<heif::OutputFile> copied(ByteView file) {
  const auto container = heif::readContainer(file);
  return container ? heif::copyOfPrimaryImage(*container) : std::nullopt;
}

std::optional<heif::OutputFile> encoded(const Image& image, const PropertyDictionary& properties) {
  const Raster* const samples = image.raster();
  if (samples == nullptr) return std::nullopt;
  auto raster = pixels::encodingForm(*samples);
  if (!raster) return std::nullopt;
  const std::optional<ColorSpace>& space = image.colorSpace();
  raster->coding = codingOf(*raster, space);
  auto file = encodeHeic(*raster, qualityIn(properties));
  if (!file) return std::nullopt;

  heif::declareMiaf(*file);
  const bool hasProfile = space && space->embedded() && space->iccData() != nullptr;
  heif::setColor(*file, hasProfile ? std::optional(*space->iccData()) : std::nullopt, raster->coding);
  return file;
}

/// A destination that writes HEIC: one container writer for images that are copied and images that are encoded.
class HeicDestination final : public ImageDestination {
 public:
  HeicDestination(FileDescriptor file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}

  void addImage(const Image& image, const PropertyDictionary& properties) override;
  void addImageFromSource(const ImageSource& source, std::size_t index,
                          const std::optional<PropertyDictionary>& properties) override;
  [[nodiscard]] bool finalize() override;

 private:
  void accept(std::optional<heif::OutputFile> image);

  FileDescriptor file_;
  std::string path_;
  std::optional<heif::OutputFile> image_;  // what will be written
  int added_ = 0;
};

void HeicDestination::accept(std::optional<heif::OutputFile> image) {
  ++added_;
  image_ = std::move(image);
}

void HeicDestination::addImage(const Image& image, const PropertyDictionary& properties) {
  std::optional<heif::OutputFile> file;
  try {
    file = encoded(image, properties);
  } catch (const std::bad_alloc&) {
    // An image that there is no memory for cannot be encoded, which shows when finalize() fails.
  }
  if (file) describe(*file, properties);
  accept(std::move(file));
}

void HeicDestination::addImageFromSource(const ImageSource& source, std::size_t index,
                                         const std::optional<PropertyDictionary>& properties) {
  auto file = index == 0 ? copied(source.file()) : std::nullopt;
  if (file) {
    if (properties) describe(*file, *properties);
    return accept(std::move(file));
  }
  const auto image = source.imageAt(index);
  if (!image) return accept(std::nullopt);
  addImage(*image, properties.value_or(PropertyDictionary{}));
}

bool HeicDestination::finalize() {
  if (added_ != 1 || !image_ || !file_.isOpen()) return false;
  const auto serialised = heif::serialise(*image_);
  if (!serialised) return false;
  const bool written = writeGathered(file_.get(), serialised->parts()) == 0 && fsync(file_.get()) == 0;
  const bool closed = file_.close();
  if (!written || !closed) return false;
  files::syncDirectoryOf(path_);
  return true;
}

}  // namespace

std::unique_ptr<ImageDestination> createHeicDestination(const std::string& path) {
  if (!isUsablePath(path)) return nullptr;
  FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file.isOpen()) return nullptr;
  return std::make_unique<HeicDestination>(std::move(file), path);
}

}  // namespace quellor
