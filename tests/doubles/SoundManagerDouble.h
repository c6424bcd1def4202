#pragma once

#include <functional>
#include <map>
#include <sound_manager.h>
#include <string>

/// Sound streams with their focus, one at a time, and the volume. Calls go to the journal, but for
/// those that only read.
struct SoundManagerDouble {
    /// What a call answers instead of doing anything, by its name.
    std::map<std::string, int> results;

    std::map<sound_type_e, int> volumes;
    /// The parts of the focus that the stream holds, as a mask.
    int held = 0;
    int alive = 0;

    /// Run inside sound_manager_destroy_stream_information, before it returns.
    std::function<void()> onDestroy;

    /// The callback of the stream, made on the calling thread after what it holds has changed.
    void takeFocus(int behavior);
    void giveFocusBack(int behavior = SOUND_BEHAVIOR_NONE);

    sound_stream_focus_state_changed_cb focusCb = nullptr;
    void* userData = nullptr;
};

SoundManagerDouble& soundManagerDouble();
