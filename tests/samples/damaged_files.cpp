// Files of the other chapters, damaged.

#include <algorithm>
#include <stdexcept>

#include "tests/samples/sample.h"

namespace quellor::samples {
namespace {

const Bytes& fileOf(const Samples& samples, const std::string& name) {
  const auto found =
      std::find_if(samples.begin(), samples.end(), [&name](const Sample& sample) { return sample.name == name; });
  if (found == samples.end()) throw std::runtime_error("no sample " + name);
  return found->file;
}

Bytes cutTo(const Bytes& file, std::size_t percent) {
  return {file.begin(), file.begin() + static_cast<std::ptrdiff_t>(file.size() * percent / 100)};
}

/// With other bytes amid the coded picture, which stands in the last part of the file.
Bytes overwritten(Bytes file) {
  for (std::size_t i = file.size() * 3 / 4; i < file.size() * 3 / 4 + 40; ++i) {
    file[i] = static_cast<std::uint8_t>(file[i] ^ (0x55 + i % 7));
  }
  return file;
}

}  // namespace

void addDamaged(Samples& samples) {
  const struct {
    const char* of;
    const char* extension;
  } sources[] = {{"hevc-8-bit-420", ".heic"}, {"grid-4x6", ".heic"},      {"coding-wavefronts", ".heic"},
                 {"av1-8-bit-420", ".avif"},  {"jpeg-420", ".jpg"},       {"jpeg-progressive", ".jpg"},
                 {"png-rgb-8", ".png"},       {"png-interlaced", ".png"}, {"tiff-strips", ".tiff"},
                 {"webp-lossy", ".webp"},     {"webp-lossless", ".webp"}, {"gif-plain", ".gif"}};
  for (const auto& source : sources) {
    const std::string name = source.of;
    // What is missing is a part of the picture; whether a format's structure can be read without it differs.
    samples.push_back({"cut-" + name + source.extension,
                       cutTo(fileOf(samples, name + source.extension), 80),
                       {},
                       "no_primary_image|image_source_create_failed"});
  }
  for (const char* name : {"hevc-8-bit-420.heic", "hevc-10-bit-444.heic", "coding-wavefronts.heic",
                           "coding-large-units.heic", "png-rgb-8.png"}) {
    samples.push_back({std::string("overwritten-") + name, overwritten(fileOf(samples, name)), {}, "no_primary_image"});
  }
  samples.push_back(
      {"structure-cut.heic", cutTo(fileOf(samples, "size-16x16.heic"), 30), {}, "image_source_create_failed"});
  samples.push_back({"empty.heic", {}, {}, "image_source_create_failed"});
  samples.push_back({"text.jpg", Bytes(3000, 'a'), {}, "image_source_create_failed"});
}

}  // namespace quellor::samples
