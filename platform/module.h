#pragma once
#include <string>
#include <string_view>

/// Marks the one function that a loadable module exports.
#define QUELLOR_MODULE_ENTRY extern "C" __attribute__((visibility("default")))

namespace quellor {

/// Opens the loadable modules of this program: its only way to the libraries that most runs do not need.
class ModuleLoader {
 public:
  /// Looks for modules in `directory` only; the environment has no say.
  explicit ModuleLoader(std::string directory) : directory_(std::move(directory)) {}

  /// A loader for the modules of the running program: in "modules" beside it in the build tree, in "../lib/quellor"
  /// once installed.
  static ModuleLoader besideProgram();

  /// The table that module `name` ("jpeg") hands out through its function `entry`, or null when the module or one
  /// of its libraries is not there. The table stays valid until the process ends: a module is never closed.
  template <typename Table>
  [[nodiscard]] const Table* open(std::string_view name, const char* entry) const {
    const auto function = reinterpret_cast<const Table* (*)()>(symbol(name, entry));
    return function == nullptr ? nullptr : function();
  }

  /// The file of module `name`.
  [[nodiscard]] std::string pathOf(std::string_view name) const;

 private:
  [[nodiscard]] void* symbol(std::string_view name, const char* entry) const;

  std::string directory_;
};

}  // namespace quellor
