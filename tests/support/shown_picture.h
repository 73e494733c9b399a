#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/judges.h"
#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

/// What other programs show of a HEIC file: those that come with the HEIF library, and ImageMagick.
namespace quellor::test_support {

inline constexpr const char* kPictureJudge = "convert";

using Pixel = std::array<int, 4>;  // red, green, blue, alpha
/// The picture that a test begins with, by column and row.
using Picture = Pixel (*)(std::uint32_t x, std::uint32_t y);

/// What heif-info says of the alpha of a file: "no", "yes" or "yes (premultiplied)".
inline std::string alphaTold(const std::filesystem::path& file) {
  ProcessOptions options;
  options.arguments = {file.string()};
  const std::string told = runProcess(judge("heif-info"), options).standardOutput;
  const std::string label = "alpha channel: ";
  const std::size_t start = told.find(label);
  if (start == std::string::npos) return "nothing";
  std::string alpha = told.substr(start + label.size(), told.find('\n', start) - start - label.size());
  alpha.erase(alpha.find_last_not_of(' ') + 1);
  return alpha;
}

/// Red, green, blue and alpha of what heif-dec makes of a file, colours multiplied by alpha where the file has them
/// so. Empty, with a failure, where that is no picture of this size.
inline std::string shownPixels(const std::filesystem::path& file, std::uint32_t width, std::uint32_t height) {
  const TemporaryDirectory folder;
  const std::string png = (folder.path() / "shown.png").string();
  ProcessOptions options;
  options.arguments = {"--png-compression-level", "0", file.string(), png};
  EXPECT_EQ(runProcess(judge("heif-dec"), options).exitStatus, 0);
  options.arguments = {png, "-depth", "8", "-format", "%wx%h\n", "-write", "info:-", "rgba:-"};
  const auto run = runProcess(judge(kPictureJudge), options);
  EXPECT_EQ(run.exitStatus, 0) << run.standardError;
  const std::size_t line = run.standardOutput.find('\n');
  const std::string size = run.standardOutput.substr(0, line);
  const std::string expected = std::to_string(width) + "x" + std::to_string(height);
  EXPECT_EQ(size, expected);
  return size == expected ? run.standardOutput.substr(line + 1) : std::string();
}

struct PictureDifferences {
  int alpha = 0;     // the largest
  double color = 0;  // the mean, where the picture is more opaque than not
};

/// How far pixels, red, green, blue and alpha row after row, are from a picture.
inline PictureDifferences differencesFrom(Picture picture, const std::string& pixels, std::uint32_t width) {
  PictureDifferences differences;
  double sum = 0;
  int samples = 0;
  for (std::size_t i = 0; i + 3 < pixels.size(); i += 4) {
    const auto actual = [&](std::size_t c) { return int{static_cast<std::uint8_t>(pixels[i + c])}; };
    const Pixel expected =
        picture(static_cast<std::uint32_t>(i / 4 % width), static_cast<std::uint32_t>(i / 4 / width));
    differences.alpha = std::max(differences.alpha, std::abs(actual(3) - expected[3]));
    if (expected[3] < 128) continue;
    for (std::size_t c = 0; c < 3; ++c, ++samples) sum += std::abs(actual(c) - expected[c]);
  }
  differences.color = samples == 0 ? 0 : sum / samples;
  return differences;
}

}  // namespace quellor::test_support
