#pragma once
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/platform.h"

/// A platform made of values: what it answers is set by the test, what it was asked is kept in order.
namespace quellor::test_support {

/// What a fake image is made of. Its samples may be missing; what is known without them is not.
struct FakePicture {
  Raster raster;
  std::optional<ColorSpace> colorSpace;
  bool hasSamples = true;
};

/// Everything that a fake image source answers.
struct FakeImage {
  std::size_t count = 1;
  std::optional<PropertyDictionary> properties = PropertyDictionary{};
  std::optional<FakePicture> image = FakePicture{};
  std::map<std::string, PropertyDictionary, std::less<>> auxiliaryInfo;  // by type
};

/// Calls in their order, e.g. "open a.heic", "decode 0".
using Calls = std::vector<std::string>;

/// The calls with "UUID" in place of every random UUID in them.
inline Calls withoutUuids(const Calls& calls) {
  static const std::regex uuid("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}");
  Calls result;
  for (const std::string& call : calls) result.push_back(std::regex_replace(call, uuid, "UUID"));
  return result;
}

class FakeImageSource final : public ImageSource {
 public:
  FakeImageSource(FakeImage answers, Calls& calls) : answers_(std::move(answers)), calls_(calls) {}

  [[nodiscard]] std::size_t count() const override { return answers_.count; }
  [[nodiscard]] std::optional<PropertyDictionary> propertiesAt(std::size_t index) const override {
    calls_.push_back("properties " + std::to_string(index));
    return answers_.properties;
  }
  [[nodiscard]] std::optional<Image> imageAt(std::size_t index) const override {
    calls_.push_back("decode " + std::to_string(index));
    if (answers_.count == 0 || !answers_.image) return std::nullopt;
    const auto makeSamples = [picture = *answers_.image, &calls = calls_]() -> std::optional<Raster> {
      calls.emplace_back("make samples");
      return picture.hasSamples ? std::optional(picture.raster) : std::nullopt;
    };
    return Image(shapeOf(answers_.image->raster), answers_.image->colorSpace, makeSamples);
  }
  [[nodiscard]] ByteView file() const override { return {}; }
  [[nodiscard]] std::optional<PropertyDictionary> auxiliaryDataInfoAt(std::size_t index,
                                                                      std::string_view type) const override {
    calls_.push_back("auxiliary " + std::to_string(index) + " " + std::string(type));
    const auto info = answers_.auxiliaryInfo.find(type);
    if (info == answers_.auxiliaryInfo.end()) return std::nullopt;
    return info->second;
  }

 private:
  FakeImage answers_;
  Calls& calls_;
};

/// Files by path: absent attributes make asking for them fail.
using FakeFiles = std::map<std::string, std::optional<FileAttributes>>;

class FakeFileManager final : public FileManager {
 public:
  explicit FakeFileManager(Calls& calls) : calls_(calls) {}

  [[nodiscard]] bool fileExists(const std::string& path) const override {
    calls_.push_back("exists " + path);
    return files.contains(path);
  }
  [[nodiscard]] FileAttributes attributesOfItem(const std::string& path) const override {
    calls_.push_back("attributes " + path);
    const auto file = files.find(path);
    if (file == files.end() || !file->second) throw FileError("The file could not be looked at.");
    return *file->second;
  }
  [[nodiscard]] bool isReadable(const std::string& path) const override {
    calls_.push_back("readable " + path);
    return files.contains(path) && !unreadable.contains(path);
  }
  void moveItem(const std::string& from, const std::string& to) const override {
    calls_.push_back("move " + from + " to " + to);
    if (moveFailure) throw FileError(*moveFailure);
    if (!files.contains(from) || files.contains(to)) throw FileError("The file could not be moved.");
    files[to] = attributesAfterMove ? *attributesAfterMove : files[from];
    files.erase(from);
  }
  void removeItem(const std::string& path) const override {
    calls_.push_back("remove " + path);
    if (removeFailure || files.erase(path) == 0) throw FileError("The file could not be removed.");
  }
  void writeAtomically(const std::string& path, std::span<const ByteView> parts) const override {
    calls_.push_back("write " + path);
    if (writeFailure) throw FileError(*writeFailure);
    Bytes& contents = written[path];
    contents.clear();
    for (const ByteView part : parts) contents.insert(contents.end(), part.begin(), part.end());
    files[path] = FileAttributes{static_cast<std::int64_t>(contents.size())};
  }

  mutable FakeFiles files;
  mutable std::map<std::string, Bytes> written;  // by writeAtomically()
  std::set<std::string> unreadable;
  std::optional<std::string> moveFailure;   // the description of the FileError that is raised
  std::optional<std::string> writeFailure;  // likewise
  bool removeFailure = false;
  std::optional<std::optional<FileAttributes>> attributesAfterMove;  // instead of those before

 private:
  Calls& calls_;
};

/// What was done with one destination.
struct FakeWriting {
  std::string path;
  std::optional<Image> image;                    // given to addImage()
  std::optional<std::size_t> indexInSource;      // given to addImageFromSource()
  std::optional<PropertyDictionary> properties;  // given to either
};

/// How destinations behave.
struct FakeDestinations {
  bool cannotBeCreated = false;
  bool finalizeFails = false;           // a disk without space, say; what was written until then stays
  bool nothingThereAfterwards = false;  // although finalize() succeeded
  std::optional<std::int64_t> bytes = 500;
  std::optional<FakeImage> output;           // what the finished file holds; what was added, where absent
  std::function<void()> whenFinalized = {};  // called last
};

class FakeImageDestination final : public ImageDestination {
 public:
  FakeImageDestination(FakeWriting& writing, const FakeDestinations& behaviour, FakeFiles& files,
                       std::map<std::string, FakeImage>& images, Calls& calls)
      : writing_(writing), behaviour_(behaviour), files_(files), images_(images), calls_(calls) {
    files_[writing_.path] = FileAttributes{0};
  }

  void addImage(const Image& image, const PropertyDictionary& properties) override {
    calls_.emplace_back("add image");
    writing_.image = image;
    writing_.properties = properties;
  }
  void addImageFromSource(const ImageSource&, std::size_t index,
                          const std::optional<PropertyDictionary>& properties) override {
    calls_.emplace_back("add image from source");
    writing_.indexInSource = index;
    writing_.properties = properties;
  }
  [[nodiscard]] bool finalize() override {
    calls_.emplace_back("finalize");
    if (behaviour_.finalizeFails) return false;
    if (behaviour_.nothingThereAfterwards) {
      files_.erase(writing_.path);
    } else {
      files_[writing_.path] = FileAttributes{behaviour_.bytes};
      images_[writing_.path] = behaviour_.output.value_or(whatWasAdded());
    }
    if (behaviour_.whenFinalized) behaviour_.whenFinalized();
    return true;
  }

 private:
  [[nodiscard]] FakeImage whatWasAdded() const {
    FakeImage added;
    added.properties = writing_.properties;
    if (writing_.image) {
      added.image->raster.width = writing_.image->width();
      added.image->raster.height = writing_.image->height();
      added.image->raster.bitsPerComponent = writing_.image->bitsPerComponent();
      added.image->colorSpace = writing_.image->colorSpace();
    }
    return added;
  }

  FakeWriting& writing_;
  const FakeDestinations& behaviour_;
  FakeFiles& files_;
  std::map<std::string, FakeImage>& images_;
  Calls& calls_;
};

/// Draws the colour (10 + i, 20 + i, 30 + i) into pixel i, whatever the image, and i as the fourth byte, so that the
/// first one stays 0. Refuses grey and CMYK.
inline bool drawNumberedPixels(const Raster& raster, std::span<std::uint8_t> pixels) {
  if (raster.model == SampleModel::grey || raster.model == SampleModel::cmyk) return false;
  for (std::size_t i = 0; i < pixels.size() / 4; ++i) {
    for (std::size_t byte = 0; byte < 3; ++byte) pixels[4 * i + byte] = static_cast<std::uint8_t>(10 + 10 * byte + i);
    pixels[4 * i + 3] = static_cast<std::uint8_t>(i);
  }
  return true;
}

using Drawing = std::function<bool(const Raster&, std::span<std::uint8_t>)>;

class FakeBitmapContext final : public BitmapContext {
 public:
  FakeBitmapContext(std::span<std::uint8_t> pixels, const Drawing& drawing) : pixels_(pixels), drawing_(drawing) {}

  [[nodiscard]] bool draw(const Image& image) const override {
    const Raster* const raster = image.raster();
    return raster != nullptr && drawing_(*raster, pixels_);
  }

 private:
  std::span<std::uint8_t> pixels_;
  const Drawing& drawing_;
};

class FakeImageServices final : public ImageServices {
 public:
  FakeImageServices(Calls& calls, FakeFiles& files) : calls_(calls), files_(files) {}

  [[nodiscard]] std::unique_ptr<ImageSource> openSource(const std::string& path) const override {
    calls_.push_back("open " + path);
    if (failure) throw *failure;
    if (const auto opens = opensLeft.find(path); opens != opensLeft.end() && opens->second-- == 0) return nullptr;
    const auto image = images.find(path);
    return image == images.end() ? nullptr : std::make_unique<FakeImageSource>(image->second, calls_);
  }
  [[nodiscard]] std::unique_ptr<ImageDestination> createDestination(const std::string& path) const override {
    calls_.push_back("create " + path);
    if (destinations.cannotBeCreated) return nullptr;
    writings.push_back(std::make_unique<FakeWriting>(FakeWriting{path, {}, {}, {}}));
    return std::make_unique<FakeImageDestination>(*writings.back(), destinations, files_, images, calls_);
  }
  [[nodiscard]] std::unique_ptr<BitmapContext> createBitmapContext(std::int64_t width, std::int64_t height,
                                                                   const ColorSpace& space,
                                                                   std::span<std::uint8_t> pixels) const override {
    calls_.push_back("context " + std::to_string(width) + "x" + std::to_string(height));
    const bool drawable = drawing && componentCount(space.model()) == 3;
    return drawable ? std::make_unique<FakeBitmapContext>(pixels, drawing) : nullptr;
  }

  mutable std::map<std::string, FakeImage> images;
  mutable std::map<std::string, int> opensLeft;  // by path: so many times a source, then none
  mutable std::vector<std::unique_ptr<FakeWriting>> writings;
  FakeDestinations destinations;
  Drawing drawing = drawNumberedPixels;       // without one no context can be created
  std::optional<std::runtime_error> failure;  // raised by every openSource()

 private:
  Calls& calls_;
  FakeFiles& files_;
};

struct FakePlatform {
  Calls calls;
  FakeFileManager files{calls};
  FakeImageServices images{calls, files.files};

  [[nodiscard]] Platform services() const { return {files, images}; }

  /// A file with that many bytes, holding `image`.
  void add(const std::string& path, FakeImage image, std::int64_t bytes = 1000) {
    files.files[path] = FileAttributes{bytes};
    images.images[path] = std::move(image);
  }
};

}  // namespace quellor::test_support
