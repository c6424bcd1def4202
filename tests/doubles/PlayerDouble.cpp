#include "PlayerDouble.h"

#include "CallJournal.h"

#include <initializer_list>
#include <mutex>
#include <optional>

struct player_s {};

namespace {
// Guards the state, which a preparing thread changes.
std::mutex mutex;
player_s only;

bool isIn(std::initializer_list<player_state_e> states)
{
    const std::lock_guard<std::mutex> lock(mutex);
    for (const player_state_e state : states) {
        if (playerDouble().state == state)
            return true;
    }
    return false;
}

void setState(player_state_e state)
{
    const std::lock_guard<std::mutex> lock(mutex);
    playerDouble().state = state;
}

// The answer of a call that cannot be carried out.
std::optional<int> refusal(
    const std::string& name, player_h player, std::initializer_list<player_state_e> states)
{
    const auto told = playerDouble().results.find(name);
    if (told != playerDouble().results.end())
        return told->second;
    if (!player)
        return PLAYER_ERROR_INVALID_PARAMETER;
    if (!isIn(states))
        return PLAYER_ERROR_INVALID_STATE;
    return std::nullopt;
}
} // namespace

PlayerDouble& playerDouble()
{
    static PlayerDouble instance;
    return instance;
}

void PlayerDouble::prepared()
{
    setState(PLAYER_STATE_READY);
    preparedCb(userData);
}

void PlayerDouble::seekCompleted() { seekCompletedCb(userData); }

void PlayerDouble::failed(int error) { errorCb(error, userData); }

int player_create(player_h* player)
{
    callJournal().note("player_create");
    if (const auto error = refusal("player_create", &only, { PLAYER_STATE_NONE }))
        return *error;
    ++playerDouble().alive;
    setState(PLAYER_STATE_IDLE);
    *player = &only;
    return PLAYER_ERROR_NONE;
}

int player_destroy(player_h player)
{
    callJournal().note("player_destroy");
    if (!player)
        return PLAYER_ERROR_INVALID_PARAMETER;
    if (playerDouble().onDestroy)
        playerDouble().onDestroy();
    --playerDouble().alive;
    setState(PLAYER_STATE_NONE);
    return PLAYER_ERROR_NONE;
}

int player_get_state(player_h player, player_state_e* state)
{
    if (const auto error = refusal("player_get_state", player,
            { PLAYER_STATE_IDLE, PLAYER_STATE_READY, PLAYER_STATE_PLAYING, PLAYER_STATE_PAUSED }))
        return *error;
    const std::lock_guard<std::mutex> lock(mutex);
    *state = playerDouble().state;
    return PLAYER_ERROR_NONE;
}

int player_set_looping(player_h player, bool looping)
{
    callJournal().note(looping ? "player_set_looping(true)" : "player_set_looping(false)");
    return refusal("player_set_looping", player, { PLAYER_STATE_IDLE }).value_or(PLAYER_ERROR_NONE);
}

int player_set_uri(player_h player, const char* uri)
{
    callJournal().note("player_set_uri");
    if (const auto error = refusal("player_set_uri", player, { PLAYER_STATE_IDLE }))
        return *error;
    if (playerDouble().refusedUri == uri)
        return PLAYER_ERROR_INVALID_URI;
    playerDouble().uri = uri;
    return PLAYER_ERROR_NONE;
}

int player_set_sound_stream_info(player_h player, sound_stream_info_h stream_info)
{
    callJournal().note("player_set_sound_stream_info");
    if (const auto error = refusal("player_set_sound_stream_info", player, { PLAYER_STATE_IDLE }))
        return *error;
    playerDouble().streamInfo = stream_info;
    return PLAYER_ERROR_NONE;
}

int player_set_error_cb(player_h player, player_error_cb callback, void* user_data)
{
    callJournal().note("player_set_error_cb");
    if (!player)
        return PLAYER_ERROR_INVALID_PARAMETER;
    playerDouble().errorCb = callback;
    playerDouble().userData = user_data;
    return PLAYER_ERROR_NONE;
}

int player_prepare_async(player_h player, player_prepared_cb callback, void* user_data)
{
    callJournal().note("player_prepare_async");
    if (const auto error = refusal("player_prepare_async", player, { PLAYER_STATE_IDLE }))
        return *error;
    playerDouble().preparedCb = callback;
    playerDouble().userData = user_data;
    if (playerDouble().onPrepareAsync)
        playerDouble().onPrepareAsync();
    return PLAYER_ERROR_NONE;
}

int player_unprepare(player_h player)
{
    callJournal().note("player_unprepare");
    if (const auto error = refusal("player_unprepare", player,
            { PLAYER_STATE_READY, PLAYER_STATE_PLAYING, PLAYER_STATE_PAUSED }))
        return *error;
    setState(PLAYER_STATE_IDLE);
    return PLAYER_ERROR_NONE;
}

int player_set_play_position(player_h player, int millisecond, bool accurate,
    player_seek_completed_cb callback, void* user_data)
{
    callJournal().note("player_set_play_position(" + std::to_string(millisecond)
        + (accurate ? ", accurate)" : ")"));
    if (const auto error = refusal("player_set_play_position", player,
            { PLAYER_STATE_READY, PLAYER_STATE_PLAYING, PLAYER_STATE_PAUSED }))
        return *error;
    playerDouble().seekCompletedCb = callback;
    playerDouble().userData = user_data;
    return PLAYER_ERROR_NONE;
}

int player_start(player_h player)
{
    callJournal().note("player_start");
    if (const auto error
        = refusal("player_start", player, { PLAYER_STATE_READY, PLAYER_STATE_PAUSED }))
        return *error;
    setState(PLAYER_STATE_PLAYING);
    return PLAYER_ERROR_NONE;
}

int player_pause(player_h player)
{
    callJournal().note("player_pause");
    if (const auto error = refusal("player_pause", player, { PLAYER_STATE_PLAYING }))
        return *error;
    setState(PLAYER_STATE_PAUSED);
    return PLAYER_ERROR_NONE;
}

int player_stop(player_h player)
{
    callJournal().note("player_stop");
    if (const auto error = refusal("player_stop", player,
            { PLAYER_STATE_READY, PLAYER_STATE_PLAYING, PLAYER_STATE_PAUSED }))
        return *error;
    setState(PLAYER_STATE_READY);
    return PLAYER_ERROR_NONE;
}
