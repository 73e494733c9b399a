#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/byte_texts.h"
#include "tests/support/metadata_reading.h"
#include "tests/support/tiff_structure.h"

namespace quellor {
namespace {

using test_support::bytesOf;
using test_support::nested;
using test_support::propertiesOf;
using test_support::TiffStructure;
using testing::Optional;

TEST(IptcProperties, NameTheApplicationRecordAndKeepTheRest) {
  const auto dataset = [](std::uint8_t record, std::uint8_t number, std::string_view value) {
    return TiffStructure::joined(
        {{0x1C, record, number, 0, static_cast<std::uint8_t>(value.size())}, Bytes(value.begin(), value.end())});
  };
  const Bytes extended = {0x1C, 2, 120, 0x80, 4, 0, 0, 0, 3, 'c', 'a', 'p'};
  const Bytes iptc = TiffStructure::joined({dataset(1, 90, "\x1B%G"),
                                            dataset(2, 0, std::string_view("\0\4", 2)),
                                            dataset(2, 5, "title"),
                                            dataset(2, 25, "one"),
                                            dataset(2, 25, "tw\xF6"),
                                            dataset(2, 80, "me"),
                                            extended,
                                            dataset(2, 90, "A"),
                                            dataset(2, 90, "B"),
                                            dataset(2, 220, "x"),
                                            {0, 0, 0}});
  PropertyDictionary expected;
  expected.set("1:90", bytesOf("\x1B%G"));
  expected.set("2:0", Bytes{0, 4});
  expected.set("ObjectName", "title");
  expected.set("Keywords", PropertyList{"one", "tw\xC3\xB6"});
  expected.set("Byline", PropertyList{"me"});
  expected.set("Caption/Abstract", "cap");
  expected.set("City", PropertyList{"A", "B"});
  expected.set("2:220", bytesOf("x"));
  EXPECT_THAT(nested(propertiesOf({{}, {}, iptc}), "{IPTC}"), Optional(expected));
}

TEST(IptcProperties, StopAtADatasetThatIsNotComplete) {
  const Bytes good = {0x1C, 2, 5, 0, 1, 'a'};
  PropertyDictionary expected;
  expected.set("ObjectName", "a");
  const Bytes tails[] = {{0x1C, 2, 90, 0},
                         {0x1C, 2, 90, 0, 2, 'x'},
                         {0x1C, 2, 90, 0x80, 5, 0, 0, 0, 0, 1, 'x'},
                         {0x1C, 2, 90, 0x80, 4, 0xFF, 0xFF, 0xFF, 0xFF, 'x'},
                         {0x1C, 2, 90, 0xFF, 0xFF, 'x'},
                         {0x1D, 2, 90, 0, 1, 'x'}};
  for (const Bytes& tail : tails) {
    const Bytes iptc = TiffStructure::joined({good, tail});
    EXPECT_THAT(nested(propertiesOf({{}, {}, iptc}), "{IPTC}"), Optional(expected));
  }
}

}  // namespace
}  // namespace quellor
