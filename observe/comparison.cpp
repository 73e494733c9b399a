#include "observe/comparison.h"

#include <algorithm>
#include <set>

#include "observe/text.h"

namespace quellor {
namespace {

using TextList = std::optional<std::vector<std::string>>;

/// The texts of `before` that are not in `after`, each once; an absent list counts as empty.
std::set<std::string> missingFrom(const TextList& after, const TextList& before) {
  std::set<std::string> missing;
  if (before) missing.insert(before->begin(), before->end());
  if (!after) return missing;
  for (const std::string& text : *after) missing.erase(text);
  return missing;
}

bool isDisplayP3(const std::optional<std::string>& colorSpaceName) {
  return colorSpaceName &&
         (containsIgnoringCase(*colorSpaceName, "display p3") || containsIgnoringCase(*colorSpaceName, "displayp3"));
}

[[noreturn]] void failColorSpace(const char* message) { throw HelperFailure("color_space_changed", message); }

}  // namespace

std::vector<std::string> computeRemovedItems(const ImageObservation& input, const ImageObservation& output) {
  std::vector<std::string> items;
  for (const std::string& key : missingFrom(output.metadataKeys, input.metadataKeys)) items.push_back(key);
  for (const std::string& label : missingFrom(output.auxiliaryTypes, input.auxiliaryTypes)) {
    items.push_back("auxiliary:" + label);
  }
  // Only a profile that is reported with no bytes counts as removed; an absent one is deliberately not listed.
  if (input.iccProfileBytes.value_or(0) >= 1 && output.iccProfileBytes == 0) items.emplace_back("ICC");
  std::sort(items.begin(), items.end());
  return items;
}

void validateColorSpacePreserved(const ImageObservation& input, const ImageObservation& output) {
  if (isDisplayP3(input.colorSpaceName) && !isDisplayP3(output.colorSpaceName)) {
    failColorSpace("Display P3 input color space was not preserved in output");
  }
  const bool bothHaveProfiles = input.iccProfileSHA256 && output.iccProfileSHA256;
  if (bothHaveProfiles && input.iccProfileSHA256 != output.iccProfileSHA256 &&
      input.colorSpaceName != output.colorSpaceName) {
    failColorSpace("ICC profile hash changed between input and output");
  }
}

void validateOrientationPreserved(const ImageObservation& input, const ImageObservation& output,
                                  const std::optional<MetadataPolicy>& policy) {
  if (policy && policy->preserveOrientation == false) return;
  if (!input.orientation || !output.orientation || input.orientation == output.orientation) return;
  throw HelperFailure("orientation_changed", "orientation changed from " + std::to_string(*input.orientation) + " to " +
                                                 std::to_string(*output.orientation));
}

}  // namespace quellor
