// A converter module (the PDF text extractor, the Word and WordPerfect
// converters) loaded by name at run time, so that the library works, with a
// clear message, on a machine where a module is not installed.
//
// A module named N is the file "libN.so" in the module folder: the folder
// $KESTRO_MODULE_DIR names, else "kestro/" beside the file that holds this
// library (where `cmake --install` and the build tree put the modules).
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace ks::core {

class LoadableModule {
 public:
  // Loads the module; none when it is missing or cannot be loaded, with the
  // loader's reason in *why.
  static std::unique_ptr<LoadableModule> Load(std::string_view name, std::string* why);

  LoadableModule(const LoadableModule&) = delete;
  LoadableModule& operator=(const LoadableModule&) = delete;
  ~LoadableModule();  // unloads it

  // The exported function of that name, or null when the module lacks it.
  template <typename Function>
  Function* Find(const char* symbol) const {
    return reinterpret_cast<Function*>(Symbol(symbol));
  }

 private:
  explicit LoadableModule(void* handle) : handle_(handle) {}
  void* Symbol(const char* symbol) const;

  void* handle_;
};

// The folder modules are loaded from.
std::filesystem::path ModuleFolder();

// "lib<name>.so" in that folder.
std::filesystem::path ModulePath(std::string_view name);

}  // namespace ks::core
