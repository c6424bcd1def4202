#pragma once

#include <sound_manager.h>
#include <string>

/// The part of a stream that other modules than the sound manager use.
struct sound_stream_info_s {
    sound_stream_type_e type = SOUND_STREAM_TYPE_MEDIA;
};

namespace host {

/// The names of the sound types, in the order of sound_type_e.
constexpr const char* kSoundTypeNames[]
    = { "system", "notification", "alarm", "ringtone", "media", "call", "voip", "voice" };
constexpr int kSoundTypes = sizeof(kSoundTypeNames) / sizeof(*kSoundTypeNames);

constexpr int kMaxVolume = 15;

/// The media role of the streams of a sound type: the sound server keeps one volume per role.
inline std::string mixerRole(sound_type_e type)
{
    return std::string("watch-") + kSoundTypeNames[type];
}

} // namespace host
