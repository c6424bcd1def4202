#include "host/daemon/ClockWatch.h"

#include "host/common/Session.h"
#include "HostSession.h"

#include <cerrno>
#include <ctime>
#include <gtest/gtest.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

// The clock's timer is as the kernel makes it, but for what a test cannot do: set the device's
// clock.
namespace {

const char* const kFarZone = "Pacific/Kiritimati";

int settimeError = 0; // of the next call
bool isClockSet = false; // as the next read of the timer finds it
int otherReads = 0; // that found something, such as events of the zone
int timer = -1;
int timerFlags = 0;
itimerspec timerValue = {};

} // namespace

extern "C" {

int __real_timerfd_settime(int fd, int flags, const itimerspec* value, itimerspec* old);
int __wrap_timerfd_settime(int fd, int flags, const itimerspec* value, itimerspec* old)
{
    timer = fd;
    timerFlags = flags;
    timerValue = *value;
    const int result = __real_timerfd_settime(fd, flags, value, old);
    if (settimeError == 0)
        return result;
    errno = std::exchange(settimeError, 0);
    return -1;
}

ssize_t __real_read(int fd, void* data, size_t size);
ssize_t __wrap_read(int fd, void* data, size_t size)
{
    const ssize_t result = __real_read(fd, data, size);
    otherReads += fd != timer && result > 0 ? 1 : 0;
    if (fd != timer || !std::exchange(isClockSet, false))
        return result;
    errno = ECANCELED;
    return -1;
}

} // extern "C"

namespace {

// time() shows the last tick, which may be before an instant that is reached.
std::int64_t preciseTime()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

class ClockWatchTest : public testing::Test {
protected:
    ClockWatchTest()
    {
        settimeError = 0;
        isClockSet = false;
        otherReads = 0;
    }

    // Waits until either has been called.
    bool waitForCall()
    {
        return session.waitFor([this] { return dueCalls + changedCalls > 0; });
    }

    HostSession session; // its clock watch needs the session's loop and zone
    int dueCalls = 0;
    int changedCalls = 0;
    host::ClockWatch watch{ [this] { ++dueCalls; }, [this] { ++changedCalls; } };
};

} // namespace

TEST_F(ClockWatchTest, WakesAtTheInstantThatTheClockShows)
{
    const std::int64_t instant = preciseTime() + 1;

    watch.wakeAt(instant);

    EXPECT_TRUE(waitForCall());
    EXPECT_EQ(1, dueCalls);
    EXPECT_EQ(0, changedCalls);
    EXPECT_GE(preciseTime(), instant);
}

TEST_F(ClockWatchTest, WakesAtOnceForAnInstantThatIsPast)
{
    watch.wakeAt(0);

    EXPECT_TRUE(waitForCall());
    EXPECT_EQ(1, dueCalls);
}

TEST_F(ClockWatchTest, AnotherInstantReplacesTheOneBefore)
{
    watch.wakeAt(0);
    watch.wakeAt(time(nullptr) + 3600);
    session.setZone(kFarZone); // an event that comes later than the first instant's would

    EXPECT_TRUE(waitForCall());
    EXPECT_EQ(0, dueCalls);
}

TEST_F(ClockWatchTest, TheTimerHearsOfASetClockWithAndWithoutAnInstant)
{
    for (const std::optional<std::int64_t>& instant :
        { std::optional<std::int64_t>(2000000000), std::optional<std::int64_t>() }) {
        watch.wakeAt(instant);
        EXPECT_EQ(TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, timerFlags);
        EXPECT_GE(timerValue.it_value.tv_sec, instant.value_or(200000000000));
    }
}

TEST_F(ClockWatchTest, TellsOfAClockThatWasSetWhileItWaited)
{
    isClockSet = true;
    watch.wakeAt(0);

    EXPECT_TRUE(waitForCall());
    EXPECT_EQ(1, changedCalls);
    EXPECT_EQ(0, dueCalls);
}

TEST_F(ClockWatchTest, TellsOfAClockThatWasSetBeforeItBegan)
{
    settimeError = ECANCELED;

    watch.wakeAt(time(nullptr) + 3600);

    EXPECT_EQ(1, changedCalls);
    EXPECT_EQ(0, dueCalls);
}

TEST_F(ClockWatchTest, ATimerThatCannotBeSetIsAnError)
{
    settimeError = EINVAL;

    EXPECT_THROW(watch.wakeAt(time(nullptr) + 3600), std::system_error);
}

TEST_F(ClockWatchTest, TellsOfAnotherZoneOnce)
{
    session.setZone(kFarZone);

    EXPECT_TRUE(waitForCall());
    EXPECT_EQ(1, changedCalls);
    EXPECT_EQ(0, dueCalls);
}

TEST_F(ClockWatchTest, TheSameZoneSetAgainIsNoChange)
{
    session.setZone(host::zoneId());

    EXPECT_TRUE(session.waitFor([] { return otherReads > 0; }));
    EXPECT_EQ(0, changedCalls);
}

TEST(WatchedFd, ADescriptorThatIsNoneIsAnError)
{
    errno = EMFILE;
    EXPECT_THROW(host::WatchedFd(-1, "timerfd_create", [] {}), std::system_error);
}
