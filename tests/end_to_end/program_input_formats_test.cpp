#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/multi_picture_fixture.h"
#include "tests/support/png_fixture.h"
#include "tests/support/program.h"
#include "tests/support/tiff_fixture.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ask;
using test_support::tiffFile;
using test_support::TiffPage;
using test_support::tiffPage;
using test_support::TiffPicture;
using test_support::WrittenImage;

constexpr const char* kWriters[] = {test_support::kEncodeCandidate, test_support::kRewriteFromSource,
                                    test_support::kRewriteDecoded};

/// The warnings of a writer whose input holds one or several images.
json expectedWarnings(const std::string& operation, bool several) {
  if (operation != test_support::kRewriteFromSource) {
    return several ? json::array({"multiple_images_present_only_index_0_written"}) : json::array();
  }
  json warnings = json::array({"bitstream_passthrough_not_guaranteed"});
  if (several) warnings.push_back("multiple_images_present_only_index_0_copied");
  warnings.push_back("metadata_selective_removal_may_be_limited_on_from_source_path");
  return warnings;
}

void expectWritten(ByteView file, int images) {
  for (const char* operation : kWriters) {
    const WrittenImage image(operation, file);
    ASSERT_TRUE(image.written()) << operation << ": " << image.answer();
    EXPECT_EQ(image.answer()["input"]["imageCount"], images) << operation;
    EXPECT_EQ(image.answer()["output"]["imageCount"], 1) << operation;
    EXPECT_EQ(image.answer()["warnings"], expectedWarnings(operation, images > 1)) << operation;
  }
}

TEST(WritingAnAnimatedPng, WarnsThatOnlyOneFrameIsWritten) {
  test_support::PngSpec spec = test_support::plainPng();
  expectWritten(encodePng(spec), 1);
  spec.chunksBeforeData = {test_support::animationControl(2), test_support::frameControl(0)};
  spec.chunksAfterData = {test_support::frameControl(1), test_support::frameData(2)};
  expectWritten(encodePng(spec), 2);
  spec.chunksBeforeData = {test_support::animationControl(2)};
  spec.chunksAfterData = {test_support::frameControl(0), test_support::frameData(1), test_support::frameControl(2),
                          test_support::frameData(3)};
  expectWritten(encodePng(spec), 3);
}

TEST(WritingAMultiPictureJpeg, WarnsThatOnlyOnePictureIsWritten) {
  constexpr std::uint32_t kDisparity = 0x020002;
  constexpr std::uint32_t kLargeThumbnail = 0x010002;
  const Bytes other = test_support::encodeJpeg({});
  expectWritten(test_support::multiPictureJpeg({{kLargeThumbnail, other}}), 1);
  expectWritten(test_support::multiPictureJpeg({{kLargeThumbnail, other}, {kDisparity, other}}), 2);
}

/// A picture of one colour.
TiffPage page(std::uint32_t width, std::uint32_t height) {
  TiffPicture picture{width, height, 8, 3, 2, {}, false, 0, 2, {}};
  picture.values.assign(std::size_t{width} * height * 3, 100);
  return tiffPage(picture);
}

TEST(ATiffFileThatOnlyShowsAPreview, IsRefusedByEveryOperation) {
  constexpr std::uint16_t kNewSubfileType = 254;
  constexpr std::uint16_t kDngVersion = 50706;
  TiffPage preview = page(30, 20).set({kNewSubfileType, test_support::TiffType::longInteger, {1}});
  TiffPage underPreview = page(30, 20);
  underPreview.subdirectories = {page(60, 40)};
  const TiffPage dng = page(30, 20).set({kDngVersion, test_support::TiffType::byte, {1, 4, 0, 0}});
  const TiffPage plain = page(30, 20);
  const Bytes files[] = {tiffFile({preview, page(60, 40)}), tiffFile({underPreview}), tiffFile({dng}),
                         tiffFile({plain}, {.behindHeader = {'C', 'R', 2, 0, 0, 0, 0, 0}}),
                         tiffFile({plain}, {.bigTiff = true})};
  expectWritten(tiffFile({plain}), 1);
  for (const Bytes& file : files) {
    const test_support::TemporaryDirectory folder;
    const auto input = folder.write("in.tif", {reinterpret_cast<const char*>(file.data()), file.size()});
    test_support::expectNoImageSource(ask(test_support::inspectRequest(input)));
    for (const char* operation : {test_support::kEncodeCandidate, test_support::kRewriteFromSource,
                                  test_support::kRewriteDecoded, test_support::kExport}) {
      const json answer = ask(test_support::writingRequest(operation, input, folder.path() / "out"));
      test_support::expectNoImageSource(test_support::without(answer, "quality"));
      EXPECT_EQ(test_support::snapshotOf(folder.path()).size(), 1U) << operation << " left a file";
    }
  }
}

}  // namespace
}  // namespace quellor
