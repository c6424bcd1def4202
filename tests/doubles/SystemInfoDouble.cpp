#include "SystemInfoDouble.h"

SystemInfoDouble& systemInfoDouble()
{
    static SystemInfoDouble instance;
    return instance;
}

int system_info_get_custom_bool(const char* key, bool* value)
{
    const SystemInfoDouble& state = systemInfoDouble();
    if (state.result != SYSTEM_INFO_ERROR_NONE)
        return state.result;
    const auto found = state.features.find(key);
    if (found == state.features.end())
        return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
    *value = found->second;
    return SYSTEM_INFO_ERROR_NONE;
}
