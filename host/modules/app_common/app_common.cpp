#include "app_common.h"

#include "host/common/Boundary.h"
#include "host/common/Session.h"

#include <filesystem>
#include <string>

namespace {

const char* const kUnusable = "a folder of the package cannot be used";

// A folder of the process's package in an area of the session; empty for a process without a
// package.
std::string packagePath(const char* area, const char* folder)
{
    const std::string& package = host::identity().package;
    return package.empty() ? "" : host::homePath() + area + package + folder;
}

// A folder that the package writes to, made when absent.
char* writablePath(const char* folder)
{
    return host::guarded(kUnusable, nullptr, [=]() -> char* {
        const std::string path = packagePath("rw/", folder);
        if (path.empty())
            return nullptr;
        host::makeDirectory(path);
        return host::copyForC(path);
    });
}

// A folder of the installed package. It does not go away while the package runs, so it is looked up
// once.
char* installedPath(const char* folder, std::string& found)
{
    return host::guarded(kUnusable, nullptr, [=, &found]() -> char* {
        if (found.empty()) {
            const std::string path = packagePath("ro/", folder);
            if (!std::filesystem::is_directory(path))
                return nullptr;
            found = path;
        }
        return host::copyForC(found);
    });
}

} // namespace

extern "C" int app_get_id(char** id)
{
    if (!id)
        return APP_ERROR_INVALID_PARAMETER;
    const host::OutOfMemoryOr failure{ APP_ERROR_INVALID_CONTEXT };
    return host::guarded("the application's id is not known", failure, [=] {
        const std::string& application = host::identity().application;
        if (application.empty())
            return APP_ERROR_INVALID_CONTEXT;
        *id = host::copyForC(application);
        return APP_ERROR_NONE;
    });
}

extern "C" char* app_get_data_path(void) { return writablePath("/data/"); }

extern "C" char* app_get_resource_path(void)
{
    static std::string found;
    return installedPath("/res/", found);
}

extern "C" char* app_get_shared_resource_path(void)
{
    static std::string found;
    return installedPath("/shared/res/", found);
}

extern "C" char* app_get_shared_trusted_path(void) { return writablePath("/shared/trusted/"); }
