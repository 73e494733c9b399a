#include "platform/heif/clean_aperture.h"

#include <algorithm>
#include <cmath>

#include "platform/heif/byte_reader.h"

namespace quellor::heif {
namespace {

struct Range {
  std::uint32_t begin;
  std::uint32_t size;
};

double unsignedFraction(ByteReader& reader) {
  const double numerator = reader.u32();
  return numerator / reader.u32();
}

double signedFraction(ByteReader& reader) {
  const double numerator = static_cast<std::int32_t>(reader.u32());
  return numerator / reader.u32();
}

/// `offset` is the distance of the aperture's centre from the image's, (whole - 1) / 2.
std::optional<Range> rangeOf(double size, double offset, std::uint32_t whole) {
  if (!std::isfinite(size) || !std::isfinite(offset)) return std::nullopt;
  const double first = std::floor(offset + (whole - size) / 2);
  const double begin = std::max(first, 0.0), end = std::min(first + std::round(size), double{1} * whole);
  if (begin >= end) return std::nullopt;
  return Range{static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end - begin)};
}

}  // namespace

std::optional<Crop> cropBy(ByteView cleanAperture, std::uint32_t width, std::uint32_t height) {
  constexpr std::size_t kFields = 8;
  if (cleanAperture.size() < kFields * sizeof(std::uint32_t)) return std::nullopt;
  ByteReader reader(cleanAperture);
  const double apertureWidth = unsignedFraction(reader), apertureHeight = unsignedFraction(reader);
  const double across = signedFraction(reader), down = signedFraction(reader);
  const auto columns = rangeOf(apertureWidth, across, width), rows = rangeOf(apertureHeight, down, height);
  if (!columns || !rows) return std::nullopt;
  return Crop{columns->begin, rows->begin, columns->size, rows->size};
}

}  // namespace quellor::heif
