#include "Levels.h"

#include "host/common/Log.h"
#include "host/common/Volume.h"

#include <optional>
#include <sound_manager.h>

using host::DaemonLink;

namespace {

const char* const kInterface = "com.velmora.host.Volume";

} // namespace

Levels& Levels::instance()
{
    static auto& levels = *new Levels(DaemonLink::instance());
    return levels;
}

Levels::Levels(DaemonLink& link)
    : _link(link)
{
    _link.run([this] { _link.addRenewal([this] { _renew(); }); });
}

int Levels::set(int type, int level)
{
    return _link.ask(
        kInterface, "Set",
        [=](const DaemonLink::Answer& answer) {
            if (!answer.isThere) {
                _unsaved[type] = level;
                return static_cast<int>(SOUND_MANAGER_ERROR_NONE);
            }
            _unsaved.erase(type);
            if (answer.error.empty())
                return static_cast<int>(SOUND_MANAGER_ERROR_NONE);
            host::logError("volume: " + answer.text);
            return static_cast<int>(SOUND_MANAGER_ERROR_INTERNAL);
        },
        type, level);
}

int Levels::get(int type)
{
    std::optional<int> level;
    _link.run([&] {
        const auto found = _unsaved.find(type);
        if (found != _unsaved.end())
            level = found->second;
    });
    return level ? *level : host::storedVolume(type);
}

void Levels::_renew()
{
    for (const auto& [type, level] : _unsaved) {
        const auto renewed = [this, type = type, level = level](const DaemonLink::Answer& answer) {
            const auto found = _unsaved.find(type);
            if (answer.isThere && found != _unsaved.end() && found->second == level)
                _unsaved.erase(found);
            return 0;
        };
        _link.tell(kInterface, "Set", renewed, std::int32_t{ type }, std::int32_t{ level });
    }
}
