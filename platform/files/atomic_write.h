#pragma once
#include <span>
#include <string>

#include "platform/values/bytes.h"

namespace quellor::files {

/// Writes `parts`, one after the other, as the whole of the file at `path`, replacing what may be there: into a
/// temporary file of the same directory, in gathered writes, synced, then renamed. Returns an errno value, with nothing
/// left behind and nothing at `path` changed, or 0.
int writeAtomically(const std::string& path, std::span<const ByteView> parts);

}  // namespace quellor::files
