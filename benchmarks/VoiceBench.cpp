// What a voice reply with 100 alarms costs, compared with JSON-GLib called directly for the same
// text:
//
//   VoiceBench [-n ROUNDS]
//
// The library's log is left out; a second ratio, without a limit, has its lines formatted.
//
// Exit status: 0 within the limit, 1 not. With few rounds the limit is not judged.
#include "Count.h"
#include "JsonText.h"
#include "Median.h"

#include <AlarmDbData.h>
#include <AlarmJsonBuilder.h>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlog.h>
#include <json-glib/json-glib.h>
#include <string>
#include <vector>

namespace {
bool isLogFormatted = false;
} // namespace

int dlog_print(log_priority /*prio*/, const char* /*tag*/, const char* fmt, ...)
{
    if (!isLogFormatted)
        return 0;
    char line[1024];
    va_list values;
    va_start(values, fmt);
    const int length = vsnprintf(line, sizeof line, fmt, values);
    va_end(values);
    return length;
}

namespace {

const double kLimit = 1.25;
const int kAlarms = 100;
const int kRepliesOfRound = 10;
const size_t kLeastRounds = 20;

std::vector<AlarmDbData> typicalAlarms()
{
    std::vector<AlarmDbData> alarms(kAlarms);
    for (int i = 0; i < kAlarms; ++i) {
        AlarmDbData& alarm = alarms[static_cast<size_t>(i)];
        alarm.id = i + 1;
        alarm.atime = 1795415400 + i * 60 * 60;
        alarm.name = "Morning run number " + std::to_string(i);
        alarm.repeat_once = i % 4 == 0 ? 1 : 0;
        alarm.repeatWeekly = i % 128;
        alarm.enable = 1;
    }
    return alarms;
}

std::string byLibrary(std::vector<AlarmDbData>& alarms)
{
    AlarmJsonBuilder builder;
    std::string description;
    builder.addAlarmListByOrvik(alarms, true, description, true, true);
    std::string text;
    builder.getJsonMessage(text);
    return text;
}

JsonArray* daysOf(const AlarmDbData& alarm)
{
    static const char* const names[]
        = { "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday" };
    JsonArray* days = json_array_new();
    for (int day = 0; day < 7; ++day) {
        if (alarm.repeat_once != 0 || (alarm.repeatWeekly & 1 << day) == 0)
            continue;
        JsonObject* object = json_object_new();
        json_object_set_string_member(object, "day", names[day]);
        json_array_add_object_element(days, object);
    }
    return days;
}

JsonObject* objectOf(const AlarmDbData& alarm)
{
    const time_t instant = alarm.atime;
    tm local = {};
    localtime_r(&instant, &local);
    JsonObject* object = json_object_new();
    json_object_set_int_member(object, "id", alarm.id);
    json_object_set_int_member(object, "time", timegm(&local) * 1000);
    json_object_set_string_member(object, "name", alarm.name.c_str());
    json_object_set_array_member(object, "repeatDays", daysOf(alarm));
    json_object_set_boolean_member(object, "isRepeat", alarm.repeat_once == 0 ? TRUE : FALSE);
    json_object_set_boolean_member(object, "enabled", alarm.enable != 0 ? TRUE : FALSE);
    json_object_set_int_member(object, "snoozeDuration", alarm.snooze_min);
    return object;
}

std::string byJsonGlib(std::vector<AlarmDbData>& alarms)
{
    JsonArray* list = json_array_new();
    for (const AlarmDbData& alarm : alarms)
        json_array_add_object_element(list, objectOf(alarm));
    JsonObject* message = json_object_new();
    json_object_set_string_member(message, "result", "success");
    json_object_set_string_member(message, "description", "");
    json_object_set_array_member(message, "alarms", list);
    json_object_set_boolean_member(message, "alarmAlert", TRUE);
    return jsonText(message);
}

// Of this thread alone, so that the machine's other work does not count.
double microseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double microsecondsOf(std::string (*build)(std::vector<AlarmDbData>&))
{
    std::vector<AlarmDbData> alarms = typicalAlarms();
    const double start = microseconds();
    for (int i = 0; i < kRepliesOfRound; ++i) {
        if (build(alarms).empty())
            exit(1);
    }
    return (microseconds() - start) / kRepliesOfRound;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t rounds = parseCount(argc, argv, 301, "ROUNDS");
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    std::vector<AlarmDbData> alarms = typicalAlarms();
    if (byLibrary(alarms) != byJsonGlib(alarms)) {
        fprintf(stderr, "VoiceBench: the replies differ\n");
        return 1;
    }
    // In turns, so that other load on the machine affects both alike.
    std::vector<double> library;
    std::vector<double> logging;
    std::vector<double> plain;
    for (size_t i = 0; i < rounds; ++i) {
        library.push_back(microsecondsOf(byLibrary));
        isLogFormatted = true;
        logging.push_back(microsecondsOf(byLibrary));
        isLogFormatted = false;
        plain.push_back(microsecondsOf(byJsonGlib));
    }
    const double ratio = median(library) / median(plain);
    printf("a reply with %d alarms, medians of %zu: library %.0f us, JSON-GLib %.0f us\n", kAlarms,
        rounds, median(library), median(plain));
    printf("library to JSON-GLib: %.3f, limit %.2f%s\n", ratio, kLimit,
        ratio > kLimit ? ", over" : "");
    printf("with the log's lines formatted: %.3f\n", median(logging) / median(plain));
    if (rounds < kLeastRounds) {
        printf("too few rounds to judge\n");
        return 0;
    }
    return ratio <= kLimit ? 0 : 1;
}
