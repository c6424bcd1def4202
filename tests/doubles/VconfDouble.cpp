#include "VconfDouble.h"

#include <cstring>
#include <mutex>

namespace {
void noteAsked(const char* key)
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    vconfDouble().asked.push_back(key);
}

template <typename Value>
int read(const std::map<std::string, Value>& settings, const char* key, int* value)
{
    noteAsked(key);
    const auto found = settings.find(key);
    if (found == settings.end())
        return VCONF_ERROR;
    *value = found->second;
    return VCONF_OK;
}
} // namespace

VconfDouble& vconfDouble()
{
    static VconfDouble instance;
    return instance;
}

int vconf_get_int(const char* in_key, int* intval)
{
    return read(vconfDouble().ints, in_key, intval);
}

int vconf_get_bool(const char* in_key, int* boolval)
{
    return read(vconfDouble().bools, in_key, boolval);
}

char* vconf_get_str(const char* in_key)
{
    noteAsked(in_key);
    const auto found = vconfDouble().texts.find(in_key);
    return found == vconfDouble().texts.end() ? nullptr : strdup(found->second.c_str());
}
