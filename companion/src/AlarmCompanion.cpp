#include "AlarmCompanion.h"

#include "AlarmSaving.h"
#include "HeapText.h"

#include <app_common.h>
#include <appcore-common.h>

namespace companion {

namespace {

// The domain in which AlarmStringUtil looks its texts up.
const char* const kTextDomain = "alarm-merid";

// Commits a change and hands the changed record out when it is stored.
Saved committed(AlarmSaving& saving, Saved changed, const AlarmDbData& made, AlarmDbData& alarm)
{
    const Saved saved = changed == Saved::Yes ? saving.commit() : changed;
    if (saved == Saved::Yes)
        alarm = made;
    return saved;
}

} // namespace

void useDeviceLanguage()
{
    const std::string resources = takeText(app_get_resource_path());
    if (!resources.empty())
        (void)appcore_set_i18n(kTextDomain, (resources + "locale").c_str());
}

AlarmDbData newAlarm()
{
    AlarmDbData alarm;
    alarm.enable = 1;
    alarm.volume = 10;
    return alarm;
}

const char* textOf(Saved result)
{
    static const char* const texts[]
        = { "saved", "there is no such alarm", "the store cannot be read",
              "the alarm service did not take the alarm", "the change could not be stored",
              "the change could not be stored: another process keeps the alarms to itself",
              "the change could not be stored, nor its registration be taken back" };
    return texts[static_cast<size_t>(result)];
}

Saved addAlarm(AlarmDbData& alarm, const Edit& edit)
{
    AlarmSaving saving;
    AlarmDbData made = alarm;
    return committed(saving, saving.add(made, edit), made, alarm);
}

Saved changeAlarm(int id, const Edit& edit, AlarmDbData& alarm)
{
    AlarmSaving saving;
    AlarmDbData changed;
    return committed(saving, saving.change(id, edit, changed), changed, alarm);
}

Saved removeAlarm(int id, AlarmDbData& alarm)
{
    AlarmSaving saving;
    AlarmDbData removed;
    return committed(saving, saving.remove(id, removed), removed, alarm);
}

} // namespace companion
