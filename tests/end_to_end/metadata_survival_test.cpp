// The metadata of every sample file that has some, through the program: what is to stay stays, what is to go is gone
// from every byte of the output. The judge is exiftool.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/metadata_judge.h"
#include "tests/support/program.h"
#include "tests/support/stored_pixels.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/writing_operations.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::groupOf;
using test_support::Tags;

/// Groups that tell of the file's form and its samples, or of blocks that a HEIC file has no home for.
bool isOfTheForm(const std::string& key) {
  static const std::set<std::string> kGroups = {"QuickTime", "Meta",   "Track1", "Track2",   "JFIF",  "IPTC",  "MPF0",
                                                "Photoshop", "Adobe",  "Ducky",  "FPXR",     "APP14", "SPIFF", "IFD1",
                                                "IFD2",      "SubIFD", "PNG",    "PNG-pHYs", "GIF",   "RIFF"};
  const std::string group = groupOf(key);
  return kGroups.contains(group) || group.starts_with("ICC") || group.starts_with("MPImage");
}

/// Packets of depth and gain maps, and what a vendor put behind the end of the file.
bool isOfWhatIsNotCopied(const std::string& key) {
  static const std::set<std::string> kGroups = {"XMP-HDRGainMap",      "XMP-apdi",      "XMP-hdrgm",
                                                "XMP-depthBlurEffect", "XMP-depthData", "XMP-portraitLightingEffect"};
  static const std::set<std::string> kTrailer = {"Samsung:MCCData", "Samsung:TimeStamp"};
  if (key == "XMP-hdrgm:Version") return false;  // in the packet of the primary image, too
  return kGroups.contains(groupOf(key)) || kTrailer.contains(key) || key.starts_with("Samsung:SamsungTrailer");
}

/// What of the Exif block says how the samples of its first file were stored; a TIFF file's own structure.
bool isOfTheStorage(const std::string& key) {
  static const std::set<std::string> kTags = {
      "ImageWidth",     "ImageHeight",  "BitsPerSample",   "Compression",      "PhotometricInterpretation",
      "StripOffsets",   "RowsPerStrip", "StripByteCounts", "SamplesPerPixel",  "PlanarConfiguration",
      "Predictor",      "Orientation",  "OtherImageStart", "OtherImageLength", "PreviewImage",
      "ThumbnailImage", "ExtraSamples", "SampleFormat",    "SubfileType",      "FillOrder"};
  return kTags.contains(key.substr(key.find(':') + 1));
}

bool isGps(const std::string& key) { return key.find("GPS") != std::string::npos; }
bool isXmp(const std::string& key) { return key.starts_with("XMP"); }

/// Groups of maker notes are named after the maker; these are all others.
bool isOfMaker(const std::string& key) {
  static const std::set<std::string> kOthers = {"IFD0", "ExifIFD", "GPS", "InteropIFD", "PrintIM"};
  static const std::set<std::string> kTags = {"IFD0:Make", "IFD0:Model", "XMP-tiff:Make", "XMP-tiff:Model"};
  return kTags.contains(key) || (!kOthers.contains(groupOf(key)) && !isXmp(key) && !isOfTheForm(key));
}

/// Tags that are not the same in both, or in one only.
std::vector<std::string> differencesOf(const Tags& expected, const Tags& actual) {
  std::vector<std::string> differences;
  for (const auto& [key, value] : expected) {
    const auto found = actual.find(key);
    if (found == actual.end()) differences.push_back(key + " is missing");
    if (found != actual.end() && found->second != value) differences.push_back(key + " was " + value);
  }
  for (const auto& [key, value] : actual) {
    if (!expected.contains(key)) differences.push_back(key + " is still there: " + value);
  }
  return differences;
}

/// The made samples that are about metadata.
std::vector<std::string> describedSamples() {
  std::vector<std::string> files = test_support::sampleFilesIn({test_support::kMade});
  std::erase_if(files, [](const std::string& file) {
    return file.find("described") == std::string::npos && file.find("turned-by-exif") == std::string::npos;
  });
  return files;
}

/// The samples of which the judge finds tags that a HEIC file keeps.
class MetadataSurvival : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!test_support::requireJudge(test_support::kMetadataJudge)) return;
    for (const auto& files : {describedSamples(), test_support::sampleFilesIn({"other", "photos", "special"})}) {
      if (files.empty()) continue;
      std::vector<std::filesystem::path> paths;
      for (const std::string& file : files) paths.push_back(test_support::sampleFile(file));
      auto judged = test_support::judgedFiles(paths);
      for (const std::string& file : files) {
        Tags& tags = judged[std::filesystem::path(file).filename()];
        std::erase_if(tags, [](const auto& tag) {
          return isOfTheForm(tag.first) || isOfTheStorage(tag.first) || isOfWhatIsNotCopied(tag.first);
        });
        if (!tags.empty()) before_[file] = std::move(tags);
      }
    }
    ASSERT_GE(before_.size(), 20U);
  }

  /// Writes every one of them with a policy and compares: everything for which `goes` is false is the same, the rest
  /// is not there.
  void expectOnlyGone(const json& policy, const std::function<bool(const std::string&)>& goes) {
    std::map<std::string, std::filesystem::path> inputs;
    for (const auto& [file, tags] : before_) {
      const std::string name = test_support::testName(file.string()) + ".heic";
      json wanted = test_support::writingRequest(test_support::kRewriteFromSource, test_support::sampleFile(file),
                                                 outputs_.path() / name);
      wanted["metadataPolicy"] = policy;
      test_support::ProcessOptions options;
      options.timeLimit = std::chrono::minutes(2);
      if (ask(wanted, options)["success"].get<bool>()) inputs[name] = file;
    }
    after_ = test_support::judgedFiles(outputs_.path());
    EXPECT_EQ(after_.size(), inputs.size());
    for (const auto& [name, file] : inputs) {
      Tags expected = before_.at(file), actual = after_[name];
      std::erase_if(expected, [&](const auto& tag) { return goes(tag.first); });
      std::erase_if(actual, [](const auto& tag) { return isOfTheForm(tag.first) || isOfTheStorage(tag.first); });
      EXPECT_THAT(differencesOf(expected, actual), ::testing::IsEmpty()) << file;
      written_[file] = outputs_.path() / name;
    }
    ASSERT_GE(written_.size(), 20U);
  }

  std::map<std::filesystem::path, Tags> before_;
  std::map<std::string, Tags> after_;
  std::map<std::filesystem::path, std::filesystem::path> written_;

 private:
  test_support::TemporaryDirectory outputs_;
};

TEST_F(MetadataSurvival, IsWholeWithoutAPolicy) {
  expectOnlyGone(json::object(), [](const std::string&) { return false; });
  const auto hasMakerNote = [](const auto& each) {
    return std::any_of(each.second.begin(), each.second.end(),
                       [](const auto& tag) { return isOfMaker(tag.first) && groupOf(tag.first) != "IFD0"; });
  };
  std::size_t notes = 0;
  for (const auto& each : before_) notes += written_.contains(each.first) && hasMakerNote(each) ? 1U : 0U;
  RecordProperty("filesWithMakerNotes", static_cast<int>(notes));
  EXPECT_GE(notes, 10U);
}

TEST_F(MetadataSurvival, LeavesNoPositionWhereGpsIsRemoved) {
  expectOnlyGone({{"removeGPS", true}}, isGps);
  std::size_t positions = 0;
  for (const auto& [file, output] : written_) {
    const Tags& tags = before_.at(file);
    positions += std::any_of(tags.begin(), tags.end(), [](const auto& tag) { return isGps(tag.first); }) ? 1U : 0U;
    EXPECT_EQ(test_support::contentsOf(output).find("GPSL"), std::string::npos) << file;  // GPSLatitude, GPSLongitude
  }
  RecordProperty("filesWithGps", static_cast<int>(positions));
  EXPECT_GE(positions, 5U);
}

TEST_F(MetadataSurvival, LeavesNoMakerWhereMakerMetadataIsRemoved) {
  expectOnlyGone({{"removeMakerMetadata", true}}, isOfMaker);
  std::size_t models = 0;
  for (const auto& [file, output] : written_) {
    const auto model = before_.at(file).find("IFD0:Model");
    if (model == before_.at(file).end() || model->second.size() < 8) continue;
    const std::string text = model->second.substr(1, model->second.size() - 2);  // without its quotation marks
    const Tags& left = after_.at(output.filename().string());
    // A lens or a software may be named after the model, and stays.
    const bool isElsewhere = std::any_of(left.begin(), left.end(),
                                         [&](const auto& tag) { return tag.second.find(text) != std::string::npos; });
    if (isElsewhere) continue;
    ++models;
    EXPECT_EQ(test_support::contentsOf(output).find(text), std::string::npos) << file << " " << text;
  }
  EXPECT_GE(models, 8U);
}

TEST_F(MetadataSurvival, LeavesNoPacketWhereXmpIsRemoved) {
  expectOnlyGone({{"removeXMP", true}}, isXmp);
  for (const auto& [file, output] : written_) {
    const std::string bytes = test_support::contentsOf(output);
    for (const char* mark : {"x:xmpmeta", "rdf:RDF", "<?xpacket"}) {
      EXPECT_EQ(bytes.find(mark), std::string::npos) << file << " " << mark;
    }
  }
}

TEST_F(MetadataSurvival, LeavesTheRestWhereAllThreeAreRemoved) {
  expectOnlyGone({{"removeGPS", true}, {"removeMakerMetadata", true}, {"removeXMP", true}},
                 [](const std::string& key) { return isGps(key) || isXmp(key) || isOfMaker(key); });
}

}  // namespace
}  // namespace quellor
