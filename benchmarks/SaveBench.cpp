// How long a save of the companion takes beside the library's own write of the same alarm, and how
// eight processes fare that save at once. The alarms are off, so that none is registered. On the
// disk of the folder for temporary files:
//
//   SaveBench [-n SAVES]
//
// Exit status: 0 within the limits, 1 not.
#include "AppCommonDouble.h"
#include "Count.h"
#include "StoreFile.h"

#include <AlarmCompanion.h>
#include <AlarmDbModel.h>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

const double kMostOfASave = 1.3;
const double kMostOfP99 = 5;

double millisecondsOf(const std::function<void()>& work)
{
    const auto begin = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

AlarmDbData weeklyAlarm()
{
    AlarmDbData alarm;
    alarm.repeat_once = 0;
    alarm.repeatWeekly = 127;
    alarm.name = "Work";
    return alarm;
}

void writeByLibrary()
{
    AlarmDbData alarm = weeklyAlarm();
    AlarmDbModel().insertAlarmData(alarm, true, true);
}

void saveByCompanion()
{
    AlarmDbData alarm = weeklyAlarm();
    const auto edit = [](AlarmDbData& made, time_t now) {
        companion::setNextRing(made, now);
        return true;
    };
    if (companion::addAlarm(alarm, edit) != companion::Saved::Yes)
        _exit(1);
}

double percentile(std::vector<double> times, double part)
{
    std::sort(times.begin(), times.end());
    return times[static_cast<size_t>(static_cast<double>(times.size() - 1) * part)];
}

struct Crowd {
    std::vector<double> times; ///< of each save, waiting included
    double perSecond = 0;
};

Crowd saveAtOnce(int writers, int saves)
{
    const StoreFile file;
    appCommonDouble().dataPath = file.folder();
    companion::start();
    saveByCompanion();
    int results[2];
    if (pipe(results) != 0)
        return {};
    Crowd crowd;
    const double total = millisecondsOf([&] {
        for (int writer = 0; writer < writers; ++writer) {
            if (fork() != 0)
                continue;
            for (int i = 0; i < saves; ++i) {
                const double time = millisecondsOf(saveByCompanion);
                if (write(results[1], &time, sizeof time) != sizeof time)
                    _exit(1);
            }
            _exit(0);
        }
        close(results[1]);
        for (double time = 0; read(results[0], &time, sizeof time) == sizeof time;)
            crowd.times.push_back(time);
        while (wait(nullptr) > 0) {
        }
    });
    close(results[0]);
    crowd.perSecond = static_cast<double>(crowd.times.size()) * 1000 / total;
    return crowd;
}

bool isWithin(double ratio, double limit)
{
    printf("%24.2f %8.1f%s\n", ratio, limit, ratio > limit ? "  over" : "");
    return ratio <= limit;
}

} // namespace

int main(int argc, char** argv)
{
    const auto saves = static_cast<int>(parseCount(argc, argv, 200, "SAVES"));
    const int writers = 8;

    std::vector<double> library;
    std::vector<double> companions;
    {
        const StoreFile file;
        appCommonDouble().dataPath = file.folder();
        companion::start();
        for (int i = 0; i < saves; ++i) {
            library.push_back(millisecondsOf(writeByLibrary));
            companions.push_back(millisecondsOf(saveByCompanion));
        }
    }
    printf("%d saves in turn, milliseconds: median by the library %.2f, by the companion %.2f\n",
        saves, percentile(library, 0.5), percentile(companions, 0.5));
    printf("%-32s%24s %8s\n", "", "ratio", "limit");
    printf("%-32s", "a save beside a write");
    bool isGood = isWithin(percentile(companions, 0.5) / percentile(library, 0.5), kMostOfASave);

    const Crowd one = saveAtOnce(1, saves);
    const Crowd crowd = saveAtOnce(writers, std::max(saves / 2, 1));
    const double median = percentile(crowd.times, 0.5);
    const double p99 = percentile(crowd.times, 0.99);
    printf("%-32s", "p99 of the crowd, of its median");
    isGood = isWithin(p99 / median, kMostOfP99) && isGood;
    printf("one writer: %.0f saves a second; %d at once: %.0f; median %.1f ms, p99 %.1f ms\n",
        one.perSecond, writers, crowd.perSecond, median, p99);
    return isGood ? 0 : 1;
}
