#pragma once
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace quellor::test_support {

/// A new, empty directory that is removed with everything in it at the end of its life.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "quellor-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory: " + name);
    path_ = name;
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// Writes a file of this directory and returns its path.
  [[nodiscard]] std::filesystem::path write(std::string_view name, std::string_view content) const {
    const std::filesystem::path file = path_ / name;
    std::ofstream stream(file, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + file.string());
    return file;
  }

  [[nodiscard]] bool isEmpty() const { return std::filesystem::is_empty(path_); }

 private:
  std::filesystem::path path_;
};

}  // namespace quellor::test_support
