#include "app_alarm.h"
#include "host/common/Handles.h"
#include "host/common/Log.h"
#include "host/common/Session.h"
#include "host/common/Wire.h"

#include <com.velmora.host.Alarm-proxy.h>

namespace {

const int kAllDays = 0x7F;
const int kFirstYear = 1900;
const int kLastYear = 9999;
const char* const kInvalidArgs = "org.freedesktop.DBus.Error.InvalidArgs";

using AlarmProxy = host::DaemonProxy<com::velmora::host::Alarm_proxy>;

bool isIn(int value, int low, int high) { return value >= low && value <= high; }

// The platform's own sign for "the next such time of day, on whichever day".
bool hasNoDate(const tm& date)
{
    return date.tm_year == -1900 && date.tm_mon == -1 && date.tm_mday == 0;
}

// The conversion moves a day that the calendar does not have.
bool isInCalendar(const tm& date)
{
    tm day = {};
    day.tm_year = date.tm_year;
    day.tm_mon = date.tm_mon;
    day.tm_mday = date.tm_mday;
    if (!isIn(date.tm_year, kFirstYear - 1900, kLastYear - 1900) || !isIn(date.tm_mon, 0, 11)
        || !isIn(date.tm_mday, 1, 31))
        return false;
    timegm(&day);
    return day.tm_mday == date.tm_mday;
}

int checkTime(const tm& date)
{
    if (!isIn(date.tm_hour, 0, 23) || !isIn(date.tm_min, 0, 59) || !isIn(date.tm_sec, 0, 59))
        return ALARM_ERROR_INVALID_TIME;
    if (!hasNoDate(date) && !isInCalendar(date))
        return ALARM_ERROR_INVALID_DATE;
    return ALARM_ERROR_NONE;
}

// Runs a call to the alarm service; only a refused argument is the caller's fault.
template <typename Call>
int askService(Call call)
{
    try {
        AlarmProxy service;
        call(service);
        return ALARM_ERROR_NONE;
    } catch (const sdbus::Error& error) {
        host::logError("alarm service: " + error.getMessage());
        return error.getName() == kInvalidArgs ? ALARM_ERROR_INVALID_PARAMETER
                                               : ALARM_ERROR_CONNECTION_FAIL;
    }
}

} // namespace

extern "C" int alarm_schedule_with_recurrence_week_flag(
    app_control_h app_control, struct tm* date, int week_flag, int* alarm_id)
{
    if (!app_control || !date || !alarm_id || !isIn(week_flag, 0, kAllDays))
        return ALARM_ERROR_INVALID_PARAMETER;
    const host::Entries& entries = app_control->data.entries;
    const std::string* application = host::findEntry(entries, host::kApplicationIdKey);
    if (!application || application->empty())
        return ALARM_ERROR_INVALID_PARAMETER;
    if (const int wrong = checkTime(*date))
        return wrong;

    sdbus::Struct<int32_t, int32_t, int32_t> day{ 0, 0, 0 };
    if (!hasNoDate(*date))
        day = { date->tm_year + 1900, date->tm_mon + 1, date->tm_mday };
    return askService([&](AlarmProxy& service) {
        *alarm_id = service.Schedule(host::identity().package, host::toWire(entries), day,
            { date->tm_hour, date->tm_min, date->tm_sec }, week_flag);
    });
}

extern "C" int alarm_cancel(int alarm_id)
{
    if (alarm_id <= 0)
        return ALARM_ERROR_INVALID_PARAMETER;
    return askService(
        [=](AlarmProxy& service) { service.Cancel(host::identity().package, alarm_id); });
}
