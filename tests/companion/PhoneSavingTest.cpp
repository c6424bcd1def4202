#include "CompanionFixture.h"

#include <AlarmReading.h>
#include <PhoneAlarms.h>

using companion::AlarmSaving;
using companion::Saved;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// What the phone must hear of, and how its alarms are registered.
class PhoneSavingTest : public CompanionFixture {
protected:
    /// Stores an alarm of the phone that it knows, switched on, weekly on all days at 07:30.
    AlarmDbData addedOfPhone(unsigned long long modified = 5)
    {
        pairPhone();
        const AlarmDbData alarm = added(ringAt(7, 30, 127));
        file.run("UPDATE alarm SET deviceType = 1, uuid = 'work', name = 'Work',"
                 " mobileCreateTime = 4, mobileAlertTime = 6, mobileModifiedTime = "
            + std::to_string(modified) + " WHERE id = " + std::to_string(alarm.id));
        AlarmDbData stored;
        EXPECT_EQ(companion::Found::Yes, companion::findAlarm(alarm.id, stored));
        forget();
        return stored;
    }

    std::string syncState() const
    {
        return file.value(
            "SELECT isNeedToSync || ' ' || isDeleted || ' ' || mobileModifiedTime FROM alarm");
    }

    static AlarmDbData changed(const AlarmDbData& alarm, const companion::Edit& edit)
    {
        AlarmDbData after;
        EXPECT_EQ(Saved::Yes, companion::changeAlarm(alarm.id, edit, after));
        return after;
    }
};

TEST_F(PhoneSavingTest, ChangeThatThePhoneDoesNotSeeIsNotForIt)
{
    const AlarmDbData alarm = addedOfPhone();

    changed(alarm, [](AlarmDbData& edited, time_t now) {
        edited.volume = 3;
        edited.snooze_enable = 0;
        edited.count = 1; // a snooze
        edited.stime = static_cast<int>(now + kHour);
        return true;
    });

    EXPECT_EQ("3 0", file.value("SELECT volume || ' ' || snooze_enable FROM alarm"));
    EXPECT_EQ("0 4 5 6",
        file.value("SELECT isNeedToSync || ' ' || mobileCreateTime || ' ' || mobileModifiedTime"
                   " || ' ' || mobileAlertTime FROM alarm"));
}

TEST_F(PhoneSavingTest, ChangeThatThePhoneDoesNotSeeLeavesAnEarlierOneAsItWas)
{
    const AlarmDbData alarm = addedOfPhone();
    changed(alarm, rename("Early"));
    const std::string before = syncState();
    setNow(kNoon + kHour);

    changed(alarm, [](AlarmDbData& edited, time_t) {
        edited.volume = 3;
        return false;
    });

    EXPECT_EQ("1 0 " + std::to_string(kNoon * 1000), before);
    EXPECT_EQ(before, syncState());
}

TEST_F(PhoneSavingTest, EachChangeThatThePhoneSeesIsForIt)
{
    const struct {
        const char* name;
        companion::Edit edit;
    } rows[] = {
        { "hour", ringAt(8, 30, 127) },
        { "minute", ringAt(7, 31, 127) },
        { "name", rename("Early") },
        { "days", ringAt(7, 30, 64) },
        { "once", ringAt(7, 30) },
        { "off",
            [](AlarmDbData& alarm, time_t) {
                alarm.enable = 0;
                return true;
            } },
    };
    for (const auto& row : rows) {
        const AlarmDbData alarm = addedOfPhone();

        const AlarmDbData after = changed(alarm, row.edit);

        EXPECT_TRUE(after.isNeedToSync) << row.name;
        EXPECT_EQ(static_cast<unsigned long long>(kNoon) * 1000, after.mobileModifiedTime)
            << row.name;
        EXPECT_EQ(static_cast<unsigned long long>(after.stime) * 1000, after.mobileAlertTime)
            << row.name;
        EXPECT_EQ(4U, after.mobileCreateTime) << row.name;
    }
}

TEST_F(PhoneSavingTest, OneShotOfAnotherDayIsNewToThePhone)
{
    const AlarmDbData alarm = addedOfPhone();
    changed(alarm, ringAt(7, 30));
    file.run("UPDATE alarm SET isNeedToSync = 0, stime = stime + 24 * 60 * 60");

    EXPECT_TRUE(changed(alarm, ringAt(7, 30)).isNeedToSync);
}

TEST_F(PhoneSavingTest, NextRingOfAWeeklyAlarmIsNotNewToThePhone)
{
    const AlarmDbData alarm = addedOfPhone();
    setNow(kNoon + kDay);

    EXPECT_FALSE(changed(alarm, ringAt(7, 30, 127)).isNeedToSync);
}

TEST_F(PhoneSavingTest, ChangeIsLaterThanWhatItChangesWhateverTheClockSays)
{
    const AlarmDbData alarm = addedOfPhone(9000000000000);

    changed(alarm, rename("Early"));
    EXPECT_EQ("1 0 9000000000001", syncState());
    AlarmDbData removed;
    EXPECT_EQ(Saved::Yes, companion::removeAlarm(alarm.id, removed));
    EXPECT_EQ("1 1 9000000000002", syncState());
}

TEST_F(PhoneSavingTest, RemovedAlarmIsHiddenAndCancelledUntilThePhoneHasHeard)
{
    const AlarmDbData alarm = addedOfPhone();

    AlarmDbData removed;
    EXPECT_EQ(Saved::Yes, companion::removeAlarm(alarm.id, removed));

    EXPECT_EQ("1 1 " + std::to_string(kNoon * 1000), syncState());
    EXPECT_EQ("4 6", file.value("SELECT mobileCreateTime || ' ' || mobileAlertTime FROM alarm"));
    EXPECT_THAT(registered(), IsEmpty());
    EXPECT_EQ(companion::Found::No, companion::findAlarm(alarm.id, removed));
    EXPECT_EQ(Saved::NoSuchAlarm, companion::removeAlarm(alarm.id, removed));
}

// The platform may have given the number of a registration that is gone to another alarm.
TEST_F(PhoneSavingTest, HiddenAlarmIsErasedWithoutCancellingOnceMore)
{
    const AlarmDbData alarm = addedOfPhone();
    AlarmDbData removed;
    EXPECT_EQ(Saved::Yes, companion::removeAlarm(alarm.id, removed));
    alarmDouble().cancelled.clear();
    forget();

    AlarmSaving saving;
    const std::vector<AlarmDbData> rows = saving.phoneAlarms();
    ASSERT_THAT(rows, SizeIs(1));
    EXPECT_EQ(Saved::Yes, saving.erase(rows[0], AlarmSaving::News::Silent));
    EXPECT_EQ(Saved::Yes, saving.commit());

    EXPECT_EQ(0, rowCount());
    EXPECT_THAT(alarmDouble().cancelled, IsEmpty());
    EXPECT_THAT(announced(), IsEmpty());
}

TEST_F(PhoneSavingTest, ChangeWhoseTimeIsLostIsNotDone)
{
    const AlarmDbData alarm = addedOfPhone(9000000000000);
    file.run("CREATE TRIGGER lose BEFORE UPDATE OF mobileModifiedTime ON alarm"
             " BEGIN SELECT RAISE(IGNORE); END");

    AlarmDbData after;
    EXPECT_EQ(Saved::NotStored, companion::changeAlarm(alarm.id, rename("Early"), after));
    EXPECT_EQ(Saved::NotStored, companion::removeAlarm(alarm.id, after));

    EXPECT_EQ("0 0 9000000000000", syncState());
}

TEST_F(PhoneSavingTest, RecordOfThePhoneIsStoredAsItIs)
{
    const AlarmDbData alarm = addedOfPhone();
    AlarmDbData after = alarm;
    after.name = "Gym";
    after.mobileModifiedTime = 17;
    after.modTime = 12;

    AlarmSaving saving;
    EXPECT_EQ(Saved::Yes, saving.replace(alarm, after, AlarmSaving::News::Silent));
    EXPECT_EQ(Saved::Yes, saving.commit());

    EXPECT_EQ("Gym 12", file.value("SELECT name || ' ' || mtime FROM alarm"));
    EXPECT_EQ("0 0 17", syncState());
    EXPECT_THAT(announced(), IsEmpty());
    EXPECT_THAT(registered(), ElementsAre(alarm.alarm_mgr_id));
}

TEST_F(PhoneSavingTest, SilentChangeDoesNotHideTheNewsOfAnother)
{
    const AlarmDbData alarm = addedOfPhone();
    AlarmSaving saving;
    AlarmDbData after;
    EXPECT_EQ(Saved::Yes, saving.change(alarm.id, rename("Early"), after));
    EXPECT_EQ(Saved::Yes, saving.replace(after, after, AlarmSaving::News::Silent));
    EXPECT_EQ(Saved::Yes, saving.commit());

    EXPECT_THAT(announced(), ElementsAre(".alarmDbChanged", ".alarmDbChangedWidget"));
}

TEST_F(PhoneSavingTest, AlarmThatIsNotToRingHereIsStoredUnregistered)
{
    const AlarmDbData alarm = addedOfPhone();
    const auto oneShotIn = [](time_t seconds) -> companion::Edit {
        return [=](AlarmDbData& edited, time_t now) {
            edited.repeat_once = 1;
            companion::setRing(edited, now + seconds);
            return true;
        };
    };
    const struct {
        const char* name;
        bool isPaired;
        time_t in;
        bool isRegistered;
    } rows[] = {
        { "soon", true, kDay, true },
        { "not quite a week ahead", true, 6 * kDay - 1, true },
        { "a later week", true, 6 * kDay, false },
        { "phone of another make", false, kDay, false },
    };
    for (const auto& row : rows) {
        vconfDouble() = {};
        if (row.isPaired)
            pairPhone();

        const AlarmDbData after = changed(alarm, oneShotIn(row.in));

        EXPECT_EQ(row.isRegistered, after.alarm_mgr_id > 0) << row.name;
        EXPECT_THAT(registered(), SizeIs(row.isRegistered ? 1 : 0)) << row.name;
    }
}

// The library leaves a phone's alarm to the connected phone; it rings on the watch all the same.
TEST_F(PhoneSavingTest, AlarmRingsHereThoughItsPhoneIsNear)
{
    const AlarmDbData alarm = addedOfPhone();
    vconfDouble().ints[VCONFKEY_VAP_CONNECTIVITY_TYPE] = 1;
    vconfDouble().bools[VCONFKEY_WMS_WMANAGER_CONNECTED] = true;

    EXPECT_GT(changed(alarm, ringAt(8, 30, 127)).alarm_mgr_id, 0);
}

TEST_F(PhoneSavingTest, AlarmsThatCannotBeReadAreNotTakenForNone)
{
    addedOfPhone();
    SqliteProbe probe;
    AlarmSaving saving;
    EXPECT_THAT(saving.phoneAlarms(), SizeIs(1));
    probe.refuseAll();

    EXPECT_THAT(saving.phoneAlarms(), IsEmpty());

    EXPECT_EQ(Saved::Unreadable, saving.state());
    EXPECT_EQ(Saved::Unreadable, saving.commit());
}

TEST_F(PhoneSavingTest, AlarmThatIsOnAndWillNotRingHereIsSilent)
{
    AlarmDbData alarm;
    alarm.enable = 1;
    alarm.deviceType = companion::kPhoneDevice;
    alarm.alarm_mgr_id = -1;
    alarm.stime = static_cast<int>(kNoon + 30 * kDay);
    const auto isSilent = [](AlarmDbData each) { return companion::isSilent(each, kNoon); };

    EXPECT_TRUE(isSilent(alarm)) << "the phone names no instant";
    alarm.mobileAlertTime = 1;
    EXPECT_TRUE(isSilent(alarm)) << "no phone of our make";
    pairPhone();
    EXPECT_FALSE(isSilent(alarm)) << "it waits for its instant";
    alarm.stime = static_cast<int>(kNoon);
    EXPECT_TRUE(isSilent(alarm)) << "its instant is over";
    alarm.alarm_mgr_id = 1;
    EXPECT_FALSE(isSilent(alarm)) << "it is registered";
    alarm.alarm_mgr_id = -1;
    alarm.enable = 0;
    EXPECT_FALSE(isSilent(alarm)) << "it is off";
    alarm.enable = 1;
    alarm.deviceType = 2;
    EXPECT_FALSE(isSilent(alarm)) << "it is the watch's";
}
