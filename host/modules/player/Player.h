#pragma once

#include "CallbackThread.h"
#include "ToneThread.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <player.h>
#include <string>

/**
 * A player's states and what may be done in which; the calls and codes are those of player.h. Any
 * thread. Callbacks run on the player's own thread, and no lock is held meanwhile. A sound server
 * that hangs holds up a call for about a second, and state never.
 */
class Player {
public:
    Player();
    /// No callback runs any more when this returns. Not from a callback.
    ~Player();

    player_state_e state();
    int setLooping(bool isLooping);
    /// An absolute path or a URI.
    int setUri(const std::string& text);
    int setRole(const std::string& role);
    int setErrorCallback(player_error_cb callback, void* userData);
    /// Throws std::system_error when there is no thread.
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

    std::shared_ptr<ToneThread> _toneIn(std::initializer_list<player_state_e> states);
    void _enter(player_state_e state);

    std::mutex _callMutex; ///< held by a call that asks the tone for something, before the other
    std::mutex _mutex; ///< guards what follows; nobody waits under it
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
    unsigned _tones = 0; ///< tells a tone from those before it

    CallbackThread _thread; ///< last: its tasks use the rest
};
