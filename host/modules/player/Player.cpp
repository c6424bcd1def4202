#include "Player.h"

#include "host/common/Engine.h"
#include "host/common/Log.h"
#include "host/common/Microphone.h"
#include "host/common/Session.h"

#include <cctype>
#include <cstring>
#include <exception>

namespace {

bool isUri(const std::string& text)
{
    const size_t colon = text.find(':');
    return colon != std::string::npos && colon > 0 && std::isalpha(text[0])
        && text.find_first_not_of(
               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+-.")
        == colon;
}

std::string fileUri(const std::string& path)
{
    const char* const digits = "0123456789ABCDEF";
    std::string uri = "file://";
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        if (isalnum(byte) || strchr("/-._~", character)) {
            uri += character;
        } else {
            uri += { '%', digits[byte >> 4], digits[byte & 15] };
        }
    }
    return uri;
}

std::shared_ptr<Tone> makeTone(
    const std::string& uri, const std::string& role, const Tone::Events& events)
{
    static ToneMaker* const maker = host::engineFunction<ToneMaker>(kToneEngine, kToneMaker);
    return std::shared_ptr<Tone>(maker(uri, role, events));
}

// One that is missing is told of when it is to do its work.
template <typename Function>
void callEngine(const char* engine, const char* function)
{
    try {
        host::engineFunction<Function>(engine, function)();
    } catch (const std::exception&) {
    }
}

// Passes are counted round and round.
bool isBefore(std::uint32_t one, std::uint32_t other)
{
    return static_cast<std::int32_t>(one - other) < 0;
}

// The URI of what is an absolute path or a URI; empty when it is neither.
std::string uriOf(const std::string& text)
{
    if (isUri(text))
        return text;
    return !text.empty() && text.front() == '/' ? fileUri(host::deviceFile(text)) : "";
}

} // namespace

Player::Player()
{
    // Who plays wants to know soon whether the microphone records.
    _thread.post([] {
        callEngine<MicrophoneStart>(kMicrophoneEngine, kMicrophoneStart);
        callEngine<ToneLoader>(kToneEngine, kToneLoader);
    });
}

Player::~Player()
{
    std::shared_ptr<Tone> tone;
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
    // A tone that is being opened belongs to the player's thread.
    if (_isLooping && _state != PLAYER_STATE_IDLE && _tone->pass() == _endedPass)
        _tone->repeat();
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
    if (_isPreparing)
        return PLAYER_ERROR_INVALID_OPERATION;
    _isPreparing = true;
    _thread.post([this, uri = _uri, role = _role, callback, userData] {
        _open(uri, role, [=] { callback(userData); });
    });
    return PLAYER_ERROR_NONE;
}

int Player::unprepare()
{
    std::shared_ptr<Tone> tone;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_state == PLAYER_STATE_IDLE)
            return PLAYER_ERROR_INVALID_STATE;
        _state = PLAYER_STATE_IDLE;
        _isSeeking = false;
        tone = std::move(_tone);
        ++_tones; // what it still reports is stale
    }
    tone->cancel();
    return PLAYER_ERROR_NONE;
}

int Player::seek(
    int milliseconds, bool isAccurate, player_seek_completed_cb callback, void* userData)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_state == PLAYER_STATE_IDLE)
        return PLAYER_ERROR_INVALID_STATE;
    if (_isSeeking || !_tone->seek(milliseconds, isAccurate))
        return PLAYER_ERROR_SEEK_FAILED;
    _isSeeking = true;
    _thread.post([this, tone = _tone, callback, userData] {
        _settle(tone, [=] {
            if (callback)
                callback(userData);
        });
    });
    return PLAYER_ERROR_NONE;
}

int Player::start()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_state != PLAYER_STATE_READY && _state != PLAYER_STATE_PAUSED)
        return PLAYER_ERROR_INVALID_STATE;
    if (!_tone->play())
        return PLAYER_ERROR_INVALID_OPERATION;
    _state = PLAYER_STATE_PLAYING;
    return PLAYER_ERROR_NONE;
}

int Player::pause()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_state != PLAYER_STATE_PLAYING)
        return PLAYER_ERROR_INVALID_STATE;
    if (!_tone->pause())
        return PLAYER_ERROR_INVALID_OPERATION;
    _state = PLAYER_STATE_PAUSED;
    return PLAYER_ERROR_NONE;
}

int Player::stop()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_state == PLAYER_STATE_IDLE)
        return PLAYER_ERROR_INVALID_STATE;
    if (_state == PLAYER_STATE_READY)
        return PLAYER_ERROR_NONE;
    _tone->pause();
    _tone->seek(0, true);
    _state = PLAYER_STATE_READY;
    return PLAYER_ERROR_NONE;
}

void Player::_open(const std::string& uri, const std::string& role, const Task& prepared)
{
    unsigned number = 0;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        number = ++_tones;
    }
    Tone::Events events;
    events.ended = [this](std::uint32_t at) { _thread.post([=] { _ended(at); }); };
    events.failed = [this, number](int error) { _thread.post([=] { _failed(number, error); }); };
    std::shared_ptr<Tone> tone;
    try {
        tone = makeTone(uri, role, events);
    } catch (const std::exception& error) {
        host::logError(std::string("There is nothing to play a tone with: ") + error.what());
    }
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_isEnding)
            return;
        _tone = tone;
    }

    const int error = tone ? tone->open() : PLAYER_ERROR_INVALID_OPERATION;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _isPreparing = false;
        if (_isEnding)
            return;
        if (error == PLAYER_ERROR_NONE) {
            _state = PLAYER_STATE_READY;
        } else {
            _tone = nullptr;
        }
    }
    if (error == PLAYER_ERROR_NONE) {
        prepared();
    } else {
        _failed(number, error);
    }
}

void Player::_settle(const std::shared_ptr<Tone>& tone, const Task& completed)
{
    // A jump that fails is over, too: whoever waits for it must go on. Why it failed is the error
    // callback's news.
    (void)tone->settle();
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (tone != _tone || _isEnding)
            return;
        _isSeeking = false;
    }
    completed();
}

// A pass ends when the last of it is on its way to the sink, which can be before it is heard.
void Player::_ended(std::uint32_t number)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_tone || isBefore(number, _tone->pass()))
        return;
    _endedPass = _tone->pass();
    if (_isLooping)
        _tone->repeat();
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
