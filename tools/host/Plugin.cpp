#include "host/Plugin.h"

#include <dlfcn.h>

#include <stdexcept>

namespace host {

Plugin::Plugin(const std::string& file)
    // A name without a slash would be looked for in the system's library folders.
    : file_(file.find('/') == std::string::npos ? "./" + file : file),
      handle_(dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) throw std::runtime_error(std::string("cannot load the library: ") + dlerror());
}

void* Plugin::symbol(const char* name) const {
  void* const found = dlsym(handle_, name);
  if (found == nullptr) throw std::runtime_error(file_ + ": not the plug-in, it has no " + name);
  return found;
}

}  // namespace host
