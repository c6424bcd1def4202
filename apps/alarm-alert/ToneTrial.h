#pragma once

#include <app-assist.h>
#include <atomic>
#include <functional>
#include <memory>
#include <player.h>
#include <string>

/**
 * Tells when a tone cannot be played, which the alarm's own player only logs: by letting a player
 * of its own get it ready, silently. Main loop only.
 */
class ToneTrial {
public:
    /// Calls failed when the tone turns out to be unplayable. It may end the trial.
    ToneTrial(const std::string& tone, std::function<void()> failed);
    ToneTrial(const ToneTrial&) = delete;
    ToneTrial& operator=(const ToneTrial&) = delete;
    ~ToneTrial();

private:
    static bool _tickCb(void* data);
    static void _errorCb(int error, void* data);

    bool _isOver();
    bool _begin();

    const std::string _tone;
    const std::function<void()> _failed;
    player_h _player = nullptr;
    std::atomic<bool> _isUnplayable{ false };
    std::shared_ptr<app_assist::WUiTimer> _timer;
};
