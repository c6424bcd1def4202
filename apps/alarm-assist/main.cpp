// Opens an alarm for editing when its card is tapped. There are no screens yet: a notification
// shows the alarm, and how it is edited on the command line.
#include "common/LocalText.h"
#include "common/Request.h"
#include "common/Text.h"
#include "common/Values.h"

#include <AlarmCompanion.h>
#include <AlertState.h>
#include <ctime>
#include <dlog.h>
#include <memory>
#include <notification.h>
#include <service_app.h>
#include <string>

namespace {

const char* const kTag = "alarm-assist";
const char* const kCardTag = "alarmEditTag";

bool setText(notification_h card, notification_text_type_e type, const std::string& text)
{
    return notification_set_text(card, type, text.c_str(), nullptr, NOTIFICATION_VARIABLE_TYPE_NONE)
        == NOTIFICATION_ERROR_NONE;
}

bool post(const AlarmDbData& alarm)
{
    const std::string number = std::to_string(alarm.id);
    const std::string title = alarm.name.empty() ? "Alarm " + number : printable(alarm.name);
    const std::string content = localTimeText(alarm) + ", " + localDaysText(alarm) + ", "
        + (alarm.enable ? "on" : "off") + "\nalarm edit " + number + " TIME changes it";

    const std::unique_ptr<_notification, int (*)(notification_h)> card(
        notification_create(NOTIFICATION_TYPE_NOTI), notification_free);
    return card && notification_set_time(card.get(), time(nullptr)) == NOTIFICATION_ERROR_NONE
        && setText(card.get(), NOTIFICATION_TEXT_TYPE_TITLE, title)
        && setText(card.get(), NOTIFICATION_TEXT_TYPE_CONTENT, content)
        && notification_set_tag(card.get(), kCardTag) == NOTIFICATION_ERROR_NONE
        && notification_post(card.get()) == NOTIFICATION_ERROR_NONE;
}

// Why the alarm is not opened; empty when it is.
std::string open(app_control_h request)
{
    if (app::extraOf(request, "operation") != "edit_alarm")
        return "the request has no operation that is known";
    const std::string text = app::extraOf(request, companion::kAlarmExtra).value_or("");
    const int id = rowIdIn(text);
    if (id == 0)
        return "the request has no alarm's row id";
    companion::start();
    AlarmDbData alarm;
    const companion::Found found = companion::findAlarm(id, alarm);
    if (found == companion::Found::No)
        return "there is no alarm " + std::to_string(id);
    if (found == companion::Found::Unreadable)
        return companion::textOf(companion::Saved::Unreadable);
    return post(alarm) ? "" : "the alarm cannot be shown";
}

bool createCb(void*) { return true; }

void appControlCb(app_control_h request, void*) noexcept
{
    const std::string refusal = open(request);
    if (!refusal.empty())
        dlog_print(DLOG_WARN, kTag, "an alarm is not opened: %s", refusal.c_str());
    app::reply(request, refusal);
    service_app_exit();
}

} // namespace

int main(int argc, char** argv)
{
    companion::useDeviceLanguage();
    service_app_lifecycle_callback_s lifecycle = {};
    lifecycle.create = createCb;
    lifecycle.app_control = appControlCb;
    return service_app_main(argc, argv, &lifecycle, nullptr);
}
