#include "protocol/request_decoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "protocol/number_range.h"

namespace quellor {
namespace {

using Json = nlohmann::json;

constexpr int kMaximumDepth = 512;

/// The keys whose values are kept; those inside a policy are few enough to keep them all.
constexpr std::array<std::string_view, 6> kKeys = {"protocolVersion", "operation", "inputPath",
                                                   "outputPath",      "quality",   "metadataPolicy"};

/// Parses a document and drops what nobody asks for while it is read, so that a huge value of an unknown key costs
/// nothing. An oversized number becomes infinite: the parser, which would stop at it, is given a zero in its place.
class Parser {
 public:
  explicit Parser(std::span<const char> document) : document_(document), oversized_(oversizedNumbers(document)) {}

  Json parse() {
    const auto keep = [this](int depth, Json::parse_event_t event, Json& parsed) {
      return keeps(depth, event, parsed);
    };
    try {
      if (oversized_.empty()) return Json::parse(document_.begin(), document_.end(), keep);
      return Json::parse(withZerosFor(oversized_, document_), keep);
    } catch (const Json::exception& error) {
      throw DecodingFailure(error.what());
    }
  }

 private:
  bool keeps(int depth, Json::parse_event_t event, Json& parsed) {
    switch (event) {
      case Json::parse_event_t::object_start:
      case Json::parse_event_t::array_start:
        if (depth < kMaximumDepth) return true;
        throw DecodingFailure("nested deeper than " + std::to_string(kMaximumDepth) + " levels");
      case Json::parse_event_t::key:
        return depth != 1 || std::find(kKeys.begin(), kKeys.end(), parsed.get_ref<std::string&>()) != kKeys.end();
      case Json::parse_event_t::value:
        if (parsed.is_number()) restoreOversized(parsed);
        return true;
      default:
        return true;
    }
  }

  void restoreOversized(Json& number) {
    const std::size_t ordinal = numbers_++;
    if (next_ == oversized_.size() || oversized_[next_].ordinal != ordinal) return;
    number = std::numeric_limits<double>::infinity();
    ++next_;
  }

  std::span<const char> document_;
  std::vector<OversizedNumber> oversized_;
  std::size_t next_ = 0;     // of the oversized ones
  std::size_t numbers_ = 0;  // read so far
};

const char* kindOf(const Json& value) {
  switch (value.type()) {
    case Json::value_t::null:
      return "null";
    case Json::value_t::boolean:
      return "a boolean";
    case Json::value_t::string:
      return "a string";
    case Json::value_t::array:
      return "an array";
    case Json::value_t::object:
      return "an object";
    default:
      return "a number";
  }
}

std::optional<std::int64_t> integerIn(const Json& value) {
  if (value.is_number_unsigned() && !std::in_range<std::int64_t>(value.get<std::uint64_t>())) return std::nullopt;
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (!value.is_number_float()) return std::nullopt;
  const auto number = value.get<double>();
  // At the lower edge a number may have been rounded up to it, so it does not count as an integer.
  if (std::trunc(number) != number || number <= -9223372036854775808.0 || number >= 9223372036854775808.0) {
    return std::nullopt;
  }
  return static_cast<std::int64_t>(number);
}

/// The members of one object, taken field by field. `where` prefixes the key in failures ("metadataPolicy.").
class FieldReader {
 public:
  FieldReader(const Json& members, std::string where) : members_(members), where_(std::move(where)) {}

  template <typename T>
  T required(std::string_view key) const {
    const auto member = members_.find(key);
    if (member == members_.end()) fail(key, "is missing");
    if (member->is_null()) fail(key, "must not be null");
    return convert<T>(key, *member);
  }

  template <typename T>
  std::optional<T> optional(std::string_view key) const {
    const auto member = members_.find(key);
    if (member == members_.end() || member->is_null()) return std::nullopt;
    return convert<T>(key, *member);
  }

 private:
  [[noreturn]] void fail(std::string_view key, const std::string& reason) const {
    throw DecodingFailure("key \"" + where_ + std::string(key) + "\" " + reason);
  }

  template <typename T>
  [[nodiscard]] T convert(std::string_view key, const Json& value) const {
    if constexpr (std::is_same_v<T, std::int64_t>) {
      if (const auto integer = integerIn(value)) return *integer;
      fail(key, std::string("must be an integer of 64 bits, not ") +
                    (value.is_number() ? "a number that is none" : kindOf(value)));
    } else if constexpr (std::is_same_v<T, double>) {
      if (!value.is_number()) fail(key, std::string("must be a number, not ") + kindOf(value));
      const auto number = value.get<double>();
      if (!std::isfinite(number)) fail(key, "must be a number within the range of a double");
      return number;
    } else if constexpr (std::is_same_v<T, bool>) {
      if (!value.is_boolean()) fail(key, std::string("must be a boolean, not ") + kindOf(value));
      return value.get<bool>();
    } else if constexpr (std::is_same_v<T, std::string>) {
      if (!value.is_string()) fail(key, std::string("must be a string, not ") + kindOf(value));
      return value.get<std::string>();
    } else {
      if (!value.is_object()) fail(key, std::string("must be an object, not ") + kindOf(value));
      return value;
    }
  }

  const Json& members_;
  std::string where_;
};

MetadataPolicy policyFrom(const Json& members) {
  const FieldReader fields(members, "metadataPolicy.");
  MetadataPolicy policy;
  policy.preserveColorProfile = fields.optional<bool>("preserveColorProfile");
  policy.preserveOrientation = fields.optional<bool>("preserveOrientation");
  policy.removeGPS = fields.optional<bool>("removeGPS");
  policy.removeXMP = fields.optional<bool>("removeXMP");
  policy.removeMakerMetadata = fields.optional<bool>("removeMakerMetadata");
  policy.dropAuxiliaryImages = fields.optional<bool>("dropAuxiliaryImages");
  return policy;
}

HelperRequest requestFrom(const Json& members) {
  const FieldReader fields(members, "");
  HelperRequest request;
  request.protocolVersion = fields.required<std::int64_t>("protocolVersion");
  request.operation = fields.required<std::string>("operation");
  request.inputPath = fields.required<std::string>("inputPath");
  request.outputPath = fields.optional<std::string>("outputPath");
  request.quality = fields.optional<double>("quality");
  if (const auto policy = fields.optional<Json>("metadataPolicy")) request.metadataPolicy = policyFrom(*policy);
  return request;
}

/// The parser takes a NUL character between tokens for the end of the document.
void refuseNul(std::span<const char> document) {
  const auto nul = std::find(document.begin(), document.end(), '\0');
  if (nul == document.end()) return;
  throw DecodingFailure("the NUL character at byte " + std::to_string(nul - document.begin()) + " is not JSON");
}

}  // namespace

HelperRequest decodeRequest(std::span<const char> document) {
  refuseNul(document);
  const Json request = Parser(document).parse();
  if (!request.is_object()) {
    throw DecodingFailure(std::string("the request must be an object, not ") + kindOf(request));
  }
  return requestFrom(request);
}

}  // namespace quellor
