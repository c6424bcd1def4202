#include "PreferenceDouble.h"

PreferenceDouble& preferenceDouble()
{
    static PreferenceDouble instance;
    return instance;
}

int preference_is_existing(const char* key, bool* existing)
{
    if (preferenceDouble().error != PREFERENCE_ERROR_NONE)
        return preferenceDouble().error;
    *existing = preferenceDouble().values.count(key) > 0;
    return PREFERENCE_ERROR_NONE;
}

int preference_get_int(const char* key, int* value)
{
    if (preferenceDouble().error != PREFERENCE_ERROR_NONE)
        return preferenceDouble().error;
    const auto found = preferenceDouble().values.find(key);
    if (found == preferenceDouble().values.end())
        return PREFERENCE_ERROR_NO_KEY;
    *value = found->second;
    return PREFERENCE_ERROR_NONE;
}

int preference_set_int(const char* key, int value)
{
    preferenceDouble().sets.emplace_back(key, value);
    if (preferenceDouble().whenSet)
        preferenceDouble().whenSet();
    if (preferenceDouble().error == PREFERENCE_ERROR_NONE)
        preferenceDouble().values[key] = value;
    return preferenceDouble().error;
}
