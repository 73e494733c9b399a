#pragma once
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/values/bytes.h"

/// Makes JPEG files for tests with the JPEG library's encoder, and decodes them in the plainest way for comparison.
namespace quellor::test_support {

struct JpegScan {
  std::vector<int> components;
  int firstCoefficient = 0;
  int lastCoefficient = 63;
  int highBit = 0;  // successive approximation: the bit position of the scan before, and of this one
  int lowBit = 0;
};

struct JpegSpec {
  enum class Coding : std::uint8_t { grey, ycbcr, rgb, cmyk, ycck };
  std::uint32_t width = 17;
  std::uint32_t height = 9;
  Coding coding = Coding::ycbcr;
  int horizontalFactor = 1;  // of the first component; the others have 1
  int verticalFactor = 1;
  int restartInterval = 0;  // in MCUs
  bool progressive = false;
  bool arithmetic = false;
  std::vector<JpegScan> scans;                      // one's own script instead of the usual one
  std::optional<std::array<std::uint8_t, 4>> flat;  // one colour (before any conversion) instead of a pattern
  /// Any picture instead of the pattern: the sample of a component before any conversion.
  std::function<std::uint8_t(std::uint32_t x, std::uint32_t y, std::uint32_t component)> sample;
  int densityUnit = 0;
  std::uint16_t xDensity = 1;
  std::uint16_t yDensity = 1;
  int jfifMajorVersion = 1;
  /// Marker code and payload of segments that follow the library's own APP0 or APP14.
  struct Segment {
    int marker;
    Bytes payload;
  };
  std::vector<Segment> segments;
};

Bytes encodeJpeg(const JpegSpec& spec);

/// Interleaved samples in the file's own coding (YCCK as CMYK), subsampled components repeated.
Bytes decodeJpegPlainly(ByteView file);

/// The offset of the last place where `bytes` stand in `file`, or the size of `file`.
std::size_t lastPlaceOf(ByteView bytes, ByteView file);
/// The offset of the first such place.
std::size_t firstPlaceOf(ByteView bytes, ByteView file);

}  // namespace quellor::test_support
