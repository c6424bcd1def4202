// text-rows LOCALE: four alarms as the watch shows them in the session's language and region, a
// line each with tabs between, and after the last one "= " and how many are what ICU, called
// directly, and the catalogue say. What a text has to be instead goes to standard error.
#include "IcuTexts.h"

#include <AlarmCompanion.h>
#include <AlarmDbData.h>
#include <AlarmIcuDataModel.h>
#include <AlarmStringUtil.h>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <libintl.h>
#include <string>

namespace {

const char* const kDomain = "alarm-merid";

struct Row {
    std::string time, days, toast;
};

struct Offset {
    int days = 0, hours = 0, minutes = 0;
};

std::string deviceZone()
{
    char* zone = AlarmIcuDataModel::getCurrentTimeZone();
    std::string id = zone;
    free(zone);
    return id;
}

tm localTime(time_t instant)
{
    tm local = {};
    localtime_r(&instant, &local);
    return local;
}

// The next such time of day that is at least so many days ahead.
AlarmDbData alarmAt(int hour, int min, int daysAhead, int weekdays)
{
    tm date = localTime(time(nullptr));
    date.tm_mday += daysAhead;
    date.tm_hour = hour;
    date.tm_min = min;
    date.tm_sec = 0;
    date.tm_isdst = -1;
    AlarmDbData alarm;
    alarm.enable = 1;
    alarm.stime = static_cast<int>(mktime(&date));
    alarm.hour = hour;
    alarm.min = min;
    alarm.timezone = deviceZone();
    alarm.repeat_once = weekdays == 0 ? 1 : 0;
    alarm.repeatWeekly = weekdays;
    return alarm;
}

Row byLibrary(const AlarmDbData& alarm, Offset& offset)
{
    Row row;
    AlarmStringUtil::getAlarmTimeString(alarm, row.time);
    AlarmStringUtil::getAlarmDateRepeatString(alarm, row.days, alarm.repeat_once == 0);
    AlarmStringUtil::getAlertTimeOffset(alarm, offset.days, offset.hours, offset.minutes);
    AlarmStringUtil::generateAlertOffsetToastPopupText(
        offset.days, offset.hours, offset.minutes, row.toast);
    return row;
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

std::string rowByIcu(const AlarmDbData& alarm, const std::string& locale)
{
    const char* const letters[] = { "WDS_ALM_BUTTON_S_M_SUNDAY_ABB",
        "WDS_ALM_BUTTON_M_M_MONDAY_ABB", "WDS_ALM_BUTTON_T_M_TUESDAY_ABB",
        "WDS_ALM_BUTTON_W_M_WEDNESDAY_ABB", "WDS_ALM_BUTTON_T_M_THURSDAY_ABB",
        "WDS_ALM_BUTTON_F_M_FRIDAY_ABB", "WDS_ALM_BUTTON_S_M_SATURDAY_ABB" };
    std::string text = "<font font_size=26>";
    for (int i = 0; i < 7; ++i) {
        const int day = (direct::firstWeekday(locale) - 1 + i) % 7;
        const bool chosen = (alarm.repeatWeekly >> day & 1) != 0;
        text += std::string(i > 0 ? " " : "") + "<color=#" + (chosen ? "623a9eff" : "4f4f4f99")
            + ">" + dgettext(kDomain, letters[day]) + "</color>";
    }
    return text + "</font>";
}

std::string toastByIcu(const Offset& offset, const std::string& locale)
{
    const std::pair<const char*, int> pieces[] = { { "PLURAL_ZERO_ALM_TPOP_PD_DAYS", offset.days },
        { "PLURAL_ZERO_ALM_TPOP_PD_HRS", offset.hours },
        { "PLURAL_ZERO_ALM_TPOP_PD_MINS", offset.minutes } };
    std::string phrase;
    for (const auto& [message, count] : pieces) {
        if (count <= 0)
            continue;
        const std::string text
            = dngettext(kDomain, message, message, static_cast<unsigned long>(count));
        phrase += (phrase.empty() ? "" : " ") + replaced(text, "%d", direct::number(locale, count));
    }
    return replaced(dgettext(kDomain, "WDS_ALM_TPOP_ALARM_SET_FOR_PS_FROM_NOW_ABB"), "%s", phrase);
}

Row byIcu(const AlarmDbData& alarm, const std::string& locale, const Offset& offset)
{
    const bool thisYear = localTime(alarm.stime).tm_year == localTime(time(nullptr)).tm_year;
    return { direct::timeText(locale, alarm.timezone, alarm.stime, true),
        alarm.repeat_once ? direct::dateText(locale, alarm.timezone, alarm.stime, !thisYear)
                          : rowByIcu(alarm, locale),
        toastByIcu(offset, locale) };
}

bool isEqual(const std::string& text, const std::string& expected)
{
    if (text != expected)
        fprintf(stderr, "text-rows: \"%s\" has to be \"%s\"\n", text.c_str(), expected.c_str());
    return text == expected;
}

// Without its colours; a dot where the alarm is silent.
std::string plain(const std::string& days)
{
    std::string text;
    for (size_t at = 0; at < days.size();) {
        const size_t tag = days.find('<', at);
        text += days.substr(at, tag - at);
        if (tag == std::string::npos)
            break;
        const size_t end = days.find('>', tag) + 1;
        at = end;
        if (days.compare(tag, 16, "<color=#4f4f4f99") == 0) {
            text += "\u00B7";
            at = days.find('<', end);
        }
    }
    return text;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: text-rows LOCALE\n");
        return 2;
    }
    companion::useDeviceLanguage();
    AlarmStringUtil::_initTextDomain();
    const int workdays = 62;
    const int weekend = 65;
    int equal = 0;
    for (const AlarmDbData& alarm : { alarmAt(7, 30, 1, 0), alarmAt(22, 5, 400, 0),
             alarmAt(6, 45, 2, workdays), alarmAt(12, 0, 2, weekend) }) {
        Offset offset;
        const Row row = byLibrary(alarm, offset);
        const Row expected = byIcu(alarm, argv[1], offset);
        const bool isTime = isEqual(row.time, expected.time);
        const bool areDays = isEqual(row.days, expected.days);
        const bool isToast = isEqual(row.toast, expected.toast);
        equal += isTime && areDays && isToast ? 1 : 0;
        printf("%s\t%s\t%s\t%s\n", argv[1], row.time.c_str(), plain(row.days).c_str(),
            row.toast.c_str());
    }
    printf("= %d\n", equal);
    return 0;
}
