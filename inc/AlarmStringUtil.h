#pragma once

#include "AlarmDbData.h"

#include <string>

/**
 * What the watch shows of an alarm: its time of day, its date or weekdays, and
 * how long it is until then; and small tools for strings. Static functions
 * without state, each reading the settings anew. Main loop only.
 *
 * Translations are of the text domain "alarm-merid", in the language of the
 * process. Texts are UTF-8; one that is longer than its limit ends with its last
 * whole character. A limit does not count the byte that ends the text.
 */
class AlarmStringUtil {
public:
    /**
     * Converts s to upper case in place, which may make it up to three times as long. At
     * most 256 bytes are written, with the terminator. What is not UTF-8 stays as it is.
     */
    static void changeStringToUpper(char* s);

    /**
     * n in the digits of the region format: its first 19 UTF-16 units, or an empty text
     * when it has more than 20. Release it with g_free(). Null when there is no region
     * format.
     */
    static char* changeNumberToString(int n);

    /** src with to in place of every from. A to is not searched again; an empty from is not found.
     */
    static std::string replaceString(
        const std::string& src, const std::string& from, const std::string& to);

    /**
     * How long it is from now until the alarm rings, seconds left out, in the
     * process's zone. For an alarm that repeats, days has to be 0 before: they are
     * added to it.
     */
    static void getAlertTimeOffset(AlarmDbData alarm, int& days, int& hours, int& minutes);

    /** "Alarm set for ... from now" in at most 255 bytes, without the parts that are 0. */
    static void generateAlertOffsetToastPopupText(
        int days, int hours, int minutes, std::string& out);

    /**
     * The alarm's time of day in its zone, in the user's 12- or 24-hour format.
     * Unsets TZ and changes the default locale, as the functions of
     * AlarmIcuDataModel that it is made of.
     */
    static void getAlarmTimeString(AlarmDbData alarm, std::string& out);

    /**
     * The date of an alarm that rings once, in its zone and with its year when that is another;
     * the row of weekdays of one that repeats, in at most 1024 bytes.
     *
     * With markup, colours and sizes are those of a list; without, the weekdays'
     * colours are the theme's. A date changes the default locale, as
     * AlarmIcuDataModel::getFormattedDateString().
     */
    static void getAlarmDateRepeatString(AlarmDbData alarm, std::string& out, bool markup);

    /**
     * The letter of one weekday with its colour, and what divides it from the next;
     * release it with g_free(). Position 0 is the locale's first weekday, 6 its last; days go
     * round beyond these.
     */
    static char* _setAlarmRepeatPartText(const AlarmDbData& alarm, int position, bool markup);

    /** Binds the text domain to the application's catalogues; without resources, does nothing. */
    static void _initTextDomain();

    /** Whether pattern occurs in text; false when one of them is null. */
    static bool _checkNumberFormat(const char* text, const char* pattern);

    /** The bytes that the Base64 text in encodes; empty on failure. */
    static std::string base64Decode(std::string in);
};
