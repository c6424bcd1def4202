#pragma once

#include <AlarmDbData.h>
#include <ctime>
#include <Ecore.h>

/// A companion::Edit: prepares a phone alarm for the phone's instant, however far that is, or over,
/// since what is told to the phone has it; for its next time of day when the phone names none.
bool setPhoneRing(AlarmDbData& alarm, time_t now);

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

    /// Registers alarms that are to ring and cancels those that are not, now and from time to time.
    /// To be called when the alarms, the phone's make or the user's setting may have changed.
    void follow();

    /// Ends the looking. To be called before the main loop ends.
    void stop();

private:
    static unsigned char _timerCb(void* data) noexcept;

    Ecore_Timer* _timer = nullptr;
};
