#include "host/common/SettingsStore.h"
#include "host/common/Signals.h"
#include "host/common/SoundStream.h"
#include "host/common/Wire.h"
#include "host/tools/hostctl.h"

#include <charconv>
#include <com.velmora.host.Volume-proxy.h>
#include <cstdio>
#include <Ecore.h>

namespace hostctl {

namespace {

const char* const kDeviceStore = "device";
const char* const kSpeaker = "speaker";
const char* const kVibration = "com.velmora.host.Vibration";

using VolumeProxy = host::DaemonProxy<com::velmora::host::Volume_proxy>;

// Prints what the vibrator does.
class VibrationWatch {
public:
    VibrationWatch()
        : _daemon(bus())
    {
        _print("Started", [](int pattern) { printf("started %d\n", pattern); });
        _print("Stopped", [](int pattern) { printf("stopped %d\n", pattern); });
        _daemon.watch(kVibration, "Buzzed", [](sdbus::Message& signal) {
            std::int32_t pattern = 0;
            std::int32_t milliseconds = 0;
            signal >> pattern >> milliseconds;
            printf("buzzed %d for %d ms\n", pattern, milliseconds);
        });
    }

private:
    void _print(const char* signal, void (*print)(int pattern))
    {
        _daemon.watch(kVibration, signal, [print](sdbus::Message& message) {
            std::int32_t pattern = 0;
            message >> pattern;
            print(pattern);
        });
    }

    host::DaemonWatch _daemon;
};

int parseType(const std::string& name)
{
    std::string known;
    for (int type = 0; type < host::kSoundTypes; ++type) {
        if (name == host::kSoundTypeNames[type])
            return type;
        known += (type == 0 ? "" : type + 1 == host::kSoundTypes ? " or " : ", ");
        known += host::kSoundTypeNames[type];
    }
    throw UsageError("there is no sound type \"" + name + "\"; it must be " + known);
}

int parseLevel(const std::string& text)
{
    int level = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
    if (error != std::errc() || *end != '\0' || level < 0 || level > host::kMaxVolume)
        throw UsageError("\"" + text + "\" is no level; it must be a whole number within 0..15");
    return level;
}

} // namespace

void volume(const Arguments& arguments)
{
    const std::string action = arguments.empty() ? "" : arguments[0];
    if (action == "get" && arguments.size() == 2) {
        printf("%d\n", VolumeProxy().Get(parseType(arguments[1])));
    } else if (action == "set" && arguments.size() == 3) {
        VolumeProxy().Set(parseType(arguments[1]), parseLevel(arguments[2]));
    } else {
        throw UsageError(
            "it must be volume get TYPE or volume set TYPE LEVEL, as in volume get alarm");
    }
}

void vibration(const Arguments& arguments)
{
    if (arguments != Arguments{ "--watch" })
        throw UsageError("it must be vibration --watch");
    setvbuf(stdout, nullptr, _IOLBF, 0);
    host::serveBusOnLoop();
    const VibrationWatch watch;
    ecore_main_loop_begin();
}

void device(const Arguments& arguments)
{
    host::SettingsStore& settings = host::SettingsStore::session();
    const std::string option = arguments.size() == 1 ? arguments[0] : "";
    if (option == "--speaker" || option == "--no-speaker") {
        settings.write(kDeviceStore, kSpeaker, option == "--speaker");
    } else if (option == "--show") {
        const auto speaker = settings.read(kDeviceStore, kSpeaker);
        const bool* isThere = speaker ? std::get_if<bool>(&*speaker) : nullptr;
        printf("speaker\t%s\n", isThere && !*isThere ? "no" : "yes");
    } else {
        throw UsageError("it must be device --speaker, device --no-speaker or device --show");
    }
}

} // namespace hostctl
