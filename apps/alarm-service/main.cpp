// The background service: follows the alarms, knows which one rings next, and speaks to the phone.
#include "PhoneEnd.h"
#include "PhoneRinging.h"

#include <AlarmReading.h>
#include <AlarmTime.h>
#include <app_preference.h>
#include <dlog.h>
#include <service_app.h>
#include <vconf.h>

namespace {

const char* const kTag = "alarm-service";
const char* const kSettingKeys[]
    = { VCONFKEY_VAP_CONNECTIVITY_TYPE, VCONFKEY_WMS_WMANAGER_CONNECTED,
          "db/wms/host_status/vendor", "db/alarm/host_alarm_notification_enabled" };

std::string describe(const std::optional<AlarmDbData>& alarm, time_t now)
{
    if (!alarm)
        return "no upcoming alarm";
    const tm local = companion::localTime(companion::upcomingInstant(*alarm, now));
    char text[64];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return "upcoming alarm " + std::to_string(alarm->id) + " at " + text;
}

class Upcoming {
public:
    /// Looks for the alarm that rings next and logs it when it is another, or at another time.
    void follow()
    {
        const auto alarms = companion::allAlarms();
        if (!alarms) {
            dlog_print(
                DLOG_WARN, kTag, "the alarms cannot be read: %s", companion::storeFault().c_str());
            return;
        }
        const time_t now = companion::currentTime();
        const std::string description = describe(companion::upcomingAlarm(*alarms, now), now);
        if (description == _description)
            return;
        _description = description;
        dlog_print(DLOG_INFO, kTag, "%s", _description.c_str());
    }

private:
    std::string _description;
};

struct Service {
    Upcoming upcoming;
    PhoneEnd phone;
    PhoneRinging ringing;
};

void alarmsChangedCb(const char*, void* data) noexcept
{
    auto* service = static_cast<Service*>(data);
    service->ringing.follow();
    service->upcoming.follow();
    service->phone.followAlarms();
}

void settingChangedCb(keynode_t*, void* data) noexcept
{
    auto* service = static_cast<Service*>(data);
    service->phone.followLink();
    service->ringing.follow();
    service->upcoming.follow();
}

bool createCb(void* data) noexcept
{
    auto* service = static_cast<Service*>(data);
    companion::start();
    for (const char* key : companion::kChangedKeys) {
        if (preference_set_changed_cb(key, alarmsChangedCb, data) != PREFERENCE_ERROR_NONE)
            dlog_print(DLOG_WARN, kTag, "the changes of %s cannot be heard", key);
    }
    for (const char* key : kSettingKeys) {
        if (vconf_notify_key_changed(key, settingChangedCb, data) != VCONF_OK)
            dlog_print(DLOG_WARN, kTag, "the changes of %s cannot be heard", key);
    }
    service->ringing.follow();
    service->upcoming.follow();
    service->phone.open();
    return true;
}

void terminateCb(void* data) noexcept
{
    auto* service = static_cast<Service*>(data);
    for (const char* key : companion::kChangedKeys)
        (void)preference_unset_changed_cb(key);
    for (const char* key : kSettingKeys)
        (void)vconf_ignore_key_changed(key, settingChangedCb);
    service->ringing.stop();
    service->phone.close();
}

} // namespace

int main(int argc, char** argv)
{
    Service service;
    service_app_lifecycle_callback_s lifecycle = {};
    lifecycle.create = createCb;
    lifecycle.terminate = terminateCb;
    return service_app_main(argc, argv, &lifecycle, &service);
}
