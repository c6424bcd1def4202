#include "sound_manager.h"

#include "FocusStreams.h"
#include "host/common/Boundary.h"
#include "Levels.h"

namespace {

const int kAllBehavior = SOUND_BEHAVIOR_NO_RESUME | SOUND_BEHAVIOR_FADING;

FocusStream* streamOf(sound_stream_info_h handle) { return static_cast<FocusStream*>(handle); }

bool isMask(int mask)
{
    return mask >= SOUND_STREAM_FOCUS_FOR_PLAYBACK && mask <= SOUND_STREAM_FOCUS_FOR_BOTH;
}

bool isBehavior(int behavior) { return (behavior & ~kAllBehavior) == 0; }

bool isSoundType(int type) { return type >= 0 && type < host::kSoundTypes; }

sound_stream_focus_state_e stateOf(int held, int part)
{
    return (held & part) != 0 ? SOUND_STREAM_FOCUS_STATE_ACQUIRED
                              : SOUND_STREAM_FOCUS_STATE_RELEASED;
}

using FocusCall
    = int (FocusStreams::*)(FocusStream* stream, int mask, int behavior, const std::string& info);

template <typename Call>
int guarded(const Call& call)
{
    return host::guarded(
        "sound service", host::OutOfMemoryOr{ SOUND_MANAGER_ERROR_INTERNAL }, call);
}

int changeFocus(
    FocusCall change, sound_stream_info_h handle, int mask, int behavior, const char* info)
{
    if (!handle || !isMask(mask) || !isBehavior(behavior))
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    return guarded([=] {
        return (FocusStreams::instance().*change)(
            streamOf(handle), mask, behavior, info ? info : "");
    });
}

} // namespace

extern "C" int sound_manager_create_stream_information(sound_stream_type_e stream_type,
    sound_stream_focus_state_changed_cb callback, void* user_data, sound_stream_info_h* stream_info)
{
    if (!stream_info || stream_type < SOUND_STREAM_TYPE_MEDIA
        || stream_type > SOUND_STREAM_TYPE_MEDIA_EXTERNAL_ONLY)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    return guarded([&] {
        *stream_info = FocusStreams::instance().add(stream_type, callback, user_data);
        return SOUND_MANAGER_ERROR_NONE;
    });
}

extern "C" int sound_manager_destroy_stream_information(sound_stream_info_h stream_info)
{
    if (!stream_info)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    return guarded([=] {
        FocusStreams::instance().remove(streamOf(stream_info));
        return SOUND_MANAGER_ERROR_NONE;
    });
}

extern "C" int sound_manager_acquire_focus(sound_stream_info_h stream_info,
    sound_stream_focus_mask_e focus_mask, int sound_behavior, const char* additional_info)
{
    return changeFocus(
        &FocusStreams::acquire, stream_info, focus_mask, sound_behavior, additional_info);
}

extern "C" int sound_manager_release_focus(sound_stream_info_h stream_info,
    sound_stream_focus_mask_e focus_mask, int sound_behavior, const char* additional_info)
{
    return changeFocus(
        &FocusStreams::release, stream_info, focus_mask, sound_behavior, additional_info);
}

extern "C" int sound_manager_get_focus_state(sound_stream_info_h stream_info,
    sound_stream_focus_state_e* state_for_playback, sound_stream_focus_state_e* state_for_recording)
{
    if (!stream_info)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    return guarded([=] {
        const int held = FocusStreams::instance().held(streamOf(stream_info));
        if (state_for_playback)
            *state_for_playback = stateOf(held, SOUND_STREAM_FOCUS_FOR_PLAYBACK);
        if (state_for_recording)
            *state_for_recording = stateOf(held, SOUND_STREAM_FOCUS_FOR_RECORDING);
        return SOUND_MANAGER_ERROR_NONE;
    });
}

extern "C" int sound_manager_get_volume(sound_type_e type, int* volume)
{
    if (!volume || !isSoundType(type))
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    return guarded([=] {
        *volume = Levels::instance().get(type);
        return SOUND_MANAGER_ERROR_NONE;
    });
}

extern "C" int sound_manager_set_volume(sound_type_e type, int volume)
{
    if (!isSoundType(type) || volume < 0 || volume > host::kMaxVolume)
        return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
    return guarded([=] { return Levels::instance().set(type, volume); });
}
