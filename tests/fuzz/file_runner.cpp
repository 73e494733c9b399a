// Runs a fuzz target without a fuzzer: on files, and on changed copies of them.
//
//   TARGET [--changes N] FILE_OR_FOLDER...
//
// Every file is given to the target as it is, then N times with a few bytes overwritten, cut off or repeated. The
// changes depend on the file's contents and N alone, so a failure comes back on every run; it is printed before it
// is tried with --verbose.

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "tests/fuzz/fuzz_target.h"

namespace {

using Input = std::vector<std::uint8_t>;

/// Inputs beyond this take longer to change than they teach.
constexpr std::size_t kMaximumChanged = std::size_t{1} << 18;

Input readFile(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

Input changed(Input input, std::mt19937& random) {
  const auto below = [&random](std::size_t bound) { return bound == 0 ? 0 : random() % bound; };
  const std::size_t changes = 1 + below(4);
  for (std::size_t i = 0; i < changes && !input.empty(); ++i) {
    const std::size_t at = below(4) == 0 ? below(input.size()) : below(std::min<std::size_t>(input.size(), 4096));
    switch (below(5)) {
      case 0:
        input[at] = static_cast<std::uint8_t>(random());
        break;
      case 1:
        input[at] = static_cast<std::uint8_t>(input[at] ^ (1U << below(8)));
        break;
      case 2:
        input[at] = below(2) == 0 ? 0x00 : 0xff;
        break;
      case 3:
        input.resize(input.size() - below(input.size() / 4));
        break;
      default: {
        const std::size_t count = std::min<std::size_t>(below(16), input.size() - at);
        const Input copy(input.begin() + static_cast<std::ptrdiff_t>(at),
                         input.begin() + static_cast<std::ptrdiff_t>(at + count));
        input.insert(input.begin() + static_cast<std::ptrdiff_t>(below(input.size())), copy.begin(), copy.end());
      }
    }
  }
  return input;
}

void collect(const std::string& argument, std::vector<std::filesystem::path>& files) {
  if (!std::filesystem::is_directory(argument)) return files.emplace_back(argument), void();
  for (const auto& entry : std::filesystem::recursive_directory_iterator(argument)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
}

}  // namespace

int main(int count, char** arguments) {
  std::size_t changes = 0;
  bool verbose = false;
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(arguments[i], "--changes") == 0 && i + 1 < count) {
      changes = std::stoul(arguments[++i]);
    } else if (std::strcmp(arguments[i], "--verbose") == 0) {
      verbose = true;
    } else {
      collect(arguments[i], files);
    }
  }
  std::size_t inputs = 0;
  for (const auto& file : files) {
    const Input original = readFile(file);
    if (verbose) std::cerr << file << '\n';
    LLVMFuzzerTestOneInput(original.data(), original.size());
    ++inputs;
    if (original.size() > kMaximumChanged) continue;
    std::mt19937 random(static_cast<std::mt19937::result_type>(original.size()));
    for (std::size_t i = 0; i < changes; ++i, ++inputs) {
      const Input input = changed(original, random);
      if (verbose) std::cerr << file << " change " << i << '\n';
      LLVMFuzzerTestOneInput(input.data(), input.size());
    }
  }
  std::cout << inputs << " inputs, all properties held\n";
  return inputs == 0 ? 1 : 0;
}
