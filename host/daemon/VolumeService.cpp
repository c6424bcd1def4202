#include "host/daemon/VolumeService.h"

#include "host/common/Boundary.h"
#include "host/common/Volume.h"
#include "host/daemon/Answering.h"

namespace host {

namespace {

void check(bool isValid, const char* text)
{
    if (!isValid)
        throw sdbus::Error("org.freedesktop.DBus.Error.InvalidArgs", text);
}

void checkType(int type) { check(type >= 0 && type < kSoundTypes, "There is no such sound type"); }

// The default levels when the settings cannot be read, so that alarms ring all the same.
Mixer::Levels storedLevels()
{
    Mixer::Levels levels{};
    levels.fill(kDefaultVolume);
    guarded("the volume levels cannot be read", [&levels] {
        for (int type = 0; type < kSoundTypes; ++type)
            levels[type] = storedVolume(type);
    });
    return levels;
}

} // namespace

VolumeService::VolumeService()
    : _mixer(storedLevels())
{
}

std::int32_t VolumeService::Get(const std::int32_t& type)
{
    return answering([&] {
        checkType(type);
        return storedVolume(type);
    });
}

void VolumeService::Set(const std::int32_t& type, const std::int32_t& level)
{
    answering([&] {
        checkType(type);
        check(level >= 0 && level <= kMaxVolume, "A level must be within 0 to 15");
        storeVolume(type, level);
        _mixer.set(static_cast<sound_type_e>(type), level);
    });
}

} // namespace host
