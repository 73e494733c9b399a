#include "tests/support/corpus.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quellor::test_support {
namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

std::optional<std::string> unlessDash(const std::string& column) {
  return column == "-" ? std::nullopt : std::optional(column);
}

std::optional<long> numberUnlessDash(const std::string& column) {
  return column == "-" ? std::nullopt : std::optional(std::stol(column));
}

void readFacts(std::istringstream& columns, CorpusRow& row) {
  std::string orientation, iccBytes, sha256, auxiliary, color;
  columns >> row.width >> row.height >> row.bitDepth >> orientation >> row.imageCount >> iccBytes >> sha256 >>
      auxiliary >> std::ws;
  std::getline(columns, color);
  if (!columns) throw std::runtime_error("not a row of the corpus table: " + columns.str());
  row.orientation = numberUnlessDash(orientation);
  row.iccBytes = numberUnlessDash(iccBytes);
  row.iccSha256 = unlessDash(sha256);
  if (auxiliary != "-") row.auxiliaryTypes = split(auxiliary, ',');
  if (color != "*") row.colorSpaceName = color;
}

std::vector<CorpusRow> readTable(const std::filesystem::path& path) {
  std::ifstream stream(path);
  if (!stream) throw std::runtime_error("cannot read " + path.string());
  std::vector<CorpusRow> rows;
  for (std::string line; std::getline(stream, line);) {
    if (line.empty() || line.front() == '#') continue;
    std::istringstream columns(line);
    CorpusRow row;
    std::string outcomes;
    columns >> row.file >> outcomes;
    row.outcomes = split(outcomes, '|');
    if (row.allows("ok")) readFacts(columns, row);
    rows.push_back(row);
  }
  return rows;
}

}  // namespace

bool CorpusRow::allows(const std::string& outcome) const {
  return std::find(outcomes.begin(), outcomes.end(), outcome) != outcomes.end();
}

bool CorpusRow::isHeif() const {
  const std::string extension = std::filesystem::path(file).extension();
  return extension == ".heic" || extension == ".heif" || extension == ".hif" || extension == ".avif";
}

bool CorpusRow::canBeDrawn() const {
  const std::string space = colorSpaceName.value_or("");
  return space.find("Gray") == std::string::npos && space.find("CMYK") == std::string::npos;
}

std::vector<CorpusRow> readCorpusTable() {
  std::vector<CorpusRow> rows = readTable(std::filesystem::path(QUELLOR_MADE_SAMPLES) / "made_expectations.txt");
  if (!hasSampleFolder()) return rows;
  for (const CorpusRow& row : readTable(QUELLOR_CORPUS_TABLE)) rows.push_back(row);
  return rows;
}

bool hasSampleFolder() { return std::filesystem::is_directory(QUELLOR_SAMPLES); }

std::filesystem::path sampleFile(const std::string& file) {
  const bool made = file.starts_with(std::string(kMade) + "/") || file == kMade;
  return std::filesystem::path(made ? QUELLOR_MADE_SAMPLES : QUELLOR_SAMPLES) / file;
}

std::vector<std::string> sampleFiles(const std::string& folder) {
  std::vector<std::string> files;
  std::error_code absent;
  for (const auto& entry : std::filesystem::directory_iterator(sampleFile(folder), absent)) {
    if (entry.is_regular_file()) files.push_back(entry.path().filename().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> sampleFilesIn(const std::vector<std::string>& folders) {
  std::vector<std::string> files;
  for (const std::string& folder : folders) {
    for (const std::string& name : sampleFiles(folder)) files.push_back(folder + "/" + name);
  }
  return files;
}

std::string testName(const std::string& text) {
  std::string name = text;
  // A plus sign is all that tells some file names apart.
  for (std::size_t plus; (plus = name.find('+')) != std::string::npos;) name.replace(plus, 1, "_plus_");
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

}  // namespace quellor::test_support
