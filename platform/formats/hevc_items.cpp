#include "platform/formats/hevc_items.h"

#include <algorithm>
#include <array>
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

/// libavcodec has no format for samples of other depths, or of different ones.
bool hasDecodedDepth(const hevc::PictureShape& shape) {
  constexpr std::array<unsigned, 4> kDepths = {8, 9, 10, 12};
  return std::find(kDepths.begin(), kDepths.end(), shape.bitDepthLuma) != kDepths.end() &&
         (shape.chromaFormat == hevc::kMonochrome || shape.bitDepthChroma == shape.bitDepthLuma);
}

// libavcodec (5.1) decodes some pictures to other samples than the standard has, without an error. No camera is known
// to make such, and encoders do only when they are told to; they are refused.

std::optional<Refusal> refusalOf(const hevc::PictureShape& shape) {
  if (!hasDecodedDepth(shape)) return Refusal{"the HEVC decoder does not know samples of that depth"};
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

/// A coded picture before it is decoded.
struct CodedPicture {
  hevc::NalStream stream;
  std::optional<hevc::PictureShape> shape;  // absent where a parameter set is not understood
};

Outcome<CodedPicture> pictureOf(const heif::Container& container, const heif::Item& item) {
  auto stream = streamOf(container, item);
  if (!stream) return Refusal{"the units of an HEVC item cannot be told apart"};
  const auto shape = hevc::shapeOf(stream->units());
  if (shape && !isOfSize(*shape, container, item)) return Refusal{"a picture is of another size than declared"};
  if (shape) {
    if (const auto refusal = refusalOf(*shape)) return *refusal;
  }
  return CodedPicture{std::move(*stream), shape};
}

Outcome<Raster> decodePicture(CodedPicture& picture, unsigned threads) {
  const HevcDecoder& decoder = hevcDecoder();
  const ByteView bytes = picture.stream.bytes(decoder.paddingBytes);
  const bool rows = picture.shape && picture.shape->wavefront && picture.shape->pixels > kSmallPicture;
  const unsigned decoding = rows ? std::min(threads, kMaximumThreads) : 1;
  HevcPicture decoded;
  const HevcDecodingMeans means{static_cast<int>(decoding), picture.shape.has_value()};
  if (!decoder.decode(bytes.data(), bytes.size(), means, &decoded)) {
    return Refusal{"the HEVC decoder reports an error"};
  }
  const std::shared_ptr<const void> owner(decoded.frame,
                                          [&decoder](const void* frame) { decoder.release(const_cast<void*>(frame)); });
  return rasterOf(decoded, owner);
}

/// The raster without its samples.
Raster emptied(Raster raster) {
  for (Component& component : raster.components) component.firstSample = nullptr;
  raster.owner.reset();
  return raster;
}

/// What decoding a picture of that shape gives, without the samples.
Raster rasterOf(const hevc::PictureShape& shape) {
  HevcPicture picture;
  picture.width = shape.shownWidth;
  picture.height = shape.shownHeight;
  picture.bits = static_cast<int>(shape.bitDepthLuma);
  picture.chromaFormat = shape.chromaFormat;
  picture.colorPrimaries = shape.coding.colorPrimaries;
  picture.transferCharacteristics = shape.coding.transferCharacteristics;
  picture.matrixCoefficients = shape.coding.matrixCoefficients;
  picture.fullRange = shape.coding.fullRange;
  return rasterOf(picture, nullptr);
}

/// A picture that is not damaged, and what was found out about it.
struct JudgedPicture {
  CodedPicture coded;
  hevc::Verdict verdict;  // intact or unknown
};

Outcome<JudgedPicture> judgedPictureOf(const heif::Container& container, const heif::Item& item, unsigned threads) {
  auto picture = pictureOf(container, item);
  if (!picture) return picture.refusal();
  const hevc::Judgement judgement = hevc::judgementOf(picture->stream, spreadOver(threads));
  if (const auto refusal = refusalOf(judgement, picture->shape)) return *refusal;
  return JudgedPicture{std::move(*picture), judgement.verdict};
}

/// Whether nothing is left that only a decoder can tell.
bool isProved(const JudgedPicture& picture) {
  const auto& shape = picture.coded.shape;
  return picture.verdict == hevc::Verdict::intact && shape && !shape->supplementsNeedDecoder;
}

}  // namespace

Outcome<Raster> decodeHevcItem(const heif::Container& container, const heif::Item& item, unsigned threads) {
  auto picture = judgedPictureOf(container, item, threads);
  if (!picture) return picture.refusal();
  return decodePicture(picture->coded, threads);
}

Outcome<Raster> proveHevcItem(const heif::Container& container, const heif::Item& item, unsigned threads) {
  auto picture = judgedPictureOf(container, item, threads);
  if (!picture) return picture.refusal();
  if (isProved(*picture)) return rasterOf(*picture->coded.shape);
  auto raster = decodePicture(picture->coded, threads);
  if (!raster) return raster.refusal();
  return emptied(std::move(*raster));
}

}  // namespace quellor::formats
