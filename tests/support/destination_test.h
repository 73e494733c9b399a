#pragma once
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/ordinary_user.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/writing_operations.h"

namespace quellor::test_support {

inline const auto kEveryWriter = ::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded, kExport);

/// The operation that the parameter names, run by the built program on the example photo in a folder of its own. What
/// the expect… functions call the answer is the whole of it: code and message, exit status, nothing on standard error.
class DestinationTest : public ::testing::TestWithParam<const char*> {
 protected:
  DestinationTest() { std::filesystem::copy_file(std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic", input()); }

  [[nodiscard]] static std::string operation() { return GetParam(); }
  [[nodiscard]] static bool isExport() { return operation() == kExport; }
  [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }
  [[nodiscard]] std::filesystem::path input() const { return folder() / "in.heic"; }
  [[nodiscard]] nlohmann::json requestFor(const std::filesystem::path& output) const {
    return writingRequest(operation(), input(), output);
  }
  [[nodiscard]] nlohmann::json write(const std::filesystem::path& output, ProcessOptions options = {}) const {
    return ask(requestFor(output), std::move(options));
  }

  /// What the file manager says of a file that it could not put in its place.
  static std::string cannotSave(const std::filesystem::path& output, const std::string& reason) {
    return "The file “" + output.filename().string() + "” couldn’t be saved in the folder “" +
           output.parent_path().filename().string() + "”: " + reason + ".";
  }

  /// The failure that an operation answers, with the quality that some answer back taken off.
  static void expectRefused(const nlohmann::json& answer, const std::string& code, const std::string& message) {
    expectFailure(without(answer, "quality"), code, message);
  }

  /// Expects what an operation answers when its file could not be finished.
  static void expectUnfinished(const nlohmann::json& answer, const std::filesystem::path& output,
                               const std::string& reason) {
    if (isExport()) return expectRefused(answer, "internal_error", cannotSave(output, reason));
    if (operation() != kRewriteFromSource) {
      return expectRefused(answer, "destination_finalize_failed", "CGImageDestinationFinalize failed");
    }
    expectRefused(answer, "destination_add_from_source_failed",
                  "ImageIO could not add the HEIC source image to the destination.");
  }

  /// Expects what an operation answers when its file could not be begun.
  static void expectNotBegun(const nlohmann::json& answer, const std::filesystem::path& output,
                             const std::string& reason) {
    if (isExport()) return expectRefused(answer, "internal_error", cannotSave(output, reason));
    expectRefused(answer, "destination_create_failed", "CGImageDestinationCreateWithURL failed");
  }

  /// Expects the answer to a place where a finished file cannot go, and nothing changed.
  void expectNotMoved(const std::filesystem::path& output, const std::string& message) const {
    const auto before = snapshotOf(folder());
    expectRefused(write(output), isExport() ? "internal_error" : "atomic_replace_failed", message);
    EXPECT_EQ(snapshotOf(folder()), before);
  }

  /// Expects the answer to an existing destination, and nothing changed.
  void expectRefusedAsExisting(const std::filesystem::path& output) const {
    const auto before = snapshotOf(folder());
    const nlohmann::json answer = write(output);
    if (isExport()) {
      expectRefused(answer, "invalid_request", "raw output path already exists");
    } else if (operation() == kEncodeCandidate) {
      expectRefused(answer, "invalid_request", "output path already exists");
    } else {
      expectRefused(answer, "atomic_replace_failed", "output path already exists");
    }
    EXPECT_EQ(snapshotOf(folder()), before);
  }

  /// Expects the answer to a place where no file can be created, and nothing changed.
  void expectNotCreated(const std::filesystem::path& output, const std::string& reason,
                        ProcessOptions options = {}) const {
    const auto before = snapshotOf(folder());
    expectNotBegun(write(output, std::move(options)), output, reason);
    EXPECT_EQ(snapshotOf(folder()), before);
  }

  /// Expects a new file there, the same path in the answer, and nothing else new or changed.
  void expectWritten(const std::filesystem::path& output, ProcessOptions options = {}) const {
    auto before = snapshotOf(folder());
    const nlohmann::json answer = write(output, std::move(options));
    ASSERT_TRUE(answer["success"].get<bool>()) << answer;
    EXPECT_EQ(isExport() ? answer["storageExport"]["rawPath"] : answer["output"]["path"], output.string());
    auto after = snapshotOf(folder());
    ASSERT_EQ(after.size(), before.size() + 1);
    for (const auto& [name, content] : before) EXPECT_EQ(after[name], content) << name;
  }

  /// Options for a run without the rights of root; the photo is made readable for it.
  [[nodiscard]] std::optional<ProcessOptions> asAnOrdinaryUser() const {
    return test_support::asAnOrdinaryUser(input());
  }

 private:
  TemporaryDirectory folder_;
};

}  // namespace quellor::test_support
