#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

namespace quellor::test_support {

/// Where the parts of a HEIF file end that its primary image cannot do without, as offsets from the start.
struct HeifLayout {
  std::uint64_t structureEnd = 0;     // of the meta box
  std::uint64_t primaryImageEnd = 0;  // of the last coded byte of the primary item, its inputs and their inputs
};

/// Reads the boxes of ISO/IEC 14496-12 (8.11.1 meta, 8.11.3 iloc, 8.11.4 pitm, 8.11.12 iref) on its own, without the
/// code under test. Absent where the file has no such structure. Good for intact files only.
std::optional<HeifLayout> heifLayout(std::string_view file);

}  // namespace quellor::test_support
