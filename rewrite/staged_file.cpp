#include "rewrite/staged_file.h"

#include <exception>

namespace quellor {

StagedFile::~StagedFile() {
  if (!path_) return;
  try {
    files_.removeItem(*path_);
  } catch (const std::exception&) {
    // Most often it was never created, and there is nobody left to tell of anything else.
  }
}

void StagedFile::set(const std::string& path) {
  path_ = path;
  guard_.emplace(path);
}

void StagedFile::release() {
  path_.reset();
  guard_.reset();
}

}  // namespace quellor
