#pragma once
#include <span>

#include "platform/described_error.h"
#include "protocol/records.h"

namespace quellor {

/// The request could not be decoded. Not a HelperFailure: the caller gets no JSON for it. The description names the
/// offending key, where one can be named, and the reason.
class DecodingFailure : public DescribedError {
 public:
  using DescribedError::DescribedError;
};

/// Decodes the request that the whole of `document` (UTF-8 JSON) holds, or raises DecodingFailure.
///
/// Keys are matched exactly, unknown ones are ignored, the last of two equal ones counts. Fields are checked in
/// declaration order, so the first offending one is named. An integral number written with a fraction or an exponent
/// (1.0, 1e0) is an integer. A number beyond the range of a double fails where it is the value of a field, and only
/// there. A NUL character anywhere is not JSON. Nesting deeper than 512 is refused. What nests deeper than the policy's
/// flags is read over without being kept.
HelperRequest decodeRequest(std::span<const char> document);

}  // namespace quellor
