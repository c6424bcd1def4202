#pragma once

struct AlarmDbData;

/**
 * Registers alarms with the platform alarm service, which launches the alert
 * application when one is due. Works on the record in memory: the caller saves
 * it. Main loop only. Keeps no state, so an object costs nothing.
 */
class AlarmManagerModel {
public:
    /**
     * Schedules the alarm for the next hour:min on a day of repeatWeekly, or, while
     * it is snoozing, for the hour and minute that are count times snooze_min
     * minutes after stime (its last digit cleared), and puts the platform's id into
     * alarm_mgr_id.
     *
     * A phone alarm is left to the phone while that is connected, unless force
     * is set: the result is then true and the id 0, not -1. An alarm of neither
     * phone nor watch is scheduled only with force.
     * Returns false only when the platform refused the alarm; alarm_mgr_id then
     * holds what the platform left in its output, 0 when it wrote nothing.
     */
    bool registerAlarmToServer(AlarmDbData& alarm, bool force);

    /**
     * Cancels the platform alarm and sets alarm_mgr_id to -1, also when the
     * platform does not know the id. A negative id is left alone. ignoredFlag
     * has no effect.
     */
    void unregisterAlarmFromServer(AlarmDbData& alarm, bool ignoredFlag);

    /** Unregisters, then registers without force; the result is the registration's. */
    bool updateAlarmOnServer(AlarmDbData& alarm);
};
