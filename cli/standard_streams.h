#pragma once
#include <string_view>
#include <vector>

#include "protocol/records.h"

namespace quellor {

/// To be called before anything else is opened, and before the functions below.
///
/// Opens those of the three standard streams that the caller closed on nothing. Or else the next file that is opened
/// would be one of them: the answer would be written into an image. Then gives standard output and standard error
/// numbers that only this file knows, and lets their own lead nowhere, so that no line of a library mingles with an
/// answer or reaches the caller. In a build with sanitizers, standard error stays as it is, for their reports.
void takeOverStandardStreams();

/// Reads standard input to its end; blocks until the caller closes it, whether the stream is in blocking mode or not.
/// Raises HelperFailure "invalid_request" when there is not a single byte. A stream that cannot be read ends where
/// reading failed.
std::vector<char> readStdinJSON();

/// Writes the response as one line to standard output, the whole of it, however slowly it is read. A response that
/// cannot be encoded is replaced by a fixed document that says so.
///
/// Returns 0, or the errno value of a write that failed; of the line, any part may have been written then.
[[nodiscard]] int emitJSON(const HelperResponse& response);

/// Writes lines to standard error. That it cannot be done is nobody's concern.
void writeToStandardError(std::string_view lines);

}  // namespace quellor
