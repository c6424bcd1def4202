#pragma once

/**
 * What the watch knows about its phone, how the phone's alarms ring on the watch,
 * and the device clock. Static functions without state, each reading the
 * platform's settings anew. Main loop only.
 *
 * The phone writes the days of an alarm as hexadecimal digits: the lowest is 1
 * for an alarm that rings once and 5 for a weekly one; those above it are 1 for
 * Saturday, Friday and so on to Sunday, or 0.
 */
class AlarmSyncUtil {
public:
    /** The device's time in milliseconds since the epoch. */
    static long long getCurrentDeviceMilliSecTime();

    /**
     * Called after the store changed an alarm that the phone is to hear of, or
     * removed one of the phone's.
     * Does nothing.
     */
    static void requestWatchUpdate();

    /**
     * True while the phone is connected over Bluetooth and its watch manager is
     * there; false also when a setting cannot be read.
     */
    static bool isBtConnected();

    /**
     * The phone's days as a repeatWeekly. A day counts with any digit but 0. Sets
     * repeatOnce to 1 when the lowest digit is 1, else to 0.
     */
    static int convertRepeatWeeklyFromMobileData(int repeatValue, int* repeatOnce);

    /** repeatWeekly and repeat_once as the phone writes them. */
    static int convertRepeatWeeklyFromWatchData(int repeatWeekly, int repeatOnce);

    /**
     * Unregisters the phone's alarms that are switched on, drops all of the phone's
     * from the store, and announces the change; with none there it does nothing.
     */
    static void removeMobileAlarmData();

    /**
     * Unregisters the phone's alarms that are switched on, so that they do not ring
     * on the watch. Does nothing while the paired phone is of another maker.
     */
    static void unregisterMobileAlarm();

    /**
     * Registers the phone's alarms that are switched on anew, so that they ring on
     * the watch. They stay unregistered when the user does not want that. Does
     * nothing while the paired phone is of another maker.
     */
    static void registerMobileAlarm();

    /** True when the paired phone's maker is exactly "velmora". */
    static bool _isConnectedWithOurCompany();

    /** Whether the user lets phone alarms ring on the watch; true when that cannot be read. */
    static bool _isNotificationStateEnabled();
};
