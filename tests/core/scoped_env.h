// Sets (or, given nullopt, unsets) an environment variable for one test and
// puts the old value back when the test ends, so tests can point the library
// at temporary folders.
#pragma once

#include <stdlib.h>

#include <optional>
#include <string>

class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = getenv(name)) old_ = old;
    Put(value);
  }
  ~ScopedEnv() { Put(old_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  void Put(const std::optional<std::string>& value) {
    if (value) {
      setenv(name_.c_str(), value->c_str(), 1);
    } else {
      unsetenv(name_.c_str());
    }
  }

  std::string name_;
  std::optional<std::string> old_;
};
