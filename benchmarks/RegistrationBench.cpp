// Whether registering an alarm takes longer when there are many: the alarms around the last against
// the first, each until the platform's service has it on disk. Runs in a session of its own:
//
//   host-session RegistrationBench [-n ALARMS]
//
// Exit status: 0 within the limit, 1 not.
#include <algorithm>
#include <app_alarm.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {

const double kLimit = 1.5;
const long kSample = 100;

using AppControl = std::unique_ptr<app_control_s, int (*)(app_control_h)>;

AppControl alertRequest()
{
    app_control_h made = nullptr;
    app_control_create(&made);
    app_control_set_app_id(made, "com.velmora.alarm-alert");
    return { made, app_control_destroy };
}

// No date, as the library has it; times all over the day, but none of the next two hours.
tm timeOfDay(long number)
{
    const time_t start = time(nullptr) + 2 * 60 * 60;
    const time_t instant = start + (number * 7919) % (21 * 60 * 60);
    tm date = {};
    localtime_r(&instant, &date);
    date.tm_mday = 0;
    date.tm_mon = -1;
    date.tm_year = -1900;
    return date;
}

/// Microseconds; negative when the service refused it.
double registerOne(app_control_h request, long number)
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

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

long parseCount(int argc, char** argv)
{
    long count = 10000;
    for (int option = 0; (option = getopt(argc, argv, "n:")) != -1;)
        count = option == 'n' ? strtol(optarg, nullptr, 10) : 0;
    if (count <= 0 || optind != argc) {
        fprintf(stderr, "usage: RegistrationBench [-n ALARMS]\n");
        exit(2);
    }
    return count;
}

bool report(const std::vector<double>& taken)
{
    const double first = median({ taken.begin(), taken.begin() + kSample });
    const double last = median({ taken.end() - kSample, taken.end() });
    const double ratio = last / first;
    const size_t count = taken.size();
    printf(
        "medians of %ld: the first %.0f us, around alarm %zu %.0f us, ratio %.2f, limit %.1f%s\n",
        kSample, first, count - kSample / 2, last, ratio, kLimit, ratio > kLimit ? ", over" : "");
    return ratio <= kLimit;
}

} // namespace

int main(int argc, char** argv)
{
    const long count = parseCount(argc, argv);
    const AppControl request = alertRequest();
    std::vector<double> taken;
    // Half a sample more, so that the last one asked for lies in the middle of its sample.
    while (static_cast<long>(taken.size()) < count + kSample / 2) {
        taken.push_back(registerOne(request.get(), static_cast<long>(taken.size())));
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
