#pragma once
#include <stdexcept>
#include <string>

#include "protocol/records.h"

namespace quellor {

/// The response holds a value that JSON cannot carry: a number that is not finite, or text that is not UTF-8.
class EncodingFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The response as one line of compact JSON in UTF-8, without a newline: keys of every object in ascending order,
/// absent fields left out, every "/" escaped. Raises EncodingFailure.
std::string encodeResponse(const HelperResponse& response);

}  // namespace quellor
