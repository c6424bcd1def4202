#include "AlarmIcuDataModel.h"

#include "AlarmDbData.h"
#include "AlarmLog.h"
#include "PlatformHandle.h"
#include "RegionFormat.h"
#include "ZoneLink.h"
#include "ZoneOfProcess.h"

#include <cstdint>
#include <cstring>
#include <unistd.h>
#include <utils_i18n.h>
#include <vconf.h>

namespace {
const char* const kFormatting = "getFormattedDateString";
const char* const kAmPmSkeleton = "a";
const char* const kFallbackRegion = "en_US";
const size_t kRegionSize = 512;
const size_t kMarkerSize = 32;
const size_t kZoneLinkSize = 1024;

const double kMilliseconds = 1000.0;
const long kHourSeconds = 3600;
const int kYearOfTm = 1900;

using Calendar = PlatformHandle<i18n_ucalendar_h, i18n_ucalendar_destroy>;
using DateFormat = PlatformHandle<i18n_udate_format_h, i18n_udate_destroy>;
using PatternGenerator = PlatformHandle<i18n_udatepg_h, i18n_udatepg_destroy>;

PatternGenerator patternGenerator;

// Room for a UTF-16 text of at most Size units and its terminating zero.
template <int32_t Size>
struct UnitText {
    static const int32_t kSize = Size;
    i18n_uchar units[Size + 1] = {};
};
using ZoneText = UnitText<64>;
using PatternText = UnitText<32>;
using DateText = UnitText<64>;

bool makeRegionTheDefault()
{
    const HeapText setting(vconf_get_str(kRegionFormatKey));
    if (!setting.get()) {
        LOG_CRITICAL_OF(kFormatting, "get region format failed");
        return false;
    }
    const std::string region = localeOfRegionFormat(setting.get(), std::string::npos);
    const int error = i18n_ulocale_set_default(region.c_str());
    if (error != I18N_ERROR_NONE) {
        LOG_CRITICAL_OF(kFormatting, "Set default locale %s error [%d]", region.c_str(), error);
        return false;
    }
    return true;
}

const char* defaultLocale()
{
    const char* locale = nullptr;
    const int error = i18n_ulocale_get_default(&locale);
    if (error != I18N_ERROR_NONE) {
        LOG_CRITICAL_OF(kFormatting, "Get default locale error [%d]", error);
        return nullptr;
    }
    if (!locale)
        LOG_CRITICAL_OF(kFormatting, "locale nullptr");
    return locale;
}

PatternText patternOf(const char* skeleton, const char* locale)
{
    PatternText text;
    i18n_ustring_copy_ua_n(text.units, skeleton, PatternText::kSize);
    i18n_udatepg_create(locale, patternGenerator.out());
    if (strcmp(skeleton, kAmPmSkeleton) == 0)
        return text;
    PatternText pattern;
    int32_t length = 0;
    i18n_udatepg_get_best_pattern(patternGenerator.get(), text.units, PatternText::kSize,
        pattern.units, PatternText::kSize, &length);
    return pattern;
}

bool formatDate(i18n_udate_format_h format, long time, DateText& text)
{
    int32_t length = 0;
    const int error = i18n_udate_format_date(format, static_cast<double>(time) * kMilliseconds,
        text.units, DateText::kSize, nullptr, &length);
    if (error != I18N_ERROR_NONE) {
        LOG_CRITICAL_OF(kFormatting, "Get i18n_udate_format_date error [%d]", error);
        return false;
    }
    if (length == 0) {
        LOG_CRITICAL_OF(kFormatting, "formattedLength = 0");
        return false;
    }
    return true;
}

int valueOf(i18n_ucalendar_h calendar, i18n_ucalendar_date_fields_e field)
{
    int32_t value = 0;
    i18n_ucalendar_get(calendar, field, &value);
    return value;
}
} // namespace

bool AlarmIcuDataModel::getFormattedDateString(
    long time, char* out, int outLen, char* locale, const char* skeleton, const char* zoneId)
{
    if (!out) {
        LOG_CRITICAL("str nullptr");
        return false;
    }
    if (!skeleton) {
        LOG_CRITICAL("pattern nullptr");
        return false;
    }
    if (!makeRegionTheDefault())
        return false;
    const char* used = locale ? locale : defaultLocale();
    if (!used)
        return false;

    ZoneText zone;
    if (zoneId)
        i18n_ustring_copy_ua_n(zone.units, zoneId, ZoneText::kSize);
    const PatternText pattern = patternOf(skeleton, used);

    DateFormat format;
    i18n_udate_create(I18N_UDATE_PATTERN, I18N_UDATE_PATTERN, used, zoneId ? zone.units : nullptr,
        -1, pattern.units, -1, format.out());
    if (!format.get()) {
        LOG_CRITICAL("i18n_udate_create failed");
        return false;
    }
    DateText text;
    if (!formatDate(format.get(), time, text))
        return false;
    i18n_ustring_copy_au_n(out, text.units, outLen);
    format.reset();
    patternGenerator.reset();
    return true;
}

bool AlarmIcuDataModel::getFormattedAmpmString(
    long time, char* timeStr, char* ampmOut, int /*unused*/, const char* zoneId)
{
    char marker[kMarkerSize] = {};
    getFormattedDateString(time, marker, kMarkerSize - 1, nullptr, kAmPmSkeleton, zoneId);
    memcpy(ampmOut, marker, strlen(marker) + 1);

    if (!timeStr) {
        LOG_CRITICAL("timeStr is nullptr");
        return false;
    }
    const char* found = strstr(timeStr, marker);
    return !found || found == timeStr;
}

char* AlarmIcuDataModel::getCurrentTimeZone()
{
    char target[kZoneLinkSize] = {};
    if (readlink(kZoneLink, target, kZoneLinkSize - 1) == -1)
        LOG_CRITICAL("timezone get error");
    char* zone = g_strdup(zoneOfLink(target).c_str());
    LOG_CRITICAL("tz [%s]", zone);
    return zone;
}

char* AlarmIcuDataModel::getCurrentRegionFormat()
{
    const HeapText setting(vconf_get_str(kRegionFormatKey));
    if (!setting.get()) {
        LOG_CRITICAL("vconf_get_str() failed : region format");
        return g_strdup(kFallbackRegion);
    }
    return g_strdup(localeOfRegionFormat(setting.get(), kRegionSize).c_str());
}

int AlarmIcuDataModel::getFirstDayOfWeek()
{
    const char* locale = nullptr;
    if (i18n_ulocale_get_default(&locale) != I18N_ERROR_NONE)
        LOG_CRITICAL("i18n_ulocale_get_default() is failed!!!");

    Calendar calendar;
    if (i18n_ucalendar_create(nullptr, -1, locale, I18N_UCALENDAR_DEFAULT, calendar.out())
        != I18N_ERROR_NONE) {
        LOG_CRITICAL("i18n_ucalendar_create failed.");
        return -1;
    }
    int32_t day = 0;
    if (i18n_ucalendar_get_attribute(calendar.get(), I18N_UCALENDAR_FIRST_DAY_OF_WEEK, &day)
        != I18N_ERROR_NONE) {
        LOG_CRITICAL("i18n_ucalendar_get_attribute failed.");
        return -1;
    }
    return day;
}

long AlarmIcuDataModel::verifyExistingTimeForDst(const AlarmDbData& alarm)
{
    const ZoneOfProcess zone(alarm.timezone.c_str());
    const time_t start = alarm.stime;
    tm local = {};
    localtime_r(&start, &local);
    if (local.tm_hour == alarm.hour && local.tm_min == alarm.min) {
        LOG_CRITICAL("Alarm time match case. Return orignal startTime");
        return start;
    }
    LOG_CRITICAL(
        "Alarm time value mismatch! [tm.tm_hour = %d, tm.tm_min = %d, hour = %d, min = %d]",
        local.tm_hour, local.tm_min, alarm.hour, alarm.min);
    const long long dayHours = 24; // wide, because a damaged record may have any hour
    return start + kHourSeconds * (dayHours + alarm.hour - local.tm_hour);
}

void* AlarmIcuDataModel::getUcal(const std::string& zoneId)
{
    ZoneText zone;
    i18n_ustring_copy_ua_n(zone.units, zoneId.c_str(), ZoneText::kSize);
    const char* locale = nullptr;
    i18n_ulocale_get_default(&locale);

    i18n_ucalendar_h calendar = nullptr;
    const int error
        = i18n_ucalendar_create(zone.units, -1, locale, I18N_UCALENDAR_GREGORIAN, &calendar);
    if (error != I18N_ERROR_NONE) {
        LOG_CRITICAL("i18n_ucalendar_create got an error : %d", error);
        return nullptr;
    }
    return calendar;
}

void AlarmIcuDataModel::getUCalendar(void* ucal, tm* out)
{
    out->tm_sec = valueOf(ucal, I18N_UCALENDAR_SECOND);
    out->tm_min = valueOf(ucal, I18N_UCALENDAR_MINUTE);
    out->tm_hour = valueOf(ucal, I18N_UCALENDAR_HOUR_OF_DAY);
    out->tm_mday = valueOf(ucal, I18N_UCALENDAR_DATE);
    out->tm_mon = valueOf(ucal, I18N_UCALENDAR_MONTH);
    out->tm_year = valueOf(ucal, I18N_UCALENDAR_YEAR) - kYearOfTm;
    out->tm_wday = valueOf(ucal, I18N_UCALENDAR_DAY_OF_WEEK) - 1;
    out->tm_yday = valueOf(ucal, I18N_UCALENDAR_DAY_OF_YEAR) - 1;
    out->tm_isdst = valueOf(ucal, I18N_UCALENDAR_DST_OFFSET) != 0 ? 1 : 0;
}

void AlarmIcuDataModel::setUCalendar(void* ucal, const tm* in)
{
    i18n_ucalendar_set_date_time(ucal, in->tm_year + kYearOfTm, in->tm_mon, in->tm_mday,
        in->tm_hour, in->tm_min, in->tm_sec);
}

void AlarmIcuDataModel::getTmFromUtime(long long utime, tm& out)
{
    const GlibText zone(getCurrentTimeZone());
    Calendar calendar(getUcal(zone.get()));
    i18n_ucalendar_set_milliseconds(calendar.get(), static_cast<double>(utime) * kMilliseconds);
    getUCalendar(calendar.get(), &out);
    LOG_CRITICAL(
        "hour [%d] min [%d] gmtoff[%d]", out.tm_hour, out.tm_min, static_cast<int>(out.tm_gmtoff));
}

long long AlarmIcuDataModel::getUtimeFromTm(const tm& in)
{
    const GlibText zone(getCurrentTimeZone());
    Calendar calendar(getUcal(zone.get()));
    setUCalendar(calendar.get(), &in);
    i18n_udate milliseconds = 0;
    i18n_ucalendar_get_milliseconds(calendar.get(), &milliseconds);
    return static_cast<int64_t>(milliseconds) / static_cast<int64_t>(kMilliseconds);
}

time_t AlarmIcuDataModel::getTimeTFromTm(tm* in)
{
    const GlibText zone(getCurrentTimeZone());
    in->tm_isdst = -1;
    in->tm_sec = 0;
    time_t result = 0;
    {
        const ZoneOfProcess process(zone.get());
        result = mktime(in);
    }
    LOG_CRITICAL("timeTm->tm_hour[%d] timeTm->tm_min[%d] timeTm->tm_wday[%d] timeT[%d]",
        in->tm_hour, in->tm_min, in->tm_wday, static_cast<int>(result));
    return result;
}

time_t AlarmIcuDataModel::getLocalTimeTfromUtcTimeT(long utc)
{
    tm local = {};
    localtime_r(&utc, &local);
    return timegm(&local);
}
