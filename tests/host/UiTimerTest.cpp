#include <app-assist.h>
#include <gtest/gtest.h>

using app_assist::WUiTimer;

namespace {

const double kPeriod = 0.01;

class UiTimerTest : public testing::Test {
protected:
    UiTimerTest()
    {
        ecore_app_no_system_modules();
        ecore_init();
    }
    ~UiTimerTest() { ecore_shutdown(); }

    // Runs the main loop for the seconds.
    static void run(double seconds)
    {
        ecore_timer_add(
            seconds,
            [](void*) -> Eina_Bool {
                ecore_main_loop_quit();
                return ECORE_CALLBACK_CANCEL;
            },
            nullptr);
        ecore_main_loop_begin();
    }
};

TEST_F(UiTimerTest, NeedsAPeriodAndATick)
{
    EXPECT_EQ(nullptr, WUiTimer::create(0, [](void*) { return true; }));
    EXPECT_EQ(nullptr, WUiTimer::create(-1, [](void*) { return true; }));
    EXPECT_EQ(nullptr, WUiTimer::create(kPeriod, nullptr));
}

TEST_F(UiTimerTest, TicksOncePerPeriodWithItsData)
{
    int ticks = 0;
    const double start = ecore_time_get();
    const auto timer = WUiTimer::create(
        0.05,
        [](void* data) {
            if (++*static_cast<int*>(data) == 3)
                ecore_main_loop_quit();
            return true;
        },
        &ticks);
    ASSERT_NE(nullptr, timer);
    EXPECT_TRUE(timer->isActive());
    ecore_main_loop_begin();

    EXPECT_EQ(3, ticks);
    EXPECT_GE(ecore_time_get() - start, 0.14);
    EXPECT_TRUE(timer->isActive());
    timer->destroy();
    EXPECT_FALSE(timer->isActive());
    timer->destroy();
    run(0.12);
    EXPECT_EQ(3, ticks);
}

TEST_F(UiTimerTest, EndsWhenTheTickAnswersFalse)
{
    int ticks = 0;
    const auto token = std::make_shared<int>();
    const auto timer = WUiTimer::create(kPeriod, [&ticks, token](void*) {
        ++ticks;
        return false;
    });
    EXPECT_EQ(2, token.use_count());
    run(5 * kPeriod);

    EXPECT_EQ(1, ticks);
    EXPECT_FALSE(timer->isActive());
    EXPECT_EQ(1, token.use_count());
}

TEST_F(UiTimerTest, NeedsNoOwner)
{
    int ticks = 0;
    std::weak_ptr<WUiTimer> timer
        = WUiTimer::create(kPeriod, [&ticks](void*) { return ++ticks < 3; });
    EXPECT_FALSE(timer.expired());
    run(6 * kPeriod);

    EXPECT_EQ(3, ticks);
    EXPECT_TRUE(timer.expired());
}

TEST_F(UiTimerTest, MayBeDestroyedInItsTick)
{
    int ticks = 0;
    const auto token = std::make_shared<int>(7);
    std::shared_ptr<WUiTimer> timer;
    timer = WUiTimer::create(kPeriod, [&, token](void*) {
        ++ticks;
        timer->destroy();
        EXPECT_FALSE(timer->isActive());
        timer.reset();
        EXPECT_EQ(7, *token); // the running tick is still whole
        return true;
    });
    run(5 * kPeriod);

    EXPECT_EQ(1, ticks);
    EXPECT_EQ(1, token.use_count());
}

TEST_F(UiTimerTest, MayBeReplacedInItsTick)
{
    int first = 0;
    int second = 0;
    std::shared_ptr<WUiTimer> timer;
    timer = WUiTimer::create(kPeriod, [&](void*) {
        ++first;
        timer->destroy();
        timer = WUiTimer::create(kPeriod, [&](void*) { return ++second < 2; });
        return true;
    });
    run(8 * kPeriod);

    EXPECT_EQ(1, first);
    EXPECT_EQ(2, second);
    EXPECT_FALSE(timer->isActive());
}

} // namespace
