#pragma once
#include <span>
#include <string>

#include "platform/values/bytes.h"

/// Files that appear under their name whole or not at all, and are still there after a loss of power.
namespace quellor::files {

/// Writes `parts`, one after the other, as the whole of the file at `path`, replacing what may be there: into a
/// temporary file of the same directory, in gathered writes, synced, then renamed. Returns an errno value, with nothing
/// left behind and nothing at `path` changed, or 0.
int writeAtomically(const std::string& path, std::span<const ByteView> parts);

/// Moves `from` to `to`, atomically refusing anything that exists there (a dangling link, too); afterwards the
/// directory is synced. Returns an errno value, with `from` still in place, or 0.
int moveWithoutReplacing(const std::string& from, const std::string& to);

/// Has the directory that holds `path` written to the disk, so that a name that was just made or moved there outlasts
/// a loss of power. A file system that cannot do that, or a directory that cannot be read, is left as it is: the file
/// itself is in place by then.
void syncDirectoryOf(const std::string& path);

}  // namespace quellor::files
