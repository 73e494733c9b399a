// What is left of the program without one of its modules for HEVC.

#include <filesystem>
#include <string>

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

/// A copy of the program and of all its modules but one.
class ProgramWithout {
 public:
  explicit ProgramWithout(const std::string& module) {
    std::filesystem::copy_file(QUELLOR_PROGRAM, program());
    std::filesystem::copy(QUELLOR_MODULES, directory_.path() / "modules");
    EXPECT_TRUE(std::filesystem::remove(directory_.path() / "modules" / ("quellor-" + module + ".so")));
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

TEST(ProgramWithoutAllModules, IsStillTheProgram) {
  const ProgramWithout nothing("gif");
  for (const char* operation : {"inspect", "rewrite-from-source", "encode-candidate"}) {
    EXPECT_EQ(nothing.ask(operation).value("success", false), true) << operation;
  }
}

TEST(ProgramWithoutTheHevcDecoder, HasNoImage) {
  const ProgramWithout decoder("hevc-decoder");
  for (const char* operation : {"inspect", "rewrite-from-source", "encode-candidate"}) {
    EXPECT_EQ(failure(decoder.ask(operation)), "no_primary_image") << operation;
  }
}

TEST(ProgramWithoutTheHevcEncoder, CopiesButDoesNotEncode) {
  const ProgramWithout encoder("hevc-encoder");
  EXPECT_EQ(encoder.ask("inspect").value("success", false), true);
  EXPECT_EQ(encoder.ask("rewrite-from-source").value("success", false), true);
  EXPECT_EQ(failure(encoder.ask("encode-candidate")), "destination_finalize_failed");
  EXPECT_EQ(failure(encoder.ask("rewrite-decoded-image")), "destination_finalize_failed");
}

}  // namespace
}  // namespace quellor
