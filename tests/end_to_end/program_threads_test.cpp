// A process that may start few threads, or none: the limit of a user or a container.

#include <filesystem>
#include <string>
#include <system_error>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/corpus.h"
#include "tests/support/png_fixture.h"
#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/writing_operations.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::TemporaryDirectory;

constexpr const char* kInspect = "inspect";

/// Thread limits, the process's first thread included; the last one is more than anything here asks for.
constexpr unsigned kLimits[] = {1, 2, 3, 4, 6, 1000};

class FewThreads : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    for (const TemporaryDirectory* folder : {&inputs_, &outputs_}) {
      std::filesystem::permissions(folder->path(), std::filesystem::perms::all);
    }
    try {
      if (!runsHere()) GTEST_SKIP() << "another user cannot run the program where it was built";
    } catch (const std::system_error& error) {
      GTEST_SKIP() << "threads cannot be limited here: " << error.what();
    }
  }

  /// Large enough for several threads: to be drawn, to be encoded, and as a HEIC file to be decoded.
  [[nodiscard]] std::filesystem::path png() const {
    test_support::PngSpec spec;
    spec.width = 1200;
    spec.height = 900;
    spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t component) { return (x + y * component) / 9; };
    const Bytes file = test_support::encodePng(spec);
    return inputs_.write("in.png", {reinterpret_cast<const char*>(file.data()), file.size()});
  }
  [[nodiscard]] std::filesystem::path heic() const {
    const auto file = inputs_.path() / "in.heic";
    const json wanted = test_support::writingRequest(test_support::kEncodeCandidate, png(), file);
    EXPECT_EQ(test_support::ask(wanted).value("success", false), true);
    std::filesystem::permissions(file, std::filesystem::perms::all);
    return file;
  }

  [[nodiscard]] json answerWith(unsigned limit, const std::filesystem::path& input) const {
    test_support::ProcessOptions options;
    options.threadLimit = limit;
    // Looking for leaks takes a thread of its own; without the sanitizers nobody reads this.
    options.environment["ASAN_OPTIONS"] = "detect_leaks=0";
    const auto run =
        test_support::runWithRequest(test_support::writingRequest(GetParam(), input, outputs_.path() / "out"), options);
    EXPECT_FALSE(run.timedOut) << "with " << limit << " threads";
    return test_support::responseOf(run);
  }

  void expectAnAnswerAtEveryLimit(const std::filesystem::path& input) const {
    for (const unsigned limit : kLimits) {
      SCOPED_TRACE(std::to_string(limit) + " threads");
      const json answer = answerWith(limit, input);
      ASSERT_TRUE(answer.is_object());
      const bool wrote = answer.value("success", false) && GetParam() != std::string(kInspect);
      EXPECT_EQ(test_support::snapshotOf(outputs_.path()).size(), wrote ? 1U : 0U);
      EXPECT_EQ(std::filesystem::remove(outputs_.path() / "out"), wrote);
      // The encoder needs one thread beside the first.
      const bool needsAnother = limit == 1 && encodes(input);
      EXPECT_EQ(answer.value("success", false), !needsAnother) << answer;
      EXPECT_EQ(answer.value(json::json_pointer("/error/code"), ""), needsAnother ? codeOfAFailedEncoding() : "");
    }
  }

 private:
  [[nodiscard]] bool runsHere() const {
    test_support::ProcessOptions options;
    options.threadLimit = 1;
    // Looking for leaks takes a thread of its own; without the sanitizers nobody reads this.
    options.environment["ASAN_OPTIONS"] = "detect_leaks=0";
    return test_support::runWithRequest(test_support::inspectRequest("/"), options).exitStatus == 1;
  }

  [[nodiscard]] static bool encodes(const std::filesystem::path& input) {
    const std::string operation = GetParam();
    const bool copies = operation == test_support::kRewriteFromSource && input.extension() == ".heic";
    return operation != kInspect && operation != test_support::kExport && !copies;
  }

  [[nodiscard]] static std::string codeOfAFailedEncoding() {
    return GetParam() == std::string(test_support::kRewriteFromSource) ? "destination_add_from_source_failed"
                                                                       : "destination_finalize_failed";
  }

  const TemporaryDirectory inputs_, outputs_;
};

TEST_P(FewThreads, AreEnoughForAnAnswerAboutAPng) { expectAnAnswerAtEveryLimit(png()); }

TEST_P(FewThreads, AreEnoughForAnAnswerAboutAHeic) { expectAnAnswerAtEveryLimit(heic()); }

/// What decodes a HEIC file and encodes none.
class DecodingWithFewThreads : public FewThreads {};

TEST_P(DecodingWithFewThreads, IsPossibleForTiles) {
  expectAnAnswerAtEveryLimit(test_support::sampleFile("made/grid-2x2.heic"));
}

INSTANTIATE_TEST_SUITE_P(All, DecodingWithFewThreads,
                         ::testing::Values(kInspect, test_support::kRewriteFromSource, test_support::kExport),
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

INSTANTIATE_TEST_SUITE_P(All, FewThreads,
                         ::testing::Values(kInspect, test_support::kEncodeCandidate, test_support::kRewriteFromSource,
                                           test_support::kRewriteDecoded, test_support::kExport),
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

}  // namespace
}  // namespace quellor
