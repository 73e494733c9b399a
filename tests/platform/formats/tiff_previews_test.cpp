#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/platform/formats/tiff_format_fixture.h"
#include "tests/support/byte_texts.h"

namespace quellor {
namespace {

using namespace std::string_literals;
using test_support::bytesOf;
using test_support::TiffEntry;
using test_support::tiffFile;
using test_support::TiffForm;
using test_support::TiffPage;
using test_support::tiffPage;
using test_support::TiffType;

constexpr std::uint16_t kNewSubfileType = 254;
constexpr std::uint16_t kSubfileType = 255;
constexpr std::uint16_t kPhotometric = 262;
constexpr std::uint16_t kDngVersion = 50706;
constexpr std::uint16_t kUniqueCameraModel = 50708;
constexpr std::uint16_t kLeafData = 34310;

TiffPage page(std::uint32_t width = 30, std::uint32_t height = 20) {
  return tiffPage(picture(kRgb, 3, 8, width, height));
}

TiffPage copy(std::uint32_t width, std::uint32_t height, std::uint32_t subfileType = 1) {
  return page(width, height).set({kNewSubfileType, TiffType::longInteger, {subfileType}});
}

TiffPage withSubdirectories(std::vector<TiffPage> below) {
  TiffPage whole = page();
  whole.subdirectories = std::move(below);
  return whole;
}

struct Case {
  std::string what;
  std::vector<TiffPage> pages;
};

class TiffPreviews : public TiffFormat {
 protected:
  void expectReadable(const std::string& what, const Bytes& file) const {
    EXPECT_TRUE(describe(file)) << what;
    EXPECT_TRUE(decode(file)) << what;
  }

  void expectNoSource(const std::string& what, const Bytes& file) const {
    EXPECT_FALSE(describe(file)) << what;
    EXPECT_FALSE(decode(file)) << what;
  }
};

TEST_F(TiffPreviews, AreNoPartOfOrdinaryFiles) {
  const Case cases[] = {
      {"one picture", {page()}},
      {"declared as the full picture", {copy(30, 20, 0)}},
      {"the same in the old way", {page().set({kSubfileType, TiffType::shortInteger, {1}})}},
      {"a single page", {copy(30, 20, 2), copy(30, 20, 2)}},
      {"the same in the old way", {page().set({kSubfileType, TiffType::shortInteger, {3}}), page()}},
      {"a larger second page", {page(), page(60, 40)}},
      {"a reduced copy as second page", {page(), copy(15, 10)}},
      {"a pyramid", {withSubdirectories({copy(15, 10), copy(8, 5), copy(1, 1)})}},
      {"a pyramid of pages", {withSubdirectories({copy(15, 10, 3)}), withSubdirectories({copy(15, 10, 3)})}},
      {"a copy narrower only", {withSubdirectories({copy(29, 20)})}},
      {"a copy lower only", {withSubdirectories({copy(30, 19)})}},
      {"the name of a camera", {page().set({kUniqueCameraModel, TiffType::ascii, {'x', 0}})}},
  };
  for (const Case& c : cases) {
    for (const bool bigEndian : {false, true}) expectReadable(c.what, tiffFile(c.pages, {.bigEndian = bigEndian}));
  }
}

TEST_F(TiffPreviews, AsFirstPictureMakeTheFileNoSource) {
  std::vector<Case> cases;
  for (const std::uint32_t bits : {1U, 3U, 4U, 5U, 8U, 16U, 0x10001U, 0x10004U, 0xFFFFFFFFU}) {
    cases.push_back({"NewSubfileType " + std::to_string(bits), {copy(30, 20, bits), page(60, 40)}});
    cases.push_back({"alone with NewSubfileType " + std::to_string(bits), {copy(30, 20, bits)}});
  }
  for (const std::uint32_t type : {0U, 2U, 4U, 65535U}) {
    cases.push_back({"SubfileType " + std::to_string(type),
                     {page().set({kSubfileType, TiffType::shortInteger, {type}}), page(60, 40)}});
  }
  cases.push_back({"text for a number", {page().set({kNewSubfileType, TiffType::ascii, {'1', 0}})}});
  cases.push_back({"two numbers", {page().set({kNewSubfileType, TiffType::longInteger, {0, 0}})}});
  for (const Case& c : cases) {
    for (const bool bigEndian : {false, true}) expectNoSource(c.what, tiffFile(c.pages, {.bigEndian = bigEndian}));
  }
}

TEST_F(TiffPreviews, AreKnownByTheSensorDataBesideThem) {
  const auto cfa = [](TiffPage of) { return of.set({kPhotometric, TiffType::shortInteger, {32803}}); };
  const auto linear = [](TiffPage of) { return of.set({kPhotometric, TiffType::shortInteger, {34892}}); };
  const TiffEntry version{kDngVersion, TiffType::byte, {1, 4, 0, 0}};
  const Case cases[] = {
      {"DNG", {page().set(version)}},
      {"DNG, a version that cannot be read", {page().set({kDngVersion, TiffType::byte, {}})}},
      {"DNG, the version in the second directory", {page(), page().set(version)}},
      {"Leaf", {page().set({kLeafData, TiffType::undefined, {1, 2, 3, 4}})}},
      {"sensor data first", {cfa(page())}},
      {"linear sensor data first", {linear(page())}},
      {"sensor data in the second directory", {page(), cfa(page(60, 40))}},
      {"sensor data in a subdirectory, called reduced", {withSubdirectories({cfa(copy(15, 10))})}},
      {"linear sensor data there", {withSubdirectories({linear(copy(15, 10))})}},
      {"in a subdirectory of the second directory", {page(), withSubdirectories({cfa(copy(15, 10))})}},
  };
  for (const Case& c : cases) {
    for (const bool bigEndian : {false, true}) expectNoSource(c.what, tiffFile(c.pages, {.bigEndian = bigEndian}));
  }
}

TEST_F(TiffPreviews, AreKnownByTheMarkBehindTheHeader) {
  for (const std::string& mark :
       {"CR\x02\0\0\0\0\0"s, "\xba\xb0\xac\xbb\0\0\0\0"s, "IIIITwaR"s, "IIIICwaR"s, "MMMMRawT"s}) {
    for (const bool bigEndian : {false, true}) {
      expectNoSource(mark, tiffFile({page()}, {.bigEndian = bigEndian, .behindHeader = bytesOf(mark)}));
    }
  }
  // Samples may stand there and look a little like one of these.
  for (const std::string& samples : {"CR"s, "CRCRCRCR"s, "CR\0\x02zzzz"s, "IIIIIIII"s, "MMMMMMMM"s}) {
    expectReadable(samples, tiffFile({page()}, {.behindHeader = bytesOf(samples)}));
  }
}

TEST_F(TiffPreviews, AreWhatLargerSubdirectoriesMakeOfTheFirstPicture) {
  const Case cases[] = {
      {"as large and whole", {withSubdirectories({copy(30, 20, 0)})}},
      {"larger and whole", {withSubdirectories({copy(60, 40, 0)})}},
      {"larger, though called reduced", {withSubdirectories({copy(60, 40)})}},
      {"as large, though called reduced", {withSubdirectories({copy(30, 20)})}},
      {"wider, though lower", {withSubdirectories({copy(31, 10)})}},
      {"higher, though narrower", {withSubdirectories({copy(15, 21)})}},
      {"smaller, of no declared kind", {withSubdirectories({page(15, 10)})}},
      {"a mask", {withSubdirectories({copy(15, 10, 4)})}},
      {"the second of three", {withSubdirectories({copy(15, 10), copy(60, 40), copy(8, 5)})}},
      {"of the second page", {page(), withSubdirectories({copy(60, 40)})}},
      {"of no width", {withSubdirectories({copy(15, 10).set({256, TiffType::ascii, {'9', 0}})})}},
  };
  for (const Case& c : cases) {
    for (const bool bigEndian : {false, true}) expectNoSource(c.what, tiffFile(c.pages, {.bigEndian = bigEndian}));
  }
}

TEST_F(TiffPreviews, MayBeWhereSubdirectoriesCannotBeRead) {
  const auto pointing = [](TiffType type, std::vector<std::uint32_t> values) {
    return tiffFile({page().set({330, type, std::move(values)})});
  };
  const std::uint32_t first = pointing(TiffType::longInteger, {0})[4];
  expectReadable("nothing to read", pointing(TiffType::longInteger, {}));
  expectNoSource("outside the file", pointing(TiffType::longInteger, {0xFFFFFFF0}));
  expectNoSource("at the header", pointing(TiffType::longInteger, {0}));
  expectNoSource("at the directory itself", pointing(TiffType::longInteger, {first}));
  expectNoSource("given in 16 bits", pointing(TiffType::shortInteger, {8}));
  expectNoSource("given in bytes", pointing(TiffType::undefined, {8, 0, 0, 0}));
  expectNoSource("given as text", pointing(TiffType::ascii, {8, 0, 0, 0}));
}

TEST_F(TiffPreviews, AreLookedForBelowSubdirectoriesToo) {
  TiffPage middle = copy(15, 10);
  middle.subdirectories = {copy(8, 5)};
  expectReadable("smaller and smaller", tiffFile({withSubdirectories({middle})}));
  middle.subdirectories = {copy(60, 40, 0)};
  expectNoSource("the whole picture below a copy", tiffFile({withSubdirectories({middle})}));
}

std::uint32_t numberAt(const Bytes& file, std::size_t offset) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number |= std::uint32_t{file.at(offset + i)} << 8 * i;
  return number;
}

void setNumberAt(Bytes& file, std::size_t offset, std::uint32_t number) {
  for (std::size_t i = 0; i < 4; ++i) file.at(offset + i) = static_cast<std::uint8_t>(number >> 8 * i);
}

/// Where the offset of the next directory stands behind a directory. Little endian.
std::size_t nextPointerOf(const Bytes& file, std::uint32_t directory) {
  return directory + 2 + std::size_t{12} * (file.at(directory) + 256U * file.at(directory + 1));
}

TEST_F(TiffPreviews, AreLookedForInChainsOfSubdirectories) {
  for (const bool whole : {false, true}) {
    const Bytes file = tiffFile({withSubdirectories({copy(15, 10)}), copy(8, 5, whole ? 0 : 1)});
    expectReadable("two pages", file);
    const std::uint32_t first = numberAt(file, 4);
    const std::uint32_t second = numberAt(file, nextPointerOf(file, first));
    const Bytes pointer{0x4A, 0x01, 4, 0, 1, 0, 0, 0};  // SubIFDs, LONG, one value
    const auto entry = std::search(file.begin(), file.end(), pointer.begin(), pointer.end());
    ASSERT_NE(entry, file.end());
    const std::uint32_t below = numberAt(file, static_cast<std::size_t>(entry - file.begin()) + 8);
    const auto chained = [&](std::uint32_t next) {
      Bytes changed = file;
      setNumberAt(changed, nextPointerOf(file, first), 0);
      setNumberAt(changed, nextPointerOf(file, below), next);
      return changed;
    };
    if (whole) {
      expectNoSource("the whole picture behind a copy", chained(second));
    } else {
      expectReadable("a copy behind a copy", chained(second));
    }
    expectNoSource("the subdirectory itself", chained(below));
    expectNoSource("the page's directory", chained(first));
    expectNoSource("outside the file", chained(0xFFFFFFF0));
  }
}

TEST_F(TiffPreviews, AreNotLookedForInEndlessLists) {
  const auto pyramid = [](std::size_t copies) {
    return tiffFile({withSubdirectories(std::vector<TiffPage>(copies, copy(1, 1)))});
  };
  expectReadable("many", pyramid(1024));
  expectNoSource("too many", pyramid(1025));
}

TEST_F(TiffPreviews, AreNotLookedForInOverlappingDirectories) {
  // Directories of many entries, each beginning at the first entry of the one before: a small file, much work.
  constexpr std::size_t kEntries = 2000;
  const auto overlapping = [](std::size_t directories) {
    Bytes file = tiffFile({page()});
    const std::size_t start = file.size();
    file.resize(start + 12 * (directories + kEntries) + 6);
    setNumberAt(file, nextPointerOf(file, numberAt(file, 4)), static_cast<std::uint32_t>(start));
    for (std::size_t i = 0; i < directories; ++i) {
      const std::size_t directory = start + 12 * i;
      file[directory] = kEntries % 256;
      file[directory + 1] = kEntries / 256;
      const std::size_t next = i + 1 == directories ? 0 : directory + 12;
      setNumberAt(file, directory + 2 + 12 * kEntries, static_cast<std::uint32_t>(next));
    }
    return file;
  };
  expectReadable("one", overlapping(1));
  expectNoSource("two", overlapping(2));
}

}  // namespace
}  // namespace quellor
