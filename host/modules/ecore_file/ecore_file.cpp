#include "host/common/Boundary.h"
#include "host/common/Session.h"

#include <dlfcn.h>
#include <Ecore_File.h>

// Asks Ecore's function of this name, with the path that a file of the watch has in this session.
// Ecore_File is loaded by the first call, because it brings along a network stack, which would
// delay every alarm by milliseconds.
extern "C" Eina_Bool ecore_file_exists(const char* file)
{
    using Exists = Eina_Bool(const char*);
    static auto* const exists = [] {
        void* library = dlopen("libecore_file.so.1", RTLD_NOW | RTLD_LOCAL);
        return library ? reinterpret_cast<Exists*>(dlsym(library, "ecore_file_exists")) : nullptr;
    }();
    if (!exists) {
        host::logError("the library Ecore_File cannot be loaded");
        return EINA_FALSE;
    }
    return host::guarded("a file cannot be looked for", EINA_FALSE,
        [=] { return exists(file ? host::deviceFile(file).c_str() : nullptr); });
}
