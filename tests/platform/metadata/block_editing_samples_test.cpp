#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/image_properties.h"
#include "platform/image_services.h"
#include "platform/metadata/block_editing.h"
#include "platform/metadata/exif_directories.h"
#include "tests/support/corpus.h"
#include "tests/support/metadata_judge.h"
#include "tests/support/temporary_directory.h"

// The judge is an independent metadata reader, exiftool: what it tells of a block before and after an edit.
namespace quellor {
namespace {

namespace fs = std::filesystem;

using test_support::Tags;

struct Photo {
  PropertyDictionary properties;
  MetadataBlocks blocks;
  std::optional<long> orientation;  // of the file, which an Exif block need not have
};

void save(const fs::path& path, const std::optional<Bytes>& block) {
  if (!block) return;
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(block->data()), static_cast<std::streamsize>(block->size()));
}

bool holds(const std::optional<Bytes>& block, ByteView run) {
  return block && std::search(block->begin(), block->end(), run.begin(), run.end()) != block->end();
}

class BlockEditingOfSamples : public testing::Test {
 protected:
  void SetUp() override {
    if (!test_support::requireJudge(test_support::kMetadataJudge)) return;
    const SystemImageServices services;
    for (const auto& row : test_support::readCorpusTable()) {
      const auto source = services.openSource(test_support::sampleFile(row.file).string());
      const auto properties = source ? source->propertiesAt(0) : std::nullopt;
      if (properties && properties->blocks()) {
        photos_[fs::path(row.file).filename().string()] = {*properties, *properties->blocks(), row.orientation};
      }
    }
    ASSERT_GE(photos_.size(), 20U);
  }

  using Change = std::function<void(PropertyDictionary&)>;

  /// The blocks of all photos after a change of their dictionaries.
  std::map<std::string, MetadataBlocks> editedAll(const Change& change) const {
    std::map<std::string, MetadataBlocks> edited;
    for (const auto& [name, photo] : photos_) {
      PropertyDictionary properties = photo.properties;
      change(properties);
      const PropertyValue* const value = properties.find(property_key::kOrientation);
      const auto orientation =
          value == nullptr ? std::nullopt : std::optional(static_cast<int>(*value->as<std::int64_t>()));
      edited[name] = editedBlocks(photo.blocks, removalsOf(properties), orientation);
    }
    return edited;
  }

  std::map<std::string, MetadataBlocks> unchanged() const {
    std::map<std::string, MetadataBlocks> blocks;
    for (const auto& [name, photo] : photos_) blocks[name] = photo.blocks;
    return blocks;
  }

  static std::map<std::string, Tags> judgedBlocks(const std::map<std::string, MetadataBlocks>& blocks) {
    const test_support::TemporaryDirectory folder;
    for (const auto& [name, each] : blocks) {
      save(folder.path() / (name + ".tif"), each.exif);
      save(folder.path() / (name + ".xmp"), each.xmp);
    }
    return test_support::judgedFiles(folder.path());
  }

  /// Compares what the judge tells before and after: everything for which `goes` is false is the same, the rest is
  /// not there.
  void expectOnlyGone(const std::map<std::string, MetadataBlocks>& edited,
                      const std::function<bool(const std::string&)>& goes) const {
    const auto before = judgedBlocks(unchanged());
    const auto after = judgedBlocks(edited);
    for (const auto& [name, tags] : before) {
      Tags expected;
      for (const auto& [key, value] : tags) {
        if (!key.starts_with("IFD1:") && !goes(key)) expected[key] = value;
      }
      const auto found = after.find(name);
      ASSERT_NE(found, after.end()) << name;
      Tags actual = found->second;
      const auto orientation = photos_.at(fs::path(name).stem().string()).orientation;
      if (!expected.contains("IFD0:Orientation")) actual.erase("IFD0:Orientation");
      if (orientation && expected.contains("IFD0:Orientation")) {
        expected["IFD0:Orientation"] = std::to_string(*orientation);
      }
      EXPECT_EQ(actual, expected) << name;
    }
  }

  std::map<std::string, Photo> photos_;
};

void removeMaker(PropertyDictionary& properties) {
  properties.removeNested(property_key::kTiff, property_key::kTiffMake);
  properties.removeNested(property_key::kTiff, property_key::kTiffModel);
  properties.removeNested(property_key::kExif, property_key::kExifMakerNote);
}

/// Groups of maker notes are named after the maker; these are all others.
bool isOfMakerNote(const std::string& key) {
  static const std::set<std::string> kOthers = {"IFD0", "ExifIFD", "GPS", "InteropIFD", "PrintIM"};
  const std::string group = test_support::groupOf(key);
  return !kOthers.contains(group) && !group.starts_with("XMP");
}

TEST_F(BlockEditingOfSamples, KeepsEveryEntryButTheThumbnail) {
  expectOnlyGone(editedAll([](PropertyDictionary&) {}), [](const std::string&) { return false; });
}

TEST_F(BlockEditingOfSamples, KeepsPacketsByteForByte) {
  for (const auto& [name, blocks] : editedAll([](PropertyDictionary&) {})) {
    EXPECT_EQ(blocks.xmp, photos_.at(name).blocks.xmp) << name;
  }
}

TEST_F(BlockEditingOfSamples, RemovesGpsAndNothingElse) {
  const auto edited = editedAll([](PropertyDictionary& properties) { properties.remove(property_key::kGps); });
  expectOnlyGone(edited, [](const std::string& key) { return key.find("GPS") != std::string::npos; });
}

TEST_F(BlockEditingOfSamples, LeavesNoBytesOfThePosition) {
  std::size_t positions = 0;
  for (const auto& [name, blocks] :
       editedAll([](PropertyDictionary& properties) { properties.remove(property_key::kGps); })) {
    const auto& before = photos_.at(name).blocks.exif;
    const auto directories = before ? metadata::readExifDirectories(*before) : std::nullopt;
    if (!directories || directories->gps.empty()) continue;
    for (const auto& entry : directories->gps.front().entries) {
      if (entry.valueSize < 16) continue;
      ++positions;
      EXPECT_FALSE(holds(blocks.exif, metadata::valueBytes(directories->block, entry))) << name << " " << entry.tag;
    }
  }
  EXPECT_GE(positions, 10U);
}

TEST_F(BlockEditingOfSamples, RemovesMakerEntriesAndNothingElse) {
  const auto goes = [](const std::string& key) {
    static const std::set<std::string> kGone = {"IFD0:Make", "IFD0:Model", "XMP-tiff:Make", "XMP-tiff:Model"};
    return kGone.contains(key) || isOfMakerNote(key);
  };
  expectOnlyGone(editedAll(removeMaker), goes);
}

TEST_F(BlockEditingOfSamples, LeavesNoBytesOfTheMakerNote) {
  std::size_t notes = 0;
  for (const auto& [name, blocks] : editedAll(removeMaker)) {
    const auto& before = photos_.at(name).blocks.exif;
    const auto directories = before ? metadata::readExifDirectories(*before) : std::nullopt;
    const auto* const note = directories && !directories->exif.empty()
                                 ? directories->exif.front().find(metadata::exif_tag::kMakerNote)
                                 : nullptr;
    if (note == nullptr) continue;
    ++notes;
    const ByteView bytes = metadata::valueBytes(directories->block, *note);
    const auto start = static_cast<std::ptrdiff_t>(note->valuePosition);
    const auto size = static_cast<std::ptrdiff_t>(note->valueSize);
    for (std::size_t at = 0; at + 16 <= bytes.size(); at += 16) {
      const ByteView run = bytes.subspan(at, 16);
      const std::set<std::uint8_t> different(run.begin(), run.end());
      // Runs of a few different bytes may stand anywhere, and a note may repeat an entry that stays.
      const bool isOnlyInNote = !holds(Bytes(before->begin(), before->begin() + start), run) &&
                                !holds(Bytes(before->begin() + start + size, before->end()), run);
      if (different.size() > 6 && isOnlyInNote) {
        EXPECT_FALSE(holds(blocks.exif, run)) << name << " at " << at;
      }
    }
  }
  EXPECT_GE(notes, 10U);
}

TEST_F(BlockEditingOfSamples, TurnsPhotosAndKeepsTheRest) {
  const auto edited = editedAll([](PropertyDictionary& properties) { properties.set(property_key::kOrientation, 7); });
  const auto isOrientation = [](const std::string& key) { return key.ends_with(":Orientation"); };
  const auto after = judgedBlocks(edited);
  const auto before = judgedBlocks(unchanged());
  for (const auto& [name, tags] : before) {
    const Tags& now = after.at(name);
    for (const auto& [key, value] : tags) {
      if (key.starts_with("IFD1:")) continue;
      const auto found = now.find(key);
      ASSERT_NE(found, now.end()) << name << " " << key;
      EXPECT_EQ(found->second, isOrientation(key) ? "7" : value) << name << " " << key;
    }
    if (name.ends_with(".tif")) {
      EXPECT_EQ(now.at("IFD0:Orientation"), "7") << name;
    }
  }
}

}  // namespace
}  // namespace quellor
