#pragma once
#include <vector>

#include "protocol/records.h"

namespace quellor {

/// Opens those of the three standard streams that the caller closed on nothing. Or else the next file that is opened
/// would be one of them: the answer would be written into an image.
void occupyStandardStreams();

/// Reads standard input to its end; blocks until the caller closes it. Raises HelperFailure "invalid_request" when
/// there is not a single byte. A stream that cannot be read ends where reading failed.
std::vector<char> readStdinJSON();

/// Writes the response as one line to standard output. A response that cannot be encoded is replaced by a fixed
/// document that says so; the exit status, decided before, stands in any case.
void emitJSON(const HelperResponse& response);

}  // namespace quellor
