#pragma once

#include "host/common/CallbackThread.h"
#include "ToneThread.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <player.h>
#include <string>

/**
 * The player of player.h: its states, and which calls each state allows; results are PLAYER_ERROR_*
 * codes. Any thread. Callbacks run on the player's own thread, with no lock held. When the sound
 * server hangs, a call takes about a second; state never does.
 */
class Player {
public:
    Player();
    /// No callback runs any more when this returns. Must not be called from a callback.
    ~Player();

    player_state_e state();
    int setLooping(bool isLooping);
    /// text: an absolute path or a URI.
    int setUri(const std::string& text);
    int setRole(const std::string& role);
    int setErrorCallback(player_error_cb callback, void* userData);
    /// Throws std::system_error when no thread can be started.
    int prepare(player_prepared_cb callback, void* userData);
    int unprepare();
    int seek(int milliseconds, bool isAccurate, player_seek_completed_cb callback, void* userData);
    int start();
    int pause();
    int stop();

private:
    using Task = std::function<void()>;

    void _opened(unsigned number, int error, const Task& prepared);
    void _settled(unsigned number, const Task& completed);
    void _ended(std::uint32_t pass);
    void _failed(unsigned tone, int error);

    int _run(std::initializer_list<player_state_e> allowed, bool (ToneThread::*action)(),
        player_state_e result);
    std::shared_ptr<ToneThread> _toneIn(std::initializer_list<player_state_e> states);
    void _enter(player_state_e state);

    std::mutex _callMutex; ///< held during calls to the tone; taken before _mutex
    std::mutex _mutex; ///< guards what follows; held only for a moment
    player_state_e _state = PLAYER_STATE_IDLE;
    bool _isPreparing = false;
    bool _isSeeking = false;
    std::uint32_t _endedPass = 0;
    bool _isLooping = false;
    bool _isEnding = false;
    std::string _uri;
    std::string _role;
    player_error_cb _errorCallback = nullptr;
    void* _errorUserData = nullptr;
    std::shared_ptr<ToneThread> _tone; ///< being opened, or open
    unsigned _tones = 0; ///< number of the latest tone, to ignore reports of earlier ones

    host::CallbackThread _thread; ///< last member, because its tasks use the others
};
