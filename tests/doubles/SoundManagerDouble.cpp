#include "SoundManagerDouble.h"

#include "CallJournal.h"

#include <mutex>
#include <optional>

struct sound_stream_info_s {};

namespace {
const int kMaxVolume = 15;

// Guards what is held, which other streams change on threads of their own, and who is told of it.
std::mutex mutex;

std::optional<int> told(const std::string& name)
{
    const auto found = soundManagerDouble().results.find(name);
    if (found == soundManagerDouble().results.end())
        return std::nullopt;
    return found->second;
}

std::string arguments(sound_stream_focus_mask_e mask, int behavior, const char* additionalInfo)
{
    return "(" + std::to_string(mask) + ", " + std::to_string(behavior) + ", "
        + (additionalInfo ? additionalInfo : "null") + ")";
}

void change(int held, sound_stream_focus_state_e state, int behavior)
{
    sound_stream_info_h stream = nullptr;
    sound_stream_focus_state_changed_cb callback = nullptr;
    void* userData = nullptr;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        soundManagerDouble().held = held;
        stream = soundManagerDouble().streams.back().get();
        callback = soundManagerDouble().focusCb;
        userData = soundManagerDouble().userData;
    }
    callback(stream, SOUND_STREAM_FOCUS_FOR_BOTH, state, SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA,
        behavior, nullptr, userData);
}
} // namespace

SoundManagerDouble& soundManagerDouble()
{
    static SoundManagerDouble instance;
    return instance;
}

void SoundManagerDouble::takeFocus(int behavior)
{
    change(0, SOUND_STREAM_FOCUS_STATE_RELEASED, behavior);
}

void SoundManagerDouble::giveFocusBack(int behavior)
{
    change(SOUND_STREAM_FOCUS_FOR_BOTH, SOUND_STREAM_FOCUS_STATE_ACQUIRED, behavior);
}

void SoundManagerDouble::tell(size_t stream, sound_stream_focus_state_e state)
{
    focusCb(streams.at(stream).get(), SOUND_STREAM_FOCUS_FOR_BOTH, state,
        SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA, SOUND_BEHAVIOR_NONE, nullptr, userData);
}

int sound_manager_create_stream_information(sound_stream_type_e stream_type,
    sound_stream_focus_state_changed_cb callback, void* user_data, sound_stream_info_h* stream_info)
{
    callJournal().note(
        "sound_manager_create_stream_information(" + std::to_string(stream_type) + ")");
    if (const auto error = told("sound_manager_create_stream_information"))
        return *error;
    if (soundManagerDouble().onCreate)
        soundManagerDouble().onCreate();
    const std::lock_guard<std::mutex> lock(mutex);
    SoundManagerDouble& state = soundManagerDouble();
    ++state.alive;
    state.held = 0;
    state.focusCb = callback;
    state.userData = user_data;
    state.streams.push_back(std::make_shared<sound_stream_info_s>());
    *stream_info = state.streams.back().get();
    return SOUND_MANAGER_ERROR_NONE;
}

int sound_manager_destroy_stream_information(sound_stream_info_h stream_info)
{
    callJournal().note("sound_manager_destroy_stream_information");
    if (const auto error = told("sound_manager_destroy_stream_information"))
        return *error;
    if (!stream_info)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    if (soundManagerDouble().onDestroy)
        soundManagerDouble().onDestroy();
    --soundManagerDouble().alive;
    return SOUND_MANAGER_ERROR_NONE;
}

int sound_manager_acquire_focus(sound_stream_info_h stream_info,
    sound_stream_focus_mask_e focus_mask, int sound_behavior, const char* additional_info)
{
    callJournal().note(
        "sound_manager_acquire_focus" + arguments(focus_mask, sound_behavior, additional_info));
    if (const auto error = told("sound_manager_acquire_focus"))
        return *error;
    if (!stream_info)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    const std::lock_guard<std::mutex> lock(mutex);
    if (soundManagerDouble().held & focus_mask)
        return SOUND_MANAGER_ERROR_INVALID_STATE;
    soundManagerDouble().held |= focus_mask;
    return SOUND_MANAGER_ERROR_NONE;
}

int sound_manager_release_focus(sound_stream_info_h stream_info,
    sound_stream_focus_mask_e focus_mask, int sound_behavior, const char* additional_info)
{
    callJournal().note(
        "sound_manager_release_focus" + arguments(focus_mask, sound_behavior, additional_info));
    if (const auto error = told("sound_manager_release_focus"))
        return *error;
    if (!stream_info)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    const std::lock_guard<std::mutex> lock(mutex);
    if ((soundManagerDouble().held & focus_mask) != focus_mask)
        return SOUND_MANAGER_ERROR_INVALID_STATE;
    soundManagerDouble().held &= ~focus_mask;
    return SOUND_MANAGER_ERROR_NONE;
}

int sound_manager_get_focus_state(sound_stream_info_h stream_info,
    sound_stream_focus_state_e* state_for_playback, sound_stream_focus_state_e* state_for_recording)
{
    if (const auto error = told("sound_manager_get_focus_state"))
        return *error;
    if (!stream_info)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    const std::lock_guard<std::mutex> lock(mutex);
    const int held = soundManagerDouble().held;
    *state_for_playback = held & SOUND_STREAM_FOCUS_FOR_PLAYBACK
        ? SOUND_STREAM_FOCUS_STATE_ACQUIRED
        : SOUND_STREAM_FOCUS_STATE_RELEASED;
    *state_for_recording = held & SOUND_STREAM_FOCUS_FOR_RECORDING
        ? SOUND_STREAM_FOCUS_STATE_ACQUIRED
        : SOUND_STREAM_FOCUS_STATE_RELEASED;
    return SOUND_MANAGER_ERROR_NONE;
}

int sound_manager_get_volume(sound_type_e type, int* volume)
{
    if (const auto error = told("sound_manager_get_volume"))
        return *error;
    *volume = soundManagerDouble().volumes[type];
    return SOUND_MANAGER_ERROR_NONE;
}

int sound_manager_set_volume(sound_type_e type, int volume)
{
    callJournal().note(
        "sound_manager_set_volume(" + std::to_string(type) + ", " + std::to_string(volume) + ")");
    if (const auto error = told("sound_manager_set_volume"))
        return *error;
    if (volume < 0 || volume > kMaxVolume)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    soundManagerDouble().volumes[type] = volume;
    return SOUND_MANAGER_ERROR_NONE;
}
