#pragma once
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace quellor::test_support {

/// One row of tests/end_to_end/corpus_expectations.txt, whose head explains the columns, or of the like table of the
/// samples that the project makes itself (tests/samples).
struct CorpusRow {
  std::string file;                   // folder and name, as sampleFile() takes them
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
  [[nodiscard]] bool isHeif() const;  // by its name
  /// Whether the image has the three components that the raw file needs, by the name of its colour space.
  [[nodiscard]] bool canBeDrawn() const;

  /// How GoogleTest names the row.
  friend void PrintTo(const CorpusRow& row, std::ostream* out) { *out << row.file; }
};

/// The rows of the samples that are there: those that were made when the tests were built, and those of the sample
/// folder where it is present. Raises std::runtime_error for a line that is not a row, and where no samples were made.
std::vector<CorpusRow> readCorpusTable();

/// The folder of the samples that the project makes itself, as sampleFiles() and sampleFile() take it.
inline constexpr const char* kMade = "made";

/// Whether the folder of sample files is there, which need not be.
bool hasSampleFolder();

/// The path of a sample by folder and name: of a made one, "made/x.heic", or of one in the sample folder.
std::filesystem::path sampleFile(const std::string& file);

/// The names of the files in one folder of samples, ascending; none where it is absent.
std::vector<std::string> sampleFiles(const std::string& folder);

/// The same of several, as sampleFile() takes them. No folder but that of the made samples must be there.
std::vector<std::string> sampleFilesIn(const std::vector<std::string>& folders);

/// `text` with everything but letters and digits replaced, as names of parameterised tests must be.
std::string testName(const std::string& text);

}  // namespace quellor::test_support
