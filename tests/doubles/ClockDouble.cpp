#include "ClockDouble.h"

#include <ctime>
#include <unistd.h>

ClockDouble& clockDouble()
{
    static ClockDouble instance;
    return instance;
}

// The linker sends the calls here, and ours to the real ones.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_gettimeofday(timeval* now, void* zone);
time_t __real_time(time_t* out);
int __real_clock_gettime(clockid_t clock, timespec* now);
int __real_usleep(useconds_t microseconds);

int __wrap_gettimeofday(timeval* now, void* zone)
{
    if (!clockDouble().now)
        return __real_gettimeofday(now, zone);
    *now = *clockDouble().now;
    return 0;
}

time_t __wrap_time(time_t* out)
{
    ++clockDouble().timesAsked;
    if (!clockDouble().now)
        return __real_time(out);
    if (out)
        *out = clockDouble().now->tv_sec;
    return clockDouble().now->tv_sec;
}

int __wrap_clock_gettime(clockid_t clock, timespec* now)
{
    if (clock != CLOCK_REALTIME || !clockDouble().now)
        return __real_clock_gettime(clock, now);
    *now = { clockDouble().now->tv_sec, clockDouble().now->tv_usec * 1000 };
    return 0;
}

int __wrap_usleep(useconds_t microseconds)
{
    clockDouble().sleeps.push_back(microseconds);
    if (!clockDouble().sleep)
        return __real_usleep(microseconds);
    clockDouble().sleep();
    return 0;
}
}
// NOLINTEND(bugprone-reserved-identifier)
