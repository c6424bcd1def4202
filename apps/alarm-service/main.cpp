// The background service: follows the alarms and knows which one rings next.
#include "common/AlarmList.h"
#include "common/AlarmTime.h"
#include "common/StoreFile.h"

#include <app_preference.h>
#include <dlog.h>
#include <service_app.h>

namespace {

const char* const kTag = "alarm-service";
const char* const kChangedKeys[] = { ".alarmDbChanged", ".alarmDbChangedWidget" };

std::string describe(const std::optional<AlarmDbData>& alarm, time_t now)
{
    if (!alarm)
        return "no upcoming alarm";
    const tm local = app::localTime(app::upcomingInstant(*alarm, now));
    char text[64];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return "upcoming alarm " + std::to_string(alarm->id) + " at " + text;
}

class Upcoming {
public:
    /// Looks for the alarm that rings next and logs it when it is another, or at another time.
    void follow()
    {
        const std::string fault = app::storeFault();
        if (!fault.empty()) {
            dlog_print(DLOG_WARN, kTag, "the alarms cannot be read: %s", fault.c_str());
            return;
        }
        const time_t now = time(nullptr);
        const std::string description = describe(app::upcomingAlarm(app::allAlarms(), now), now);
        if (description == _description)
            return;
        _description = description;
        dlog_print(DLOG_INFO, kTag, "%s", _description.c_str());
    }

private:
    std::string _description;
};

void changedCb(const char*, void* data) { static_cast<Upcoming*>(data)->follow(); }

bool createCb(void* data)
{
    app::makeStore();
    for (const char* key : kChangedKeys) {
        if (preference_set_changed_cb(key, changedCb, data) != PREFERENCE_ERROR_NONE)
            dlog_print(DLOG_WARN, kTag, "the changes of %s cannot be heard", key);
    }
    static_cast<Upcoming*>(data)->follow();
    return true;
}

void terminateCb(void*)
{
    for (const char* key : kChangedKeys)
        (void)preference_unset_changed_cb(key);
}

} // namespace

int main(int argc, char** argv)
{
    app::waitOnBusyStore();
    Upcoming upcoming;
    service_app_lifecycle_callback_s lifecycle = {};
    lifecycle.create = createCb;
    lifecycle.terminate = terminateCb;
    return service_app_main(argc, argv, &lifecycle, &upcoming);
}
