#pragma once

#include <app-assist.h>
#include <atomic>
#include <functional>
#include <memory>
#include <player.h>
#include <string>

/**
 * Tells whether a tone can be played, by letting a player of its own get the tone ready, silently.
 * The library's player only logs that it cannot. Main loop only.
 */
class ToneTrial {
public:
    /// Begins after the delay, in seconds, and calls done once, when the tone has turned out to be
    /// playable or not. done may destroy the trial.
    ToneTrial(const std::string& tone, double delay, std::function<void(bool isPlayable)> done);
    ToneTrial(const ToneTrial&) = delete;
    ToneTrial& operator=(const ToneTrial&) = delete;
    ~ToneTrial();

private:
    static bool _beginCb(void* data);
    static bool _lookCb(void* data);
    static void _errorCb(int error, void* data);

    bool _begin();
    bool _isReady();

    const std::string _tone;
    const std::function<void(bool)> _done;
    player_h _player = nullptr;
    std::atomic<bool> _isUnplayable{ false };
    std::shared_ptr<app_assist::WUiTimer> _timer;
};
