#pragma once
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/formats/hevc_configuration.h"
#include "platform/formats/hevc_modules.h"
#include "platform/hevc/hevc.h"
#include "tests/support/format_samples.h"
#include "tests/support/heif_judge.h"
#include "tests/support/heif_output.h"
#include "tests/support/heif_scene.h"
#include "tests/support/hevc_fixture.h"
#include "tests/support/hevc_picture_writer.h"
#include "tests/support/temporary_directory.h"

/// What others make of an HEVC picture: libavcodec, and libde265 through the HEIF library.
namespace quellor::hevc {

/// The samples of each plane, row after row.
using Planes = std::vector<std::vector<int>>;

/// All units of a coded picture, the parameter sets first.
inline Bytes unitsOf(const test_support::CodedPicture& picture) {
  constexpr std::size_t kBoxHeader = 8;
  const auto configuration = formats::readHevcConfiguration(ByteView(picture.configuration).subspan(kBoxHeader));
  test_support::WrittenHevc sets;
  for (const ByteView unit : configuration->units) sets.parameterSets.emplace_back(unit.begin(), unit.end());
  Bytes bytes = sets.behindLengths();
  bytes.insert(bytes.end(), picture.data.begin(), picture.data.end());
  return bytes;
}

inline NalStream streamOf(const Bytes& behindLengths) {
  NalStream stream;
  if (!stream.append(behindLengths)) throw std::runtime_error("no NAL units");
  return stream;
}

/// Damaged, too, when not even the units are legal.
inline Judgement judge(const Bytes& behindLengths) {
  NalStream stream;
  if (!stream.append(behindLengths)) return {Verdict::damaged, "a unit is not legal"};
  return verify(stream.units());
}

/// Absent when libavcodec reports an error.
inline std::optional<Planes> decodedByLibavcodec(const Bytes& behindLengths) {
  const HevcDecoder& decoder = formats::hevcDecoder();
  NalStream stream = streamOf(behindLengths);
  const ByteView bytes = stream.bytes(decoder.paddingBytes);
  HevcPicture picture;
  if (!decoder.decode(bytes.data(), bytes.size(), {}, &picture)) return std::nullopt;
  Planes planes;
  for (std::size_t i = 0; i < (picture.chromaFormat == 0 ? 1U : 3U); ++i) {
    const unsigned across = i > 0 && picture.chromaFormat != 3 ? 1 : 0;
    const unsigned down = i > 0 && picture.chromaFormat == 1 ? 1 : 0;
    const Component component{picture.planes[i].firstSample, picture.bits > 8 ? 2U : 1U, picture.planes[i].strideBytes,
                              picture.width >> across, picture.height >> down};
    planes.push_back(test_support::samplesOf(component, picture.bits));
  }
  decoder.release(picture.frame);
  return planes;
}

/// A HEIF file whose primary image the picture is.
inline Bytes fileOf(const test_support::WrittenHevc& written, const test_support::HevcPlan& plan) {
  const std::vector<ByteView> sets(written.parameterSets.begin(), written.parameterSets.end());
  const auto configuration = formats::hevcConfigurationBox(sets);
  if (!configuration) throw std::runtime_error("no configuration record");
  test_support::WrittenHevc slices;
  slices.segments = written.segments;
  test_support::HeifScene scene;
  scene.add("hvc1", slices.behindLengths(), {*configuration, test_support::ispe(plan.width, plan.height)});
  return scene.file();
}

inline Planes samplesOf(const Raster& raster) {
  Planes planes;
  for (const Component& component : raster.components) {
    planes.push_back(test_support::samplesOf(component, raster.bitsPerComponent));
  }
  return planes;
}

/// Absent when libde265 or the HEIF library does not take the picture.
inline std::optional<Planes> decodedByLibde265(const test_support::WrittenHevc& written,
                                               const test_support::HevcPlan& plan) {
  const Bytes file = fileOf(written, plan);
  const test_support::TemporaryDirectory directory;
  const auto path = directory.write("picture.heic", {reinterpret_cast<const char*>(file.data()), file.size()});
  const auto raster = test_support::HeifJudge(path.string()).coded();
  return raster ? std::optional(samplesOf(*raster)) : std::nullopt;
}

}  // namespace quellor::hevc
