#include "host/daemon/VolumeService.h"

#include "host/common/SettingsStore.h"

namespace host {

namespace {

const char* const kStore = "volume";
const int kDefaultLevel = 11;

void check(bool isValid, const char* text)
{
    if (!isValid)
        throw sdbus::Error("org.freedesktop.DBus.Error.InvalidArgs", text);
}

void checkType(int type) { check(type >= 0 && type < kSoundTypes, "There is no such sound type"); }

int storedLevel(int type)
{
    const auto value = SettingsStore::session().read(kStore, kSoundTypeNames[type]);
    const int* level = value ? std::get_if<int>(&*value) : nullptr;
    return level && *level >= 0 && *level <= kMaxVolume ? *level : kDefaultLevel;
}

Mixer::Levels storedLevels()
{
    Mixer::Levels levels{};
    for (int type = 0; type < kSoundTypes; ++type)
        levels[type] = storedLevel(type);
    return levels;
}

// Runs call, with errors in the bus's terms.
template <typename Call>
auto answering(Call call)
{
    try {
        return call();
    } catch (const sdbus::Error&) {
        throw;
    } catch (const std::exception& error) {
        throw sdbus::Error("org.freedesktop.DBus.Error.Failed", error.what());
    }
}

} // namespace

VolumeService::VolumeService()
    : AdaptorInterfaces(bus(), kDaemonPath)
    , _mixer(storedLevels())
{
    registerAdaptor();
}

VolumeService::~VolumeService() { unregisterAdaptor(); }

std::int32_t VolumeService::Get(const std::int32_t& type)
{
    return answering([&] {
        checkType(type);
        return storedLevel(type);
    });
}

void VolumeService::Set(const std::int32_t& type, const std::int32_t& level)
{
    answering([&] {
        checkType(type);
        check(level >= 0 && level <= kMaxVolume, "A level must be within 0 to 15");
        SettingsStore::session().write(kStore, kSoundTypeNames[type], level);
        _mixer.set(static_cast<sound_type_e>(type), level);
    });
}

} // namespace host
