#pragma once

#include "InstantTimer.h"

#include <AlarmDbData.h>
#include <ctime>
#include <optional>
#include <string>

/**
 * Keeps the card of the alarm that rings next in the notification tray, for the hour before it
 * rings, and again for the end of its snooze. What the tray or the store did not do is tried again
 * some seconds later, so that the card ends up as the alarms are. Main loop only; a call waits for
 * the store, and for a tray that hangs, for some seconds at most.
 */
class UpcomingCard {
public:
    UpcomingCard()
        : _timer([this] { follow(); })
    {
    }

    /// Posts, changes or deletes the card by the stored alarms and the time, and does so again when
    /// time has made a difference. To be called when the alarms may have changed.
    void follow();

    /// As follow(), and posts the card anew though it is of the same alarm. To be called when the
    /// language, the region, the clock format or the zone has changed.
    void renew();

    /// Deletes the card, which comes back when it would be another one, and by renew(). False when
    /// it may still be there.
    bool withdraw();

    /// Switches the alarm of the card off. Returns why not, as one line for the log and the caller,
    /// and has changed nothing then; empty when it is done. alarmId is what the caller sent.
    std::string turnOff(const std::string& alarmId);

    /// To be called before the main loop ends.
    void stop() { _timer.stop(); }

private:
    bool _show(AlarmDbData alarm, time_t instant);
    bool _hide();
    void _log(const std::optional<AlarmDbData>& alarm, time_t instant);

    InstantTimer _timer;
    std::string _logged; ///< the last line about the upcoming alarm
    std::optional<AlarmDbData> _shown; ///< the record of the last card that is known to be posted
    bool _isStale = false; ///< the tray may have another card than that, or none
    bool _isHidden = false; ///< the tray is known to have no card
};
