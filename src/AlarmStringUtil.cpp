#include "AlarmStringUtil.h"

#include "AlarmIcuDataModel.h"
#include "AlarmLog.h"
#include "PlatformHandle.h"
#include "RegionFormat.h"
#include "Utf8.h"

#include <algorithm>
#include <app_common.h>
#include <array>
#include <cstdio>
#include <cstring>
#include <libintl.h>
#include <ui_extension.h>
#include <utils_i18n.h>
#include <vconf.h>

namespace {
const char* const kOffset = "getAlertTimeOffset";
const char* const kNumber = "changeNumberToString";
const char* const kTextDomain = "alarm-merid";
const char* const kTimeFormatKey = "db/menu_widget/regionformat_time1224";
const char* const kRatio = "\xE2\x88\xB6";

const int kTwelveHours = 1;
const int kDaysOfWeek = 7;
const int kEveryDay = 127;
const long kDaySeconds = 24L * 60 * 60;

const size_t kUpperSize = 256;
const size_t kNumberRegionSize = 32;
const size_t kWorkingSize = 32;
const size_t kTimeSize = 1024;
const size_t kDateSize = 512;
const size_t kRepeatSize = 1024;
const size_t kCountSize = 256;
const size_t kToastSize = 256;
const size_t kDirectorySize = 4096;

using NumberFormat = PlatformHandle<i18n_unumber_format_h, i18n_unumber_destroy>;

// The part of the text that a buffer of size bytes holds beside the terminator.
std::string printedText(const std::string& text, size_t size) { return cutText(text, size - 1); }

// Whether the unit is the first half of a character that takes two UTF-16 units.
bool isFirstHalf(i18n_uchar unit) { return (unit & 0xFC00U) == 0xD800; }

bool beginsWith(const std::string& text, const char* beginning)
{
    return text.compare(0, strlen(beginning), beginning) == 0;
}

std::string takenText(char* made)
{
    const GlibText text(made);
    return text.get() ? text.get() : "";
}

tm localTime(time_t time)
{
    tm local = {};
    localtime_r(&time, &local);
    return local;
}

// The time until the alarm. Hours and minutes may be negative until they have borrowed. The fields
// are wide because a damaged record may have any hour and minute.
struct Offset {
    long long days = 0;
    long long hours = 0;
    long long minutes = 0;

    void borrowHour()
    {
        if (minutes >= 0)
            return;
        minutes += 60;
        --hours;
    }

    void borrow()
    {
        borrowHour();
        if (hours >= 0)
            return;
        hours += 24;
        --days;
    }
};

// The hours by which the alarm comes later because daylight-saving time ends between now and its
// time today: 1 or 0.
int daylightSavingCorrection(const AlarmDbData& alarm, time_t now, const tm& today)
{
    if (today.tm_isdst <= 0)
        return 0;
    tm ring = today;
    --ring.tm_isdst;
    ring.tm_hour = alarm.hour;
    ring.tm_min = alarm.min;
    const time_t instant = mktime(&ring);
    return instant > now && ring.tm_hour == alarm.hour && ring.tm_min == alarm.min ? 1 : 0;
}

time_t midnightOf(tm date)
{
    date.tm_hour = 0;
    date.tm_min = 0;
    date.tm_sec = 0;
    date.tm_isdst = -1;
    return mktime(&date);
}

void untilDate(const AlarmDbData& alarm, time_t now, const tm& today, Offset& offset)
{
    const tm start = localTime(alarm.stime);
    LOG_CRITICAL_OF(
        kOffset, "startTime = %d, currentTime = %d", alarm.stime, static_cast<int>(now));
    LOG_CRITICAL_OF(kOffset, "alarmData.hour = %d, alarmData.min = %d", alarm.hour, alarm.min);
    if (start.tm_mon == today.tm_mon && start.tm_year == today.tm_year) {
        LOG_CRITICAL_OF(kOffset, "same month and year");
        offset.days = start.tm_mday - today.tm_mday;
    } else {
        LOG_CRITICAL_OF(kOffset, "different month and year");
        const auto days = static_cast<int>((midnightOf(start) - midnightOf(today)) / kDaySeconds);
        LOG_CRITICAL_OF(kOffset, "diffTime[%d]", days);
        offset.days = days;
    }
    offset.borrow();
}

int nextDayBit(int bit)
{
    const int next = (bit << 1) & kEveryDay;
    return next != 0 ? next : 1;
}

void untilTodayOrLater(const AlarmDbData& alarm, int todayBit, Offset& offset)
{
    LOG_CRITICAL_OF(kOffset,
        "repeat day is today case : alarmData.hour = %d, alarmData.min = %d, "
        "alarmData.repeatWeekly = %d",
        alarm.hour, alarm.min, alarm.repeatWeekly);
    offset.borrow();
    const bool isNow
        = offset.minutes == 0 && offset.days == 0 && (offset.hours == 0 || offset.hours == 24);
    if (offset.days >= 0 && !isNow)
        return;
    int ahead = 1;
    for (int bit = nextDayBit(todayBit); (alarm.repeatWeekly & bit) == 0 && ahead < kDaysOfWeek;
         bit = nextDayBit(bit)) {
        ++ahead;
    }
    offset.days += ahead;
}

void untilLaterDay(const AlarmDbData& alarm, int todayBit, Offset& offset)
{
    LOG_CRITICAL_OF(kOffset,
        "repeat day is not today case : alarmData.hour = %d, alarmData.min = %d, "
        "alarmData.repeatWeekly = %d",
        alarm.hour, alarm.min, alarm.repeatWeekly);
    int bit = todayBit;
    for (int i = 1; i < kDaysOfWeek; ++i) {
        bit = nextDayBit(bit);
        if ((alarm.repeatWeekly & bit) != 0)
            break;
        ++offset.days;
    }
    offset.borrowHour();
    if (offset.hours < 0) {
        offset.hours += 24;
    } else {
        ++offset.days;
    }
}

// Takes an hour away when daylight-saving time begins between now and the alarm.
void correctForStandardTime(const AlarmDbData& alarm, time_t now, Offset& offset)
{
    if (offset.days < 1) {
        if (alarm.stime <= now || localTime(alarm.stime).tm_isdst <= 0)
            return;
        const auto seconds = static_cast<long long>(difftime(alarm.stime, now));
        const long long total = seconds / 60 + (seconds % 60 > 0 ? 1 : 0);
        offset = { total / 60 / 24, (total / 60) % 24, total % 60 };
    } else if (localTime(alarm.stime + offset.days * kDaySeconds).tm_isdst > 0) {
        if (offset.hours > 0) {
            --offset.hours;
        } else {
            offset.hours = 23;
            --offset.days;
        }
    }
}

std::string numberText(const std::string& locale, int n)
{
    const int32_t numberUnits = 20;
    const size_t lastUnit = numberUnits - 2; // the one before the terminator
    const size_t longestUnit = 3; // bytes of UTF-8 that one unit may become

    NumberFormat format;
    if (i18n_unumber_create(
            I18N_UNUMBER_DECIMAL, nullptr, -1, locale.c_str(), nullptr, format.out())
        != I18N_ERROR_NONE) {
        LOG_CRITICAL_OF(kNumber, "Failed to perform i18n_unumber_create()");
    }
    std::array<i18n_uchar, numberUnits> number = {};
    const int32_t length
        = i18n_unumber_format(format.get(), n, number.data(), numberUnits, nullptr);
    if (length <= 0 || length > numberUnits)
        LOG_CRITICAL_OF(kNumber, "Failed to perform i18n_unumber_format()");

    number.back() = 0;
    if (isFirstHalf(number[lastUnit]))
        number[lastUnit] = 0;
    std::array<char, numberUnits* longestUnit> text = {};
    i18n_ustring_copy_au_n(text.data(), number.data(), text.size() - 1);
    return text.data();
}

std::string regionDigits(int count)
{
    const GlibText digits(AlarmStringUtil::changeNumberToString(count));
    if (digits.get())
        return digits.get();
    return numberText(takenText(AlarmIcuDataModel::getCurrentRegionFormat()), count);
}

// Does for one conversion, such as "%s", what printf would do: puts the text in its place, and "%"
// in the place of "%%". Any other conversion is a mistake in the catalogue, and stays as it is.
std::string filled(const std::string& format, char conversion, const std::string& text)
{
    std::string result;
    for (size_t at = 0; at < format.size(); ++at) {
        const char next = at + 1 < format.size() ? format[at + 1] : '\0';
        if (format[at] != '%' || (next != '%' && next != conversion)) {
            result += format[at];
            continue;
        }
        result += next == '%' ? "%" : text;
        ++at;
    }
    return result;
}

std::string countText(const char* message, int count)
{
    std::string text = dngettext(kTextDomain, message, message, static_cast<unsigned long>(count));
    if (!AlarmStringUtil::_checkNumberFormat(text.c_str(), "%d"))
        return text;
    const std::string printed = printedText(filled(text, 'd', "-1"), kCountSize);
    const std::string format = AlarmStringUtil::replaceString(printed, "-1", "%s");
    return filled(format, 's', regionDigits(count));
}

std::string withRatio(const std::string& time, const std::string& region)
{
    const auto keepsColon
        = [&region](const char* language) { return beginsWith(region, language); };
    const std::array<const char*, 4> languages = { "ar", "he", "fa", "ur" };
    std::string text = time;
    if (std::none_of(languages.begin(), languages.end(), keepsColon))
        text = AlarmStringUtil::replaceString(text, ":", kRatio);
    return cutText(AlarmStringUtil::replaceString(text, "-", kRatio), kWorkingSize);
}

std::string coloured(const std::string& colour, const std::string& text)
{
    return "<color=#" + colour + ">" + text + "</color>";
}

std::string themeColour(const char* code)
{
    int red = 0;
    int green = 0;
    int blue = 0;
    int alpha = 0;
    uxt_theme_get_color(code, &red, &green, &blue, &alpha);
    std::array<char, 40> text = {};
    snprintf(text.data(), text.size(), "%02x%02x%02x%02x", red, green, blue, alpha);
    return text.data();
}

const char* weekdayLetter(int day)
{
    static const std::array<const char*, kDaysOfWeek> messages = {
        "WDS_ALM_BUTTON_S_M_SUNDAY_ABB",
        "WDS_ALM_BUTTON_M_M_MONDAY_ABB",
        "WDS_ALM_BUTTON_T_M_TUESDAY_ABB",
        "WDS_ALM_BUTTON_W_M_WEDNESDAY_ABB",
        "WDS_ALM_BUTTON_T_M_THURSDAY_ABB",
        "WDS_ALM_BUTTON_F_M_FRIDAY_ABB",
        "WDS_ALM_BUTTON_S_M_SATURDAY_ABB",
    };
    return dgettext(kTextDomain, messages[static_cast<size_t>(day)]);
}

std::string dateText(const AlarmDbData& alarm)
{
    const bool thisYear = localTime(alarm.stime).tm_year == localTime(time(nullptr)).tm_year;
    std::array<char, kDateSize + 1> text = {};
    AlarmIcuDataModel::getFormattedDateString(alarm.stime, text.data(), kDateSize, nullptr,
        thisYear ? "EMMMd" : "EMdyyyy", alarm.timezone.c_str());
    return text.data();
}

// The tag that sets the size of a row of weekdays. It is never closed, so it holds for the whole
// row.
std::string rowSizeTag(const std::string& region)
{
    if (beginsWith(region, "ta"))
        return "<font_size=20>";
    if (beginsWith(region, "kn"))
        return "<font_size=18>";
    if (beginsWith(region, "bo"))
        return "<font_size=10>";
    return "";
}
} // namespace

void AlarmStringUtil::changeStringToUpper(char* s)
{
    if (!s || !g_utf8_validate(s, -1, nullptr))
        return;
    const std::string upper = printedText(takenText(g_utf8_strup(s, -1)), kUpperSize);
    memcpy(s, upper.c_str(), upper.size() + 1);
}

char* AlarmStringUtil::changeNumberToString(int n)
{
    const HeapText setting(vconf_get_str(kRegionFormatKey));
    if (!setting.get())
        return nullptr;
    return g_strdup(numberText(localeOfRegionFormat(setting.get(), kNumberRegionSize), n).c_str());
}

std::string AlarmStringUtil::replaceString(
    const std::string& src, const std::string& from, const std::string& to)
{
    std::string text = src;
    if (from.empty())
        return text;
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
void AlarmStringUtil::getAlertTimeOffset(AlarmDbData alarm, int& days, int& hours, int& minutes)
{
    const time_t now = time(nullptr);
    const tm today = localTime(now);
    const int dst = daylightSavingCorrection(alarm, now, today);
    const int todayBit = 1 << today.tm_wday;

    Offset offset = { days, alarm.hour, alarm.min };
    offset.hours += dst - today.tm_hour;
    offset.minutes -= today.tm_min;
    if (alarm.repeat_once != 0) {
        untilDate(alarm, now, today, offset);
    } else if ((alarm.repeatWeekly & todayBit) != 0) {
        untilTodayOrLater(alarm, todayBit, offset);
    } else {
        untilLaterDay(alarm, todayBit, offset);
    }
    if (today.tm_isdst <= 0)
        correctForStandardTime(alarm, now, offset);

    days = static_cast<int>(offset.days);
    hours = static_cast<int>(offset.hours);
    minutes = static_cast<int>(offset.minutes);
}

void AlarmStringUtil::generateAlertOffsetToastPopupText(
    int days, int hours, int minutes, std::string& out)
{
    std::string phrase;
    bool isFirst = true;
    const auto add = [&](const char* message, int count) {
        phrase += (isFirst ? "" : " ") + countText(message, count);
        isFirst = false;
    };
    if (days > 0) {
        add("PLURAL_ZERO_ALM_TPOP_PD_DAYS", days);
        LOG_CRITICAL("day[%s]", phrase.c_str());
    }
    if (hours > 0) {
        add("PLURAL_ZERO_ALM_TPOP_PD_HRS", hours);
        LOG_CRITICAL("day & hour[%s]", phrase.c_str());
    }
    if (minutes > 0) {
        add("PLURAL_ZERO_ALM_TPOP_PD_MINS", minutes);
        LOG_CRITICAL("day & hour & min[%s]", phrase.c_str());
    }
    const std::string wrapper = dgettext(kTextDomain, "WDS_ALM_TPOP_ALARM_SET_FOR_PS_FROM_NOW_ABB");
    out = printedText(filled(wrapper, 's', phrase), kToastSize);
    LOG_CRITICAL("text in = %s", out.c_str());
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
void AlarmStringUtil::getAlarmTimeString(AlarmDbData alarm, std::string& out)
{
    const long time = AlarmIcuDataModel::verifyExistingTimeForDst(alarm);
    int timeFormat = kTwelveHours;
    vconf_get_int(kTimeFormatKey, &timeFormat);
    const std::string region = takenText(AlarmIcuDataModel::getCurrentRegionFormat());

    const bool twelveHours = timeFormat == kTwelveHours;
    const char* zoneId = alarm.timezone.c_str();
    std::array<char, kWorkingSize + 1> formatted = {};
    AlarmIcuDataModel::getFormattedDateString(
        time, formatted.data(), kWorkingSize, nullptr, twelveHours ? "hhmm" : "HHmm", zoneId);
    if (!twelveHours) {
        out = cutText(withRatio(formatted.data(), region), kTimeSize);
        return;
    }

    std::array<char, kWorkingSize> marker = {};
    const bool markerFirst = AlarmIcuDataModel::getFormattedAmpmString(
        time, formatted.data(), marker.data(), kWorkingSize, zoneId);
    const std::string bare
        = replaceString(replaceString(formatted.data(), marker.data(), ""), " ", "");
    const std::string shown = withRatio(bare, region);
    out = markerFirst ? marker.data() + (" " + shown) : shown + " " + marker.data();
    out = cutText(out, kTimeSize);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
void AlarmStringUtil::getAlarmDateRepeatString(AlarmDbData alarm, std::string& out, bool markup)
{
    if (alarm.repeat_once != 0) {
        const std::string date = dateText(alarm);
        out = markup ? "<font font_size=26>" + coloured("4f4f4f99", date) + "</font>" : date;
        return;
    }
    out = rowSizeTag(takenText(AlarmIcuDataModel::getCurrentRegionFormat()));
    for (int position = 0; position < kDaysOfWeek; ++position)
        out += takenText(_setAlarmRepeatPartText(alarm, position, markup));
    out = cutText(out, kRepeatSize);
}

char* AlarmStringUtil::_setAlarmRepeatPartText(const AlarmDbData& alarm, int position, bool markup)
{
    int first = AlarmIcuDataModel::getFirstDayOfWeek() - 1;
    if (first < 0) {
        LOG_CRITICAL("get first day failed, it will set automatically 1");
        first = 0;
    }
    const int day = (position % kDaysOfWeek + kDaysOfWeek + first) % kDaysOfWeek;
    const bool selected = (alarm.repeatWeekly & (1 << day)) != 0;
    const bool last = position == kDaysOfWeek - 1;

    std::string text;
    if (markup) {
        _initTextDomain();
        text = coloured(selected ? "623a9eff" : "4f4f4f99", weekdayLetter(day));
        if (position == 0)
            text = "<font font_size=26>" + text;
        text += last ? "</font>" : " ";
    } else {
        const char* on = selected ? "AT015" : "AT014";
        const char* off = selected ? "AT015D" : "AT014D";
        text = coloured(themeColour(alarm.enable ? on : off), weekdayLetter(day));
        text += last ? "" : " ";
    }
    return g_strdup(text.c_str());
}

void AlarmStringUtil::_initTextDomain()
{
    const HeapText resources(app_get_resource_path());
    if (!resources.get())
        return;
    const std::string directory = std::string(resources.get()) + "locale";
    bindtextdomain(kTextDomain, directory.substr(0, kDirectorySize).c_str());
}

bool AlarmStringUtil::_checkNumberFormat(const char* text, const char* pattern)
{
    if (!text) {
        LOG_CRITICAL("str1 is nullptr !!");
        return false;
    }
    return pattern && strstr(text, pattern) != nullptr;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
std::string AlarmStringUtil::base64Decode(std::string in)
{
    gsize size = 0;
    guchar* decoded = g_base64_decode(in.c_str(), &size);
    if (!decoded) {
        LOG_WARNING("base64 decoding failed");
        return "";
    }
    std::string bytes(reinterpret_cast<const char*>(decoded), size);
    g_free(decoded);
    return bytes;
}
