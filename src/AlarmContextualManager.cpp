#include "AlarmContextualManager.h"

#include "AlarmDbData.h"
#include "AlarmLog.h"
#include "AlarmStringUtil.h"
#include "JsonText.h"
#include "Utf8.h"

#include <app_common.h>
#include <app_control_internal.h>
#include <app_preference.h>
#include <cstring>
#include <ctime>
#include <libintl.h>
#include <utility>
#include <vector>

namespace {
const char* const kService = "com.velmora.alarm-service";
const char* const kEditor = "com.velmora.alarm-assist";
const char* const kTag = "alarmUpcomingTag";
const char* const kPostedKey = "contextMgrId";
const char* const kTextDomain = "alarm-merid";
const char* const kIcon = "b_rich_noti_icon_alarm.png";

const int kNothingPosted = -1;
const size_t kPathSize = 4096;

using Extras = std::vector<std::pair<const char*, std::string>>;

// A process that is no application has no id.
bool isAnotherApplication()
{
    HeapText id;
    app_get_id(id.out());
    return id.get() && strcmp(id.get(), kService) != 0;
}

void makeRequest(AppControl& request, const char* application, const Extras& extras)
{
    app_control_create(request.out());
    app_control_set_operation(request.get(), APP_CONTROL_OPERATION_DEFAULT);
    app_control_set_app_id(request.get(), application);
    for (const auto& [key, value] : extras)
        app_control_add_extra_data(request.get(), key, value.c_str());
}

void launchService(const char* context)
{
    AppControl request;
    makeRequest(request, kService, { { "context", context } });
    app_control_send_launch_request(request.get(), nullptr, nullptr);
}

void encodeRequest(std::string& out, const char* application, const Extras& extras)
{
    AppControl request;
    makeRequest(request, application, extras);
    bundle* data = nullptr; // stays the request's
    app_control_to_bundle(request.get(), &data);
    EncodedBundle encoded;
    int length = 0;
    bundle_encode(data, encoded.out(), &length);
    if (encoded.get())
        out = reinterpret_cast<const char*>(encoded.get());
}

void addText(JsonObject* object, const char* name, const std::string& text)
{
    json_object_set_string_member(object, name, validText(text.c_str()).c_str());
}

// The new object stays its owner's.
JsonObject* addObject(JsonObject* owner, const char* name)
{
    JsonObject* object = json_object_new();
    json_object_set_object_member(owner, name, object);
    return object;
}

void addApplication(JsonObject* card)
{
    JsonObject* application = addObject(card, "app_info");
    addText(application, "app_id", kService);
    const HeapText resources(app_get_shared_resource_path());
    if (resources.get()) {
        const std::string path = std::string(resources.get()) + kIcon;
        addText(application, "img_path", cutText(validText(path.c_str()), kPathSize));
    }
}

std::string bodyOf(const AlarmDbData& alarm)
{
    std::string time;
    AlarmStringUtil::getAlarmTimeString(alarm, time);
    std::string days;
    AlarmStringUtil::getAlarmDateRepeatString(alarm, days, true);
    return "<linegap=-9><font_size=40><b><color=#000000ff>" + time
        + "</color></b></br></font_size></linegap>" + days;
}

void addButton(JsonObject* content, const std::string& request)
{
    JsonObject* button = json_object_new();
    addText(button, "type", "button");
    addText(button, "uid", "AlarmUpcomingButton");
    addText(button, "text", dgettext(kTextDomain, "WDS_ORVSUG_BUTTON_TURN_OFF_ABB4"));
    addText(button, "button_clicked", request);
    JsonArray* buttons = json_array_new();
    json_array_add_object_element(buttons, button);
    json_object_set_array_member(content, "contents_list", buttons);
}
} // namespace

AlarmContextualManager::AlarmContextualManager() = default;

AlarmContextualManager::~AlarmContextualManager() = default;

void AlarmContextualManager::postUpcomingAlarm(const AlarmDbData& alarm)
{
    if (isAnotherApplication()) {
        launchService("postContext");
        return;
    }
    const Notification card(notification_create(NOTIFICATION_TYPE_NOTI));
    if (!card.get()) {
        LOG_CRITICAL("notification_create is fail");
        return;
    }
    if (notification_set_time(card.get(), time(nullptr)) != NOTIFICATION_ERROR_NONE) {
        LOG_CRITICAL("notification_set_time is fail");
        return;
    }

    std::string json;
    _getUpcomingJson(json, alarm);
    if (notification_set_display_applist(card.get(), NOTIFICATION_DISPLAY_APP_ACTIVE)
        != NOTIFICATION_ERROR_NONE) {
        LOG_CRITICAL("notification_set_display_applist is fail");
        return;
    }
    if (notification_set_layout(card.get(), NOTIFICATION_LY_EXTENSION) != NOTIFICATION_ERROR_NONE) {
        LOG_CRITICAL("notification_set_layout is fail");
        return;
    }
    if (notification_set_text(card.get(), NOTIFICATION_TEXT_TYPE_EXTENSION, json.c_str(), nullptr,
            NOTIFICATION_VARIABLE_TYPE_NONE)
        != NOTIFICATION_ERROR_NONE) {
        LOG_CRITICAL("notification_set_text is fail");
        return;
    }
    if (notification_set_tag(card.get(), kTag) != NOTIFICATION_ERROR_NONE) {
        LOG_CRITICAL("notification_set_tag is fail");
        return;
    }
    if (notification_post(card.get()) != NOTIFICATION_ERROR_NONE) {
        LOG_CRITICAL("notification_post is fail");
        return;
    }
    preference_set_int(kPostedKey, alarm.contextMgrId);
}

void AlarmContextualManager::deleteUpcomingNoti()
{
    if (isAnotherApplication()) {
        launchService("deleteContext");
        return;
    }
    const Notification card(_getUpcomingNoti());
    if (!card.get())
        return;
    LOG_CRITICAL("AlarmDeleteUpcomingContext");
    preference_set_int(kPostedKey, kNothingPosted);
    if (notification_delete(card.get()) != NOTIFICATION_ERROR_NONE)
        LOG_CRITICAL("notification_delete is fail");
}

void AlarmContextualManager::deleteAllNoti()
{
    if (notification_delete_all(NOTIFICATION_TYPE_NOTI) != NOTIFICATION_ERROR_NONE)
        LOG_CRITICAL("notification_delete_all is failed !!");
}

notification_h AlarmContextualManager::_getUpcomingNoti() { return notification_load_by_tag(kTag); }

void AlarmContextualManager::_getUpcomingJson(std::string& out, const AlarmDbData& alarm)
{
    const JsonTree tree(json_node_new(JSON_NODE_OBJECT));
    if (!tree.get()) {
        LOG_CRITICAL("json_node_new fail");
        return;
    }
    JsonObject* card = json_object_new();
    if (!card) {
        LOG_CRITICAL("json_object_new fail");
        return;
    }
    json_node_take_object(tree.get(), card);

    AlarmStringUtil::_initTextDomain();
    const time_t now = time(nullptr);
    addText(card, "main_version", "5");
    addText(card, "uid", "AlarmUpcoming");
    addText(card, "time", std::to_string(now));
    addApplication(card);

    JsonObject* contents = addObject(card, "contents_info");
    addText(contents, "priority", "0");
    addText(contents, "duration", std::to_string(alarm.stime - now));
    addText(contents, "type", "custom_type");

    std::string tap;
    _getSettingBundleStr(tap, alarm.id);
    std::string turnOff;
    _getTurnOffBundleStr(turnOff, alarm.id);
    JsonObject* content = addObject(contents, "custom_type");
    addText(content, "title", dgettext(kTextDomain, "WDS_ORVSUG_HEADER_UPCOMING_ALARM_ABB"));
    addText(content, "body", bodyOf(alarm));
    addText(content, "clicked", tap);
    addText(content, "template", "template_1");
    addButton(content, turnOff);

    writeJson(tree.get(), out);
}

void AlarmContextualManager::_getSettingBundleStr(std::string& out, int alarmId)
{
    encodeRequest(out, kEditor,
        { { "caller", "contextual" }, { "operation", "edit_alarm" },
            { "alarm_id", std::to_string(alarmId) } });
}

void AlarmContextualManager::_getTurnOffBundleStr(std::string& out, int alarmId)
{
    encodeRequest(out, kService,
        { { "context", "turnOffContext" }, { "alarm_id", std::to_string(alarmId) } });
}
