// A look and a decoding say the same of a file: whether its primary image is whole, and what its samples are.

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/values/big_endian.h"
#include "tests/support/corpus.h"
#include "tests/support/look_comparison.h"

namespace quellor {
namespace {

using test_support::compareLook;
using test_support::Comparisons;
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

TEST(Look, AgreesWithTheDecodingOfEverySample) {
  Comparisons comparisons;
  for (const std::string& file : samplesUpTo(UINTMAX_MAX))
    compareLook(
        contentOf(file), [&] { return file; }, comparisons);
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
      compareLook(
          ByteView(content).first(std::min(size, content.size())),
          [&] { return file + " cut to " + std::to_string(size); }, comparisons);
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
      compareLook(
          changed, [&] { return file + " with another byte " + std::to_string(place); }, comparisons);
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
      compareLook(
          changed, [&] { return file + (" with another bit " + std::to_string(bit)); }, comparisons);
    }
  }
  report(comparisons);
}

}  // namespace
}  // namespace quellor
