#pragma once

#include <ctime>
#include <string>

struct AlarmDbData;

/**
 * Reads and writes what the voice assistant says of an alarm's days and time.
 * Static functions without state. Main loop only.
 *
 * The assistant writes days as a text of digits, "1" for Sunday to "7" for
 * Saturday, with commas between; "0" is an alarm that rings once.
 */
class AlarmOrvikUtil {
public:
    /**
     * The assistant's days as a repeatWeekly. A day that comes n times counts n times
     * its bit: "1,1" is Monday. Sets repeatOnce to 1 when there is a "0", else to 0. Any
     * other character is passed over.
     */
    static int convertRepeatWeeklyFromOrvikData(std::string value, int* repeatOnce);

    /**
     * repeatWeekly as the assistant writes it; "0" for an alarm that rings once. With
     * bits above Saturday's, the text ends with a comma.
     */
    static std::string convertRepeatWeeklyToOrvikData(int repeatWeekly, int repeatOnce);

    /**
     * Sets stime and atime to the instant at which the device's zone shows the
     * record's hour and min on the date of alarmTm, which need not be normalised; of
     * its other fields none counts. A time that comes twice means its pass in standard
     * time. One that is skipped is what mktime() makes of it: mostly as much later as
     * the clock is set forward.
     *
     * Normalises alarmTm. Unsets TZ, also when it was set before.
     */
    static void setAlertTime(AlarmDbData& alarm, tm* alarmTm);

    /**
     * Makes the alarm one that rings once at its stime. When that is not later
     * than now, stime and atime move by 24 hours, once. Returns the new repeatWeekly:
     * the bit of the weekday of stime, counted on by one when it was moved, in the
     * process's zone.
     */
    static int setRepeatValue(AlarmDbData& alarm);
};
