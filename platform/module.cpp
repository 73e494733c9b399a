#include "platform/module.h"

#include <array>
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quellor {
namespace {

/// The folder of the running program, or empty when it cannot be told.
std::string programDirectory() {
  std::array<char, 4096> target{};
  const ssize_t length = readlink("/proc/self/exe", target.data(), target.size());
  if (length <= 0 || static_cast<std::size_t>(length) == target.size()) return {};
  const std::string program(target.data(), static_cast<std::size_t>(length));
  return program.substr(0, program.rfind('/'));
}

bool isDirectory(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

ModuleLoader ModuleLoader::besideProgram() {
  const std::string directory = programDirectory();
  std::string built = directory + "/modules";
  return ModuleLoader(isDirectory(built) ? std::move(built) : directory + "/../lib/quellor");
}

std::string ModuleLoader::pathOf(std::string_view name) const {
  return directory_ + "/quellor-" + std::string(name) + ".so";
}

void* ModuleLoader::symbol(std::string_view name, const char* entry) const {
  void* const module = dlopen(pathOf(name).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  return module == nullptr ? nullptr : dlsym(module, entry);
}

}  // namespace quellor
