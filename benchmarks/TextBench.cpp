// What making an alarm's texts costs, compared with ICU called directly. Runs in a session of its
// own:
//
//   host-session TextBench [-n ROUNDS]
//
// Exit status: 0 within the limits, 1 not. With few rounds the limits are not judged.
#include "Median.h"

#include <AlarmDbData.h>
#include <AlarmIcuDataModel.h>
#include <AlarmStringUtil.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unistd.h>
#include <vconf.h>
#include <vector>

namespace {

const double kFormatLimit = 6;
const double kUncachedLimit = 30;
const double kRowsLimit = 1000; // microseconds
const double kFirstLimit = 1.3;
const int kRows = 50;
const int kCallsOfRound = 200;
const int kLeastRounds = 20;

const char* const kLocale = "en_US";
const char* const kZone = "Europe/Berlin";
const UChar kZoneUnits[] = u"Europe/Berlin";
const long kInstant = 1700000000;

using std::chrono::steady_clock;

double microsecondsSince(steady_clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(steady_clock::now() - start).count();
}

template <typename Work>
double microsecondsOf(int calls, Work work)
{
    const auto start = steady_clock::now();
    for (int i = 0; i < calls; ++i)
        work(i);
    return microsecondsSince(start) / calls;
}

void check(bool done, const char* what)
{
    if (done)
        return;
    fprintf(stderr, "TextBench: %s failed\n", what);
    exit(1);
}

void formatWith(UDateFormat* format, long instant)
{
    UChar text[64];
    UErrorCode status = U_ZERO_ERROR;
    udat_format(format, static_cast<double>(instant) * 1000, text, 64, nullptr, &status);
    check(U_SUCCESS(status), "udat_format");
}

UDateFormat* openFormat()
{
    UErrorCode status = U_ZERO_ERROR;
    UDateTimePatternGenerator* generator = udatpg_open(kLocale, &status);
    UChar pattern[32];
    const int32_t length = udatpg_getBestPattern(generator, u"hhmm", 4, pattern, 32, &status);
    udatpg_close(generator);
    UDateFormat* format
        = udat_open(UDAT_PATTERN, UDAT_PATTERN, kLocale, kZoneUnits, -1, pattern, length, &status);
    check(U_SUCCESS(status), "udat_open");
    return format;
}

void textByIcu(long instant)
{
    UDateFormat* format = openFormat();
    formatWith(format, instant);
    udat_close(format);
}

void textByLibrary(long instant)
{
    char text[64] = {};
    check(AlarmIcuDataModel::getFormattedDateString(
              instant, text, sizeof text - 1, nullptr, "hhmm", kZone),
        "getFormattedDateString");
}

std::string deviceZone()
{
    char* zone = AlarmIcuDataModel::getCurrentTimeZone();
    std::string text = zone;
    free(zone);
    return text;
}

std::vector<AlarmDbData> alarmsOf(const std::string& zone)
{
    std::vector<AlarmDbData> alarms;
    for (int row = 0; row < kRows; ++row) {
        AlarmDbData alarm;
        alarm.timezone = zone;
        alarm.stime = static_cast<int>(kInstant) + row * 61 * 60;
        setenv("TZ", zone.c_str(), 1);
        tzset();
        const time_t start = alarm.stime;
        tm shown = {};
        localtime_r(&start, &shown);
        alarm.hour = shown.tm_hour;
        alarm.min = shown.tm_min;
        alarm.enable = 1;
        alarm.repeat_once = row % 2;
        alarm.repeatWeekly = 1 + row;
        alarms.push_back(alarm);
    }
    unsetenv("TZ");
    tzset();
    return alarms;
}

double microsecondsOfRows(const std::vector<AlarmDbData>& alarms)
{
    std::string time;
    std::string days;
    const auto start = steady_clock::now();
    for (const AlarmDbData& alarm : alarms) {
        AlarmStringUtil::getAlarmTimeString(alarm, time);
        AlarmStringUtil::getAlarmDateRepeatString(alarm, days, true);
    }
    const double taken = microsecondsSince(start);
    check(!time.empty() && !days.empty(), "a row");
    return taken;
}

// Makes the first text of a new process, which prints how long that took.
double firstText(const char* of)
{
    int ends[2] = {};
    check(pipe(ends) == 0, "pipe");
    char program[] = "/proc/self/exe";
    char option[] = "-f";
    std::string value = of;
    char* arguments[] = { program, option, value.data(), nullptr };
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t child = 0;
    check(posix_spawn(&child, program, &actions, nullptr, arguments, environ) == 0, "posix_spawn");
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    char text[32] = {};
    check(read(ends[0], text, sizeof text - 1) > 0, "the first text");
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return strtod(text, nullptr);
}

// A setting is read before, because every application reads its language before it shows a text.
int printFirst(const char* of)
{
    int format = 0;
    check(vconf_get_int("db/menu_widget/regionformat_time1224", &format) == VCONF_OK, "vconf");
    const auto start = steady_clock::now();
    if (strcmp(of, "icu") == 0) {
        textByIcu(kInstant);
    } else {
        textByLibrary(kInstant);
    }
    printf("%f", microsecondsSince(start));
    return 0;
}

bool report(const char* what, double measured, double limit, bool isWithin, const char* unit)
{
    printf("%-46s %8.2f %s, limit %g%s\n", what, measured, unit, limit, isWithin ? "" : ", over");
    return isWithin;
}

int measure(int rounds)
{
    UDateFormat* open = openFormat();
    const std::vector<AlarmDbData> alarms = alarmsOf(deviceZone());
    const std::vector<AlarmDbData> foreign
        = alarmsOf(deviceZone() == kZone ? "America/New_York" : kZone);

    // In turns, so that other load on the machine affects all alike.
    std::vector<double> bare, library, uncached, rows, foreignRows, firstOfLibrary, firstOfIcu;
    textByLibrary(kInstant);
    microsecondsOfRows(alarms);
    for (int i = 0; i < rounds; ++i) {
        bare.push_back(
            microsecondsOf(kCallsOfRound, [open](int call) { formatWith(open, kInstant + call); }));
        library.push_back(
            microsecondsOf(kCallsOfRound, [](int call) { textByLibrary(kInstant + call); }));
        uncached.push_back(microsecondsOf(2, [](int call) { textByIcu(kInstant + call); }));
        rows.push_back(microsecondsOfRows(alarms));
        foreignRows.push_back(microsecondsOfRows(foreign));
        firstOfLibrary.push_back(firstText("library"));
        firstOfIcu.push_back(firstText("icu"));
    }
    udat_close(open);

    printf("medians of %d, in microseconds\n", rounds);
    printf("one text: open formatter %.2f, library %.2f, uncached ICU %.2f\n", median(bare),
        median(library), median(uncached));
    printf("%d rows: of the device's zone %.0f, of another %.0f\n", kRows, median(rows),
        median(foreignRows));
    printf("first text of a process: library %.0f, ICU %.0f\n", median(firstOfLibrary),
        median(firstOfIcu));
    if (rounds < kLeastRounds) {
        printf("too few rounds to compare\n");
        return 0;
    }
    const double toBare = median(library) / median(bare);
    const double toUncached = median(uncached) / median(library);
    const double first = median(firstOfLibrary) / median(firstOfIcu);
    bool within = report(
        "library to open formatter", toBare, kFormatLimit, toBare <= kFormatLimit, "times");
    within &= report("uncached ICU to library", toUncached, kUncachedLimit,
        toUncached >= kUncachedLimit, "times");
    within &= report("rows of a list, time and date or weekdays", median(rows), kRowsLimit,
        median(rows) <= kRowsLimit, "us");
    within &= report("first text of a process, library to ICU", first, kFirstLimit,
        first <= kFirstLimit, "times");
    return within ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    int rounds = 101;
    const char* first = nullptr;
    for (int option = 0; (option = getopt(argc, argv, "n:f:")) != -1;) {
        if (option == 'f') {
            first = optarg;
        } else {
            rounds = option == 'n' ? atoi(optarg) : 0;
        }
    }
    if (rounds <= 0 || optind != argc) {
        fprintf(stderr, "usage: TextBench [-n ROUNDS]\n");
        return 2;
    }
    return first ? printFirst(first) : measure(rounds);
}
