#pragma once
#include <optional>
#include <string_view>

#include "platform/values/bytes.h"

namespace quellor {

/// A version 4 profile of the known space with that name. Absent for spaces that have none here (PQ, HLG, generic CMYK)
/// and for unknown names. Throws std::bad_alloc only.
///
/// The bytes depend on neither the time nor the library's version: the header's date is fixed, the fields that name
/// the software are zero, curves are parametric, and the profile ID is set (ICC.1:2010, 7.2.18).
std::optional<Bytes> buildProfile(std::string_view spaceName);

}  // namespace quellor
