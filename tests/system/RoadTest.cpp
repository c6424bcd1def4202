#include "RingStory.h"

#include <AlarmDbModel.h>
#include <unistd.h>

// One alarm from its setting to its end, through every process that has a part in it.
class RoadTest : public RingStory {};

namespace {

const int kDay = 24 * 60 * 60;

std::string clockText(time_t instant)
{
    tm local = {};
    localtime_r(&instant, &local);
    char text[16];
    strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

} // namespace

TEST_F(RoadTest, AnotherProcessRingsAtTheAlarmsSecond)
{
    const int id = addAlarm({ "--in", "4s" }); // looked at before it rings
    const auto registered = registration(id);
    ASSERT_TRUE(registered);
    EXPECT_EQ("com.velmora.alarm-alert", registered->application);
    EXPECT_EQ(storedAlarm(id).stime, registered->next);
    EXPECT_EQ(-1, ringing());

    const auto ring = waitForRing(id);

    ASSERT_TRUE(ring);
    EXPECT_EQ(clockText(registered->next), ring->time);
    EXPECT_GE(ring->late, 0);
    EXPECT_LT(ring->late, 1000000);
    EXPECT_NE(getpid(), ring->alert);
    AlarmDbData found;
    AlarmDbModel().getAlarmWithAlarmMgrId(registered->id, found);
    EXPECT_EQ(id, found.id);
    EXPECT_TRUE(waitUntilRinging(id));
}

TEST_F(RoadTest, DismissedWeeklyAlarmIsRegisteredForItsNextDay)
{
    const time_t instant = secondAfter(200);
    const AlarmDbData set = setAlarm(instant, kEveryDay);
    ASSERT_TRUE(waitForRing(set.id));

    dismiss();

    EXPECT_EQ(1, storedAlarm(set.id).enable);
    const auto registered = registration(set.id);
    ASSERT_TRUE(registered);
    EXPECT_EQ(set.hour, registered->hour);
    EXPECT_EQ(set.min, registered->minute);
    EXPECT_EQ(kEveryDay, registered->weekFlag);
    EXPECT_GT(registered->next, instant);
    EXPECT_LE(registered->next, instant + kDay + 2L * 60 * 60);
    EXPECT_EQ(1U, session.alarms().size());
}

TEST_F(RoadTest, SnoozedWeeklyAlarmSwitchedOnIsRegisteredForItsOwnTime)
{
    const AlarmDbData set = setAlarm(secondAfter(200), kEveryDay);
    ASSERT_TRUE(waitForRing(set.id));
    ASSERT_EQ(0, runCommand({ "alarm", "snooze" }).status);
    ASSERT_NE(set.min, registration(set.id)->minute);

    const CommandResult switchedOn = runCommand({ "alarm", "on", std::to_string(set.id) });

    EXPECT_EQ(0, switchedOn.status) << switchedOn.err;
    const auto registered = registration(set.id);
    ASSERT_TRUE(registered);
    EXPECT_EQ(set.hour, registered->hour);
    EXPECT_EQ(set.min, registered->minute);
    EXPECT_EQ(0, storedAlarm(set.id).count);
}
