#pragma once
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/platform.h"

/// A platform made of values: what it answers is set by the test, what it was asked is kept in order.
namespace quellor::test_support {

/// Everything that a fake image source answers.
struct FakeImage {
  std::size_t count = 1;
  std::optional<PropertyDictionary> properties = PropertyDictionary{};
  std::optional<Image> image = Image{};
  std::map<std::string, PropertyDictionary, std::less<>> auxiliaryInfo;  // by type
};

/// Calls in their order, e.g. "open a.heic", "decode 0".
using Calls = std::vector<std::string>;

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
    return answers_.count == 0 ? std::nullopt : answers_.image;
  }
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

  std::map<std::string, std::optional<FileAttributes>> files;

 private:
  Calls& calls_;
};

class FakeImageServices final : public ImageServices {
 public:
  explicit FakeImageServices(Calls& calls) : calls_(calls) {}

  [[nodiscard]] std::unique_ptr<ImageSource> openSource(const std::string& path) const override {
    calls_.push_back("open " + path);
    if (failure) throw *failure;
    const auto image = images.find(path);
    return image == images.end() ? nullptr : std::make_unique<FakeImageSource>(image->second, calls_);
  }

  std::map<std::string, FakeImage> images;
  std::optional<std::runtime_error> failure;  // raised by every openSource()

 private:
  Calls& calls_;
};

struct FakePlatform {
  Calls calls;
  FakeFileManager files{calls};
  FakeImageServices images{calls};

  [[nodiscard]] Platform services() const { return {files, images}; }

  /// A file with that many bytes, holding `image`.
  void add(const std::string& path, FakeImage image, std::int64_t bytes = 1000) {
    files.files[path] = FileAttributes{bytes};
    images.images[path] = std::move(image);
  }
};

}  // namespace quellor::test_support
