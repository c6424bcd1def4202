// Whether registering an alarm takes longer when there are many: compares the last alarms with the
// first, each until the platform's service has it on disk. Runs in a session of its own:
//
//   host-session RegistrationBench [-n ALARMS]
//
// Exit status: 0 within the limit, 1 not.
#include "Count.h"
#include "HostSession.h"
#include "Median.h"

#include <app_alarm.h>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

namespace {

const double kLimit = 1.5;
const size_t kSample = 100;

using AppControl = std::unique_ptr<app_control_s, int (*)(app_control_h)>;

AppControl alertRequest()
{
    app_control_h made = nullptr;
    app_control_create(&made);
    app_control_set_app_id(made, "com.velmora.alarm-alert");
    return { made, app_control_destroy };
}

// An alarm as the library registers it, without a date; times are all over the day except the next
// two hours.
tm timeOfDay(size_t number)
{
    const time_t start = time(nullptr) + 2 * 60 * 60;
    const time_t instant = start + static_cast<time_t>((number * 7919) % (21 * 60 * 60));
    tm date = {};
    localtime_r(&instant, &date);
    date.tm_mday = 0;
    date.tm_mon = -1;
    date.tm_year = -1900;
    return date;
}

/// The microseconds that it took; negative when the service refused it.
double registerOne(app_control_h request, size_t number)
{
    using std::chrono::steady_clock;
    const int everyDay = 127;
    tm date = timeOfDay(number);
    int id = 0;
    const auto start = steady_clock::now();
    const int result = alarm_schedule_with_recurrence_week_flag(request, &date, everyDay, &id);
    const std::chrono::duration<double, std::micro> taken = steady_clock::now() - start;
    return result == ALARM_ERROR_NONE ? taken.count() : -1;
}

double medianFrom(const std::vector<double>& taken, size_t start)
{
    const auto first = taken.begin() + static_cast<std::ptrdiff_t>(start);
    return median({ first, first + kSample });
}

// Also in the middle, because the service's file grows at first, which costs the disk more time.
bool report(const std::vector<double>& taken)
{
    const double first = medianFrom(taken, 0);
    const double ratio = medianFrom(taken, taken.size() - kSample) / first;
    printf("medians of %zu, in microseconds\n", kSample);
    for (const size_t start : { size_t{ 0 }, taken.size() / 2, taken.size() - kSample })
        printf("alarms from %5zu %7.0f\n", start + 1, medianFrom(taken, start));
    printf("last to first %5.2f, limit %.1f%s\n", ratio, kLimit, ratio > kLimit ? ", over" : "");
    return ratio <= kLimit;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t count = parseCount(argc, argv, 10000, "ALARMS");
    const HostSession session;
    const AppControl request = alertRequest();
    std::vector<double> taken;
    // Half a sample more, so that the last one asked for lies in the middle of its sample.
    while (taken.size() < count + kSample / 2) {
        taken.push_back(registerOne(request.get(), taken.size()));
        if (taken.back() < 0) {
            fprintf(stderr, "RegistrationBench: alarm %zu was refused\n", taken.size());
            return 1;
        }
    }
    if (count < 10 * kSample) {
        printf("%zu alarms registered; too few to compare\n", taken.size());
        return 0;
    }
    return report(taken) ? 0 : 1;
}
