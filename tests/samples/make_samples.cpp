// Makes the project's own sample files, and the table of what they must give.
//
//   make_samples FOLDER     writes FOLDER/made/* and FOLDER/made_expectations.txt
//   make_samples --plain FOLDER   writes the picture as PNG files, for what is coded by other programs

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/samples/sample.h"
#include "tests/support/png_fixture.h"
#include "tests/support/process.h"

namespace quellor::samples {
namespace {

namespace fs = std::filesystem;

Samples allSamples() {
  Samples samples;
  for (const auto add :
       {addPictures, addTransformed, addDerived, addCompanions, addOtherCodings, addLibraryFiles, addJpegFiles,
        addPngFiles, addTiffFiles, addWebpFiles, addGifFiles, addDescribed, addDamaged}) {
    add(samples);
  }
  return samples;
}

void save(const fs::path& path, const Bytes& bytes) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream) throw std::runtime_error("cannot write " + path.string());
}

/// Tests are listed anew where the table is newer than they are.
void saveIfOther(const fs::path& path, const std::string& text) {
  std::ifstream stream(path, std::ios::binary);
  const std::string before(std::istreambuf_iterator<char>(stream), {});
  if (before != text) save(path, {text.begin(), text.end()});
}

/// By another program than the one that is tested.
std::string digestOf(const Bytes& bytes) {
  test_support::ProcessOptions options;
  options.standardInput.assign(bytes.begin(), bytes.end());
  const auto run = test_support::runProcess("/usr/bin/sha256sum", options);
  if (run.exitStatus != 0 || run.standardOutput.size() < 64) throw std::runtime_error("no sha256sum");
  return run.standardOutput.substr(0, 64);
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ",") + part;
  return text.empty() ? "-" : text;
}

/// Columns as tests/end_to_end/corpus_expectations.txt explains them.
void writeRow(std::ostream& table, const Sample& sample) {
  table << "made/" << sample.name << ' ' << sample.outcome;
  if (sample.outcome == "ok") {
    const Facts& facts = sample.facts;
    table << ' ' << facts.size.width << ' ' << facts.size.height << ' ' << facts.bits << ' '
          << (facts.orientation ? std::to_string(*facts.orientation) : "-") << ' ' << facts.images << ' '
          << (facts.profile.empty() ? "- -" : std::to_string(facts.profile.size()) + ' ' + digestOf(facts.profile))
          << ' ' << joined(facts.auxiliaries) << ' ' << facts.color;
  }
  table << '\n';
}

void makeSamples(const fs::path& folder) {
  fs::remove_all(folder / "made");
  fs::create_directories(folder / "made");
  std::ostringstream table;
  std::set<std::string> names;
  for (const Sample& sample : allSamples()) {
    if (!names.insert(sample.name).second) throw std::runtime_error("two samples named " + sample.name);
    save(folder / "made" / sample.name, sample.file);
    writeRow(table, sample);
  }
  saveIfOther(folder / "made_expectations.txt", table.str());
}

void makePlainPictures(const fs::path& folder) {
  for (const int colorType : {0, 2, 6}) {
    test_support::PngSpec spec;
    spec.width = 96;
    spec.height = 64;
    spec.colorType = colorType;
    spec.bitDepth = 16;
    spec.sample = [colorType](std::uint32_t x, std::uint32_t y, std::uint32_t c) {
      return colorType == 0 ? greySample(x, y, c, 16) : sceneSample(x, y, c, 16);
    };
    const char* const name = colorType == 0 ? "grey.png" : colorType == 2 ? "rgb.png" : "rgba.png";
    save(folder / name, test_support::encodePng(spec));
  }
}

}  // namespace
}  // namespace quellor::samples

int main(int count, char** arguments) {
  try {
    if (count == 2) {
      quellor::samples::makeSamples(arguments[1]);
    } else if (count == 3 && std::string(arguments[1]) == "--plain") {
      quellor::samples::makePlainPictures(arguments[2]);
    } else {
      throw std::runtime_error("usage: make_samples [--plain] FOLDER");
    }
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "make_samples: " << error.what() << '\n';
    return 1;
  }
}
