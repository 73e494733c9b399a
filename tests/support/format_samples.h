#pragma once
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/formats/image_format.h"

namespace quellor::test_support {

/// The format of that name: "HEIF", "JPEG" and so on.
inline const ImageFormat& imageFormat(std::string_view name) {
  using namespace std::string_view_literals;
  for (const std::string_view head :
       {"\0\0\0\x10"
        "ftypheic\0\0\0\0"sv,
        "\xff\xd8\xff"sv, "\x89PNG\r\n\x1a\n"sv, "II*\0"sv, "RIFF\0\0\0\0WEBP"sv, "GIF89a"sv}) {
    const ImageFormat* const format = formatOf({reinterpret_cast<const std::uint8_t*>(head.data()), head.size()});
    if (format != nullptr && format->name == name) return *format;
  }
  throw std::invalid_argument("no such format: " + std::string(name));
}

inline int sampleAt(const Component& component, int bitsPerComponent, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* const sample = component.firstSample + y * component.strideBytes + x * component.stepBytes;
  if (bitsPerComponent <= 8) return *sample;
  std::uint16_t value = 0;
  std::memcpy(&value, sample, sizeof value);
  return value;
}

/// The samples of one component, row after row.
inline std::vector<int> samplesOf(const Component& component, int bitsPerComponent) {
  std::vector<int> samples;
  for (std::uint32_t y = 0; y < component.height; ++y) {
    for (std::uint32_t x = 0; x < component.width; ++x) samples.push_back(sampleAt(component, bitsPerComponent, x, y));
  }
  return samples;
}

/// All samples of a raster without subsampling, pixel after pixel: its components, then alpha.
inline std::vector<int> samplesOf(const Raster& raster) {
  std::vector<Component> components = raster.components;
  if (raster.alpha) components.push_back(*raster.alpha);
  std::vector<int> samples;
  for (std::uint32_t y = 0; y < raster.height; ++y) {
    for (std::uint32_t x = 0; x < raster.width; ++x) {
      for (const Component& component : components) {
        samples.push_back(sampleAt(component, raster.bitsPerComponent, x, y));
      }
    }
  }
  return samples;
}

}  // namespace quellor::test_support
