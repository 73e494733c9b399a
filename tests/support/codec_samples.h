#pragma once
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/values/image_facts.h"
#include "platform/module.h"

namespace quellor::test_support {

/// The codec of a built module, or null when the module does not load.
inline const Codec* openCodec(std::string_view format) {
  return ModuleLoader(QUELLOR_MODULES).open<Codec>(format, kCodecEntry);
}

/// The same for tests that make no sense without it: raises std::runtime_error.
inline const Codec& requiredCodec(std::string_view format) {
  const Codec* const codec = openCodec(format);
  if (codec == nullptr) throw std::runtime_error("the module cannot be opened: " + std::string(format));
  return *codec;
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
    for (std::uint32_t x = 0; x < component.width; ++x) {
      samples.push_back(sampleAt(component, bitsPerComponent, x, y));
    }
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
