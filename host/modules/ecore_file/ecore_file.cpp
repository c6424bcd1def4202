#include "host/common/Boundary.h"
#include "host/common/Session.h"

#include <dlfcn.h>
#include <Ecore_File.h>

// Ecore's own, told where a file of the watch lies. It is loaded when it is first asked: it brings
// a network stack along, which would make every alarm late by milliseconds.
extern "C" Eina_Bool ecore_file_exists(const char* file)
{
    using Exists = Eina_Bool(const char*);
    static auto* const exists = [] {
        void* library = dlopen("libecore_file.so.1", RTLD_NOW | RTLD_LOCAL);
        return library ? reinterpret_cast<Exists*>(dlsym(library, "ecore_file_exists")) : nullptr;
    }();
    if (!exists) {
        host::logError("Ecore's file tools cannot be loaded");
        return EINA_FALSE;
    }
    return host::guarded("a file's place is not known", EINA_FALSE,
        [=] { return exists(file ? host::deviceFile(file).c_str() : nullptr); });
}
