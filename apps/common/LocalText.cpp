#include "common/LocalText.h"

#include <AlarmStringUtil.h>
#include <AlarmTime.h>

namespace {

const std::string kChosen = "<color=#623a9eff>";
const std::string kOther = "<color=#4f4f4f99>";
const std::string kEnd = "</color>";

// Records of older versions have no zone: they mean the device's.
AlarmDbData withZone(AlarmDbData alarm)
{
    if (alarm.timezone.empty())
        alarm.timezone = companion::deviceZone();
    return alarm;
}

std::string lettersOf(const std::string& row)
{
    std::string text;
    for (size_t at = 0; (at = row.find("<color=", at)) != std::string::npos;) {
        const bool chosen = row.compare(at, kChosen.size(), kChosen) == 0;
        const size_t begin = at + (chosen ? kChosen : kOther).size();
        at = row.find(kEnd, begin);
        text += text.empty() ? "" : " ";
        text += chosen ? row.substr(begin, at - begin) : "\xC2\xB7";
    }
    return text;
}

} // namespace

std::string localTimeText(const AlarmDbData& alarm)
{
    std::string text;
    AlarmStringUtil::getAlarmTimeString(withZone(alarm), text);
    return text;
}

std::string localDaysText(const AlarmDbData& alarm)
{
    std::string text;
    AlarmStringUtil::getAlarmDateRepeatString(withZone(alarm), text, alarm.repeat_once == 0);
    return alarm.repeat_once ? text : lettersOf(text);
}

std::string localInstantText(time_t instant)
{
    const companion::WallTime time = companion::wallTime(instant);
    AlarmDbData moment;
    moment.hour = time.hour;
    moment.min = time.minute;
    moment.repeat_once = 1;
    moment.stime = static_cast<int>(instant);
    return localDaysText(moment) + " " + localTimeText(moment);
}

std::string localToast(const AlarmDbData& alarm)
{
    int days = 0;
    int hours = 0;
    int minutes = 0;
    AlarmStringUtil::getAlertTimeOffset(alarm, days, hours, minutes);
    // Less than a minute is told as one: "in 0 minutes" would sound like a failure.
    if (days <= 0 && hours <= 0 && minutes <= 0)
        minutes = 1;
    std::string text;
    AlarmStringUtil::generateAlertOffsetToastPopupText(days, hours, minutes, text);
    return text;
}
