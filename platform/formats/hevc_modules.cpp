#include "platform/formats/hevc_modules.h"

#include <array>
#include <cstdint>
#include <dlfcn.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace quellor::formats {
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

/// An absolute path, so that the dynamic linker searches nowhere else.
std::string pathOf(const std::string& module) {
  const std::string program = programDirectory();
  if (program.empty()) throw MissingModule(module + ": the program's own folder cannot be told");
  const std::string built = program + "/modules";
  return (isDirectory(built) ? built : program + "/../lib/quellor") + "/quellor-" + module + ".so";
}

[[noreturn]] void refuse(const std::string& path) {
  const char* const reason = dlerror();
  throw MissingModule(reason != nullptr ? reason : path + ": cannot be loaded");
}

template <typename Table>
const Table& opened(const char* module, const char* entry, std::uint32_t version) {
  const std::string path = pathOf(module);
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (library == nullptr) refuse(path);
  const auto function = reinterpret_cast<const Table* (*)()>(dlsym(library, entry));
  if (function == nullptr) refuse(path);
  const Table* const table = function();
  if (table->version != version) throw MissingModule(path + ": was built from other sources than the program");
  return *table;
}

}  // namespace

const HevcDecoder& hevcDecoder() {
  static const HevcDecoder& decoder = opened<HevcDecoder>(kHevcDecoderModule, kHevcDecoderEntry, kHevcDecoderVersion);
  return decoder;
}

const HevcEncoder& hevcEncoder() {
  static const HevcEncoder& encoder = opened<HevcEncoder>(kHevcEncoderModule, kHevcEncoderEntry, kHevcEncoderVersion);
  return encoder;
}

}  // namespace quellor::formats
