#include "system_info.h"

#include "host/common/Boundary.h"
#include "host/common/SettingsStore.h"

#include <cstring>

namespace {

const char* const kStore = "device";

struct Feature {
    const char* key;
    const char* setting;
    bool standard; ///< the answer when there is no setting
};

const Feature kFeatures[] = {
    { "http://developer.velmora.com/tizen/feature/speaker", "speaker", true },
    { "http://developer.velmora.com/tizen/system/showcase", "showcase", false },
};

const Feature* findFeature(const char* key)
{
    for (const Feature& feature : kFeatures) {
        if (strcmp(feature.key, key) == 0)
            return &feature;
    }
    return nullptr;
}

} // namespace

// The setting is read at each call, because it may change while applications run.
extern "C" int system_info_get_custom_bool(const char* key, bool* value)
{
    const Feature* feature = key && value ? findFeature(key) : nullptr;
    if (!feature)
        return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
    const host::OutOfMemoryOr failure{ SYSTEM_INFO_ERROR_IO_ERROR };
    return host::guarded("The device's profile cannot be read", failure, [=] {
        const auto setting = host::SettingsStore::session().read(kStore, feature->setting);
        const bool* made = setting ? std::get_if<bool>(&*setting) : nullptr;
        *value = made ? *made : feature->standard;
        return SYSTEM_INFO_ERROR_NONE;
    });
}
