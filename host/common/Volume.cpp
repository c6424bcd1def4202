#include "host/common/Volume.h"

#include "host/common/SettingsStore.h"
#include "host/common/SoundStream.h"

namespace host {

namespace {

const char* const kStore = "volume";

} // namespace

int storedVolume(int type)
{
    const auto value = SettingsStore::session().read(kStore, kSoundTypeNames[type]);
    const int* level = value ? std::get_if<int>(&*value) : nullptr;
    return level && *level >= 0 && *level <= kMaxVolume ? *level : kDefaultVolume;
}

void storeVolume(int type, int level)
{
    SettingsStore::session().write(kStore, kSoundTypeNames[type], level);
}

} // namespace host
