// What the writing operations refuse, and which reason they name where there are several: each row's request is wrong
// in every respect that is looked at later, too.

#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/cmyk_fixture.h"
#include "tests/support/corpus.h"
#include "tests/support/ordinary_user.h"
#include "tests/support/png_fixture.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/tiny_tiff.h"
#include "tests/support/writing_operations.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ask;
using test_support::encodePng;
using test_support::kEncodeCandidate;
using test_support::kExport;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::plainPng;
using test_support::without;

enum class Input : std::uint8_t { missing, unreadable, noImage, withoutSamples, deep, grey, profiledCmyk, good };
enum class Output : std::uint8_t { absent, null, empty, taken, takenByFolder, nowhere };

const json kNone = "no quality";
const json kNull = nullptr;

struct Refusal {
  const char* name;
  const char* operation;
  json quality;
  Input input;
  Output output;
  const char* code;
  const char* message;

  friend void PrintTo(const Refusal& refusal, std::ostream* out) { *out << refusal.operation << " " << refusal.name; }
};

constexpr const char* kEncodeNeedsOutput = "outputPath is required for encode-candidate";
constexpr const char* kRewriteNeedsOutput = "outputPath is required for rewrite operations";
constexpr const char* kExportNeedsOutput = "outputPath (raw file) is required";
constexpr const char* kOutOfRange = "quality must be between 0.0 and 1.0 inclusive";
constexpr const char* kExists = "output path already exists";
constexpr const char* kRawExists = "raw output path already exists";
constexpr const char* kNotFound = "input file not found";
constexpr const char* kNotReadable = "input file is not readable";
constexpr const char* kNoSource = "CGImageSourceCreateWithURL failed";
constexpr const char* kNoPrimary = "CGImageSourceCreateImageAtIndex failed at index 0";
constexpr const char* kDeep = "bit depth 16 not supported";
constexpr const char* kNoDestination = "CGImageDestinationCreateWithURL failed";
constexpr const char* kIccChanged = "ICC profile hash changed between input and output";

Bytes deepPng() {
  test_support::PngSpec spec = plainPng();
  spec.bitDepth = 16;
  return encodePng(spec);
}

/// A TIFF file whose strip lies behind its end.
std::string tiffWithoutSamples() {
  std::string file = test_support::tinyTiff();
  constexpr std::size_t kStripOffset = 32 + 2 + 5 * 12 + 8;
  file.at(kStripOffset + 1) = '\x7f';
  return file;
}

Bytes greyPng() {
  test_support::PngSpec spec = plainPng();
  spec.colorType = 0;
  return encodePng(spec);
}

class Refused : public ::testing::TestWithParam<Refusal> {
 protected:
  [[nodiscard]] std::filesystem::path at(const char* name) const { return folder_.path() / name; }
  [[nodiscard]] std::filesystem::path write(const Bytes& bytes) const {
    return folder_.write("in", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }

  [[nodiscard]] std::filesystem::path input() const {
    switch (GetParam().input) {
      case Input::missing:
        return at("missing");
      case Input::unreadable:
      case Input::noImage:
        return folder_.write("in", "no image");
      case Input::withoutSamples:
        return folder_.write("in", tiffWithoutSamples());
      case Input::deep:
        return write(deepPng());
      case Input::grey:
        return write(greyPng());
      case Input::profiledCmyk:
        return write(test_support::profiledCmykJpeg("Ink"));
      case Input::good:
        return write(encodePng(plainPng()));
    }
    return {};
  }

  void setOutput(json& wanted) const {
    switch (GetParam().output) {
      case Output::absent:
        return;
      case Output::null:
        wanted["outputPath"] = nullptr;
        return;
      case Output::empty:
        wanted["outputPath"] = "";
        return;
      case Output::taken:
        wanted["outputPath"] = folder_.write("out", "precious").string();
        return;
      case Output::takenByFolder:
        std::filesystem::create_directory(at("out"));
        wanted["outputPath"] = at("out").string();
        return;
      case Output::nowhere:
        wanted["outputPath"] = (at("nowhere") / "out").string();
        return;
    }
  }

  test_support::TemporaryDirectory folder_;
};

TEST_P(Refused, ForTheFirstReasonInTheOrderOfChecks) {
  const Refusal& row = GetParam();
  json wanted = test_support::request(row.operation, input());
  if (row.quality != kNone) wanted["quality"] = row.quality;
  setOutput(wanted);
  test_support::ProcessOptions options;
  if (row.input == Input::unreadable) {
    const auto ordinary = test_support::asAnOrdinaryUser(write(encodePng(plainPng())));
    if (!ordinary) GTEST_SKIP() << "another user cannot run the program where it was built";
    options = *ordinary;
    std::filesystem::permissions(input(), std::filesystem::perms::none);
  }
  const auto before = test_support::snapshotOf(folder_.path());

  const json answer = ask(wanted, options);
  test_support::expectFailure(without(answer, "quality"), row.code, row.message);
  EXPECT_EQ(answer["operation"], row.operation);
  const bool echoes = std::string(row.operation) == kEncodeCandidate && row.quality.is_number();
  EXPECT_EQ(answer.value("quality", kNone), echoes ? row.quality : kNone) << answer;
  EXPECT_EQ(test_support::snapshotOf(folder_.path()), before) << "something was written, changed or left";
}

std::string nameOf(const ::testing::TestParamInfo<Refusal>& row) {
  return test_support::testName(std::string(row.param.operation) + "_" + row.param.name);
}

INSTANTIATE_TEST_SUITE_P(
    EncodeCandidate, Refused,
    ::testing::Values(
        Refusal{"quality absent", kEncodeCandidate, kNone, Input::missing, Output::absent, "missing_quality",
                "quality is required for encode-candidate"},
        Refusal{"quality null", kEncodeCandidate, kNull, Input::missing, Output::empty, "missing_quality",
                "quality is required for encode-candidate"},
        Refusal{"quality absent, all else in order", kEncodeCandidate, kNone, Input::good, Output::nowhere,
                "missing_quality", "quality is required for encode-candidate"},
        Refusal{"quality above 1", kEncodeCandidate, 1.0000001, Input::missing, Output::absent, "quality_out_of_range",
                kOutOfRange},
        Refusal{"quality above 1 by the least", kEncodeCandidate, std::nextafter(1.0, 2.0), Input::missing,
                Output::absent, "quality_out_of_range", kOutOfRange},
        Refusal{"quality an integer above 1", kEncodeCandidate, 85, Input::missing, Output::absent,
                "quality_out_of_range", kOutOfRange},
        Refusal{"quality enormous", kEncodeCandidate, std::numeric_limits<double>::max(), Input::missing,
                Output::absent, "quality_out_of_range", kOutOfRange},
        Refusal{"quality below 0", kEncodeCandidate, -0.1, Input::good, Output::nowhere, "quality_out_of_range",
                kOutOfRange},
        Refusal{"quality below 0 by the least", kEncodeCandidate, -std::numeric_limits<double>::denorm_min(),
                Input::missing, Output::absent, "quality_out_of_range", kOutOfRange},
        Refusal{"output absent", kEncodeCandidate, 0.25, Input::missing, Output::absent, "invalid_request",
                kEncodeNeedsOutput},
        Refusal{"output null", kEncodeCandidate, 0.25, Input::missing, Output::null, "invalid_request",
                kEncodeNeedsOutput},
        Refusal{"output empty", kEncodeCandidate, 0.25, Input::missing, Output::empty, "invalid_request",
                kEncodeNeedsOutput},
        Refusal{"input missing", kEncodeCandidate, 0.25, Input::missing, Output::taken, "input_not_found", kNotFound},
        Refusal{"input unreadable", kEncodeCandidate, 0.25, Input::unreadable, Output::taken, "input_not_readable",
                kNotReadable},
        Refusal{"output taken", kEncodeCandidate, 0.25, Input::noImage, Output::taken, "invalid_request", kExists},
        Refusal{"output a folder", kEncodeCandidate, 0.25, Input::withoutSamples, Output::takenByFolder,
                "invalid_request", kExists},
        Refusal{"input no image", kEncodeCandidate, 0.25, Input::noImage, Output::nowhere, "image_source_create_failed",
                kNoSource},
        Refusal{"input without samples", kEncodeCandidate, 0.25, Input::withoutSamples, Output::nowhere,
                "no_primary_image", kNoPrimary},
        Refusal{"input deep", kEncodeCandidate, 0.25, Input::deep, Output::nowhere, "unsupported_bit_depth", kDeep},
        Refusal{"output nowhere", kEncodeCandidate, 0.25, Input::profiledCmyk, Output::nowhere,
                "destination_create_failed", kNoDestination}),
    nameOf);

/// The rows that both rewriting operations have.
std::vector<Refusal> rewriteRefusals() {
  std::vector<Refusal> rows;
  for (const char* operation : {kRewriteFromSource, kRewriteDecoded}) {
    rows.insert(
        rows.end(),
        {Refusal{"output absent", operation, 5.0, Input::missing, Output::absent, "invalid_request",
                 kRewriteNeedsOutput},
         Refusal{"output null", operation, 5.0, Input::unreadable, Output::null, "invalid_request",
                 kRewriteNeedsOutput},
         Refusal{"output empty", operation, 5.0, Input::missing, Output::empty, "invalid_request", kRewriteNeedsOutput},
         Refusal{"input missing", operation, -1, Input::missing, Output::taken, "input_not_found", kNotFound},
         Refusal{"input unreadable", operation, kNone, Input::unreadable, Output::taken, "input_not_readable",
                 kNotReadable},
         Refusal{"input no image", operation, 0.25, Input::noImage, Output::taken, "image_source_create_failed",
                 kNoSource},
         Refusal{"input without samples", operation, kNone, Input::withoutSamples, Output::taken, "no_primary_image",
                 kNoPrimary},
         Refusal{"output nowhere", operation, kNone, Input::profiledCmyk, Output::nowhere, "destination_create_failed",
                 kNoDestination},
         Refusal{"colours changed", operation, kNone, Input::profiledCmyk, Output::taken, "color_space_changed",
                 kIccChanged},
         Refusal{"output taken", operation, 5.0, Input::good, Output::taken, "atomic_replace_failed", kExists},
         Refusal{"output a folder", operation, kNull, Input::good, Output::takenByFolder, "atomic_replace_failed",
                 kExists}});
  }
  rows.push_back({"input deep", kRewriteDecoded, kNone, Input::deep, Output::taken, "unsupported_bit_depth", kDeep});
  rows.push_back(
      {"input deep", kRewriteFromSource, kNone, Input::deep, Output::taken, "atomic_replace_failed", kExists});
  return rows;
}

INSTANTIATE_TEST_SUITE_P(Rewrite, Refused, ::testing::ValuesIn(rewriteRefusals()), nameOf);

INSTANTIATE_TEST_SUITE_P(
    Export, Refused,
    ::testing::Values(
        Refusal{"output absent", kExport, 5.0, Input::unreadable, Output::absent, "invalid_request",
                kExportNeedsOutput},
        Refusal{"output null", kExport, kNone, Input::missing, Output::null, "invalid_request", kExportNeedsOutput},
        Refusal{"output empty", kExport, kNone, Input::missing, Output::empty, "invalid_request", kExportNeedsOutput},
        Refusal{"input missing", kExport, 5.0, Input::missing, Output::takenByFolder, "input_not_found", kNotFound},
        // Whether the input is readable, nobody asks before it is opened.
        Refusal{"output taken, input unreadable", kExport, kNone, Input::unreadable, Output::taken, "invalid_request",
                kRawExists},
        Refusal{"output taken", kExport, kNone, Input::noImage, Output::taken, "invalid_request", kRawExists},
        Refusal{"output a folder", kExport, kNone, Input::grey, Output::takenByFolder, "invalid_request", kRawExists},
        Refusal{"input unreadable", kExport, kNone, Input::unreadable, Output::nowhere, "image_source_create_failed",
                kNoSource},
        Refusal{"input no image", kExport, kNone, Input::noImage, Output::nowhere, "image_source_create_failed",
                kNoSource},
        Refusal{"input without samples", kExport, kNone, Input::withoutSamples, Output::nowhere, "no_primary_image",
                kNoPrimary},
        Refusal{"input grey", kExport, 0.25, Input::grey, Output::nowhere, "internal_error", "rgba_draw_failed"}),
    nameOf);

}  // namespace
}  // namespace quellor
