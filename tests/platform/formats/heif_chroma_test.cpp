#include <initializer_list>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "platform/formats/chroma_siting.h"
#include "platform/heif/container_reader.h"
#include "tests/support/heif_builder.h"
#include "tests/support/heif_output.h"

namespace quellor::heif {
namespace {

using test_support::box;
using test_support::FieldWriter;
using test_support::HeifBuilder;

/// Writes fields of single bits (ITU-T H.265, 7.2 and 9.2).
class BitWriter {
 public:
  BitWriter& bits(unsigned count, std::uint64_t value) {
    for (unsigned i = count; i > 0; --i) bits_.push_back(((value >> (i - 1)) & 1U) != 0);
    return *this;
  }
  BitWriter& golomb(unsigned value) {
    unsigned length = 0;
    while (((value + 1) >> length) > 1) ++length;
    return bits(length, 0).bits(length + 1, value + 1);
  }
  BitWriter& golombs(std::initializer_list<unsigned> values) {
    for (const unsigned value : values) golomb(value);
    return *this;
  }

  /// The bytes of a unit: rbsp_trailing_bits() behind the fields, emulation prevention (7.4.2) among them.
  [[nodiscard]] Bytes unit(std::uint16_t header) const {
    std::vector<bool> all = bits_;
    all.push_back(true);
    all.resize((all.size() + 7) / 8 * 8);
    Bytes bytes = FieldWriter().u16(header).bytes;
    for (std::size_t i = 0; i < all.size(); i += 8) {
      unsigned byte = 0;
      for (std::size_t j = 0; j < 8; ++j) byte = byte * 2 + (all[i + j] ? 1 : 0);
      const std::size_t size = bytes.size();
      if (byte <= 3 && size >= 4 && bytes[size - 1] == 0 && bytes[size - 2] == 0) bytes.push_back(3);
      bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    return bytes;
  }

 private:
  std::vector<bool> bits_;
};

struct SpsPlan {
  std::optional<unsigned> location = {};  // chroma_sample_loc_type of both fields
  bool usability = true;
  bool everythingBefore = false;  // all fields of the usability information that stand before it
};

/// A sequence parameter set of the main profile for 64 x 64 samples (7.3.2.2), with its usability information (E.2.1).
Bytes sequenceParameterSet(const SpsPlan& plan) {
  BitWriter writer;
  writer.bits(4, 0).bits(3, 0).bits(1, 1);
  writer.bits(8, 1).bits(32, 0x60000000).bits(48, 0x900000000000).bits(8, 93);  // profile, tier and level
  writer.golombs({0, 1, 64, 64}).bits(1, 0).golombs({0, 0, 0});
  writer.bits(1, 1).golombs({0, 0, 0});
  writer.golombs({0, 1, 0, 1, 0, 0}).bits(4, 0);  // blocks; no scaling lists, asymmetric partitions, offsets, PCM
  writer.golomb(0).bits(3, 0);                    // reference pictures, motion vectors, smoothing
  writer.bits(1, plan.usability ? 1 : 0);
  if (plan.usability) {
    if (plan.everythingBefore) {
      writer.bits(1, 1).bits(8, 255).bits(32, 0x00010001).bits(2, 3);  // aspect ratio, overscan
      writer.bits(1, 1).bits(3, 5).bits(1, 1).bits(1, 1).bits(24, 0x010D06);
    } else {
      writer.bits(3, 0);
    }
    writer.bits(1, plan.location ? 1 : 0);
    if (plan.location) writer.golombs({*plan.location, *plan.location});
    writer.bits(6, 0);
  }
  return writer.bits(1, 0).unit(0x4201);
}

/// A decoder configuration record with these units, each in an array of its own (ISO/IEC 14496-15, 8.3.3.1).
Bytes hvcCWith(const std::vector<Bytes>& units) {
  Bytes record = test_support::hvcC();
  FieldWriter payload;
  payload.append({record.begin() + 8, record.end() - 1}).u8(units.size());
  for (const Bytes& unit : units) payload.u8(0x80 | (unit[0] >> 1)).u16(1).u16(unit.size()).append(unit);
  return box("hvcC", payload.bytes);
}

const Bytes kVideoParameterSet = {0x40, 0x01, 0x0c};

HeifBuilder pictureWith(const std::string& type, const std::vector<Bytes>& properties) {
  HeifBuilder builder;
  builder.properties = properties;
  builder.items = {{1, type, {0}}};
  for (std::size_t i = 1; i <= properties.size(); ++i) builder.items[0].properties.emplace_back(i, true);
  return builder;
}

std::optional<ChromaSiting> sitingIn(const HeifBuilder& builder) {
  const Bytes file = builder.build();
  const auto container = readContainer(file);
  if (!container) return std::nullopt;
  return formats::chromaSitingOf(*container, *container->find(container->primaryItem));
}

std::optional<ChromaSiting> sitingOfHevc(const std::vector<Bytes>& units) {
  return sitingIn(pictureWith("hvc1", {hvcCWith(units)}));
}

TEST(ChromaSiting, OfHevcIsTheTypeThatTheParameterSetSignals) {
  for (unsigned type = 0; type <= 5; ++type) {
    for (const bool everythingBefore : {false, true}) {
      const Bytes set = sequenceParameterSet({.location = type, .everythingBefore = everythingBefore});
      EXPECT_EQ(sitingOfHevc({kVideoParameterSet, set}), static_cast<ChromaSiting>(type)) << type;
    }
  }
}

TEST(ChromaSiting, OfHevcIsLeftWhereNothingIsSignalled) {
  EXPECT_EQ(sitingOfHevc({sequenceParameterSet({.usability = false})}), ChromaSiting::left);
  EXPECT_EQ(sitingOfHevc({sequenceParameterSet({})}), ChromaSiting::left);
  EXPECT_EQ(sitingOfHevc({sequenceParameterSet({.location = 6})}), ChromaSiting::left) << "no such type";
}

TEST(ChromaSiting, OfHevcIsLeftWhereThereIsNoSetToRead) {
  EXPECT_EQ(sitingOfHevc({}), ChromaSiting::left);
  EXPECT_EQ(sitingOfHevc({kVideoParameterSet}), ChromaSiting::left);
  EXPECT_EQ(sitingIn(pictureWith("hvc1", {})), ChromaSiting::left);
  const Bytes whole = hvcCWith({sequenceParameterSet({.location = 1})});
  for (std::size_t size = 8; size < whole.size(); ++size) {
    const Bytes cut = box("hvcC", {whole.begin() + 8, whole.begin() + static_cast<std::ptrdiff_t>(size)});
    EXPECT_EQ(sitingIn(pictureWith("hvc1", {cut})), ChromaSiting::left) << size;
  }
}

TEST(ChromaSiting, OfAGridIsThatOfItsTiles) {
  HeifBuilder builder = pictureWith("hvc1", {hvcCWith({sequenceParameterSet({.location = 1})})});
  builder.items.push_back({2, "grid", {0, 0, 0, 0, 0, 64, 0, 64}});
  builder.primary = 2;
  builder.references = {HeifBuilder::reference("dimg", 2, {1})};
  EXPECT_EQ(sitingIn(builder), ChromaSiting::centre);
}

TEST(ChromaSiting, OfAv1IsItsSamplePosition) {
  // AV1 Bitstream & Decoding Process, 6.4.2: unknown, vertical (left), co-located, reserved.
  const ChromaSiting expected[] = {ChromaSiting::left, ChromaSiting::left, ChromaSiting::topLeft, ChromaSiting::left};
  for (std::uint8_t position = 0; position < 4; ++position) {
    const Bytes record = {0x81, 0, static_cast<std::uint8_t>(0x0C | position), 0};
    EXPECT_EQ(sitingIn(pictureWith("av01", {box("av1C", record)})), expected[position]) << int{position};
  }
}

TEST(ChromaSiting, OfJpegIsAmidTheSamples) { EXPECT_EQ(sitingIn(pictureWith("jpeg", {})), ChromaSiting::centre); }

}  // namespace
}  // namespace quellor::heif
