#include "rewrite/metadata_filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::Calls;
using test_support::FakeImage;
using test_support::FakeImageSource;

using Flag = std::optional<bool> MetadataPolicy::*;

constexpr Flag kAllFlags[] = {&MetadataPolicy::preserveColorProfile,
                              &MetadataPolicy::preserveOrientation,
                              &MetadataPolicy::removeGPS,
                              &MetadataPolicy::removeXMP,
                              &MetadataPolicy::removeMakerMetadata,
                              &MetadataPolicy::dropAuxiliaryImages};

MetadataPolicy with(Flag flag, bool value = true) {
  MetadataPolicy policy;
  policy.*flag = value;
  return policy;
}

MetadataPolicy everyFlag(bool value) {
  MetadataPolicy policy;
  for (const Flag flag : kAllFlags) policy.*flag = value;
  return policy;
}

PropertyDictionary dictionary(std::initializer_list<std::pair<const char*, PropertyValue>> entries) {
  PropertyDictionary result;
  for (const auto& [key, value] : entries) result.set(key, value);
  return result;
}

/// One of everything that any flag could touch, and some more.
PropertyDictionary photo() {
  return dictionary({{"Orientation", 6},
                     {"ProfileName", "Display P3"},
                     {"{GPS}", dictionary({{"Latitude", 47.0}})},
                     {"{XMP}", Bytes{1, 2}},
                     {"{MakerApple}", dictionary({{"1", 2}})},
                     {"{TIFF}", dictionary({{"Make", "A"}, {"Model", "B"}, {"Software", "C"}})},
                     {"{Exif}", dictionary({{"MakerNote", Bytes{9}}, {"ISO", 100}})}});
}

std::optional<PropertyDictionary> filtered(std::optional<PropertyDictionary> properties,
                                           const std::optional<MetadataPolicy>& policy) {
  FakeImage image;
  image.properties = std::move(properties);
  Calls calls;
  return filteredProperties(FakeImageSource(image, calls), 0, policy);
}

std::vector<std::string> keysOf(const std::optional<PropertyDictionary>& properties) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : properties->entries()) keys.push_back(key);
  return keys;
}

TEST(FilteredProperties, AreUnchangedUnlessAFlagIsTrue) {
  EXPECT_EQ(filtered(photo(), std::nullopt), photo());
  EXPECT_EQ(filtered(photo(), MetadataPolicy{}), photo());
  EXPECT_EQ(filtered(photo(), everyFlag(false)), photo());
}

TEST(FilteredProperties, AreNotTouchedByTheFlagsOfOtherSteps) {
  for (const Flag flag : {&MetadataPolicy::preserveColorProfile, &MetadataPolicy::preserveOrientation,
                          &MetadataPolicy::dropAuxiliaryImages}) {
    EXPECT_EQ(filtered(photo(), with(flag, true)), photo());
    EXPECT_EQ(filtered(photo(), with(flag, false)), photo());
  }
}

TEST(FilteredProperties, AreAbsentForAnImageWithoutAnyWhateverThePolicySays) {
  EXPECT_EQ(filtered(std::nullopt, std::nullopt), std::nullopt);
  EXPECT_EQ(filtered(std::nullopt, everyFlag(true)), std::nullopt);
}

TEST(FilteredProperties, OfAnEmptyDictionaryAreEmptyNotAbsent) {
  EXPECT_EQ(filtered(PropertyDictionary{}, everyFlag(true)), PropertyDictionary{});
}

TEST(FilteredProperties, AreThoseOfTheImageThatIsAskedFor) {
  Calls calls;
  (void)filteredProperties(FakeImageSource(FakeImage{}, calls), 0, std::nullopt);
  EXPECT_EQ(calls, Calls{"properties 0"});
}

TEST(FilteredProperties, RememberTheBlocksThatTheyWereReadFrom) {
  PropertyDictionary properties = photo();
  properties.rememberBlocks(std::make_shared<const MetadataBlocks>());
  EXPECT_EQ(filtered(properties, everyFlag(true))->blocks(), properties.blocks());
}

TEST(RemoveGPS, RemovesTheDictionaryAndNothingElse) {
  PropertyDictionary expected = photo();
  expected.remove("{GPS}");
  EXPECT_EQ(filtered(photo(), with(&MetadataPolicy::removeGPS)), expected);
}

TEST(FilteredProperties, AreMarkedWithWhatWasRemovedWhetherOrNotItWasThere) {
  for (const PropertyDictionary& properties : {photo(), PropertyDictionary{}}) {
    const auto none = filtered(properties, std::nullopt);
    const auto gps = filtered(properties, with(&MetadataPolicy::removeGPS));
    const auto xmp = filtered(properties, with(&MetadataPolicy::removeXMP));
    const auto maker = filtered(properties, with(&MetadataPolicy::removeMakerMetadata));
    for (const auto& [marked, expected] : {std::pair(&none, ""), {&gps, "{GPS}"}, {&xmp, "{XMP}"}}) {
      for (const char* const key : {"{GPS}", "{XMP}"}) {
        EXPECT_EQ((*marked)->wasRemoved(key), std::string_view(key) == expected) << key;
      }
    }
    for (const auto& [group, key] : {std::pair("{TIFF}", "Make"), {"{TIFF}", "Model"}, {"{Exif}", "MakerNote"}}) {
      EXPECT_TRUE(maker->wasRemoved(group, key)) << key;
      EXPECT_FALSE(gps->wasRemoved(group, key)) << key;
    }
  }
}

TEST(RemoveGPS, ChangesNothingOfAnImageWithoutIt) {
  const PropertyDictionary plain = dictionary({{"Orientation", 1}});
  EXPECT_EQ(filtered(plain, with(&MetadataPolicy::removeGPS)), plain);
}

TEST(RemoveXMP, RemovesTopLevelKeysThatHoldTheLettersInAnyCase) {
  const auto properties = dictionary({{"{XMP}", Bytes{1}}, {"someXmpData", 1}, {"axmp", 1}, {"xm", 1}, {"xmMP", 1}});
  EXPECT_THAT(keysOf(filtered(properties, with(&MetadataPolicy::removeXMP))), ::testing::ElementsAre("xm", "xmMP"));
}

TEST(RemoveXMP, KeepsEntriesInsideOtherDictionaries) {
  const auto properties = dictionary({{"{TIFF}", dictionary({{"XMP", Bytes{1}}})}});
  EXPECT_EQ(filtered(properties, with(&MetadataPolicy::removeXMP)), properties);
}

TEST(RemoveMakerMetadata, TakesMakeModelMakerNoteAndMakerDictionaries) {
  PropertyDictionary expected = photo();
  expected.remove("{MakerApple}");
  expected.set("{TIFF}", dictionary({{"Software", "C"}}));
  expected.set("{Exif}", dictionary({{"ISO", 100}}));
  EXPECT_EQ(filtered(photo(), with(&MetadataPolicy::removeMakerMetadata)), expected);
}

TEST(RemoveMakerMetadata, KeepsDictionariesThatItEmpties) {
  const auto properties = dictionary(
      {{"{TIFF}", dictionary({{"Make", "A"}, {"Model", "B"}})}, {"{Exif}", dictionary({{"MakerNote", Bytes{1}}})}});
  const auto expected = dictionary({{"{TIFF}", PropertyDictionary{}}, {"{Exif}", PropertyDictionary{}}});
  EXPECT_EQ(filtered(properties, with(&MetadataPolicy::removeMakerMetadata)), expected);
}

TEST(RemoveMakerMetadata, AddsNoDictionaryWhereThereIsNone) {
  const auto properties = dictionary({{"Orientation", 1}});
  EXPECT_EQ(filtered(properties, with(&MetadataPolicy::removeMakerMetadata)), properties);
}

TEST(RemoveMakerMetadata, TakesTopLevelKeysThatHoldTheWordInAnyCase) {
  const auto properties =
      dictionary({{"{MakerCanon}", 1}, {"MAKERS", 1}, {"pacemaker", 1}, {"Make", 1}, {"mak er", 1}});
  EXPECT_THAT(keysOf(filtered(properties, with(&MetadataPolicy::removeMakerMetadata))),
              ::testing::ElementsAre("Make", "mak er"));
}

TEST(RemoveMakerMetadata, KeepsATiffValueOfAnotherKindAndGoesOn) {
  const auto properties = dictionary(
      {{"{TIFF}", "Make"}, {"{Exif}", dictionary({{"MakerNote", Bytes{1}}, {"Make", "kept"}})}, {"{MakerNikon}", 1}});
  const auto expected = dictionary({{"{TIFF}", "Make"}, {"{Exif}", dictionary({{"Make", "kept"}})}});
  EXPECT_EQ(filtered(properties, with(&MetadataPolicy::removeMakerMetadata)), expected);
}

TEST(RemoveMakerMetadata, KeepsAnExifValueOfAnotherKind) {
  const auto properties = dictionary({{"{Exif}", 3}});
  EXPECT_EQ(filtered(properties, with(&MetadataPolicy::removeMakerMetadata)), properties);
}

TEST(FilteredProperties, ObeyEveryCombinationOfTheRemovingFlags) {
  for (int flags = 0; flags < 8; ++flags) {
    MetadataPolicy policy;
    policy.removeGPS = (flags & 1) != 0;
    policy.removeXMP = (flags & 2) != 0;
    policy.removeMakerMetadata = (flags & 4) != 0;
    const auto result = filtered(photo(), policy);
    EXPECT_EQ(result->contains("{GPS}"), (flags & 1) == 0) << flags;
    EXPECT_EQ(result->contains("{XMP}"), (flags & 2) == 0) << flags;
    EXPECT_EQ(result->contains("{MakerApple}"), (flags & 4) == 0) << flags;
    EXPECT_TRUE(result->contains("Orientation") && result->contains("ProfileName") && result->contains("{Exif}"));
  }
}

}  // namespace
}  // namespace quellor
