// What posting the upcoming alarm's card costs, compared with the same notification, JSON and
// preference made by hand from texts that are there already. The program has to have the service's
// id as its name, as only the service posts cards. Runs in a session of its own:
//
//   host-session --no-boot com.velmora.alarm-service [-n CARDS]
//
// Exit status: 0 within the limit, 1 not. With few cards the limit is not judged.
#include "Count.h"
#include "HostSession.h"
#include "Median.h"

#include <AlarmContextualManager.h>
#include <AlarmDbData.h>
#include <AlarmIcuDataModel.h>
#include <app_common.h>
#include <app_preference.h>
#include <appcore-common.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <json-glib/json-glib.h>
#include <notification.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

const double kLimit = 1.3;
const size_t kFewest = 100;
const int kContextId = 1;

using std::chrono::steady_clock;

template <typename Work>
double microsecondsOf(const Work& work)
{
    const auto start = steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(steady_clock::now() - start).count();
}

void check(bool done, const char* what)
{
    if (!done)
        throw std::runtime_error(std::string(what) + " failed");
}

// An alarm of the device's zone, as nearly all are.
AlarmDbData alarmOf(time_t start)
{
    AlarmDbData alarm;
    tm local = {};
    localtime_r(&start, &local);
    alarm.hour = local.tm_hour;
    alarm.min = local.tm_min;
    char* zone = AlarmIcuDataModel::getCurrentTimeZone();
    alarm.timezone = zone;
    free(zone);
    alarm.id = 7;
    alarm.contextMgrId = kContextId;
    alarm.stime = static_cast<int>(start);
    alarm.enable = 1;
    alarm.repeat_once = 0;
    alarm.repeatWeekly = 62;
    return alarm;
}

const char* const kBody
    = "<linegap=-9><font_size=40><b><color=#000000ff>6∶00 AM</color></b></br></font_size></linegap>"
      "<font font_size=26><color=#4f4f4f99>S</color> <color=#623a9eff>M</color> "
      "<color=#623a9eff>T</color> <color=#623a9eff>W</color> <color=#623a9eff>T</color> "
      "<color=#623a9eff>F</color> <color=#4f4f4f99>S</color></font>";

// As long as the encoded requests.
const std::string kTapRequest(240, 'A');
const std::string kButtonRequest(216, 'A');

std::string jsonByHand(time_t start, const char* icon)
{
    const time_t now = time(nullptr);
    JsonObject* card = json_object_new();
    json_object_set_string_member(card, "main_version", "5");
    json_object_set_string_member(card, "uid", "AlarmUpcoming");
    json_object_set_string_member(card, "time", std::to_string(now).c_str());
    JsonObject* application = json_object_new();
    json_object_set_string_member(application, "app_id", "com.velmora.alarm-service");
    json_object_set_string_member(application, "img_path", icon);
    json_object_set_object_member(card, "app_info", application);
    JsonObject* contents = json_object_new();
    json_object_set_string_member(contents, "priority", "0");
    json_object_set_string_member(contents, "duration", std::to_string(start - now).c_str());
    json_object_set_string_member(contents, "type", "custom_type");
    JsonObject* content = json_object_new();
    json_object_set_string_member(content, "title", "Upcoming alarm");
    json_object_set_string_member(content, "body", kBody);
    json_object_set_string_member(content, "clicked", kTapRequest.c_str());
    json_object_set_string_member(content, "template", "template_1");
    JsonObject* button = json_object_new();
    json_object_set_string_member(button, "type", "button");
    json_object_set_string_member(button, "uid", "AlarmUpcomingButton");
    json_object_set_string_member(button, "text", "Turn off");
    json_object_set_string_member(button, "button_clicked", kButtonRequest.c_str());
    JsonArray* buttons = json_array_new();
    json_array_add_object_element(buttons, button);
    json_object_set_array_member(content, "contents_list", buttons);
    json_object_set_object_member(contents, "custom_type", content);
    json_object_set_object_member(card, "contents_info", contents);

    JsonNode* root = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(root, card);
    JsonGenerator* generator = json_generator_new();
    json_generator_set_root(generator, root);
    gchar* text = json_generator_to_data(generator, nullptr);
    std::string json = text;
    g_free(text);
    g_object_unref(generator);
    json_node_free(root);
    return json;
}

void postByHand(time_t start, const char* icon)
{
    notification_h card = notification_create(NOTIFICATION_TYPE_NOTI);
    notification_set_time(card, time(nullptr));
    notification_set_display_applist(card, NOTIFICATION_DISPLAY_APP_ACTIVE);
    notification_set_layout(card, NOTIFICATION_LY_EXTENSION);
    notification_set_text(card, NOTIFICATION_TEXT_TYPE_EXTENSION, jsonByHand(start, icon).c_str(),
        nullptr, NOTIFICATION_VARIABLE_TYPE_NONE);
    notification_set_tag(card, "alarmUpcomingTag");
    check(notification_post(card) == NOTIFICATION_ERROR_NONE, "posting by hand");
    notification_free(card);
    check(preference_set_int("contextMgrId", kContextId) == PREFERENCE_ERROR_NONE,
        "noting the card by hand");
}

void postByLibrary(const AlarmDbData& alarm)
{
    AlarmContextualManager::getInstance().postUpcomingAlarm(alarm);
}

// The library tells nobody that a post failed, but only a posted card is noted.
void checkThatTheLibraryPosts(const AlarmDbData& alarm)
{
    int noted = 0;
    preference_set_int("contextMgrId", 0);
    postByLibrary(alarm);
    preference_get_int("contextMgrId", &noted);
    check(noted == kContextId, "posting by the library");
}

bool run(size_t cards)
{
    const time_t start = time(nullptr) + 3600;
    const AlarmDbData alarm = alarmOf(start);
    char* resources = app_get_resource_path();
    char* shared = app_get_shared_resource_path();
    check(resources && shared, "finding the package");
    appcore_set_i18n("alarm-merid", (std::string(resources) + "locale").c_str());
    const std::string icon = std::string(shared) + "b_rich_noti_icon_alarm.png";
    free(resources);
    free(shared);
    checkThatTheLibraryPosts(alarm);
    postByHand(start, icon.c_str());

    // In turns, so that other load on the machine affects both alike.
    std::vector<double> library;
    std::vector<double> byHand;
    for (size_t i = 0; i < cards; ++i) {
        library.push_back(microsecondsOf([&alarm] { postByLibrary(alarm); }));
        byHand.push_back(microsecondsOf([&] { postByHand(start, icon.c_str()); }));
    }
    checkThatTheLibraryPosts(alarm);

    const double ratio = median(library) / median(byHand);
    printf("%zu cards each, medians in microseconds: library %.0f, by hand %.0f\n", cards,
        median(library), median(byHand));
    printf(
        "library to by hand %.2f, limit %.1f%s\n", ratio, kLimit, ratio > kLimit ? ", over" : "");
    if (cards < kFewest) {
        printf("too few cards to compare\n");
        return true;
    }
    return ratio <= kLimit;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t cards = parseCount(argc, argv, 501, "CARDS");
    try {
        HostSession::installProgram(
            "com.velmora.alarm", std::filesystem::read_symlink("/proc/self/exe"));
        const HostSession session;
        return run(cards) ? 0 : 1;
    } catch (const std::exception& error) {
        fprintf(stderr, "CardBench: %s\n", error.what());
        return 1;
    }
}
