#include "platform/formats/hevc_items.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/formats/hevc_configuration.h"
#include "platform/formats/hevc_modules.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_properties.h"
#include "platform/hevc/hevc.h"
#include "platform/threads/threads.h"

namespace quellor::formats {
namespace {

using heif::fourCC;

/// Pictures up to this size are decoded on the calling thread.
constexpr std::uint64_t kSmallPicture = std::uint64_t{1024} * 1024;
constexpr unsigned kMaximumThreads = 16;  // of libavcodec

/// The parameter sets of the item and the units of its picture.
std::optional<hevc::NalStream> streamOf(const heif::Container& container, const heif::Item& item) {
  const heif::Property* const property = heif::findProperty(container, item, fourCC("hvcC"));
  const auto configuration = property != nullptr ? formats::readHevcConfiguration(property->payload) : std::nullopt;
  const auto pieces = heif::itemPieces(container, item);
  if (!configuration || !pieces) return std::nullopt;
  hevc::NalStream stream;
  for (const ByteView unit : configuration->units) {
    if (!stream.appendUnit(unit)) return std::nullopt;
  }
  if (pieces->size() == 1) {
    return stream.append(pieces->front(), configuration->lengthSize) ? std::optional(std::move(stream)) : std::nullopt;
  }
  const auto data = heif::itemData(container, item, SIZE_MAX);
  return data && stream.append(*data, configuration->lengthSize) ? std::optional(std::move(stream)) : std::nullopt;
}

bool isOfSize(const hevc::PictureShape& shape, const heif::Container& container, const heif::Item& item) {
  const auto size = heif::spatialExtents(container, item);
  return size && size->width == shape.shownWidth && size->height == shape.shownHeight;
}

// libavcodec (5.1) decodes some pictures to other samples than the standard has, without an error. No camera is known
// to make such, and encoders do only when they are told to; they are refused.

std::optional<Refusal> refusalOf(const hevc::PictureShape& shape) {
  if (shape.tiles && shape.wavefront) return Refusal{"the HEVC decoder does not follow wavefronts in tiles"};
  if (shape.constrainedIntra) return Refusal{"the HEVC decoder is wrong about constrained intra prediction"};
  if (shape.pcmWithoutChroma) return Refusal{"the HEVC decoder looks for chroma in grey PCM"};
  return std::nullopt;
}

std::optional<Refusal> refusalOf(const hevc::Judgement& judgement, const std::optional<hevc::PictureShape>& shape) {
  if (judgement.verdict == hevc::Verdict::damaged) return Refusal{judgement.reason};
  const bool subsampled = shape && (shape->chromaFormat == hevc::k420 || shape->chromaFormat == hevc::k422);
  if (subsampled && judgement.exemptsChromaFromOffset) {
    return Refusal{"the HEVC decoder applies an offset to chroma that is exempt from it"};
  }
  return std::nullopt;
}

hevc::Spread spreadOver(unsigned threads) {
  if (threads <= 1) return {};
  return [threads](std::size_t count, const std::function<void(std::size_t)>& task) {
    forEachIndex(count, threads, [&task](std::size_t index) {
      task(index);
      return true;
    });
  };
}

Raster rasterOf(const HevcPicture& picture, std::shared_ptr<const void> owner) {
  Raster raster;
  raster.width = picture.width;
  raster.height = picture.height;
  raster.bitsPerComponent = picture.bits;
  raster.model = picture.chromaFormat == 0 ? SampleModel::grey : SampleModel::ycbcr;
  const std::size_t step = picture.bits > 8 ? 2 : 1;
  const std::uint32_t across = picture.chromaFormat == 1 || picture.chromaFormat == 2 ? 1 : 0;
  const std::uint32_t down = picture.chromaFormat == 1 ? 1 : 0;
  for (std::size_t i = 0; i < (picture.chromaFormat == 0 ? 1U : 3U); ++i) {
    const std::uint32_t shiftX = i == 0 ? 0 : across, shiftY = i == 0 ? 0 : down;
    raster.components.push_back({picture.planes[i].firstSample, step, picture.planes[i].strideBytes,
                                 (picture.width + shiftX) >> shiftX, (picture.height + shiftY) >> shiftY});
  }
  raster.coding = {picture.colorPrimaries, picture.transferCharacteristics, picture.matrixCoefficients,
                   picture.fullRange};
  raster.owner = std::move(owner);
  return raster;
}

}  // namespace

Outcome<Raster> decodeHevcItem(const heif::Container& container, const heif::Item& item, unsigned threads) {
  const HevcDecoder& decoder = hevcDecoder();
  auto stream = streamOf(container, item);
  if (!stream) return Refusal{"the units of an HEVC item cannot be told apart"};
  const ByteView bytes = stream->bytes(decoder.paddingBytes);
  const auto shape = hevc::shapeOf(stream->units());
  if (shape && !isOfSize(*shape, container, item)) return Refusal{"a picture is of another size than declared"};
  if (shape) {
    if (const auto refusal = refusalOf(*shape)) return *refusal;
  }
  if (const auto refusal = refusalOf(hevc::judgementOf(*stream, spreadOver(threads)), shape)) return *refusal;
  HevcPicture picture;
  const bool large = shape && shape->pixels > kSmallPicture;
  const unsigned decoding = large && shape->wavefront ? std::min(threads, kMaximumThreads) : 1;
  if (!decoder.decode(bytes.data(), bytes.size(), {static_cast<int>(decoding), shape.has_value()}, &picture)) {
    return Refusal{"the HEVC decoder reports an error"};
  }
  const std::shared_ptr<const void> owner(picture.frame,
                                          [&decoder](const void* frame) { decoder.release(const_cast<void*>(frame)); });
  return rasterOf(picture, owner);
}

}  // namespace quellor::formats
