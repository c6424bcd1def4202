#include "RingStory.h"

#include <AlarmDbModel.h>
#include <unistd.h>

// One alarm from its setting to its end, through every process that has a part in it.
class RoadTest : public RingStory {};

namespace {

const int kEveryDay = 127;
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
    const int id = addAlarm({ "--in", "2s" });
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
    EXPECT_TRUE(session.waitFor([&] { return ringing() == id; }));
}

TEST_F(RoadTest, DismissedOneShotIsOffAndCancelled)
{
    const int id = addAlarm({ "--in", "1s" });
    ASSERT_TRUE(waitForRing(id));

    dismiss();

    const AlarmDbData alarm = storedAlarm(id);
    EXPECT_EQ(0, alarm.enable);
    EXPECT_EQ(-1, alarm.alarm_mgr_id);
    EXPECT_TRUE(session.alarms().empty());
    EXPECT_EQ(-1, ringing());
}

TEST_F(RoadTest, SnoozedAlarmIsRegisteredFiveMinutesLater)
{
    const int id = addAlarm({ "--in", "1s" });
    const int instant = storedAlarm(id).stime;
    ASSERT_TRUE(waitForRing(id));

    const CommandResult snoozed = runCommand({ "alarm", "snooze" });

    EXPECT_EQ(0, snoozed.status) << snoozed.err;
    const AlarmDbData alarm = storedAlarm(id);
    EXPECT_EQ(1, alarm.enable);
    EXPECT_EQ(1, alarm.count);
    const auto registered = registration(id);
    ASSERT_TRUE(registered);
    EXPECT_EQ(instant + 5 * 60, registered->next);
    EXPECT_EQ(1U, session.alarms().size());
    EXPECT_EQ(-1, ringing());
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
    EXPECT_LE(registered->next, instant + kDay + 2 * 60 * 60);
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
