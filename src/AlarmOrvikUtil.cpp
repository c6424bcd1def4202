#include "AlarmOrvikUtil.h"

#include "AlarmDbData.h"
#include "AlarmIcuDataModel.h"
#include "AlarmLog.h"
#include "PlatformHandle.h"
#include "ZoneOfProcess.h"

namespace {
const char kOnceDigit = '0';
const char kSundayDigit = '1';
const char kSaturdayDigit = '7';
const int kDays = 7;
const long kDaySeconds = 86400;

std::string daysText(int repeatWeekly)
{
    std::string text;
    int rest = repeatWeekly;
    for (int day = 0; day < kDays; ++day) {
        const int bit = 1 << day;
        if ((rest & bit) == 0)
            continue;
        text += static_cast<char>(kSundayDigit + day);
        rest &= ~bit;
        if (rest != 0)
            text += ',';
    }
    return text;
}

// The instant of a wall time in the process's zone. Where the clock is set back, it shows the time
// twice, and mktime() may choose either; this is the one in standard time.
time_t instantOf(tm* wall, const AlarmDbData& alarm)
{
    const time_t instant = mktime(wall);
    if (wall->tm_isdst <= 0)
        return instant;
    tm local = {};
    localtime_r(&instant, &local);
    local.tm_isdst = 0;
    const time_t standard = mktime(&local);
    localtime_r(&standard, &local);
    return local.tm_hour == alarm.hour && local.tm_min == alarm.min ? standard : instant;
}
} // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
int AlarmOrvikUtil::convertRepeatWeeklyFromOrvikData(std::string value, int* repeatOnce)
{
    LOG_CRITICAL("repeatValue[%s]", value.c_str());
    *repeatOnce = 0;
    unsigned int sum = 0; // which may be beyond an int, as any text may be long
    for (const char digit : value) {
        if (digit == kOnceDigit) {
            *repeatOnce = 1;
        } else if (digit >= kSundayDigit && digit <= kSaturdayDigit) {
            sum += 1U << (digit - kSundayDigit);
        }
    }
    const int repeatWeekly = static_cast<int>(sum);
    LOG_CRITICAL("repeatWeekly[%d] repeatOnce[%d]", repeatWeekly, *repeatOnce);
    return repeatWeekly;
}

std::string AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(int repeatWeekly, int repeatOnce)
{
    LOG_CRITICAL("repeatWeekly[%d] repeatOnce[%d]", repeatWeekly, repeatOnce);
    std::string value = repeatOnce != 0 ? std::string(1, kOnceDigit) : daysText(repeatWeekly);
    LOG_CRITICAL("repeatValue[%s]", value.c_str());
    return value;
}

void AlarmOrvikUtil::setAlertTime(AlarmDbData& alarm, tm* alarmTm)
{
    const GlibText zone(AlarmIcuDataModel::getCurrentTimeZone());
    LOG_CRITICAL("alarmTm.tm_hour[%d] alarmTm.tm_min[%d]", alarmTm->tm_hour, alarmTm->tm_min);
    alarmTm->tm_isdst = -1;
    alarmTm->tm_min = alarm.min;
    alarmTm->tm_hour = alarm.hour;
    alarmTm->tm_sec = 0;
    {
        const ZoneOfProcess process(zone.get());
        alarm.stime = static_cast<int>(instantOf(alarmTm, alarm));
    }
    alarm.atime = alarm.stime;
}

int AlarmOrvikUtil::setRepeatValue(AlarmDbData& alarm)
{
    alarm.repeat_once = 1;
    const time_t start = alarm.stime;
    tm local = {};
    localtime_r(&start, &local);
    int weekday = local.tm_wday;
    if (difftime(start, time(nullptr)) <= 0) {
        alarm.stime = static_cast<int>(alarm.stime + kDaySeconds);
        alarm.atime = static_cast<int>(alarm.atime + kDaySeconds);
        ++weekday;
    }
    alarm.repeatWeekly = 1 << (weekday % kDays);
    return alarm.repeatWeekly;
}
