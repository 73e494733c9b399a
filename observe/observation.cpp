#include "observe/observation.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "observe/image_access.h"

namespace quellor {
namespace {

constexpr std::size_t kPrimaryIndex = 0;

std::optional<std::int64_t> fileSize(const FileManager& files, const std::string& path) {
  try {
    return files.attributesOfItem(path).size;
  } catch (const FileError&) {
    return std::nullopt;
  }
}

std::unique_ptr<ImageSource> openSource(const ImageServices& images, const std::string& path) {
  auto source = images.openSource(path);
  if (source == nullptr) throw HelperFailure("image_source_create_failed", "CGImageSourceCreateWithURL failed");
  return source;
}

struct AuxiliaryFacts {
  std::vector<std::string> labels;  // ascending
  std::string observation;
};

AuxiliaryFacts observeAuxiliaryImages(const ImageSource& source) {
  AuxiliaryFacts facts;
  std::size_t misses = 0;
  for (const AuxiliaryTypeKey& key : auxiliaryTypeKeys) {
    const auto info = source.auxiliaryDataInfoAt(kPrimaryIndex, key.type);
    if (info && !info->empty()) {
      facts.labels.emplace_back(key.label);
    } else {
      ++misses;
    }
  }
  std::sort(facts.labels.begin(), facts.labels.end());
  if (!facts.labels.empty()) {
    facts.observation = "detected";
  } else if (misses == auxiliaryTypeKeys.size()) {
    facts.observation = "none_detected_or_api_returned_empty";
  } else {
    facts.observation = "none_detected";
  }
  return facts;
}

/// The dictionary's keys, which it keeps in ascending order; none for no dictionary.
std::vector<std::string> keysOf(const std::optional<PropertyDictionary>& properties) {
  std::vector<std::string> keys;
  if (!properties) return keys;
  for (const auto& [key, value] : properties->entries()) keys.push_back(key);
  return keys;
}

void describeImage(const Image& image, ImageObservation& observation) {
  observation.width = std::int64_t{image.width()};
  observation.height = std::int64_t{image.height()};
  observation.bitDepth = std::int64_t{image.bitsPerComponent()};
  IccInfo icc = iccInfo(image.colorSpace());
  observation.iccProfileBytes = icc.bytes;
  observation.iccProfileSHA256 = std::move(icc.sha256);
  if (image.colorSpace()) observation.colorSpaceName = image.colorSpace()->name();
}

}  // namespace

ImageObservation observeFile(const Platform& platform, const std::string& path, const ImageSource* source,
                             bool includePath) {
  ImageObservation observation;
  observation.bytes = fileSize(platform.files, path);

  const std::unique_ptr<ImageSource> opened = source == nullptr ? openSource(platform.images, path) : nullptr;
  const ImageSource& observed = source == nullptr ? *opened : *source;
  observation.imageCount = static_cast<std::int64_t>(observed.count());

  describeImage(createPrimaryCGImage(observed, kPrimaryIndex), observation);

  const auto properties = propertiesAtIndex(observed, kPrimaryIndex);
  observation.orientation = orientationFromProperties(properties);
  observation.metadataKeys = keysOf(properties);

  AuxiliaryFacts auxiliary = observeAuxiliaryImages(observed);
  observation.auxiliaryTypes = std::move(auxiliary.labels);
  observation.auxiliaryObservation = std::move(auxiliary.observation);

  if (includePath) observation.path = path;
  return observation;
}

ImageObservation observeOutputFile(const Platform& platform, const std::string& path, bool validateDecode) {
  const auto source = openSource(platform.images, path);
  ImageObservation observation = observeFile(platform, path, source.get(), true);
  if (validateDecode) {
    createPrimaryCGImage(*source, kPrimaryIndex);
    observation.decodeValidated = true;
  }
  return observation;
}

}  // namespace quellor
