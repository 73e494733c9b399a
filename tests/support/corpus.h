#pragma once
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace quellor::test_support {

/// One row of tests/end_to_end/corpus_expectations.txt, whose head explains the columns.
struct CorpusRow {
  std::string file;                   // folder and name under the samples
  std::vector<std::string> outcomes;  // "ok" or error codes, any of them
  long width = 0;
  long height = 0;
  long bitDepth = 0;
  std::optional<long> orientation;
  long imageCount = 0;
  std::optional<long> iccBytes;  // of the embedded profile
  std::optional<std::string> iccSha256;
  std::vector<std::string> auxiliaryTypes;    // ascending
  std::optional<std::string> colorSpaceName;  // absent: not checked

  [[nodiscard]] bool allows(const std::string& outcome) const;

  /// How GoogleTest names the row.
  friend void PrintTo(const CorpusRow& row, std::ostream* out) { *out << row.file; }
};

/// All rows. Raises std::runtime_error for a line that is not a row.
std::vector<CorpusRow> readCorpusTable();

/// The folder of sample files, which may be absent.
inline std::filesystem::path samples() { return QUELLOR_SAMPLES; }

/// The names of the files in one folder of the samples, ascending; none where it is absent.
std::vector<std::string> sampleFiles(const std::string& folder);

/// `text` with everything but letters and digits replaced, as names of parameterised tests must be.
std::string testName(const std::string& text);

}  // namespace quellor::test_support
