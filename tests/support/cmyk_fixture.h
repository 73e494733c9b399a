#pragma once
#include <optional>
#include <string_view>

#include "tests/platform/color/icc_bytes.h"
#include "tests/support/jpeg_segments.h"

namespace quellor::test_support {

/// A CMYK picture with a profile of this description, or of none. Its colours cannot be kept: what is written is RGB.
inline Bytes profiledCmykJpeg(std::optional<std::string_view> description) {
  JpegSpec spec;
  spec.coding = JpegSpec::Coding::cmyk;
  icc::Header header;
  header.space = "CMYK";
  header.profileClass = "prtr";
  header.connection = "Lab ";
  Bytes table = icc::typed("mft1");  // a lookup table that nobody looks into
  table.resize(table.size() + 4096);
  std::vector<icc::Tag> tags = {{"A2B0", table}};
  if (description) tags.push_back({"desc", icc::asciiDescription(*description)});
  spec.segments = {profileSegment(icc::profile(header, tags))};
  return encodeJpeg(spec);
}

}  // namespace quellor::test_support
