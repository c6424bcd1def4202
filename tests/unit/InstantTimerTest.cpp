#include "InstantTimer.h"

#include "DlogDouble.h"

#include <cerrno>
#include <ctime>
#include <Ecore.h>
#include <gmock/gmock.h>
#include <sys/timerfd.h>
#include <unistd.h>
#include <utility>

// The timer is as the kernel makes it, but for what a test cannot do: set the device's clock, and
// use the system's timers up.
namespace {

int settimeError = 0; // of the next call
bool canSet = true;
bool isClockSet = false; // as the next read of the timer finds it
bool hasTimers = true;
int timer = -1;
int timerFlags = 0;
itimerspec timerValue = {};

} // namespace

// The linker sends the calls here.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int __real_timerfd_create(clockid_t clock, int flags);
int __wrap_timerfd_create(clockid_t clock, int flags)
{
    errno = EMFILE;
    timer = hasTimers ? __real_timerfd_create(clock, flags) : -1;
    return timer;
}

int __real_timerfd_settime(int fd, int flags, const itimerspec* value, itimerspec* old);
int __wrap_timerfd_settime(int fd, int flags, const itimerspec* value, itimerspec* old)
{
    timerFlags = flags;
    timerValue = *value;
    errno = EINVAL;
    const int result = canSet ? __real_timerfd_settime(fd, flags, value, old) : -1;
    if (settimeError == 0)
        return result;
    errno = std::exchange(settimeError, 0);
    return -1;
}

ssize_t __real_read(int fd, void* data, size_t size);
ssize_t __wrap_read(int fd, void* data, size_t size)
{
    const ssize_t result = __real_read(fd, data, size);
    if (fd != timer || !std::exchange(isClockSet, false))
        return result;
    errno = ECANCELED;
    return -1;
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// time() shows the last tick, which may be before an instant that is reached.
time_t preciseTime()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

class InstantTimerTest : public testing::Test {
protected:
    InstantTimerTest()
    {
        ecore_app_no_system_modules(); // they look for a system bus
        ecore_init();
        dlogDouble() = {};
        settimeError = 0;
        isClockSet = false;
        hasTimers = canSet = true;
    }
    ~InstantTimerTest() override
    {
        timed.stop();
        ecore_shutdown();
    }

    // Runs the main loop until the timer has called, or a turn of the loop later than the limit.
    void runLoop(double seconds)
    {
        Ecore_Timer* limit = ecore_timer_add(
            seconds,
            [](void*) -> Eina_Bool {
                ecore_main_loop_quit();
                return ECORE_CALLBACK_RENEW;
            },
            nullptr);
        ecore_main_loop_begin();
        ecore_timer_del(limit);
    }

    int calls = 0;
    InstantTimer timed{ [this] {
        ++calls;
        ecore_main_loop_quit();
    } };
};

} // namespace

TEST_F(InstantTimerTest, CallsAtTheInstantThatTheClockShows)
{
    const time_t instant = preciseTime() + 1;

    EXPECT_TRUE(timed.wakeAt(instant));
    runLoop(20);

    EXPECT_EQ(1, calls);
    EXPECT_GE(preciseTime(), instant);
}

TEST_F(InstantTimerTest, CallsOnceForAnInstantThatIsOver)
{
    for (const time_t instant : { time_t(-1), time_t(0), preciseTime() - 60 }) {
        calls = 0;
        EXPECT_TRUE(timed.wakeAt(instant));
        runLoop(20);
        EXPECT_EQ(1, calls) << instant;
    }
    runLoop(0.05);
    EXPECT_EQ(1, calls);
}

TEST_F(InstantTimerTest, AnotherInstantReplacesTheOneBefore)
{
    EXPECT_TRUE(timed.wakeAt(0));
    EXPECT_TRUE(timed.wakeAt(preciseTime() + 3600));

    runLoop(0.05);

    EXPECT_EQ(0, calls);
}

TEST_F(InstantTimerTest, HearsOfASetClockWithAndWithoutAnInstant)
{
    for (const std::optional<time_t>& instant :
        { std::optional<time_t>(2000000000), std::optional<time_t>() }) {
        EXPECT_TRUE(timed.wakeAt(instant));
        EXPECT_EQ(TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, timerFlags);
        EXPECT_GE(timerValue.it_value.tv_sec, instant.value_or(200000000000));
    }
}

TEST_F(InstantTimerTest, CallsWhenTheClockWasSetWhileItWaited)
{
    isClockSet = true;
    EXPECT_TRUE(timed.wakeAt(0));

    runLoop(20);

    EXPECT_EQ(1, calls);
}

TEST_F(InstantTimerTest, CallsWhenTheClockWasSetJustBeforeItBegan)
{
    settimeError = ECANCELED;
    EXPECT_TRUE(timed.wakeAt(preciseTime() + 3600));

    runLoop(20);

    EXPECT_EQ(1, calls);
}

TEST_F(InstantTimerTest, IsSilentWhenItIsStopped)
{
    EXPECT_TRUE(timed.wakeAt(0));
    timed.stop();

    runLoop(0.05);

    EXPECT_EQ(0, calls);
}

TEST_F(InstantTimerTest, SaysThatTheSystemHasNoTimerLeft)
{
    hasTimers = false;

    EXPECT_FALSE(timed.wakeAt(0));

    ASSERT_EQ(1U, dlogDouble().lines.size());
    EXPECT_THAT(dlogDouble().lines[0].text, testing::HasSubstr("there is no timer: "));
    hasTimers = true;
    EXPECT_TRUE(timed.wakeAt(0));

    canSet = false;
    EXPECT_FALSE(timed.wakeAt(0));
    ASSERT_EQ(2U, dlogDouble().lines.size());
    EXPECT_THAT(dlogDouble().lines[1].text, testing::HasSubstr("Invalid argument"));
}
