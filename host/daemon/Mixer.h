#pragma once

#include "host/common/SoundStream.h"

#include <array>
#include <memory>
#include <pulse/context.h>
#include <pulse/thread-mainloop.h>

namespace host {

/**
 * Sets the volumes of the sound server, one per sound type. The server keeps a volume per media
 * role and applies it to running and later streams. Level 15 is full volume, each level below is 3
 * dB softer, level 0 is silent.
 *
 * Never waits for the server. Without one the levels have no effect; a later set looks for it
 * again.
 */
class Mixer {
public:
    using Levels = std::array<int, kSoundTypes>;

    /// Gives the levels to the server as soon as it answers.
    explicit Mixer(const Levels& levels);
    ~Mixer();

    void set(sound_type_e type, int level);

private:
    using Loop = std::unique_ptr<pa_threaded_mainloop, decltype(&pa_threaded_mainloop_free)>;

    static void _stateCb(pa_context* context, void* data);
    void _connect();
    void _disconnect();
    void _write(int type);

    Levels _levels; ///< like the other members, guarded by the loop's lock
    Loop _loop;
    pa_context* _context = nullptr;
};

} // namespace host
