#include "platform/codecs/heif_library.h"

#include <array>
#include <cstdlib>
#include <dlfcn.h>
#include <set>
#include <string>

namespace quellor::heif {
namespace {

constexpr const char* kPluginPathVariable = "LIBHEIF_PLUGIN_PATH";

/// The folder that holds the plugins of the installed library, or empty when it has none.
std::string pluginDirectory() {
  unsetenv(kPluginPathVariable);
  const char* const* const directories = heif_get_plugin_directories();
  std::string directory = directories != nullptr && directories[0] != nullptr ? directories[0] : "";
  heif_free_plugin_directories(directories);
  return directory;
}

/// The folder of this module, where the project's own decoder stands.
std::string ownDirectory() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&ownDirectory), &info) == 0 || info.dli_fname == nullptr) return ".";
  const std::string module = info.dli_fname;
  const std::size_t slash = module.rfind('/');
  return slash == std::string::npos ? "." : module.substr(0, slash);
}

bool load(const std::string& directory, const char* name) {
  const std::string plugin = directory + '/' + name;
  // The library would say on standard error that a plugin, or something that it needs, is not there.
  if (dlopen(plugin.c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) return false;
  const heif_plugin_info* info = nullptr;
  return heif_load_plugin(plugin.c_str(), &info).code == heif_error_Ok;
}

/// The library's own plugins for an item type, the best first; one is enough. A library that has a decoder built in
/// has no plugin for it.
std::vector<const char*> pluginsFor(FourCC type) {
  switch (type) {
    case fourCC("hvc1"):
    case fourCC("hev1"):
      return {"libheif-libde265.so"};
    case fourCC("av01"):
      return {"libheif-dav1d.so", "libheif-aomdec.so"};
    case fourCC("jpeg"):
    case fourCC("mime"):
      return {"libheif-jpegdec.so"};
    case fourCC("j2k1"):
      return {"libheif-j2kdec.so"};
    default:
      return {};
  }
}

void loadDecoderFor(FourCC type, const std::string& directory) {
  // The project's own decoder finds damage that the library's would conceal.
  const bool hevc = type == fourCC("hvc1") || type == fourCC("hev1");
  if (hevc && load(ownDirectory(), "quellor-hevc.so")) return;
  for (const char* const name : pluginsFor(type)) {
    if (load(directory, name)) return;
  }
}

/// The library, started once in a process, and the plugins that it has been given: it is one for the whole process,
/// whoever calls it.
class Library {
 public:
  static Library& instance() {
    static Library library;
    return library;
  }

  void loadDecoder(FourCC type) {
    if (loaded_.insert(type).second) loadDecoderFor(type, directory_);
  }

  void loadEncoder() {
    if (loaded_.insert(fourCC("x265")).second) load(directory_, "libheif-x265.so");
  }

 private:
  Library() : directory_(pluginDirectory()) {
    // Where the library looks for plugins when it starts: loading all of them costs more than a small picture.
    setenv(kPluginPathVariable, "/dev/null", 1);
    heif_init(nullptr);
  }

  std::string directory_;
  std::set<FourCC> loaded_;
};

}  // namespace

void startLibraryFor(const std::vector<const Item*>& items) {
  for (const Item* item : items) Library::instance().loadDecoder(item->type);
}

void startLibraryForEncoding() { Library::instance().loadEncoder(); }

}  // namespace quellor::heif
