// Adds an alarm, lists all alarms with their texts, and removes the alarm again.
#include <AlarmCompanion.h>
#include <AlarmStringUtil.h>
#include <cstdio>

int main()
{
    companion::start();
    companion::useDeviceLanguage();

    AlarmDbData alarm = companion::newAlarm();
    alarm.name = "Work";
    companion::Saved saved = companion::addAlarm(alarm, [](AlarmDbData& made, time_t now) {
        made.hour = 7;
        made.min = 30;
        companion::setNextRing(made, now);
        return true; // this sets when it rings
    });
    const auto alarms = companion::allAlarms();
    for (size_t i = 0; alarms && i < alarms->size(); ++i) {
        std::string time, days;
        AlarmStringUtil::getAlarmTimeString(alarms->at(i), time);
        AlarmStringUtil::getAlarmDateRepeatString(alarms->at(i), days, false);
        printf("%s, %s: %s\n", time.c_str(), days.c_str(), alarms->at(i).name.c_str());
    }
    if (saved == companion::Saved::Yes)
        saved = companion::removeAlarm(alarm.id, alarm);
    puts(alarms ? companion::textOf(saved) : "the alarms cannot be read");
}
