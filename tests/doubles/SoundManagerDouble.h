#pragma once

#include <functional>
#include <map>
#include <memory>
#include <sound_manager.h>
#include <string>
#include <vector>

/// Sound streams, the focus of the one that was made last, and the volume. Calls go to the journal,
/// but for those that only read.
struct SoundManagerDouble {
    /// What a call answers instead of doing anything, by its name.
    std::map<std::string, int> results;

    std::map<sound_type_e, int> volumes;
    /// The parts of the focus that the last stream holds, as a mask.
    int held = 0;
    int alive = 0;
    /// All that were made, also those that were destroyed.
    std::vector<std::shared_ptr<sound_stream_info_s>> streams;

    /// Run inside sound_manager_create_stream_information, before it makes the stream.
    std::function<void()> onCreate;
    /// Run inside sound_manager_destroy_stream_information, before it returns.
    std::function<void()> onDestroy;

    /// The callback of the last stream, made on the calling thread after what it holds has changed.
    void takeFocus(int behavior);
    void giveFocusBack(int behavior = SOUND_BEHAVIOR_NONE);
    /// The callback of any stream, whose focus another one has changed.
    void tell(size_t stream, sound_stream_focus_state_e state);

    sound_stream_focus_state_changed_cb focusCb = nullptr;
    void* userData = nullptr;
};

SoundManagerDouble& soundManagerDouble();
