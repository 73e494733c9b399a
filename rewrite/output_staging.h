#pragma once
#include <string>

#include "platform/platform.h"

/// The three steps by which an image reaches its destination only once it is whole: a temporary name beside it, a
/// check of what was written there, and a move that refuses to replace anything. None of them removes the temporary
/// file; the driver does.
namespace quellor {

/// A path for a temporary file in the directory of `outputPath`: hidden, and another one at every call. It does not
/// depend on the name that `outputPath` ends in. For "/photos/out/img.heic" something like
/// "/photos/out/.output.heic.0F8FAD5B-D9CB-469F-A165-70867728950E.part".
std::string tempOutputPath(const std::string& outputPath);

/// Checks that the file at `tempPath` has at least one byte and decodes. Raises FileError when it cannot be looked
/// at, HelperFailure "output_empty", or what observeOutputFile() raises.
void validateOutputFile(const Platform& platform, const std::string& tempPath);

/// Moves `temp` to `outputPath`, where nothing may exist. Raises HelperFailure "atomic_replace_failed", with `temp`
/// and whatever is at `outputPath` as they were.
void atomicReplace(const FileManager& files, const std::string& temp, const std::string& outputPath);

}  // namespace quellor
