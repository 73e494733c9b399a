#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/values/image_facts.h"
#include "tests/support/byte_texts.h"
#include "tests/support/corpus.h"
#include "tests/support/format_samples.h"
#include "tests/support/jpeg_fixture.h"

namespace quellor {
namespace {

using namespace std::string_literals;
using test_support::bytesOf;
using test_support::encodeJpeg;
using test_support::JpegSpec;
using test_support::with;
using Coding = JpegSpec::Coding;

const ImageFormat& jpeg() {
  static const ImageFormat& format = test_support::imageFormat("JPEG");
  return format;
}

Bytes withInserted(Bytes file, std::size_t offset, const Bytes& bytes) {
  file.insert(file.begin() + static_cast<std::ptrdiff_t>(offset), bytes.begin(), bytes.end());
  return file;
}

Bytes readFile(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class JpegTruncation : public testing::TestWithParam<JpegSpec> {};

TEST_P(JpegTruncation, IsRefusedAtEveryLength) {
  const Bytes file = encodeJpeg(GetParam());
  ASSERT_TRUE(jpeg().decode(file));
  for (std::size_t length = 0; length < file.size(); ++length) {
    EXPECT_FALSE(jpeg().decode(ByteView(file).first(length))) << length << " of " << file.size();
  }
}

JpegSpec truncationSpec(Coding coding, bool progressive, bool arithmetic, int restartInterval) {
  JpegSpec spec;
  spec.width = 40;
  spec.height = 24;
  spec.coding = coding;
  spec.progressive = progressive;
  spec.arithmetic = arithmetic;
  spec.restartInterval = restartInterval;
  return spec;
}

INSTANTIATE_TEST_SUITE_P(
    All, JpegTruncation,
    testing::Values(truncationSpec(Coding::ycbcr, false, false, 0), truncationSpec(Coding::ycbcr, false, false, 2),
                    truncationSpec(Coding::ycbcr, true, false, 0), truncationSpec(Coding::cmyk, false, false, 0),
                    truncationSpec(Coding::grey, false, true, 0), truncationSpec(Coding::ycbcr, true, true, 0)));

TEST(JpegFormat, RefusesAScanThatAnEndMarkerCutsShort) {
  for (const bool progressive : {false, true}) {
    JpegSpec spec;
    spec.width = spec.height = 64;
    spec.progressive = progressive;
    const Bytes file = encodeJpeg(spec);
    const std::size_t scan = test_support::firstPlaceOf(Bytes{0xFF, 0xDA}, file);
    for (std::size_t length = scan + 20; length + 8 < file.size(); length += 7) {
      if (file[length - 1] == 0xFF) continue;
      Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
      cut.insert(cut.end(), {0xFF, 0xD9});
      EXPECT_FALSE(jpeg().decode(cut)) << length << " of " << file.size();
    }
  }
}

Bytes withoutLastScan(Bytes file) {
  file.resize(test_support::lastPlaceOf(Bytes{0xFF, 0xDA}, file));
  file.insert(file.end(), {0xFF, 0xD9});
  return file;
}

TEST(JpegFormat, RefusesAFileThatLacksARefinement) {
  JpegSpec spec;
  spec.progressive = true;
  EXPECT_FALSE(jpeg().decode(withoutLastScan(encodeJpeg(spec))));
}

TEST(JpegFormat, RefusesAFileThatLacksTheScanOfAComponent) {
  JpegSpec spec;
  spec.scans = {{{0}}, {{1}}, {{2}}};
  ASSERT_TRUE(jpeg().decode(encodeJpeg(spec)));
  EXPECT_FALSE(jpeg().decode(withoutLastScan(encodeJpeg(spec))));
}

TEST(JpegFormat, AcceptsDetailThatTheEncoderNeverCoded) {
  JpegSpec spec;
  spec.coding = Coding::grey;
  spec.progressive = true;
  spec.scans = {{{0}, 0, 0}, {{0}, 1, 5}, {{0}, 6, 63}};
  EXPECT_TRUE(jpeg().decode(withoutLastScan(encodeJpeg(spec))));
}

TEST(JpegFormat, BoundsTheNumberOfScans) {
  JpegSpec spec;
  spec.coding = Coding::grey;
  spec.progressive = true;
  spec.scans = {{{0}, 0, 0}};
  for (int k = 1; k < 64; ++k) spec.scans.push_back({{0}, k, k, 0, 1});
  for (int k = 1; k < 64; ++k) spec.scans.push_back({{0}, k, k, 1, 0});
  EXPECT_FALSE(jpeg().decode(encodeJpeg(spec)));
  spec.scans = {{{0}, 0, 0}};
  for (int k = 1; k < 64; ++k) spec.scans.push_back({{0}, k, k});
  EXPECT_TRUE(jpeg().decode(encodeJpeg(spec)));
}

TEST(JpegFormat, RefusesRestartMarkersOutOfOrder) {
  JpegSpec spec;
  spec.width = spec.height = 40;
  spec.restartInterval = 1;
  const Bytes file = encodeJpeg(spec);
  ASSERT_TRUE(jpeg().decode(file));
  const std::size_t restart = test_support::firstPlaceOf(Bytes{0xFF, 0xD1}, file);
  EXPECT_FALSE(jpeg().decode(with(file, restart + 1, 0xD4)));
  EXPECT_FALSE(jpeg().decode(withInserted(file, restart, {0x12, 0x34, 0x56}))) << "a rest of data before a restart";
}

TEST(JpegFormat, RefusesCodesThatTheTableDoesNotHave) {
  // Ones only are no Huffman code (T.81, annex C), whatever the table.
  JpegSpec spec;
  spec.width = spec.height = 64;
  Bytes file = encodeJpeg(spec);
  const std::size_t scan = test_support::firstPlaceOf(Bytes{0xFF, 0xDA}, file);
  for (std::size_t i = scan + 30; i < scan + 42; i += 2) {
    file[i] = 0xFF;
    file[i + 1] = 0x00;
  }
  EXPECT_FALSE(jpeg().decode(file));
}

TEST(JpegFormat, RefusesASizeThatTheFileCannotHold) {
  for (const bool arithmetic : {false, true}) {
    JpegSpec spec;
    spec.progressive = true;
    spec.arithmetic = arithmetic;
    Bytes file = encodeJpeg(spec);
    const std::uint8_t frameMarker = arithmetic ? 0xCA : 0xC2;
    const std::size_t frame = test_support::firstPlaceOf(Bytes{0xFF, frameMarker}, file);
    for (const std::size_t i : {5U, 7U}) {  // height and width, 32000 each: less than the greatest number of pixels
      file[frame + i] = 0x7D;
      file[frame + i + 1] = 0x00;
    }
    EXPECT_EQ(jpeg().describe(file).value().width, 32000U);
    EXPECT_FALSE(jpeg().decode(file));
  }
}

TEST(JpegFormat, HasNoImageForCodingsThatItDoesNotKnow) {
  JpegSpec spec;
  const Bytes file = encodeJpeg(spec);
  const std::size_t frame = test_support::firstPlaceOf(Bytes{0xFF, 0xC0}, file);
  const Bytes twelveBits = with(file, frame + 4, 12);
  EXPECT_FALSE(jpeg().decode(twelveBits));
  EXPECT_FALSE(jpeg().describe(twelveBits));
  EXPECT_FALSE(jpeg().decode(with(file, frame + 1, 0xC3))) << "lossless";
  EXPECT_FALSE(jpeg().decode(with(file, frame + 1, 0xC5))) << "hierarchical";
}

TEST(JpegFormat, ForgivesWhatCostsNoSample) {
  JpegSpec spec;
  spec.width = spec.height = 40;
  const Bytes file = encodeJpeg(spec);
  const std::size_t table = test_support::firstPlaceOf(Bytes{0xFF, 0xDB}, file);
  const std::size_t scan = test_support::firstPlaceOf(Bytes{0xFF, 0xDA}, file);
  EXPECT_TRUE(jpeg().decode(withInserted(file, table, {1, 2, 3}))) << "stray bytes between segments";
  EXPECT_TRUE(jpeg().decode(withInserted(file, file.size() - 2, {0, 0, 0, 0, 0}))) << "padding before the end";
  EXPECT_TRUE(jpeg().decode(withInserted(file, file.size(), bytesOf("a video")))) << "data behind the end";
  ASSERT_EQ(file.at(scan + 12), 63);
  EXPECT_TRUE(jpeg().decode(with(file, scan + 12, 0))) << "spectral selection of a sequential scan";
  spec.jfifMajorVersion = 3;
  EXPECT_TRUE(jpeg().decode(encodeJpeg(spec))) << "JFIF 3";
  spec.coding = Coding::rgb;
  const Bytes adobe = encodeJpeg(spec);
  const std::size_t name = test_support::firstPlaceOf(bytesOf("Adobe"), adobe);
  EXPECT_TRUE(jpeg().decode(with(adobe, name + 11, 9))) << "unknown colour transform";
}

TEST(JpegFormat, SurvivesEveryChangedByte) {
  JpegSpec spec;
  spec.segments = {{0xE2, bytesOf("ICC_PROFILE\0\x01\x01"
                                  "abc"s)},
                   {0xED, bytesOf("Photoshop 3.0\0008BIM\x04\x04\0\0\0\0\0\x01x"s)}};
  const Bytes file = encodeJpeg(spec);
  for (std::size_t i = 0; i < file.size(); ++i) {
    for (const int flip : {0x01, 0x80, 0xFF}) {
      const Bytes changed = with(file, i, static_cast<std::uint8_t>(file[i] ^ flip));
      static_cast<void>(jpeg().describe(changed));
      static_cast<void>(jpeg().decode(changed));
    }
  }
}

TEST(JpegFormat, DecodesSampleFilesExceptTheDamagedOnes) {
  for (const auto& row : test_support::readCorpusTable()) {
    if (!row.file.ends_with(".jpg") || row.allows("image_source_create_failed")) continue;
    const Bytes file = readFile(test_support::sampleFile(row.file));
    EXPECT_TRUE(jpeg().describe(file)) << row.file;
    EXPECT_EQ(jpeg().decode(file).has_value(), row.allows("ok")) << row.file;
  }
}

}  // namespace
}  // namespace quellor
