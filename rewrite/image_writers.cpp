#include "rewrite/image_writers.h"

#include <memory>

#include "observe/image_access.h"
#include "rewrite/metadata_filter.h"

namespace quellor {
namespace {

constexpr std::size_t kPrimaryIndex = 0;
constexpr int kMaximumBitsPerComponent = 8;

/// Opens the input and looks whether it holds anything else than the one image that is written; if so, `warning` is
/// added.
std::unique_ptr<ImageSource> openInput(const ImageServices& images, const std::string& path, const char* warning,
                                       Warnings& warnings) {
  auto source = images.openSource(path);
  if (source == nullptr) throw HelperFailure("image_source_create_failed", "CGImageSourceCreateWithURL failed");
  if (source->count() < 1) throw HelperFailure("no_primary_image", "image count is zero");
  if (source->count() != 1) warnings.emplace_back(warning);
  return source;
}

std::unique_ptr<ImageDestination> createDestination(const ImageServices& images, const std::string& path) {
  auto destination = images.createDestination(path);
  if (destination == nullptr) {
    throw HelperFailure("destination_create_failed", "CGImageDestinationCreateWithURL failed");
  }
  return destination;
}

Image decodeSupported(const ImageSource& source) {
  Image image = createPrimaryCGImage(source, kPrimaryIndex);
  if (image.bitsPerComponent() > kMaximumBitsPerComponent) {
    throw HelperFailure("unsupported_bit_depth",
                        "bit depth " + std::to_string(image.bitsPerComponent()) + " not supported");
  }
  return image;
}

PropertyDictionary propertiesToWrite(const ImageSource& source, const std::optional<MetadataPolicy>& policy) {
  PropertyDictionary properties = filteredProperties(source, kPrimaryIndex, policy).value_or(PropertyDictionary{});
  const bool preserveOrientation = !policy || policy->preserveOrientation.value_or(true);
  if (preserveOrientation && !properties.contains(orientationKey)) {
    const auto orientation = orientationFromProperties(propertiesAtIndex(source, kPrimaryIndex));
    if (orientation) properties.set(orientationKey, *orientation);
  }
  return properties;
}

/// Both decoding writers; without `quality` the destination takes its default.
Warnings writeDecoded(const ImageServices& images, const std::string& inputPath, const std::string& tempPath,
                      std::optional<double> quality, const std::optional<MetadataPolicy>& policy) {
  Warnings warnings;
  const auto source = openInput(images, inputPath, "multiple_images_present_only_index_0_written", warnings);
  const Image image = decodeSupported(*source);
  PropertyDictionary properties = propertiesToWrite(*source, policy);
  if (quality) properties.set(destination_option::kLossyCompressionQuality, *quality);
  const auto destination = createDestination(images, tempPath);
  destination->addImage(image, properties);
  if (!destination->finalize()) throw HelperFailure("destination_finalize_failed", "CGImageDestinationFinalize failed");
  return warnings;
}

}  // namespace

Warnings rewriteFromSource(const ImageServices& images, const std::string& inputPath, const std::string& tempPath,
                           const std::optional<MetadataPolicy>& policy) {
  Warnings warnings{"bitstream_passthrough_not_guaranteed"};
  const auto source = openInput(images, inputPath, "multiple_images_present_only_index_0_copied", warnings);
  const auto destination = createDestination(images, tempPath);
  destination->addImageFromSource(*source, kPrimaryIndex, filteredProperties(*source, kPrimaryIndex, policy));
  // Reported as a failed addition on purpose: adding is where a copy fails, and it reports nothing by itself.
  if (!destination->finalize()) {
    throw HelperFailure("destination_add_from_source_failed",
                        "ImageIO could not add the HEIC source image to the destination.");
  }
  warnings.emplace_back("metadata_selective_removal_may_be_limited_on_from_source_path");
  return warnings;
}

Warnings rewriteDecodedImage(const ImageServices& images, const std::string& inputPath, const std::string& tempPath,
                             const std::optional<MetadataPolicy>& policy) {
  return writeDecoded(images, inputPath, tempPath, std::nullopt, policy);
}

Warnings encodeCandidateHEIC(const ImageServices& images, const std::string& inputPath, const std::string& tempPath,
                             double quality, const std::optional<MetadataPolicy>& policy) {
  return writeDecoded(images, inputPath, tempPath, quality, policy);
}

}  // namespace quellor
