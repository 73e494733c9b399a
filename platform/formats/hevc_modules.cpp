#include "platform/formats/hevc_modules.h"

#include <dlfcn.h>
#include <string>

#include "platform/module.h"

namespace quellor::formats {
namespace {

/// The folder of the object that this code is in: that of the modules where it is in one itself.
ModuleLoader besideThisModule() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&besideThisModule), &info) == 0 || info.dli_fname == nullptr) {
    return ModuleLoader::besideProgram();
  }
  const std::string object = info.dli_fname;
  const std::size_t slash = object.rfind('/');
  const bool module = slash != std::string::npos && object.ends_with(".so");
  return module ? ModuleLoader(object.substr(0, slash)) : ModuleLoader::besideProgram();
}

template <typename Table>
const Table* opened(const char* module, const char* entry, std::uint32_t version) {
  const auto* const table = besideThisModule().open<Table>(module, entry);
  return table != nullptr && table->version == version ? table : nullptr;
}

}  // namespace

const HevcDecoder* hevcDecoder() {
  static const HevcDecoder* const decoder =
      opened<HevcDecoder>(kHevcDecoderModule, kHevcDecoderEntry, kHevcDecoderVersion);
  return decoder;
}

const HevcEncoder* hevcEncoder() {
  static const HevcEncoder* const encoder =
      opened<HevcEncoder>(kHevcEncoderModule, kHevcEncoderEntry, kHevcEncoderVersion);
  return encoder;
}

}  // namespace quellor::formats
