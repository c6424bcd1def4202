#include "AppCommonDouble.h"

#include <appcore-common.h>
#include <cstring>

namespace {
char* copyOf(const std::optional<std::string>& text)
{
    return text ? strdup(text->c_str()) : nullptr;
}
} // namespace

AppCommonDouble& appCommonDouble()
{
    static AppCommonDouble instance;
    return instance;
}

int app_get_id(char** id)
{
    if (!appCommonDouble().id)
        return APP_ERROR_INVALID_CONTEXT;
    *id = copyOf(appCommonDouble().id);
    return APP_ERROR_NONE;
}

char* app_get_data_path(void) { return copyOf(appCommonDouble().dataPath); }

char* app_get_resource_path(void) { return copyOf(appCommonDouble().resourcePath); }

char* app_get_shared_resource_path(void) { return copyOf(appCommonDouble().sharedResourcePath); }

char* app_get_shared_trusted_path(void) { return copyOf(appCommonDouble().sharedTrustedPath); }

int appcore_set_i18n(const char* domainname, const char* dirname)
{
    appCommonDouble().textDomains.emplace_back(domainname, dirname);
    return 0;
}
