#pragma once

#include <functional>
#include <map>
#include <player.h>
#include <string>

/// The platform's media player, one at a time. Its state follows the calls as on the platform, but
/// it prepares and seeks only when told to. Calls go to the journal, but for player_get_state.
struct PlayerDouble {
    /// What a call answers instead of doing anything, by its name.
    std::map<std::string, int> results;

    /// What player_set_uri refuses alone.
    std::string refusedUri;

    player_state_e state = PLAYER_STATE_NONE;
    std::string uri;
    int alive = 0;
    sound_stream_info_h streamInfo = nullptr;

    /// Run inside player_prepare_async and player_destroy, before they return.
    std::function<void()> onPrepareAsync;
    std::function<void()> onDestroy;

    /// The player's own callbacks, made on the calling thread.
    void prepared();
    void seekCompleted();
    void failed(int error);

    player_prepared_cb preparedCb = nullptr;
    player_seek_completed_cb seekCompletedCb = nullptr;
    player_error_cb errorCb = nullptr;
    void* userData = nullptr;
};

PlayerDouble& playerDouble();
