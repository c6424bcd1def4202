#include "AlarmDouble.h"
#include "AlarmSyncUtil.h"
#include "AppControlDouble.h"
#include "StoreFixture.h"
#include "VconfDouble.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {
const char* const kVendor = "db/wms/host_status/vendor";
const char* const kNotification = "db/alarm/host_alarm_notification_enabled";
const char* const kRegistrations = "SELECT name, alarm_mgr_id FROM alarm ORDER BY id";

using Rows = std::vector<std::vector<std::string>>;

class AlarmSyncUtilMirrorTest : public StoreFixture {
protected:
    AlarmSyncUtilMirrorTest()
    {
        alarmDouble() = {};
        alarmDouble().nextId = 700;
        appControlDouble() = {};
        vconfDouble() = {};
        vconfDouble().texts[kVendor] = "velmora";
        vconfDouble().bools[kNotification] = true;
        makeFile();
    }

    ~AlarmSyncUtilMirrorTest() override { EXPECT_THAT(appControlDouble().alive, IsEmpty()); }

    /// Two phone alarms that are on, one that is off, and one of the watch.
    void insertAlarms()
    {
        insert(phoneAlarm(), "first", 11, 1);
        insert(phoneAlarm(), "off", 12, 0);
        insert(AlarmDbData(), "watch", 13, 1);
        insert(phoneAlarm(), "second", 14, 1);
        forget();
    }

    static void insert(AlarmDbData alarm, const char* name, int platformId, int enable)
    {
        alarm.name = name;
        alarm.alarm_mgr_id = platformId;
        alarm.enable = enable;
        alarm.repeatWeekly = 127;
        alarm.mobileModifiedTime = 1600000000000;
        AlarmDbModel().insertAlarmData(alarm, false, false);
    }
};
} // namespace

TEST_F(AlarmSyncUtilMirrorTest, RegisteredAlarmsRingOnTheWatch)
{
    insertAlarms();

    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(11, 14));
    ASSERT_EQ(2u, alarmDouble().scheduled.size());
    EXPECT_EQ(127, alarmDouble().scheduled[0].weekFlag);
    EXPECT_EQ((Rows{ { "first", "700" }, { "off", "12" }, { "watch", "13" }, { "second", "701" } }),
        file.rows(kRegistrations));
}

TEST_F(AlarmSyncUtilMirrorTest, RegisteringIsNoChangeToTellOf)
{
    insertAlarms();

    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
    EXPECT_EQ("0", file.value("SELECT SUM(isNeedToSync) FROM alarm"));
    EXPECT_EQ("4",
        file.value("SELECT COUNT(*) FROM alarm WHERE mobileAlertTime = 0 AND "
                   "mobileModifiedTime = 1600000000000"));
}

TEST_F(AlarmSyncUtilMirrorTest, RegisteringAgainDoublesNothing)
{
    insertAlarms();

    AlarmSyncUtil::registerMobileAlarm();
    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(11, 14, 700, 701));
    EXPECT_EQ(4u, alarmDouble().scheduled.size());
    EXPECT_EQ((Rows{ { "first", "702" }, { "off", "12" }, { "watch", "13" }, { "second", "703" } }),
        file.rows(kRegistrations));
}

TEST_F(AlarmSyncUtilMirrorTest, RegistersWhileThePhoneIsConnected)
{
    insertAlarms();
    vconfDouble().ints["memory/private/vap/conn_type"] = 1;
    vconfDouble().bools["memory/wms/wmanager_connected"] = true;

    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_EQ(2u, alarmDouble().scheduled.size());
}

TEST_F(AlarmSyncUtilMirrorTest, WithTheSettingOffAlarmsStayUnregistered)
{
    insertAlarms();
    vconfDouble().bools[kNotification] = false;

    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(11, 14));
    EXPECT_THAT(alarmDouble().scheduled, IsEmpty());
    EXPECT_EQ((Rows{ { "first", "-1" }, { "off", "12" }, { "watch", "13" }, { "second", "-1" } }),
        file.rows(kRegistrations));
}

TEST_F(AlarmSyncUtilMirrorTest, WithTheSettingUnreadableAlarmsRing)
{
    insertAlarms();
    vconfDouble().bools.clear();

    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_EQ(2u, alarmDouble().scheduled.size());
}

TEST_F(AlarmSyncUtilMirrorTest, APhoneOfAnotherMakerChangesNothing)
{
    insertAlarms();
    const std::string before = file.bytes();
    for (const char* vendor : { "Velmora", "velmora ", "another", "" }) {
        vconfDouble().texts[kVendor] = vendor;
        AlarmSyncUtil::registerMobileAlarm();
        AlarmSyncUtil::unregisterMobileAlarm();
    }
    vconfDouble().texts.clear();
    AlarmSyncUtil::registerMobileAlarm();
    AlarmSyncUtil::unregisterMobileAlarm();

    EXPECT_EQ(before, file.bytes());
    EXPECT_THAT(alarmDouble().cancelled, IsEmpty());
    EXPECT_THAT(alarmDouble().scheduled, IsEmpty());
    EXPECT_THAT(vconfDouble().asked, Not(Contains(kNotification)));
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmSyncUtilMirrorTest, UnregisteredAlarmsLoseTheirRegistrations)
{
    insertAlarms();

    AlarmSyncUtil::unregisterMobileAlarm();

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(11, 14));
    EXPECT_THAT(alarmDouble().scheduled, IsEmpty());
    EXPECT_EQ((Rows{ { "first", "-1" }, { "off", "12" }, { "watch", "13" }, { "second", "-1" } }),
        file.rows(kRegistrations));
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
    EXPECT_EQ("0", file.value("SELECT SUM(isNeedToSync) FROM alarm"));
}

TEST_F(AlarmSyncUtilMirrorTest, APlatformThatRefusesStopsNothing)
{
    insertAlarms();
    alarmDouble().cancelResult = -1;
    alarmDouble().scheduleResult = -1;

    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(11, 14));
    EXPECT_EQ(2u, alarmDouble().scheduled.size());
    EXPECT_EQ((Rows{ { "first", "0" }, { "off", "12" }, { "watch", "13" }, { "second", "0" } }),
        file.rows(kRegistrations));
}

TEST_F(AlarmSyncUtilMirrorTest, AStoreThatCannotBeWrittenStopsNothing)
{
    insertAlarms();
    clockDouble().sleep = [] {};
    sqlite3* other = nullptr;
    sqlite3_open(file.path().c_str(), &other);
    sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);

    AlarmSyncUtil::registerMobileAlarm();

    sqlite3_close(other);
    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(11, 14));
    EXPECT_EQ(2u, alarmDouble().scheduled.size());
    EXPECT_EQ((Rows{ { "first", "11" }, { "off", "12" }, { "watch", "13" }, { "second", "14" } }),
        file.rows(kRegistrations));
}

TEST_F(AlarmSyncUtilMirrorTest, AnAlarmThatIsDeletedButOnIsRegisteredToo)
{
    insertAlarms();
    file.run("UPDATE alarm SET isDeleted = 1 WHERE name = 'first'");

    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(11, 14));
    EXPECT_EQ((Rows{ { "first", "700" }, { "off", "12" }, { "watch", "13" }, { "second", "701" } }),
        file.rows(kRegistrations));
    EXPECT_EQ("1", file.value("SELECT isDeleted FROM alarm WHERE name = 'first'"));
}

TEST_F(AlarmSyncUtilMirrorTest, AChangeThatThePhoneDoesNotKnowStaysOne)
{
    insertAlarms();
    file.run("UPDATE alarm SET isNeedToSync = 1, mobileAlertTime = 5 WHERE name = 'first'");
    clockDouble().now = timeval{ 1700000000, 456789 };

    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_EQ(
        (Rows{ { "first", "1", "5", "1700000000456" }, { "second", "0", "0", "1600000000000" } }),
        file.rows("SELECT name, isNeedToSync, mobileAlertTime, mobileModifiedTime FROM alarm "
                  "WHERE name IN ('first', 'second') ORDER BY id"));
}

TEST_F(AlarmSyncUtilMirrorTest, AlarmsThatAreOffOrAbsentNeedNothing)
{
    insert(phoneAlarm(), "off", 12, 0);
    forget();
    const std::string before = file.bytes();

    AlarmSyncUtil::registerMobileAlarm();
    AlarmSyncUtil::unregisterMobileAlarm();

    EXPECT_EQ(before, file.bytes());
    EXPECT_THAT(alarmDouble().cancelled, IsEmpty());
    EXPECT_THAT(alarmDouble().scheduled, IsEmpty());
}

TEST_F(AlarmSyncUtilMirrorTest, RemovedAlarmsAreUnregisteredAndAnnounced)
{
    insertAlarms();
    file.run("UPDATE alarm SET isDeleted = 1 WHERE name = 'off'");

    AlarmSyncUtil::removeMobileAlarmData();

    EXPECT_THAT(alarmDouble().cancelled, ElementsAre(11, 14));
    EXPECT_EQ((Rows{ { "watch", "13" } }), file.rows(kRegistrations));
    EXPECT_EQ(2u, preferenceDouble().sets.size());
}

TEST_F(AlarmSyncUtilMirrorTest, RemovingDoesNotAskForTheMaker)
{
    insertAlarms();
    vconfDouble().texts.clear();

    AlarmSyncUtil::removeMobileAlarmData();

    EXPECT_EQ("1", file.value("SELECT COUNT(*) FROM alarm"));
    EXPECT_THAT(vconfDouble().asked, IsEmpty());
}

TEST_F(AlarmSyncUtilMirrorTest, RemovingAlarmsThatAreOffIsAnnounced)
{
    insert(phoneAlarm(), "off", 12, 0);
    forget();

    AlarmSyncUtil::removeMobileAlarmData();

    EXPECT_THAT(alarmDouble().cancelled, IsEmpty());
    EXPECT_EQ("0", file.value("SELECT COUNT(*) FROM alarm"));
    EXPECT_EQ(2u, preferenceDouble().sets.size());
}

TEST_F(AlarmSyncUtilMirrorTest, RemovingNothingIsNotAnnounced)
{
    insert(AlarmDbData(), "watch", 13, 1);
    forget();

    AlarmSyncUtil::removeMobileAlarmData();

    EXPECT_EQ("1", file.value("SELECT COUNT(*) FROM alarm"));
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_F(AlarmSyncUtilMirrorTest, WithoutAStoreNothingIsDone)
{
    takeFileAway();

    AlarmSyncUtil::removeMobileAlarmData();
    AlarmSyncUtil::registerMobileAlarm();

    EXPECT_THAT(alarmDouble().cancelled, IsEmpty());
    EXPECT_THAT(alarmDouble().scheduled, IsEmpty());
}
