#include "host/common/Engine.h"

#include <dlfcn.h>
#include <stdexcept>

namespace host {

namespace {

// The folder of this library, ending in "/".
std::string libraryFolder()
{
    Dl_info info = {};
    if (dladdr(reinterpret_cast<void*>(engineSymbol), &info) == 0)
        return "";
    const std::string path = info.dli_fname;
    return path.substr(0, path.rfind('/') + 1);
}

} // namespace

void* engineSymbol(const std::string& engine, const char* symbol)
{
    const std::string path = libraryFolder() + "alarm-host-" + engine + ".so";
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* found = library ? dlsym(library, symbol) : nullptr;
    if (!found)
        throw std::runtime_error(dlerror());
    return found;
}

} // namespace host
