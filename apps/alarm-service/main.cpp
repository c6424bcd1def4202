// The background service: keeps the card of the alarm that rings next, and speaks to the phone.
#include "common/Request.h"
#include "PhoneEnd.h"
#include "PhoneRinging.h"
#include "UpcomingCard.h"

#include <AlarmReading.h>
#include <app_preference.h>
#include <dlog.h>
#include <HeapText.h>
#include <service_app.h>
#include <vconf.h>

namespace {

const char* const kTag = "alarm-service";
const char* const kPackage = "com.velmora.alarm";
const char* const kPhoneKeys[] = { VCONFKEY_VAP_CONNECTIVITY_TYPE, VCONFKEY_WMS_WMANAGER_CONNECTED,
    "db/wms/host_status/vendor", "db/alarm/host_alarm_notification_enabled" };
/// Settings with which a card has other texts.
const char* const kTextKeys[] = { "db/menu_widget/language", "db/menu_widget/regionformat",
    "db/menu_widget/regionformat_time1224", "db/setting/timezone_id" };

struct Service {
    UpcomingCard card;
    PhoneEnd phone;
    PhoneRinging ringing;
};

void alarmsChangedCb(const char*, void* data) noexcept
{
    auto* service = static_cast<Service*>(data);
    service->ringing.follow();
    service->card.follow();
    service->phone.followAlarms();
}

void phoneChangedCb(keynode_t*, void* data) noexcept
{
    auto* service = static_cast<Service*>(data);
    service->phone.followLink();
    service->ringing.follow();
    service->card.follow();
}

void textsChangedCb(keynode_t*, void* data) noexcept { static_cast<Service*>(data)->card.renew(); }

void hear(const char* key, vconf_callback_fn callback, void* data)
{
    if (vconf_notify_key_changed(key, callback, data) != VCONF_OK)
        dlog_print(DLOG_WARN, kTag, "the changes of %s cannot be heard", key);
}

// Whether the request is of an application of the alarms, or of who is no application: the panel on
// which the card is pressed, and the user's command line.
bool isTrusted(app_control_h request)
{
    char* text = nullptr;
    const int error = app_control_get_caller(request, &text);
    const std::string caller = companion::takeText(text);
    const std::string package = kPackage;
    return error == APP_CONTROL_ERROR_KEY_NOT_FOUND || caller == package
        || caller.compare(0, package.size() + 1, package + '-') == 0;
}

// Anybody can send a launch request: returns why this one is refused, or empty when it is done.
std::string serve(UpcomingCard& card, const std::string& context, app_control_h request)
{
    if (!isTrusted(request))
        return "its sender is another application, or not known";
    if (context == "turnOffContext")
        return card.turnOff(app::extraOf(request, "alarm_id").value_or(""));
    if (context == "deleteContext")
        return card.withdraw() ? "" : "the card may still be there";
    if (context != "postContext")
        return "there is no context of this name";
    card.renew();
    return "";
}

// A request without a context only starts the service.
void appControlCb(app_control_h request, void* data) noexcept
{
    const auto context = app::extraOf(request, "context");
    if (!context)
        return;
    const std::string refusal = serve(static_cast<Service*>(data)->card, *context, request);
    if (!refusal.empty())
        dlog_print(DLOG_WARN, kTag, "a request about the card is refused: %s", refusal.c_str());
    app::reply(request, refusal);
}

bool createCb(void* data) noexcept
{
    auto* service = static_cast<Service*>(data);
    companion::useDeviceLanguage();
    companion::start();
    for (const char* key : companion::kChangedKeys) {
        if (preference_set_changed_cb(key, alarmsChangedCb, data) != PREFERENCE_ERROR_NONE)
            dlog_print(DLOG_WARN, kTag, "the changes of %s cannot be heard", key);
    }
    for (const char* key : kPhoneKeys)
        hear(key, phoneChangedCb, data);
    for (const char* key : kTextKeys)
        hear(key, textsChangedCb, data);
    service->ringing.follow();
    service->card.follow();
    service->phone.open();
    return true;
}

void terminateCb(void* data) noexcept
{
    auto* service = static_cast<Service*>(data);
    for (const char* key : companion::kChangedKeys)
        (void)preference_unset_changed_cb(key);
    for (const char* key : kPhoneKeys)
        (void)vconf_ignore_key_changed(key, phoneChangedCb);
    for (const char* key : kTextKeys)
        (void)vconf_ignore_key_changed(key, textsChangedCb);
    service->card.stop();
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
    lifecycle.app_control = appControlCb;
    return service_app_main(argc, argv, &lifecycle, &service);
}
