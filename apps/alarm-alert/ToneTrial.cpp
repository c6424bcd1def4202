#include "ToneTrial.h"

namespace {

const double kPeriod = 0.3; // seconds

void ignoreCb(void*) {}

} // namespace

ToneTrial::ToneTrial(const std::string& tone, double delay, std::function<void(bool)> done)
    : _tone(tone)
    , _done(std::move(done))
    , _timer(app_assist::WUiTimer::create(delay, _beginCb, this))
{
}

ToneTrial::~ToneTrial()
{
    if (_timer)
        _timer->destroy();
    if (_player)
        player_destroy(_player);
}

bool ToneTrial::_beginCb(void* data)
{
    ToneTrial& self = *static_cast<ToneTrial*>(data);
    if (!self._begin())
        self._isUnplayable = true;
    self._timer = app_assist::WUiTimer::create(kPeriod, _lookCb, data);
    return false;
}

bool ToneTrial::_lookCb(void* data)
{
    ToneTrial& self = *static_cast<ToneTrial*>(data);
    const bool isUnplayable = self._isUnplayable;
    if (!isUnplayable && !self._isReady())
        return true;
    // The call comes last: it may destroy the trial.
    const std::function<void(bool)> done = self._done;
    done(!isUnplayable);
    return false;
}

bool ToneTrial::_begin()
{
    return player_create(&_player) == PLAYER_ERROR_NONE
        && player_set_uri(_player, _tone.c_str()) == PLAYER_ERROR_NONE
        && player_set_error_cb(_player, _errorCb, this) == PLAYER_ERROR_NONE
        && player_prepare_async(_player, ignoreCb, nullptr) == PLAYER_ERROR_NONE;
}

bool ToneTrial::_isReady()
{
    player_state_e state = PLAYER_STATE_NONE;
    (void)player_get_state(_player, &state);
    return state == PLAYER_STATE_READY;
}

void ToneTrial::_errorCb(int, void* data) { static_cast<ToneTrial*>(data)->_isUnplayable = true; }
