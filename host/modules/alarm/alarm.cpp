#include "app_alarm.h"
#include "host/common/Boundary.h"
#include "host/common/Handles.h"
#include "host/common/Wire.h"

#include <com.velmora.host.Alarm-proxy.h>
#include <map>
#include <string>

namespace {

const int kAllDays = 0x7F;
const int kFirstYear = 1900;
const int kLastYear = 9999;

using AlarmProxy = host::DaemonProxy<com::velmora::host::Alarm_proxy>;

bool isIn(int value, int low, int high) { return value >= low && value <= high; }

// Whether the date is the platform's value for "the next such time of day, on any day".
bool hasNoDate(const tm& date)
{
    return date.tm_year == -1900 && date.tm_mon == -1 && date.tm_mday == 0;
}

// Whether the calendar has the day: timegm moves any other day to one that exists.
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

int codeOf(const std::exception& failure)
{
    static const std::map<std::string, int> codes = {
        { "org.freedesktop.DBus.Error.InvalidArgs", ALARM_ERROR_INVALID_PARAMETER },
        { "org.freedesktop.DBus.Error.LimitsExceeded", ALARM_ERROR_OUT_OF_MEMORY },
        { "org.freedesktop.DBus.Error.AccessDenied", ALARM_ERROR_NOT_PERMITTED_APP },
    };
    const auto* error = dynamic_cast<const sdbus::Error*>(&failure);
    const auto found = error ? codes.find(error->getName()) : codes.end();
    return found == codes.end() ? host::OutOfMemoryOr{ ALARM_ERROR_CONNECTION_FAIL }(failure)
                                : found->second;
}

// Runs a call to the alarm service and returns its ALARM_ERROR_* code.
template <typename Call>
int askService(const Call& call)
{
    return host::guarded("alarm service", codeOf, [&] {
        AlarmProxy service;
        call(service);
        return ALARM_ERROR_NONE;
    });
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
        *alarm_id = service.Schedule(
            host::toWire(entries), day, { date->tm_hour, date->tm_min, date->tm_sec }, week_flag);
    });
}

extern "C" int alarm_cancel(int alarm_id)
{
    if (alarm_id <= 0)
        return ALARM_ERROR_INVALID_PARAMETER;
    return askService([=](AlarmProxy& service) { service.Cancel(alarm_id); });
}

extern "C" int alarm_foreach_registered_alarm(alarm_registered_alarm_cb callback, void* user_data)
{
    if (!callback)
        return ALARM_ERROR_INVALID_PARAMETER;
    std::vector<int32_t> ids;
    const int code = askService([&](AlarmProxy& service) { ids = service.Own(); });
    for (const int32_t id : ids) {
        if (!callback(id, user_data))
            break;
    }
    return code;
}

extern "C" int alarm_get_scheduled_date(int alarm_id, struct tm* date)
{
    if (!date)
        return ALARM_ERROR_INVALID_PARAMETER;
    return askService([=](AlarmProxy& service) {
        const time_t next = std::get<0>(service.Get(alarm_id));
        tzset();
        localtime_r(&next, date);
    });
}

extern "C" int alarm_get_scheduled_recurrence_week_flag(int alarm_id, int* week_flag)
{
    if (!week_flag)
        return ALARM_ERROR_INVALID_PARAMETER;
    return askService(
        [=](AlarmProxy& service) { *week_flag = std::get<1>(service.Get(alarm_id)); });
}
