#include "core/loadable_module.h"

#include <dlfcn.h>

#include <cstdlib>

namespace ks::core {

namespace {

// The file that holds this code: libks_imp.so, or a program linked with the
// static layers.
std::filesystem::path ThisObjectFile() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&ThisObjectFile), &info) == 0 || info.dli_fname == nullptr) {
    return {};
  }
  return std::filesystem::path(info.dli_fname);
}

}  // namespace

std::filesystem::path ModuleFolder() {
  if (const char* folder = std::getenv("KESTRO_MODULE_DIR"); folder != nullptr && *folder) {
    return folder;
  }
  std::error_code ignored;
  std::filesystem::path self = std::filesystem::weakly_canonical(ThisObjectFile(), ignored);
  return self.parent_path() / "kestro";
}

std::filesystem::path ModulePath(std::string_view name) {
  return ModuleFolder() / ("lib" + std::string(name) + ".so");
}

std::unique_ptr<LoadableModule> LoadableModule::Load(std::string_view name, std::string* why) {
  const std::filesystem::path path = ModulePath(name);
  // RTLD_LOCAL keeps a module's own libraries from clashing with ours.
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    if (why != nullptr) {
      const char* error = dlerror();
      *why = error != nullptr ? error : path.string() + ": cannot be loaded";
    }
    return nullptr;
  }
  return std::unique_ptr<LoadableModule>(new LoadableModule(handle));
}

LoadableModule::~LoadableModule() {
  dlclose(handle_);
}

void* LoadableModule::Symbol(const char* symbol) const {
  return dlsym(handle_, symbol);
}

}  // namespace ks::core
