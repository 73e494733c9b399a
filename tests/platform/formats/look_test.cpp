// A look and a decoding say the same of a file: whether its primary image is whole, and what its samples are.

#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/formats/image_format.h"
#include "platform/values/big_endian.h"
#include "tests/support/corpus.h"

namespace quellor {
namespace {

using test_support::sampleFile;
using test_support::sampleFilesIn;

Bytes contentOf(const std::string& file) {
  std::ifstream stream(sampleFile(file), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Every sample, but not the largest photos of the folder a thousand times: `limit` in bytes.
std::vector<std::string> samplesUpTo(std::uintmax_t limit) {
  std::vector<std::string> files =
      sampleFilesIn({test_support::kMade, "photos", "conformance", "special", "other", "fuzz"});
  files.erase(std::remove_if(files.begin(), files.end(),
                             [&](const auto& file) { return std::filesystem::file_size(sampleFile(file)) > limit; }),
              files.end());
  return files;
}

/// What was compared, for the log of the test.
struct Comparisons {
  int files = 0;
  int whole = 0;
};

/// Fails where the look at `file` and its decoding differ.
void compare(ByteView file, const std::string& what, Comparisons& comparisons) {
  const ImageFormat* const format = formatOf(file);
  if (format == nullptr) return;
  ++comparisons.files;
  const auto look = format->look(file);
  const auto raster = format->decode(file);
  EXPECT_EQ(look.has_value(), raster.has_value())
      << what << ": look: " << look.reason() << ", decoding: " << raster.reason();
  if (!look || !raster) return;
  ++comparisons.whole;
  EXPECT_EQ(look->shape, shapeOf(*raster)) << what;
  if (look->raster) {
    EXPECT_EQ(shapeOf(*look->raster), shapeOf(*raster)) << what;
    EXPECT_TRUE(look->raster->hasSamples()) << what;
  }
}

void report(const Comparisons& comparisons) {
  EXPECT_GT(comparisons.files, 0);
  std::cout << comparisons.files << " files compared, " << comparisons.whole << " of them whole\n";
}

TEST(Look, AgreesWithTheDecodingOfEverySample) {
  Comparisons comparisons;
  for (const std::string& file : samplesUpTo(UINTMAX_MAX)) compare(contentOf(file), file, comparisons);
  EXPECT_GT(comparisons.whole, 50);
  report(comparisons);
}

TEST(Look, AgreesWithTheDecodingOfEveryFileThatIsCutSomewhere) {
  constexpr std::size_t kCuts = 12;
  Comparisons comparisons;
  for (const std::string& file : samplesUpTo(200'000)) {
    const Bytes content = contentOf(file);
    for (std::size_t cut = 0; cut <= kCuts; ++cut) {
      // The last ones are close to the end, where a cut is hardest to see.
      const std::size_t size =
          cut < kCuts - 3 ? content.size() * (cut + 1) / kCuts : content.size() - (kCuts + 1 - cut);
      compare(ByteView(content).first(std::min(size, content.size())), file + " cut to " + std::to_string(size),
              comparisons);
    }
  }
  report(comparisons);
}

TEST(Look, AgreesWithTheDecodingOfChangedFiles) {
  constexpr int kChanges = 16;
  std::mt19937 random(1);
  Comparisons comparisons;
  for (const std::string& file : samplesUpTo(60'000)) {
    const Bytes content = contentOf(file);
    if (content.empty()) continue;
    for (int change = 0; change < kChanges; ++change) {
      Bytes changed = content;
      const std::size_t place = random() % changed.size();
      changed[place] = static_cast<std::uint8_t>(random());
      compare(changed, file + " with another byte " + std::to_string(place), comparisons);
    }
  }
  report(comparisons);
}

/// Parameter sets and the head of the first slice say how all of a picture is read.
TEST(Look, AgreesWithTheDecodingOfFilesWithOneBitOfTheirParameterSetsChanged) {
  Comparisons comparisons;
  for (const char* const file : {"made/no-colour-property.heic", "made/phone-grid-profile.heic"}) {
    const Bytes content = contentOf(file);
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    const std::size_t begin = text.find("hvcC");
    ASSERT_NE(begin, std::string_view::npos) << file;
    const std::size_t size = bigEndian32(content, begin - 4);
    for (std::size_t bit = 8 * (begin + 4); bit < 8 * (begin - 4 + size); ++bit) {
      Bytes changed = content;
      changed[bit / 8] = static_cast<std::uint8_t>(changed[bit / 8] ^ 0x80U >> bit % 8);
      compare(changed, std::string(file) + " with another bit " + std::to_string(bit), comparisons);
    }
  }
  report(comparisons);
}

}  // namespace
}  // namespace quellor
