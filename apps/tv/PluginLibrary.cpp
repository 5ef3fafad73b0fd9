#include "PluginLibrary.h"

#include <dlfcn.h>

#include "Failure.h"

namespace tv {

PluginLibrary::PluginLibrary(const std::string& file) {
  if (file.empty()) throw Failure("cannot find the plugin libbroadcast_dvbt.so: give it with --plugin FILE");
  // A name without a slash would be looked for among the system's libraries.
  const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
  _handle = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (_handle == nullptr) {
    const char* reason = dlerror();
    throw Failure("cannot load the plugin: " + std::string(reason == nullptr ? path : reason) +
                  "; another one is given with --plugin FILE");
  }
  _entry = find<BroadcastPlugin*()>("vm_init");
  if (_entry == nullptr) throw Failure("\"" + file + "\" is not a plugin: it has no vm_init");
}

void* PluginLibrary::address(const char* name) const {
  return dlsym(_handle, name);
}

}  // namespace tv
