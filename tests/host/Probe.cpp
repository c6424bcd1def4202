// A process of the session that does as its command line says, for tests that need a second one.
//
//   identity                         package|application
//   paths                            home|runtime|zone link|zone
//   folders                          data|resource|shared resource|shared trusted path, - for none
//   id                               app_get_id's code and the id
//   log PRIORITY TAG TEXT            dlog_print's result and the process id
//   log-threads THREADS LINES SIZE   logs lines of that many letters, a letter a thread; its id
//   set STORE KEY TYPE VALUE         writes a setting; TYPE is int, bool or str
//   get STORE KEY                    TYPE:VALUE, or "none"
//   count STORE PREFIX N FROM        writes FROM.. under PREFIX0..PREFIX(N-1), then a line "done"
//   flip STORE KEY                   writes two values of two types in turn, until it is killed
//   flood STORE KEY...               writes the keys without a pause, many times at once, until it
//                                    is killed
//   failures                         what the calls answer that find no readable store
//   color CODE                       the theme's red green blue alpha, or "none"
//   icu-time SECONDS                 HH:mm of that instant in ICU's default zone
//   texts FOLDER DOMAIN MESSAGE LANGUAGE...  the message after appcore_set_i18n in each language
//   alarm ID                         alarm_cancel's code
//   notification TAG                 the codes of posting one and of deleting all; "none" when the
//                                    tag's cannot be loaded
//   schedule APPLICATION             the code of an alarm's registration, and whether it gave an id
//
// When PROBE_GATE is set, it says "ready" first and goes on when that file is there.

#include "host/common/Boundary.h"
#include "host/common/Session.h"
#include "host/common/SettingsStore.h"

#include <app_alarm.h>
#include <app_common.h>
#include <app_preference.h>
#include <appcore-common.h>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <dlog.h>
#include <libintl.h>
#include <map>
#include <memory>
#include <notification.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <ui_extension.h>
#include <unistd.h>
#include <utility>
#include <utils_i18n.h>
#include <vconf.h>
#include <vector>

using Arguments = std::vector<std::string>;

namespace {

const int kUntouched = 4711;
const int kFloodWrites = 20;
const useconds_t kGatePause = 500;

void waitAtGate()
{
    const char* gate = getenv("PROBE_GATE");
    if (!gate)
        return;
    printf("ready\n");
    fflush(stdout);
    while (access(gate, F_OK) != 0)
        usleep(kGatePause);
}

std::string taken(char* path)
{
    const host::CText owner(path);
    return path ? path : "-";
}

void printIdentity(const Arguments&)
{
    printf("%s|%s", host::identity().package.c_str(), host::identity().application.c_str());
}

void printPaths(const Arguments&)
{
    printf("%s|%s|%s|%s", host::homePath().c_str(), host::runtimePath().c_str(),
        host::zoneLinkPath().c_str(), host::zoneId().c_str());
}

void printFolders(const Arguments&)
{
    printf("%s|%s|%s|%s", taken(app_get_data_path()).c_str(),
        taken(app_get_resource_path()).c_str(), taken(app_get_shared_resource_path()).c_str(),
        taken(app_get_shared_trusted_path()).c_str());
}

void printId(const Arguments&)
{
    char untouched[] = "untouched";
    char* id = untouched;
    const int code = app_get_id(&id);
    printf("%d|%s", code, id);
    if (id != untouched)
        free(id);
}

void log(const Arguments& arguments)
{
    const int result = dlog_print(static_cast<log_priority>(std::stoi(arguments.at(1))),
        arguments.at(2).c_str(), "%s", arguments.at(3).c_str());
    printf("%d %d", result, getpid());
}

void logFromThreads(const Arguments& arguments)
{
    const int lines = std::stoi(arguments.at(2));
    const size_t size = std::stoul(arguments.at(3));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < std::stoi(arguments.at(1)); ++thread) {
        threads.emplace_back([=] {
            const std::string text(size, static_cast<char>('a' + thread));
            for (int line = 0; line < lines; ++line)
                dlog_print(DLOG_ERROR, "threads", "%s", text.c_str());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    printf("%d", getpid());
}

host::SettingValue toValue(const std::string& type, const std::string& text)
{
    if (type == "int")
        return std::stoi(text);
    if (type == "bool")
        return text == "true";
    return text;
}

void set(const Arguments& arguments)
{
    host::SettingsStore::session().write(
        arguments.at(1), arguments.at(2), toValue(arguments.at(3), arguments.at(4)));
}

void get(const Arguments& arguments)
{
    const auto value = host::SettingsStore::session().read(arguments.at(1), arguments.at(2));
    if (!value)
        printf("none");
    else if (const int* number = std::get_if<int>(&*value))
        printf("int:%d", *number);
    else if (const bool* flag = std::get_if<bool>(&*value))
        printf("bool:%s", *flag ? "true" : "false");
    else
        printf("str:%s", std::get<std::string>(*value).c_str());
}

void count(const Arguments& arguments)
{
    const int from = std::stoi(arguments.at(4));
    for (int i = 0; i < std::stoi(arguments.at(3)); ++i) {
        host::SettingsStore::session().write(
            arguments.at(1), arguments.at(2) + std::to_string(i), from + i);
    }
    printf("done\n");
}

void flip(const Arguments& arguments)
{
    const std::string text(100000, 'x');
    while (true) {
        host::SettingsStore::session().write(arguments.at(1), arguments.at(2), 1);
        host::SettingsStore::session().write(arguments.at(1), arguments.at(2), text);
    }
}

void flood(const Arguments& arguments)
{
    for (int value = 0;; ++value) {
        std::vector<std::pair<std::string, host::SettingValue>> values;
        for (int i = 0; i < kFloodWrites; ++i) {
            for (size_t key = 2; key < arguments.size(); ++key)
                values.emplace_back(arguments[key], value);
        }
        host::SettingsStore::session().write(arguments.at(1), values);
    }
}

void printFailures(const Arguments&)
{
    int number = kUntouched;
    bool existing = true;
    const int intCode = vconf_get_int("db/key", &number);
    const int boolCode = vconf_get_bool("db/key", &number);
    const std::string text = taken(vconf_get_str("db/key"));
    const int existingCode = preference_is_existing("key", &existing);
    const int getCode = preference_get_int("key", &number);
    const int setCode = preference_set_int("key", 1);
    printf("%d %d %s %d %d %d %s", intCode, boolCode, text.c_str(), existingCode, getCode, setCode,
        number == kUntouched && existing ? "untouched" : "touched");
}

void printColor(const Arguments& arguments)
{
    int red = 0;
    int green = 0;
    int blue = 0;
    int alpha = 0;
    if (uxt_theme_get_color(arguments.at(1).c_str(), &red, &green, &blue, &alpha))
        printf("%d %d %d %d", red, green, blue, alpha);
    else
        printf("none");
}

void printIcuTime(const Arguments& arguments)
{
    const i18n_uchar pattern[] = { 'H', 'H', ':', 'm', 'm', 0 };
    i18n_udate_format_h format = nullptr;
    i18n_udate_create(
        I18N_UDATE_PATTERN, I18N_UDATE_PATTERN, "en_GB", nullptr, 0, pattern, -1, &format);
    i18n_uchar wide[16] = {};
    char text[16] = {};
    int32_t length = 0;
    i18n_udate_format_date(format, std::stod(arguments.at(1)) * 1000, wide, 16, nullptr, &length);
    i18n_udate_destroy(format);
    printf("%s", i18n_ustring_copy_au_n(text, wide, 16));
}

void printTexts(const Arguments& arguments)
{
    const char* separator = "";
    for (size_t at = 4; at < arguments.size(); ++at) {
        host::SettingsStore::session().write(
            "vconf", "db/menu_widget/language", arguments.at(at) + ".UTF-8");
        if (appcore_set_i18n(arguments.at(2).c_str(), arguments.at(1).c_str()) != 0)
            throw std::runtime_error("the texts have no language");
        const std::string encoding = setlocale(LC_CTYPE, nullptr);
        setlocale(LC_CTYPE, "C"); // which changes no text
        printf("%s%s (%s)", separator, gettext(arguments.at(3).c_str()), encoding.c_str());
        separator = ", ";
    }
}

void cancelAlarm(const Arguments& arguments)
{
    printf("%d", alarm_cancel(std::stoi(arguments.at(1))));
}

void scheduleAlarm(const Arguments& arguments)
{
    app_control_h request = nullptr;
    app_control_create(&request);
    app_control_set_app_id(request, arguments.at(1).c_str());
    tm date = {};
    date.tm_year = -1900;
    date.tm_mon = -1;
    int id = kUntouched;
    const int code = alarm_schedule_with_recurrence_week_flag(request, &date, 0, &id);
    app_control_destroy(request);
    printf("%d %s", code, id == kUntouched ? "untouched" : "touched");
}

void postNotification(const Arguments& arguments)
{
    notification_h noti = notification_create(NOTIFICATION_TYPE_NOTI);
    notification_set_tag(noti, arguments.at(1).c_str());
    const int postCode = notification_post(noti);
    const int deleteCode = notification_delete_all(NOTIFICATION_TYPE_NONE);
    notification_free(noti);
    noti = notification_load_by_tag(arguments.at(1).c_str());
    printf("%d %d %s", postCode, deleteCode, noti ? "loaded" : "none");
    notification_free(noti);
}

} // namespace

int main(int argc, char** argv)
{
    const std::map<std::string, void (*)(const Arguments&)> commands = {
        { "identity", printIdentity },
        { "paths", printPaths },
        { "folders", printFolders },
        { "id", printId },
        { "log", log },
        { "log-threads", logFromThreads },
        { "set", set },
        { "get", get },
        { "count", count },
        { "flip", flip },
        { "flood", flood },
        { "failures", printFailures },
        { "color", printColor },
        { "icu-time", printIcuTime },
        { "texts", printTexts },
        { "alarm", cancelAlarm },
        { "notification", postNotification },
        { "schedule", scheduleAlarm },
    };
    const Arguments arguments(argv + 1, argv + argc);
    try {
        waitAtGate();
        commands.at(arguments.at(0))(arguments);
        return 0;
    } catch (const std::exception& error) {
        fprintf(stderr, "probe: %s\n", error.what());
        return 1;
    }
}
