#include "host/common/Bus.h"
#include "host/common/SettingsStore.h"
#include "host/common/SoundStream.h"
#include "host/tools/hostctl.h"

#include <charconv>
#include <com.velmora.host.Vibration-proxy.h>
#include <com.velmora.host.Volume-proxy.h>
#include <cstdio>
#include <Ecore.h>

namespace hostctl {

namespace {

const char* const kDeviceStore = "device";
const char* const kSpeaker = "speaker";

class VolumeProxy : public sdbus::ProxyInterfaces<com::velmora::host::Volume_proxy> {
public:
    VolumeProxy()
        : ProxyInterfaces(host::bus(), host::kDaemonName, host::kDaemonPath)
    {
    }
};

// Prints what the vibrator does.
class VibrationWatch : public sdbus::ProxyInterfaces<com::velmora::host::Vibration_proxy> {
public:
    VibrationWatch()
        : ProxyInterfaces(host::bus(), host::kDaemonName, host::kDaemonPath)
    {
        registerProxy();
    }
    ~VibrationWatch() { unregisterProxy(); }

private:
    void onStarted(const std::int32_t& pattern) override { printf("started %d\n", pattern); }
    void onBuzzed(const std::int32_t& pattern, const std::int32_t& milliseconds) override
    {
        printf("buzzed %d for %d ms\n", pattern, milliseconds);
    }
    void onStopped(const std::int32_t& pattern) override { printf("stopped %d\n", pattern); }
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
