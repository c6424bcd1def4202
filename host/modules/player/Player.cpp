#include "Player.h"

#include "host/common/Boundary.h"
#include "host/common/Engine.h"
#include "host/common/Session.h"

#include <algorithm>
#include <glib.h>

namespace {

std::unique_ptr<Tone> makeTone(
    const std::string& uri, const std::string& role, const Tone::Events& events)
{
    static ToneMaker* const maker = host::engineFunction<ToneMaker>(kToneEngine, kToneMaker);
    return std::unique_ptr<Tone>(maker(uri, role, events));
}

// The URI of a text that is an absolute path or a URI; empty for any other text.
std::string uriOf(const std::string& text)
{
    if (g_uri_peek_scheme(text.c_str()))
        return text;
    const host::CText uri(g_filename_to_uri(host::deviceFile(text).c_str(), nullptr, nullptr));
    return uri ? uri.get() : "";
}

} // namespace

Player::Player()
{
    _thread.post([] {
        host::guarded("the engine of tones cannot be loaded",
            [] { host::engineFunction<ToneLoader>(kToneEngine, kToneLoader)(); });
    });
}

Player::~Player()
{
    std::shared_ptr<ToneThread> tone;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _isEnding = true;
        tone = _tone;
    }
    if (tone)
        tone->cancel();
    _thread.end();
}

player_state_e Player::state()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _state;
}

int Player::setLooping(bool isLooping)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _isLooping = isLooping;
    if (_isLooping && _state != PLAYER_STATE_IDLE)
        _tone->repeat(_endedPass);
    return PLAYER_ERROR_NONE;
}

int Player::setUri(const std::string& text)
{
    const std::string uri = uriOf(text);
    if (uri.empty())
        return PLAYER_ERROR_INVALID_URI;
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_state != PLAYER_STATE_IDLE)
        return PLAYER_ERROR_INVALID_STATE;
    _uri = uri;
    return PLAYER_ERROR_NONE;
}

int Player::setRole(const std::string& role)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_state != PLAYER_STATE_IDLE)
        return PLAYER_ERROR_INVALID_STATE;
    _role = role;
    return PLAYER_ERROR_NONE;
}

int Player::setErrorCallback(player_error_cb callback, void* userData)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _errorCallback = callback;
    _errorUserData = userData;
    return PLAYER_ERROR_NONE;
}

int Player::prepare(player_prepared_cb callback, void* userData)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_state != PLAYER_STATE_IDLE || _uri.empty())
        return PLAYER_ERROR_INVALID_STATE;
    if (_isPreparing || _isEnding)
        return PLAYER_ERROR_INVALID_OPERATION;
    const unsigned number = ++_tones;
    Tone::Events events;
    events.ended = [this](std::uint32_t pass) { _thread.post([=] { _ended(pass); }); };
    events.failed = [this, number](int error) { _thread.post([=] { _failed(number, error); }); };
    const auto tone = std::make_shared<ToneThread>(
        [uri = _uri, role = _role](const Tone::Events& to) { return makeTone(uri, role, to); },
        events);
    tone->open([this, number, callback, userData](int error) {
        _thread.post([=] { _opened(number, error, [=] { callback(userData); }); });
    });
    _tone = tone;
    _isPreparing = true;
    return PLAYER_ERROR_NONE;
}

int Player::unprepare()
{
    const std::lock_guard<std::mutex> call(_callMutex);
    std::shared_ptr<ToneThread> tone;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_state == PLAYER_STATE_IDLE)
            return PLAYER_ERROR_INVALID_STATE;
        _state = PLAYER_STATE_IDLE;
        _isSeeking = false;
        tone = std::move(_tone);
        ++_tones; // later reports of the tone are ignored
    }
    tone->cancel();
    return PLAYER_ERROR_NONE;
}

int Player::seek(
    int milliseconds, bool isAccurate, player_seek_completed_cb callback, void* userData)
{
    const std::lock_guard<std::mutex> call(_callMutex);
    const auto tone = _toneIn({ PLAYER_STATE_READY, PLAYER_STATE_PLAYING, PLAYER_STATE_PAUSED });
    if (!tone)
        return PLAYER_ERROR_INVALID_STATE;
    unsigned number = 0;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_isSeeking)
            return PLAYER_ERROR_SEEK_FAILED;
        number = _tones;
    }
    if (!tone->seek(milliseconds, isAccurate))
        return PLAYER_ERROR_SEEK_FAILED;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _isSeeking = true;
    }
    tone->settle([this, number, callback, userData] {
        _thread.post([=] {
            _settled(number, [=] {
                if (callback)
                    callback(userData);
            });
        });
    });
    return PLAYER_ERROR_NONE;
}

int Player::start()
{
    return _run(
        { PLAYER_STATE_READY, PLAYER_STATE_PAUSED }, &ToneThread::play, PLAYER_STATE_PLAYING);
}

int Player::pause()
{
    return _run({ PLAYER_STATE_PLAYING }, &ToneThread::pause, PLAYER_STATE_PAUSED);
}

int Player::_run(std::initializer_list<player_state_e> allowed, bool (ToneThread::*action)(),
    player_state_e result)
{
    const std::lock_guard<std::mutex> call(_callMutex);
    const auto tone = _toneIn(allowed);
    if (!tone)
        return PLAYER_ERROR_INVALID_STATE;
    if (!(*tone.*action)())
        return PLAYER_ERROR_INVALID_OPERATION;
    _enter(result);
    return PLAYER_ERROR_NONE;
}

int Player::stop()
{
    const std::lock_guard<std::mutex> call(_callMutex);
    const auto tone = _toneIn({ PLAYER_STATE_PLAYING, PLAYER_STATE_PAUSED });
    if (!tone)
        return _toneIn({ PLAYER_STATE_READY }) ? PLAYER_ERROR_NONE : PLAYER_ERROR_INVALID_STATE;
    tone->pause();
    tone->seek(0, true);
    _enter(PLAYER_STATE_READY);
    return PLAYER_ERROR_NONE;
}

// The tone, if the player is in one of these states, else null.
std::shared_ptr<ToneThread> Player::_toneIn(std::initializer_list<player_state_e> states)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return std::find(states.begin(), states.end(), _state) == states.end() ? nullptr : _tone;
}

void Player::_enter(player_state_e state)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _state = state;
}

void Player::_opened(unsigned number, int error, const Task& prepared)
{
    std::shared_ptr<ToneThread> broken;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_isEnding)
            return;
        _isPreparing = false;
        if (error == PLAYER_ERROR_NONE) {
            _state = PLAYER_STATE_READY;
        } else {
            broken = std::move(_tone);
        }
    }
    if (!broken) {
        prepared();
        return;
    }
    broken->cancel();
    _failed(number, error);
}

void Player::_settled(unsigned number, const Task& completed)
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (number != _tones || _isEnding)
            return;
        _isSeeking = false;
    }
    completed();
}

// Called when the last data of a pass are on their way to the sink, which can be before they are
// heard.
void Player::_ended(std::uint32_t pass)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _endedPass = pass;
    if (_tone && _isLooping)
        _tone->repeat(pass);
}

void Player::_failed(unsigned tone, int error)
{
    player_error_cb callback = nullptr;
    void* userData = nullptr;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (tone != _tones || _isEnding)
            return;
        callback = _errorCallback;
        userData = _errorUserData;
    }
    if (callback)
        callback(error, userData);
}
