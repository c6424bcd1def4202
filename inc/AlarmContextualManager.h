#pragma once

#include "Singleton.h"

#include <notification.h>
#include <string>

struct AlarmDbData;

/**
 * The card in the notification tray that tells the next alarm: its time, its date
 * or weekdays, what opens it for editing, and a button that turns it off. There is
 * one card at a time, found again by its tag.
 *
 * Only the alarm service ("com.velmora.alarm-service"), or a process that is no
 * application, posts and deletes the card; any other application has the service do
 * it, by a launch request that nothing waits for. Failures are logged. Main loop only.
 */
class AlarmContextualManager : public Singleton<AlarmContextualManager> {
public:
    virtual ~AlarmContextualManager();

    /**
     * Posts the alarm's card in place of the one before, and then sets the preference
     * "contextMgrId" to the alarm's contextMgrId. Unsets TZ and changes the default locale, as
     * AlarmStringUtil::getAlarmTimeString().
     *
     * In another application nothing of the alarm is used: the service is launched with the extra
     * "context" = "postContext", and finds the alarm itself.
     */
    void postUpcomingAlarm(const AlarmDbData& alarm);

    /**
     * Deletes the card and sets the preference "contextMgrId" to -1; without a card, does
     * nothing. In another application the service is launched with the extra "context" =
     * "deleteContext".
     */
    void deleteUpcomingNoti();

    /** Deletes all ordinary notifications of the calling application. */
    void deleteAllNoti();

private:
    friend class Singleton<AlarmContextualManager>;
    AlarmContextualManager();

    /// The card as it was posted, or null; the caller frees it.
    notification_h _getUpcomingNoti();

    /// The card's description as compact JSON. Without memory for it, out stays as it is.
    void _getUpcomingJson(std::string& out, const AlarmDbData& alarm);

    /// The encoded request that opens the alarm with this row id for editing.
    void _getSettingBundleStr(std::string& out, int alarmId);

    /// The encoded request that turns off the alarm with this row id.
    void _getTurnOffBundleStr(std::string& out, int alarmId);
};
