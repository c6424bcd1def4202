#pragma once

#include <AlarmDbData.h>
#include <Ecore.h>

/// Prepares a phone alarm, with its next instant, and registers it when it is to ring here and soon
/// enough. A registration that fails leaves an alarm that is not registered.
void registerPhoneAlarm(AlarmDbData& alarm);

/**
 * Keeps the phone's alarms registered as the phone's make and the user want it. The registration
 * knows weekdays only, so a one-shot of a later week waits for its own, and one whose instant is
 * over is left alone. Main loop only.
 */
class PhoneRinging {
public:
    PhoneRinging() = default;
    PhoneRinging(const PhoneRinging&) = delete;
    PhoneRinging& operator=(const PhoneRinging&) = delete;
    ~PhoneRinging() { stop(); }

    /// Registers or cancels the alarms of which that is not right, now and from time to time. To be
    /// called when the alarms, the phone's make or the user's wish may have changed.
    void follow();

    /// Before the main loop ends.
    void stop();

private:
    static unsigned char _timerCb(void* data) noexcept;

    Ecore_Timer* _timer = nullptr;
};
