#pragma once

#include <ctime>
#include <string>

struct AlarmDbData;

/**
 * The device's calendar and locale: formats instants in the user's region
 * format, tells the device's zone, and converts between instants and wall time.
 * Static functions without state, each reading the settings anew. Main loop
 * only: they change the process's default locale of ICU and its variable TZ,
 * as each says.
 *
 * Texts are UTF-8. A zone is named as "Europe/Berlin". What goes wrong is
 * logged and told by the result.
 */
class AlarmIcuDataModel {
public:
    /**
     * Writes time (seconds since the epoch), as the locale shows the skeleton's
     * fields, into out: at most outLen bytes, terminated when there is room. A
     * null locale is the region format, a null zoneId ICU's default zone.
     *
     * Makes the region format ICU's default locale, and leaves it so.
     * Returns false, with out as it was, without a region format or when ICU fails.
     */
    static bool getFormattedDateString(
        long time, char* out, int outLen, char* locale, const char* skeleton, const char* zoneId);

    /**
     * Writes the locale's am or pm marker for time into ampmOut, which has room for
     * 32 bytes with the terminator. Returns whether the marker stands before the hour, which
     * it does when timeStr, a formatted time, begins with it or does not have it. False for a
     * null timeStr.
     */
    static bool getFormattedAmpmString(
        long time, char* timeStr, char* ampmOut, int unused, const char* zoneId);

    /** The device's zone, empty when it cannot be read; release it with g_free(). */
    static char* getCurrentTimeZone();

    /** The region format such as "de_DE", "en_US" when unset; release it with g_free(). */
    static char* getCurrentRegionFormat();

    /** First weekday of ICU's default locale: 1 = Sunday to 7 = Saturday; -1 on failure. */
    static int getFirstDayOfWeek();

    /**
     * The alarm's stime, moved by whole hours to the alarm's hour on the next day
     * when a change of daylight-saving time has displaced it in the alarm's zone.
     * Unsets TZ.
     */
    static long verifyExistingTimeForDst(const AlarmDbData& alarm);

    /**
     * A calendar handle for the zone in ICU's default locale, showing the current
     * time; the caller destroys it with i18n_ucalendar_destroy(). Null on failure.
     */
    static void* getUcal(const std::string& zoneId);

    /** Fills out, but for tm_gmtoff and tm_zone, with what the calendar shows. */
    static void getUCalendar(void* ucal, tm* out);

    /** Sets the calendar to the date and time of day of in. */
    static void setUCalendar(void* ucal, const tm* in);

    /** The device's wall time at utime, seconds since the epoch; fills out as getUCalendar(). */
    static void getTmFromUtime(long long utime, tm& out);

    /** The instant of a wall time of the device, in seconds since the epoch. */
    static long long getUtimeFromTm(const tm& in);

    /**
     * The instant of a wall time of the device, by mktime(), to the minute: its
     * tm_sec becomes 0, and all of its fields are normalised. Unsets TZ.
     */
    static time_t getTimeTFromTm(tm* in);

    /** The sum of utc and the offset that the process's zone has at that instant. */
    static time_t getLocalTimeTfromUtcTimeT(long utc);
};
