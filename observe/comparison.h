#pragma once
#include <optional>
#include <string>
#include <vector>

#include "protocol/records.h"

/// What a written file kept of its input, judged by their observations alone.
namespace quellor {

/// What the output no longer carries, in ascending order: metadata keys as they stand, "auxiliary:" and the label of
/// auxiliary images, and "ICC" where a profile became one of no bytes (an absent one is not reported).
std::vector<std::string> computeRemovedItems(const ImageObservation& input, const ImageObservation& output);

/// Raises HelperFailure "color_space_changed" when a Display P3 input has an output that is not, or when both have
/// profiles that differ under names that differ, too. A profile that the output lacks altogether is no failure.
void validateColorSpacePreserved(const ImageObservation& input, const ImageObservation& output);

/// Raises HelperFailure "orientation_changed" when both have an orientation and these differ, unless `policy` says
/// that orientation need not be preserved.
void validateOrientationPreserved(const ImageObservation& input, const ImageObservation& output,
                                  const std::optional<MetadataPolicy>& policy);

}  // namespace quellor
