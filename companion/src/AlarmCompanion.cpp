#include "AlarmCompanion.h"

#include "AlarmSaving.h"

#include <app_common.h>
#include <appcore-common.h>
#include <cstdlib>
#include <memory>
#include <string>

namespace companion {

namespace {

// As AlarmStringUtil finds its texts.
const char* const kTextDomain = "alarm-merid";

Saved committed(AlarmSaving& saving, Saved changed)
{
    return changed == Saved::Yes ? saving.commit() : changed;
}

} // namespace

void useDeviceLanguage()
{
    const std::unique_ptr<char, void (*)(void*)> resources(app_get_resource_path(), free);
    if (resources)
        (void)appcore_set_i18n(kTextDomain, (resources.get() + std::string("locale")).c_str());
}

const char* textOf(Saved result)
{
    switch (result) {
    case Saved::NoSuchAlarm:
        return "there is no such alarm";
    case Saved::Unreadable:
        return "the store cannot be read";
    case Saved::NotRegistered:
        return "the alarm service did not take the alarm";
    case Saved::NotStored:
        return "the change could not be stored";
    case Saved::Busy:
        return "the change could not be stored: another process keeps the alarms to itself";
    case Saved::StillRegistered:
        return "the change could not be stored, nor its registration be taken back";
    default:
        return "saved";
    }
}

Saved addAlarm(AlarmDbData& alarm, const Edit& edit)
{
    AlarmSaving saving;
    return committed(saving, saving.add(alarm, edit));
}

Saved changeAlarm(int id, const Edit& edit, AlarmDbData& alarm)
{
    AlarmSaving saving;
    return committed(saving, saving.change(id, edit, alarm));
}

Saved removeAlarm(int id, AlarmDbData& alarm)
{
    AlarmSaving saving;
    return committed(saving, saving.remove(id, alarm));
}

} // namespace companion
