#pragma once

/**
 * What the watch knows about its phone, and the device clock. Static functions
 * without state, each reading the platform's settings anew. Main loop only.
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

    /** True when the paired phone's maker is exactly "velmora". */
    static bool _isConnectedWithOurCompany();

    /** Whether the user lets phone alarms ring on the watch; true when that cannot be read. */
    static bool _isNotificationStateEnabled();
};
