// What is left of the program without one of its modules for HEVC.

#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/process.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ProcessOptions;

/// The code of a failure.
std::string failure(const json& response) { return response.value("error", json::object()).value("code", "none"); }

std::string message(const json& response) { return response.value("error", json::object()).value("message", "none"); }

/// A copy of the program and of its modules but one.
class ProgramWithout {
 public:
  explicit ProgramWithout(const std::string& module) {
    std::filesystem::copy_file(QUELLOR_PROGRAM, program());
    std::filesystem::copy(QUELLOR_MODULES, directory_.path() / "modules");
    EXPECT_TRUE(std::filesystem::remove(directory_.path() / "modules" / ("quellor-" + module + ".so")));
  }

  void replace(const std::string& module, const std::string& contents) const {
    std::ofstream(directory_.path() / "modules" / ("quellor-" + module + ".so")) << contents;
  }

  /// The files in its folder, the program and the modules' folder left out.
  [[nodiscard]] std::size_t filesWritten() const {
    const std::filesystem::directory_iterator entries(directory_.path());
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries))) - 2;
  }

  [[nodiscard]] json ask(const std::string& operation) const {
    ProcessOptions options;
    options.standardInput = request(operation).dump();
    return test_support::responseOf(test_support::runProcess(program(), options));
  }

 private:
  [[nodiscard]] std::filesystem::path program() const { return directory_.path() / "quellor"; }

  [[nodiscard]] json request(const std::string& operation) const {
    json fields = {
        {"protocolVersion", 1}, {"operation", operation}, {"inputPath", std::string(QUELLOR_EXAMPLES) + "/photo.heic"}};
    if (operation != "inspect") fields["outputPath"] = (directory_.path() / (operation + ".heic")).string();
    if (operation == "encode-candidate") fields["quality"] = 0.5;
    return fields;
  }

  test_support::TemporaryDirectory directory_;
};

TEST(ProgramWithoutTheHevcDecoder, LooksAndCopiesAndSaysThatItCannotDecode) {
  const ProgramWithout decoder("hevc-decoder");
  EXPECT_EQ(decoder.ask("inspect").value("success", false), true);
  EXPECT_EQ(decoder.ask("rewrite-from-source").value("success", false), true);
  for (const char* operation : {"encode-candidate", "rewrite-decoded-image", "export-storage-pixels"}) {
    const json response = decoder.ask(operation);
    EXPECT_EQ(failure(response), "internal_error") << operation;
    EXPECT_THAT(message(response), testing::HasSubstr("quellor-hevc-decoder.so")) << operation;
  }
  EXPECT_EQ(decoder.filesWritten(), 1U) << "the copy";
}

TEST(ProgramWithoutTheHevcEncoder, CopiesAndSaysThatItCannotEncode) {
  const ProgramWithout encoder("hevc-encoder");
  EXPECT_EQ(encoder.ask("inspect").value("success", false), true);
  EXPECT_EQ(encoder.ask("rewrite-from-source").value("success", false), true);
  for (const char* operation : {"encode-candidate", "rewrite-decoded-image"}) {
    const json response = encoder.ask(operation);
    EXPECT_EQ(failure(response), "internal_error") << operation;
    EXPECT_THAT(message(response), testing::HasSubstr("quellor-hevc-encoder.so")) << operation;
  }
  EXPECT_EQ(encoder.filesWritten(), 1U) << "the copy";
}

TEST(ProgramWithAForeignModule, SaysThatItIsNone) {
  const ProgramWithout decoder("hevc-decoder");
  decoder.replace("hevc-decoder", "no library");
  EXPECT_THAT(message(decoder.ask("encode-candidate")), testing::HasSubstr("quellor-hevc-decoder.so"));
}

}  // namespace
}  // namespace quellor
