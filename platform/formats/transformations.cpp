#include "platform/formats/transformations.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/formats/planes.h"
#include "platform/values/sample_memory.h"

namespace quellor::formats {
namespace {

using heif::fourCC;

/// A turn or mirroring: the result's sample at (x, y) is the source's at (x, y), or (y, x) where `transposes` is set,
/// counted from the source's right or bottom edge where it flips.
struct Turn {
  bool transposes = false;
  bool flipsAcross = false;
  bool flipsDown = false;
};

Turn turnOf(unsigned quarters) {
  switch (quarters & 3U) {
    case 1:
      return {true, true, false};
    case 2:
      return {false, true, true};
    case 3:
      return {true, false, true};
    default:
      return {};
  }
}

/// Where a colour difference lies among the samples that it covers, in one direction.
enum class Place : std::uint8_t { first, middle, last };

Place opposite(Place place) {
  return place == Place::first ? Place::last : place == Place::last ? Place::first : Place::middle;
}

struct Places {
  Place across;
  Place down;
};

constexpr Places kPlaces[] = {{Place::first, Place::middle}, {Place::middle, Place::middle},
                              {Place::first, Place::first},  {Place::middle, Place::first},
                              {Place::first, Place::last},   {Place::middle, Place::last}};

Places placesOf(const DecodedImage& image) {
  Places places = kPlaces[static_cast<std::size_t>(image.raster.chromaSiting)];
  if (image.chromaOnRight) places.across = Place::last;
  return places;
}

void setPlaces(DecodedImage& image, Places places) {
  image.chromaOnRight = places.across == Place::last;
  if (image.chromaOnRight) places.across = Place::first;
  for (std::size_t i = 0; i < std::size(kPlaces); ++i) {
    if (kPlaces[i].across == places.across && kPlaces[i].down == places.down) {
      image.raster.chromaSiting = static_cast<ChromaSiting>(i);
    }
  }
}

/// How many samples the last group of `factor` lacks, of `size` samples of which the first group lacks `phase`: what
/// the first group lacks once the order is reversed.
std::uint32_t phaseFromBehind(std::uint32_t size, std::uint32_t phase, std::uint32_t factor) {
  return (factor - (size + phase) % factor) % factor;
}

/// The component without samples that lie wholly beyond the image.
Component trimmed(Component component, std::uint32_t width, std::uint32_t height, std::uint32_t across,
                  std::uint32_t down) {
  component.width = std::min(component.width, (width + across - 1) / across);
  component.height = std::min(component.height, (height + down - 1) / down);
  return component;
}

void turnComponent(const Component& from, const Component& to, std::uint8_t* out, std::size_t sampleBytes, Turn turn) {
  const auto step = static_cast<std::ptrdiff_t>(from.stepBytes), stride = static_cast<std::ptrdiff_t>(from.strideBytes);
  const std::ptrdiff_t across = turn.flipsAcross ? -step : step, down = turn.flipsDown ? -stride : stride;
  const std::uint8_t* const first = from.firstSample + (turn.flipsAcross ? (from.width - 1) * from.stepBytes : 0) +
                                    (turn.flipsDown ? (from.height - 1) * from.strideBytes : 0);
  const std::ptrdiff_t alongRow = turn.transposes ? down : across, alongColumn = turn.transposes ? across : down;
  for (std::uint32_t y = 0; y < to.height; ++y, out += to.strideBytes) {
    const std::uint8_t* in = first + static_cast<std::ptrdiff_t>(y) * alongColumn;
    for (std::uint32_t x = 0; x < to.width; ++x, in += alongRow) {
      if (sampleBytes == 1) {
        out[x] = *in;
      } else {
        std::memcpy(out + x * sampleBytes, in, sampleBytes);
      }
    }
  }
}

DecodedImage turned(const DecodedImage& image, Turn turn) {
  Raster from = image.raster;
  PlaneLayout layout = layoutOf(from);
  ChromaPhase phase = from.chromaPhase;
  for (std::size_t i = 1; from.model == SampleModel::ycbcr && i < from.components.size(); ++i) {
    from.components[i] =
        trimmed(from.components[i], from.width + phase.columns, from.height + phase.rows, layout.across, layout.down);
  }
  Places places = placesOf(image);
  if (turn.flipsAcross) {
    phase.columns = phaseFromBehind(from.width, phase.columns, layout.across);
    places.across = opposite(places.across);
  }
  if (turn.flipsDown) {
    phase.rows = phaseFromBehind(from.height, phase.rows, layout.down);
    places.down = opposite(places.down);
  }
  std::uint32_t width = from.width, height = from.height;
  if (turn.transposes) {
    std::swap(layout.across, layout.down);
    std::swap(phase.columns, phase.rows);
    std::swap(places.across, places.down);
    std::swap(width, height);
  }
  // Planes with room for the groups that begin before the image.
  const Planes planes(layout, width + phase.columns, height + phase.rows, from.alpha.has_value(), from.hasSamples());
  const std::size_t sampleBytes = bytesPerSample(layout.bits);
  DecodedImage result{planes.raster()};
  Raster& raster = result.raster;
  raster.width = width;
  raster.height = height;
  for (std::size_t i = 0; i < raster.components.size(); ++i) {
    Component& to = raster.components[i];
    const Component& component = from.components[i];
    to.width = turn.transposes ? component.height : component.width;
    to.height = turn.transposes ? component.width : component.height;
    if (from.hasSamples()) turnComponent(component, to, planes.at(i, 0, 0), sampleBytes, turn);
  }
  if (from.alpha) {
    raster.alpha->width = width;
    raster.alpha->height = height;
    if (from.hasSamples()) {
      turnComponent(*from.alpha, *raster.alpha, planes.at(raster.components.size(), 0, 0), sampleBytes, turn);
    }
  }
  raster.premultiplied = from.premultiplied;
  raster.coding = from.coding;
  raster.chromaPhase = phase;
  setPlaces(result, places);
  return result;
}

/// A copy of the component with its first column twice.
Component withFirstColumnTwice(const Component& from, std::size_t sampleBytes,
                               std::vector<std::shared_ptr<const void>>& owners) {
  Component to{nullptr, sampleBytes, alignedUp((std::size_t{from.width} + 1) * sampleBytes), from.width + 1,
               from.height};
  if (from.firstSample == nullptr) return to;
  const auto memory = allocateSamples(to.strideBytes * to.height);
  for (std::uint32_t y = 0; y < from.height; ++y) {
    const std::uint8_t* const in = from.firstSample + y * from.strideBytes;
    std::uint8_t* const out = memory.get() + y * to.strideBytes;
    for (std::uint32_t x = 0; x < to.width; ++x) {
      std::memcpy(out + x * sampleBytes, in + (x == 0 ? 0 : x - 1) * from.stepBytes, sampleBytes);
    }
  }
  to.firstSample = memory.get();
  owners.push_back(memory);
  return to;
}

}  // namespace

void crop(Raster& raster, const heif::Crop& part) {
  const PlaneLayout layout = layoutOf(raster);
  const auto cut = [&](Component& component, std::uint32_t across, std::uint32_t down, ChromaPhase before) {
    const std::uint32_t left = part.left + before.columns, top = part.top + before.rows;
    const ChromaPhase phase{left % across, top % down};
    if (component.firstSample != nullptr) {
      component.firstSample += top / down * component.strideBytes + left / across * component.stepBytes;
    }
    component.width = (part.width + phase.columns + across - 1) / across;
    component.height = (part.height + phase.rows + down - 1) / down;
    return phase;
  };
  const ChromaPhase before = raster.chromaPhase;
  for (std::size_t i = 0; i < raster.components.size(); ++i) {
    if (i == 0 || raster.model != SampleModel::ycbcr) {
      cut(raster.components[i], 1, 1, {});
    } else {
      raster.chromaPhase = cut(raster.components[i], layout.across, layout.down, before);
    }
  }
  if (raster.alpha) cut(*raster.alpha, 1, 1, {});
  raster.width = part.width;
  raster.height = part.height;
}

DecodedImage rotated(const DecodedImage& image, unsigned quarters) { return turned(image, turnOf(quarters)); }

DecodedImage mirrored(const DecodedImage& image, bool leftAndRight) {
  return turned(image, {false, leftAndRight, !leftAndRight});
}

Raster sitedOnLeft(DecodedImage image) {
  Raster raster = std::move(image.raster);
  const std::uint32_t across = layoutOf(raster).across;
  if (!image.chromaOnRight || raster.model != SampleModel::ycbcr || across == 1) return raster;
  if (raster.chromaPhase.columns == across - 1) {
    raster.chromaPhase.columns = 0;
  } else {
    std::vector<std::shared_ptr<const void>> owners = {raster.owner};
    for (const std::size_t difference : {1U, 2U}) {
      Component& component = raster.components[difference];
      component = withFirstColumnTwice(component, bytesPerSample(raster.bitsPerComponent), owners);
    }
    raster.owner = std::make_shared<const std::vector<std::shared_ptr<const void>>>(std::move(owners));
    ++raster.chromaPhase.columns;
  }
  for (const std::size_t difference : {1U, 2U}) {
    Component& component = raster.components[difference];
    component.width = std::min(component.width, (raster.width + raster.chromaPhase.columns + across - 1) / across);
  }
  return raster;
}

bool isTransformed(const heif::Container& container, const heif::Item& item) {
  return std::any_of(item.properties.begin(), item.properties.end(), [&](const heif::PropertyAssociation& association) {
    const heif::FourCC type = container.properties[association.index].type;
    return type == fourCC("irot") || type == fourCC("imir") || type == fourCC("clap");
  });
}

Outcome<DecodedImage> transformed(DecodedImage image, const heif::Container& container, const heif::Item& item,
                                  Transformations which) {
  const bool turns = which == Transformations::all;
  for (const heif::PropertyAssociation& association : item.properties) {
    const heif::Property& property = container.properties[association.index];
    if (property.type == fourCC("clap")) {
      const auto part = heif::cropBy(property.payload, image.raster.width, image.raster.height);
      if (!part) return Refusal{"a clean aperture leaves nothing"};
      crop(image.raster, *part);
    } else if (turns && (property.type == fourCC("irot") || property.type == fourCC("imir"))) {
      if (property.payload.empty()) return Refusal{"a transformation is broken"};
      const unsigned value = property.payload[0];
      image = property.type == fourCC("irot") ? rotated(image, value) : mirrored(image, (value & 1) != 0);
    }
  }
  return image;
}

}  // namespace quellor::formats
