#include "Presentation.h"

#include "common/LocalText.h"
#include "common/Text.h"
#include "common/Values.h"

#include <AlarmSyncUtil.h>
#include <AlarmTime.h>
#include <algorithm>
#include <array>
#include <iomanip>
#include <PhoneAlarms.h>
#include <sstream>

namespace {

std::string formatted(time_t instant, const char* format)
{
    const tm local = companion::localTime(instant);
    std::ostringstream text;
    text << std::put_time(&local, format);
    return text.str();
}

// "2026-11-24T07:30:00+01:00"
std::string isoText(time_t instant)
{
    std::string text = formatted(instant, "%Y-%m-%dT%H:%M:%S%z");
    return text.insert(text.size() - 2, ":");
}

std::string instantText(time_t instant)
{
    return formatted(instant, instant % 60 == 0 ? "%a %e %b %H:%M" : "%a %e %b %H:%M:%S");
}

// An alarm that was just set to a later time does not ring any more, though the alert may not have
// heard of the change yet.
bool isRinging(const AlarmDbData& alarm, time_t now)
{
    if (!alarm.enable || now < companion::dueInstant(alarm))
        return false;
    const std::vector<int> ringing = companion::ringingAlarms();
    return std::find(ringing.begin(), ringing.end(), alarm.id) != ringing.end();
}

std::string stateOf(const AlarmDbData& alarm, time_t now)
{
    if (!alarm.enable)
        return "off";
    if (isRinging(alarm, now))
        return "ringing";
    if (companion::isSilent(alarm, now))
        return "silent";
    return alarm.count > 0 ? "snoozed" : "on";
}

// Why an alarm that is on will not ring.
std::string silenceReason(const AlarmDbData& alarm)
{
    if (!AlarmSyncUtil::_isConnectedWithOurCompany())
        return "the phone is not of the watch's make";
    if (!AlarmSyncUtil::_isNotificationStateEnabled())
        return "the phone's alarms are off in the watch's settings";
    if (alarm.repeat_once && alarm.mobileAlertTime != 0)
        return "its time is over";
    return "it is not registered";
}

bool willRing(const AlarmDbData& alarm, time_t now)
{
    return alarm.enable && !isRinging(alarm, now) && !companion::isSilent(alarm, now);
}

std::string nextText(const AlarmDbData& alarm, time_t now, bool plain = true)
{
    if (!willRing(alarm, now))
        return "-";
    const time_t instant = companion::upcomingInstant(alarm, now);
    return plain ? instantText(instant) : localInstantText(instant);
}

std::string daysOf(const AlarmDbData& alarm)
{
    return daysText({ alarm.repeat_once != 0, alarm.repeatWeekly });
}

bool isOfPhone(const AlarmDbData& alarm) { return alarm.deviceType == companion::kPhoneDevice; }

const char* deviceOf(const AlarmDbData& alarm) { return isOfPhone(alarm) ? "phone" : "watch"; }

std::string typeText(int type)
{
    const std::array<const char*, 4> texts
        = { "none", "sound", "vibration", "sound and vibration" };
    return type >= 0 && type < 4 ? texts[static_cast<size_t>(type)] : "unknown";
}

using Row = std::vector<std::string>;

std::string tableText(const std::vector<Row>& rows)
{
    std::vector<size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(row[i]));
    }
    std::string text;
    for (const Row& row : rows) {
        std::string line;
        for (size_t i = 0; i + 1 < row.size(); ++i)
            line += padToWidth(row[i], widths[i]) + "  ";
        if (row.back().empty())
            line.erase(line.find_last_not_of(' ') + 1);
        text += line + row.back() + '\n';
    }
    return text;
}

} // namespace

std::string alarmJson(const AlarmDbData& alarm, time_t now)
{
    const auto boolean = [](bool value) { return std::string(value ? "true" : "false"); };
    const std::vector<std::pair<const char*, std::string>> members = {
        { "id", std::to_string(alarm.id) },
        { "time", jsonString(clockText(alarm.hour, alarm.min)) },
        { "days", jsonString(daysOf(alarm)) },
        { "name", jsonString(alarm.name) },
        { "enabled", boolean(alarm.enable != 0) },
        { "state", jsonString(stateOf(alarm, now)) },
        { "next",
            willRing(alarm, now) ? jsonString(isoText(companion::upcomingInstant(alarm, now)))
                                 : "null" },
        { "tone", jsonString(alarm.tone) },
        { "volume", std::to_string(alarm.volume) },
        { "type", std::to_string(alarm.type) },
        { "vibration", std::to_string(alarm.vibration_type) },
        { "snooze", boolean(alarm.snooze_enable != 0) },
        { "snoozes", std::to_string(alarm.count) },
        { "device", jsonString(deviceOf(alarm)) },
    };
    std::string text;
    for (const auto& [name, value] : members)
        text += (text.empty() ? "{" : ",") + jsonString(name) + ":" + value;
    return text + "}";
}

std::string alarmsJson(const std::vector<AlarmDbData>& alarms, time_t now)
{
    std::string text;
    for (const AlarmDbData& alarm : alarms)
        text += (text.empty() ? "" : ",") + alarmJson(alarm, now);
    return "[" + text + "]";
}

std::string alarmLine(const AlarmDbData& alarm, time_t now)
{
    std::string line = std::to_string(alarm.id) + "  " + clockText(alarm.hour, alarm.min) + "  "
        + daysOf(alarm) + "  " + stateOf(alarm, now);
    return alarm.name.empty() ? line : line + "  " + printable(alarm.name);
}

std::string alarmForecast(const AlarmDbData& alarm, time_t now)
{
    const std::string subject = "alarm " + std::to_string(alarm.id);
    if (!alarm.enable)
        return subject + " is off";
    if (isRinging(alarm, now))
        return subject + " is ringing";
    if (companion::isSilent(alarm, now))
        return subject + " is on, but stays silent: " + silenceReason(alarm);
    const time_t instant = companion::upcomingInstant(alarm, now);
    return subject + " rings " + instantText(instant) + ", in " + durationText(instant - now);
}

std::string alarmSetText(const AlarmDbData& alarm, time_t now)
{
    if (!willRing(alarm, now))
        return alarmForecast(alarm, now);
    return "alarm " + std::to_string(alarm.id) + ": " + localToast(alarm);
}

std::string alarmTable(
    const std::vector<AlarmDbData>& alarms, time_t now, size_t columns, bool plain)
{
    if (alarms.empty())
        return "no alarms\n";
    std::vector<Row> rows = { { "ID", "TIME", "DAYS", "STATE", "NEXT" } };
    for (const AlarmDbData& alarm : alarms) {
        rows.push_back({ std::to_string(alarm.id),
            plain ? clockText(alarm.hour, alarm.min) : localTimeText(alarm),
            plain ? daysOf(alarm) : localDaysText(alarm), stateOf(alarm, now),
            nextText(alarm, now, plain) });
    }
    if (std::any_of(alarms.begin(), alarms.end(), isOfPhone)) {
        rows.front().emplace_back("DEVICE");
        for (size_t i = 0; i < alarms.size(); ++i)
            rows[i + 1].emplace_back(deviceOf(alarms[i]));
    }
    for (Row& row : rows)
        row.emplace_back();
    rows.front().back() = "NAME";

    const std::string head = tableText(rows);
    const size_t taken = head.find("NAME");
    const size_t least = 10;
    const size_t nameWidth = std::max(least, columns > taken ? columns - taken : 0);
    for (size_t i = 0; i < alarms.size(); ++i)
        rows[i + 1].back() = cutToWidth(printable(alarms[i].name), nameWidth);
    return tableText(rows);
}

std::string alarmDetails(const AlarmDbData& alarm, time_t now)
{
    return tableText({
        { "id", std::to_string(alarm.id) },
        { "time", clockText(alarm.hour, alarm.min) },
        { "days", daysOf(alarm) },
        { "name", printable(alarm.name) },
        { "state",
            stateOf(alarm, now)
                + (companion::isSilent(alarm, now) ? ": " + silenceReason(alarm) : "") },
        { "next", nextText(alarm, now) },
        { "tone", printable(alarm.tone) },
        { "volume", std::to_string(alarm.volume) },
        { "type", std::to_string(alarm.type) + ", " + typeText(alarm.type) },
        { "vibration", std::to_string(alarm.vibration_type) },
        { "snooze", alarm.snooze_enable ? "allowed" : "not allowed" },
        { "snoozes", std::to_string(alarm.count) },
        { "device", deviceOf(alarm) },
    });
}
