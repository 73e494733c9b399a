#pragma once
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/values/bytes.h"
#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/temporary_directory.h"

/// The operation export-storage-pixels, run by the built program, and the file that it writes.
namespace quellor::test_support {

struct StoredPixels {
  nlohmann::json answer;
  std::string file;  // the whole file; empty where there is none

  [[nodiscard]] bool written() const { return answer.is_object() && answer.value("success", false); }
  [[nodiscard]] std::uint32_t width() const { return answer["storageExport"]["width"].get<std::uint32_t>(); }
  [[nodiscard]] std::uint32_t height() const { return answer["storageExport"]["height"].get<std::uint32_t>(); }

  /// The bytes behind the header.
  [[nodiscard]] ByteView pixels() const {
    return ByteView(reinterpret_cast<const std::uint8_t*>(file.data()), file.size()).subspan(15);
  }
};

inline std::string littleEndian32(std::uint32_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
  return bytes;
}

inline std::string contentsOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Exports the stored pixels of a file. Expects a file in order, of the size that the answer says, after success, and
/// none at all after a failure.
inline StoredPixels exportPixels(const std::filesystem::path& input) {
  const TemporaryDirectory folder;
  const std::filesystem::path output = folder.path() / "out.raw";
  StoredPixels stored;
  stored.answer = ask(with(request("export-storage-pixels", input), "outputPath", output.string()));
  if (!stored.written()) {
    EXPECT_TRUE(folder.isEmpty());
    return stored;
  }
  stored.file = contentsOf(output);
  const std::string header =
      "RGBA\x01" + littleEndian32(stored.width()) + littleEndian32(stored.height()) + std::string("\x04\0", 2);
  EXPECT_EQ(stored.file.substr(0, 15), header);
  EXPECT_EQ(stored.file.size(), 15 + std::size_t{stored.width()} * stored.height() * 4);
  return stored;
}

/// The same of a file with these bytes.
inline StoredPixels exportPixelsOf(ByteView bytes) {
  const TemporaryDirectory folder;
  return exportPixels(folder.write("input", {reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
}

}  // namespace quellor::test_support
