#include "player.h"

#include "host/common/Boundary.h"
#include "host/common/SoundStream.h"
#include "Player.h"

#include <memory>

struct player_s {
    Player player;
};

namespace {

// The sound type whose volume a stream has.
sound_type_e soundType(sound_stream_type_e stream)
{
    switch (stream) {
    case SOUND_STREAM_TYPE_SYSTEM:
        return SOUND_TYPE_SYSTEM;
    case SOUND_STREAM_TYPE_ALARM:
    case SOUND_STREAM_TYPE_EMERGENCY:
        return SOUND_TYPE_ALARM;
    case SOUND_STREAM_TYPE_NOTIFICATION:
        return SOUND_TYPE_NOTIFICATION;
    case SOUND_STREAM_TYPE_VOICE_INFORMATION:
    case SOUND_STREAM_TYPE_VOICE_RECOGNITION:
        return SOUND_TYPE_VOICE;
    case SOUND_STREAM_TYPE_RINGTONE_VOIP:
        return SOUND_TYPE_RINGTONE;
    case SOUND_STREAM_TYPE_VOIP:
        return SOUND_TYPE_VOIP;
    default:
        return SOUND_TYPE_MEDIA;
    }
}

// Passes a call on to the player; null stands for a missing argument.
template <typename Call>
int callPlayer(player_h player, const Call& call)
{
    if (!player)
        return PLAYER_ERROR_INVALID_PARAMETER;
    const host::OutOfMemoryOr failure{ PLAYER_ERROR_RESOURCE_LIMIT };
    return host::guarded(
        "a call of the player failed", failure, [&]() -> int { return call(player->player); });
}

} // namespace

extern "C" int player_create(player_h* player)
{
    if (!player)
        return PLAYER_ERROR_INVALID_PARAMETER;
    const host::OutOfMemoryOr failure{ PLAYER_ERROR_RESOURCE_LIMIT };
    return host::guarded("a call of the player failed", failure, [player] {
        auto made = std::make_unique<player_s>();
        made->player.setRole(host::mixerRole(SOUND_TYPE_MEDIA));
        *player = made.release();
        return PLAYER_ERROR_NONE;
    });
}

extern "C" int player_destroy(player_h player)
{
    if (!player)
        return PLAYER_ERROR_INVALID_PARAMETER;
    delete player;
    return PLAYER_ERROR_NONE;
}

extern "C" int player_get_state(player_h player, player_state_e* state)
{
    if (!player || !state)
        return PLAYER_ERROR_INVALID_PARAMETER;
    *state = player->player.state();
    return PLAYER_ERROR_NONE;
}

extern "C" int player_set_looping(player_h player, bool looping)
{
    return callPlayer(player, [=](Player& called) { return called.setLooping(looping); });
}

extern "C" int player_set_uri(player_h player, const char* uri)
{
    return callPlayer(uri ? player : nullptr, [=](Player& called) { return called.setUri(uri); });
}

extern "C" int player_set_sound_stream_info(player_h player, sound_stream_info_h stream_info)
{
    return callPlayer(stream_info ? player : nullptr, [=](Player& called) {
        return called.setRole(host::mixerRole(soundType(stream_info->type)));
    });
}

extern "C" int player_set_error_cb(player_h player, player_error_cb callback, void* user_data)
{
    return callPlayer(callback ? player : nullptr,
        [=](Player& called) { return called.setErrorCallback(callback, user_data); });
}

extern "C" int player_prepare_async(player_h player, player_prepared_cb callback, void* user_data)
{
    return callPlayer(callback ? player : nullptr,
        [=](Player& called) { return called.prepare(callback, user_data); });
}

extern "C" int player_unprepare(player_h player)
{
    return callPlayer(player, [](Player& called) { return called.unprepare(); });
}

extern "C" int player_set_play_position(player_h player, int millisecond, bool accurate,
    player_seek_completed_cb callback, void* user_data)
{
    return callPlayer(millisecond >= 0 ? player : nullptr,
        [=](Player& called) { return called.seek(millisecond, accurate, callback, user_data); });
}

extern "C" int player_start(player_h player)
{
    return callPlayer(player, [](Player& called) { return called.start(); });
}

extern "C" int player_pause(player_h player)
{
    return callPlayer(player, [](Player& called) { return called.pause(); });
}

extern "C" int player_stop(player_h player)
{
    return callPlayer(player, [](Player& called) { return called.stop(); });
}
