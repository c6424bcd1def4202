#include "host/daemon/Mixer.h"

#include <pulse/ext-stream-restore.h>
#include <pulse/operation.h>

namespace host {

namespace {

const double kDecibelPerLevel = 3;

pa_volume_t volumeOf(int level)
{
    if (level == 0)
        return PA_VOLUME_MUTED;
    return pa_sw_volume_from_dB(-kDecibelPerLevel * (kMaxVolume - level));
}

class Locked {
public:
    explicit Locked(pa_threaded_mainloop* loop)
        : _loop(loop)
    {
        pa_threaded_mainloop_lock(_loop);
    }
    ~Locked() { pa_threaded_mainloop_unlock(_loop); }

private:
    pa_threaded_mainloop* _loop;
};

} // namespace

Mixer::Mixer(const Levels& levels)
    : _levels(levels)
    , _loop(pa_threaded_mainloop_new(), pa_threaded_mainloop_free)
{
    pa_threaded_mainloop_start(_loop.get());
    const Locked locked(_loop.get());
    _connect();
}

Mixer::~Mixer()
{
    pa_threaded_mainloop_stop(_loop.get());
    _disconnect();
}

void Mixer::set(sound_type_e type, int level)
{
    const Locked locked(_loop.get());
    _levels[type] = level;
    if (!_context || !PA_CONTEXT_IS_GOOD(pa_context_get_state(_context))) {
        _connect();
    } else if (pa_context_get_state(_context) == PA_CONTEXT_READY) {
        _write(type);
    }
}

void Mixer::_stateCb(pa_context* context, void* data)
{
    auto* mixer = static_cast<Mixer*>(data);
    if (pa_context_get_state(context) != PA_CONTEXT_READY)
        return;
    for (int type = 0; type < kSoundTypes; ++type)
        mixer->_write(type);
}

void Mixer::_connect()
{
    _disconnect();
    _context = pa_context_new(pa_threaded_mainloop_get_api(_loop.get()), "hostd");
    pa_context_set_state_callback(_context, _stateCb, this);
    pa_context_connect(_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void Mixer::_disconnect()
{
    if (!_context)
        return;
    pa_context_set_state_callback(_context, nullptr, nullptr);
    pa_context_disconnect(_context);
    pa_context_unref(_context);
    _context = nullptr;
}

void Mixer::_write(int type)
{
    const std::string name
        = "sink-input-by-media-role:" + mixerRole(static_cast<sound_type_e>(type));
    pa_ext_stream_restore_info entry = {};
    entry.name = name.c_str();
    pa_channel_map_init_mono(&entry.channel_map);
    pa_cvolume_set(&entry.volume, 1, volumeOf(_levels[type]));
    pa_operation* operation
        = pa_ext_stream_restore_write(_context, PA_UPDATE_REPLACE, &entry, 1, 1, nullptr, nullptr);
    if (operation)
        pa_operation_unref(operation);
}

} // namespace host
