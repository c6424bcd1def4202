#include "app_common.h"

#include "host/common/Log.h"
#include "host/common/Session.h"

#include <cstring>
#include <exception>
#include <filesystem>
#include <string>

// The package's folder below the session's; null when there is none.
static char* packagePath(const char* area, const char* folder, bool make)
{
    try {
        const std::string& package = host::identity().package;
        if (package.empty())
            return nullptr;
        const std::string path = host::homePath() + area + package + folder;
        if (make) {
            host::makeDirectory(path);
        } else if (!std::filesystem::is_directory(path)) {
            return nullptr;
        }
        return strdup(path.c_str());
    } catch (const std::exception& error) {
        host::logError(std::string("a folder of the package cannot be used: ") + error.what());
        return nullptr;
    }
}

// A folder of the installed package, which is not taken away while the package runs.
static char* installedPath(const char* folder, std::string& found)
{
    if (!found.empty())
        return strdup(found.c_str());
    char* path = packagePath("ro/", folder, false);
    if (path)
        found = path;
    return path;
}

extern "C" int app_get_id(char** id)
{
    if (!id)
        return APP_ERROR_INVALID_PARAMETER;
    const std::string& application = host::identity().application;
    if (application.empty())
        return APP_ERROR_INVALID_CONTEXT;
    char* copy = strdup(application.c_str());
    if (!copy)
        return APP_ERROR_OUT_OF_MEMORY;
    *id = copy;
    return APP_ERROR_NONE;
}

extern "C" char* app_get_data_path(void) { return packagePath("rw/", "/data/", true); }

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

extern "C" char* app_get_shared_trusted_path(void)
{
    return packagePath("rw/", "/shared/trusted/", true);
}
