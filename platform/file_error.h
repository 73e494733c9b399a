#pragma once
#include <string>

#include "platform/file_manager.h"

/// The sentences that failed file operations are described by.
namespace quellor {

/// Why something that exists could not be reached: `error` is an errno value.
FileError cannotOpen(const std::string& path, int error);

/// Why a file could not be written, or moved, to `path`.
FileError cannotSave(const std::string& path, int error);

/// Why a file could not be removed.
FileError cannotRemove(const std::string& path, int error);

}  // namespace quellor
