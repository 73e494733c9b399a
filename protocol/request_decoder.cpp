#include "protocol/request_decoder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

#include "protocol/number_range.h"

namespace quellor {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kMaximumDepth = 512;

struct Null {};
struct Array {};
struct Object;

/// A value as far as decoding needs it: arrays keep nothing of their contents, objects only the top one and the
/// policy. A number beyond the range of a double is infinite.
using Value = std::variant<Null, bool, std::int64_t, double, std::string, Array, std::map<std::string, Object>>;
struct Object {
  Value value;
};
using Members = std::map<std::string, Object>;

const char* kindOf(const Value& value) {
  constexpr const char* kinds[] = {"null", "a boolean", "a number", "a number", "a string", "an array", "an object"};
  return kinds[value.index()];
}

/// Receives the parser's events and keeps the members of the document's object and of the objects right below it.
/// Everything deeper is counted and dropped, so that a huge or deeply nested value of an unknown key costs nothing.
class MemberRecorder : public nlohmann::json_sax<Json> {
 public:
  /// The parser is given a zero for each of `oversized`, which it would stop at.
  explicit MemberRecorder(std::span<const OversizedNumber> oversized) : oversized_(oversized) {}

  bool null() override { return store(Null{}); }
  bool boolean(bool value) override { return store(value); }
  bool number_integer(number_integer_t value) override { return storeNumber(std::int64_t{value}); }
  bool number_unsigned(number_unsigned_t value) override {
    if (std::in_range<std::int64_t>(value)) return storeNumber(static_cast<std::int64_t>(value));
    return storeNumber(static_cast<double>(value));  // too large for the protocol's integers, so it goes on as a number
  }
  bool number_float(number_float_t value, const string_t&) override { return storeNumber(value); }
  bool string(string_t& value) override { return store(std::move(value)); }
  bool binary(binary_t&) override { return false; }

  bool start_object(std::size_t) override {
    store(Members{});
    return descend();
  }
  bool start_array(std::size_t) override {
    store(Array{});
    return descend(true);
  }
  bool key(string_t& name) override {
    if (depth_ == 1) {
      topKey_ = std::move(name);
    } else if (depth_ == 2) {
      innerKey_ = std::move(name);
    }
    return true;
  }
  bool end_object() override { return ascend(); }
  bool end_array() override { return ascend(); }

  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override {
    problem_ = error.what();
    return false;
  }

  [[nodiscard]] const std::string& problem() const { return problem_; }
  [[nodiscard]] const Value& document() const { return document_; }

 private:
  bool storeNumber(Value value) {
    const bool oversized = !oversized_.empty() && oversized_.front().ordinal == numbers_;
    if (oversized) oversized_ = oversized_.subspan(1);
    ++numbers_;
    return oversized ? store(std::numeric_limits<double>::infinity()) : store(std::move(value));
  }

  bool store(Value value) {
    if (depth_ == 0) {
      document_ = std::move(value);
    } else if (depth_ == 1 && arrayDepth_ == 0) {
      std::get<Members>(document_)[topKey_].value = std::move(value);
    } else if (depth_ == 2 && arrayDepth_ == 0) {
      std::get<Members>(std::get<Members>(document_)[topKey_].value)[innerKey_].value = std::move(value);
    }
    return true;
  }

  bool descend(bool intoArray = false) {
    ++depth_;
    if (intoArray && arrayDepth_ == 0) arrayDepth_ = depth_;
    if (depth_ <= kMaximumDepth) return true;
    problem_ = "nested deeper than " + std::to_string(kMaximumDepth) + " levels";
    return false;
  }

  bool ascend() {
    if (depth_ == arrayDepth_) arrayDepth_ = 0;
    --depth_;
    return true;
  }

  std::span<const OversizedNumber> oversized_;  // those that are still to come
  std::size_t numbers_ = 0;                     // read so far
  Value document_;
  std::string topKey_;
  std::string innerKey_;
  std::size_t depth_ = 0;
  std::size_t arrayDepth_ = 0;  // depth inside the outermost open array, 0 outside of arrays
  std::string problem_;
};

std::optional<std::int64_t> integerIn(const Value& value) {
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return *integer;
  const auto* number = std::get_if<double>(&value);
  if (number == nullptr || std::trunc(*number) != *number) return std::nullopt;
  // At the lower edge a number may have been rounded up to it, so it does not count as an integer.
  if (*number <= -9223372036854775808.0 || *number >= 9223372036854775808.0) return std::nullopt;
  return static_cast<std::int64_t>(*number);
}

/// The members of one object, taken field by field. `where` prefixes the key in failures ("metadataPolicy.").
class FieldReader {
 public:
  FieldReader(const Members& members, std::string where) : members_(members), where_(std::move(where)) {}

  template <typename T>
  T required(std::string_view key) const {
    const Value* const value = find(key);
    if (value == nullptr) fail(key, "is missing");
    if (std::holds_alternative<Null>(*value)) fail(key, "must not be null");
    return convert<T>(key, *value);
  }

  template <typename T>
  std::optional<T> optional(std::string_view key) const {
    const Value* const value = find(key);
    if (value == nullptr || std::holds_alternative<Null>(*value)) return std::nullopt;
    return convert<T>(key, *value);
  }

 private:
  [[nodiscard]] const Value* find(std::string_view key) const {
    const auto member = members_.find(std::string(key));
    return member == members_.end() ? nullptr : &member->second.value;
  }

  [[noreturn]] void fail(std::string_view key, const std::string& reason) const {
    throw DecodingFailure("key \"" + where_ + std::string(key) + "\" " + reason);
  }

  template <typename T>
  [[nodiscard]] T convert(std::string_view key, const Value& value) const {
    if constexpr (std::is_same_v<T, std::int64_t>) {
      if (const auto integer = integerIn(value)) return *integer;
      fail(key, std::string("must be an integer of 64 bits, not ") +
                    (std::holds_alternative<double>(value) ? "a number that is none" : kindOf(value)));
    } else if constexpr (std::is_same_v<T, double>) {
      if (const auto* integer = std::get_if<std::int64_t>(&value)) return static_cast<double>(*integer);
      const auto* number = std::get_if<double>(&value);
      if (number == nullptr) fail(key, std::string("must be a number, not ") + kindOf(value));
      if (!std::isfinite(*number)) fail(key, "must be a number within the range of a double");
      return *number;
    } else {
      if (const auto* exact = std::get_if<T>(&value)) return *exact;
      constexpr const char* wanted = std::is_same_v<T, bool>          ? "a boolean"
                                     : std::is_same_v<T, std::string> ? "a string"
                                                                      : "an object";
      fail(key, std::string("must be ") + wanted + ", not " + kindOf(value));
    }
  }

  const Members& members_;
  std::string where_;
};

MetadataPolicy policyFrom(const Members& members) {
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

HelperRequest requestFrom(const Members& members) {
  const FieldReader fields(members, "");
  HelperRequest request;
  request.protocolVersion = fields.required<std::int64_t>("protocolVersion");
  request.operation = fields.required<std::string>("operation");
  request.inputPath = fields.required<std::string>("inputPath");
  request.outputPath = fields.optional<std::string>("outputPath");
  request.quality = fields.optional<double>("quality");
  if (const auto policy = fields.optional<Members>("metadataPolicy")) request.metadataPolicy = policyFrom(*policy);
  return request;
}

/// The parser takes a NUL character between tokens for the end of the document.
void refuseNul(std::span<const char> document) {
  const auto nul = std::find(document.begin(), document.end(), '\0');
  if (nul == document.end()) return;
  throw DecodingFailure("the NUL character at byte " + std::to_string(nul - document.begin()) + " is not JSON");
}

bool parse(std::span<const char> document, const std::vector<OversizedNumber>& oversized, MemberRecorder& recorder) {
  if (oversized.empty()) return Json::sax_parse(document.begin(), document.end(), &recorder);
  return Json::sax_parse(withZerosFor(oversized, document), &recorder);
}

}  // namespace

HelperRequest decodeRequest(std::span<const char> document) {
  refuseNul(document);
  const auto oversized = oversizedNumbers(document);
  MemberRecorder recorder(oversized);
  if (!parse(document, oversized, recorder)) throw DecodingFailure(recorder.problem());
  const auto* members = std::get_if<Members>(&recorder.document());
  if (members == nullptr) {
    throw DecodingFailure(std::string("the request must be an object, not ") + kindOf(recorder.document()));
  }
  return requestFrom(*members);
}

}  // namespace quellor
