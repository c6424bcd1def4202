#include "AlarmReading.h"

#include "CompanionFixture.h"

using companion::AlarmReading;
using companion::Found;
using testing::ElementsAre;
using testing::Field;
using testing::Optional;
using testing::SizeIs;

class AlarmReadingTest : public CompanionFixture {
protected:
    /// Another connection that has the file to itself.
    class Holder {
    public:
        explicit Holder(const std::string& path)
        {
            EXPECT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &_store));
            run("BEGIN EXCLUSIVE");
        }
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;
        ~Holder() { sqlite3_close(_store); }

        void run(const char* sql)
        {
            EXPECT_EQ(SQLITE_OK, sqlite3_exec(_store, sql, nullptr, nullptr, nullptr));
        }

    private:
        sqlite3* _store = nullptr;
    };
};

TEST_F(AlarmReadingTest, AlarmIsFoundByItsRowAndByItsRegistration)
{
    const AlarmDbData alarm = added(ringAt(7, 30));

    AlarmDbData found;
    EXPECT_EQ(Found::Yes, companion::findAlarm(alarm.id, found));
    EXPECT_EQ(alarm.stime, found.stime);
    found = {};
    EXPECT_EQ(Found::Yes, companion::findRegisteredAlarm(alarm.alarm_mgr_id, found));
    EXPECT_EQ(alarm.id, found.id);
}

TEST_F(AlarmReadingTest, AlarmThatIsNotThereLeavesTheRecordAlone)
{
    AlarmDbData alarm;
    alarm.id = 7;
    alarm.name = "mine";

    EXPECT_EQ(Found::No, companion::findAlarm(7, alarm));
    EXPECT_EQ(Found::No, companion::findRegisteredAlarm(7, alarm));

    EXPECT_EQ("mine", alarm.name);
    EXPECT_EQ("", companion::storeFault());
}

TEST_F(AlarmReadingTest, AllAlarmsComeByTimeOfDayWithoutDeletedOnes)
{
    const AlarmDbData late = added(ringAt(9, 0));
    const AlarmDbData gone = added(ringAt(8, 30));
    const AlarmDbData phones = added(ringAt(8, 30));
    const AlarmDbData early = added(ringAt(8, 15));
    file.run("UPDATE alarm SET deviceType = 1 WHERE id > 1 AND id < 4");
    file.run("UPDATE alarm SET isDeleted = 1 WHERE id = 2");

    const auto alarms = companion::allAlarms();

    ASSERT_TRUE(alarms);
    EXPECT_EQ((std::vector<int>{ early.id, phones.id, late.id }), idsOf(*alarms));
    EXPECT_EQ(2, gone.id);
}

TEST_F(AlarmReadingTest, UnsyncedAlarmsAreThePhonesByRow)
{
    for (int i = 0; i < 4; ++i)
        added(ringAt(9 - i, 0));
    file.run("UPDATE alarm SET deviceType = 1, isNeedToSync = id IN (1, 3), isDeleted = id = 3");
    file.run("UPDATE alarm SET deviceType = 2, isNeedToSync = 1 WHERE id = 4");

    const auto alarms = AlarmReading().unsynced();

    ASSERT_TRUE(alarms);
    EXPECT_EQ((std::vector<int>{ 1, 3 }), idsOf(*alarms));
}

TEST_F(AlarmReadingTest, StoreThatIsHeldIsUnreadableAndNotEmpty)
{
    const AlarmDbData alarm = added(ringAt(7, 30));
    Holder holder(file.path());

    AlarmDbData found;
    AlarmReading reading(std::chrono::milliseconds(20));
    EXPECT_EQ(Found::Unreadable, reading.find(alarm.id, found));
    EXPECT_EQ(Found::Unreadable, reading.findRegistered(alarm.alarm_mgr_id, found));
    EXPECT_FALSE(reading.all());
    EXPECT_FALSE(reading.unsynced());
    EXPECT_EQ("database is locked", reading.fault());
    EXPECT_EQ(-1, found.id);

    holder.run("COMMIT");
    EXPECT_EQ(Found::Unreadable, reading.find(alarm.id, found)) << "not of one moment any more";
    EXPECT_EQ(Found::Yes, companion::findAlarm(alarm.id, found));
}

TEST_F(AlarmReadingTest, ReadWaitsForWhoHoldsTheStore)
{
    const AlarmDbData alarm = added(ringAt(7, 30));
    Holder holder(file.path());
    clockDouble().sleep = [&holder, sleeps = 0]() mutable {
        if (++sleeps == 3)
            holder.run("COMMIT");
    };

    AlarmDbData found;
    EXPECT_EQ(Found::Yes, companion::findAlarm(alarm.id, found));
    EXPECT_THAT(clockDouble().sleeps, ElementsAre(1000, 2000, 3000));
}

TEST_F(AlarmReadingTest, WaitsGrowToTwentyMilliseconds)
{
    added(ringAt(7, 30));
    Holder holder(file.path());
    clockDouble().sleep = [&holder] {
        if (clockDouble().sleeps.size() == 25)
            holder.run("COMMIT");
    };

    EXPECT_TRUE(companion::allAlarms());
    EXPECT_EQ(20000U, clockDouble().sleeps.back());
}

TEST_F(AlarmReadingTest, PatienceIsTheOneThatIsPromised)
{
    EXPECT_EQ(std::chrono::seconds(2), AlarmReading::kPatience);
    EXPECT_EQ(std::chrono::seconds(10), companion::AlarmSaving::kPatience);
}

TEST_F(AlarmReadingTest, DamagedStoreIsUnreadable)
{
    added(ringAt(7, 30));
    file.write(std::string(5000, 'x'));

    AlarmDbData found;
    EXPECT_EQ(Found::Unreadable, companion::findAlarm(1, found));
    EXPECT_FALSE(companion::allAlarms());
    EXPECT_EQ("file is not a database", companion::storeFault());
    EXPECT_EQ(std::string(5000, 'x'), file.bytes()) << "it is left for who can mend it";
}

// A page of rows in the midst of the file.
TEST_F(AlarmReadingTest, RowsThatAreDamagedAreNotAShortList)
{
    for (int i = 0; i < 60; ++i)
        added(ringAt(7, 30));
    std::string bytes = file.bytes();
    const size_t page = 4096;
    ASSERT_GT(bytes.size(), 6 * page);
    bytes.replace(bytes.size() - 2 * page, page, page, '\xff');
    file.write(bytes);

    EXPECT_FALSE(companion::allAlarms());
    EXPECT_EQ("database disk image is malformed", companion::storeFault());
}

TEST_F(AlarmReadingTest, ReadsAreOfOneMoment)
{
    added(ringAt(7, 30));
    AlarmReading reading;
    ASSERT_THAT(reading.all(), Optional(SizeIs(1)));

    // Nobody commits while the moment lasts.
    const OtherProcess writer([this](const auto& ready) {
        sqlite3* store = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_open(file.path().c_str(), &store));
        EXPECT_EQ(SQLITE_BUSY, sqlite3_exec(store, "DELETE FROM alarm", nullptr, nullptr, nullptr));
        ready();
    });
    EXPECT_THAT(reading.all(), Optional(SizeIs(1)));
}

TEST_F(AlarmReadingTest, StoreThatIsNotThereIsMadeAndEmpty)
{
    ASSERT_EQ(0, unlink(file.path().c_str()));

    EXPECT_THAT(companion::allAlarms(), Optional(SizeIs(0)));
    EXPECT_EQ("", companion::storeFault());
    EXPECT_TRUE(file.exists());
}

TEST_F(AlarmReadingTest, FolderThatIsNotThereIsAFault)
{
    takeFileAway();
    EXPECT_EQ("unable to open database file", companion::storeFault());
    EXPECT_FALSE(companion::allAlarms());

    appCommonDouble().dataPath.reset();
    EXPECT_EQ("there is no data folder", companion::storeFault());
}

TEST_F(AlarmReadingTest, UpcomingAlarmIsTheNextThatRings)
{
    const AlarmDbData tomorrow = added(ringAt(7, 30));
    const AlarmDbData today = added(ringAt(18, 0));
    const AlarmDbData silent = added(ringAt(13, 0));
    const AlarmDbData off = added(ringAt(12, 30));
    file.run("UPDATE alarm SET deviceType = 1, alarm_mgr_id = -1 WHERE id = "
        + std::to_string(silent.id));
    file.run("UPDATE alarm SET enable = 0 WHERE id = " + std::to_string(off.id));
    const auto upcomingAt = [](time_t now) {
        const auto alarm = companion::upcomingAlarm(companion::allAlarms().value(), now);
        return alarm ? alarm->id : -1;
    };

    EXPECT_EQ(today.id, upcomingAt(kNoon));
    EXPECT_EQ(tomorrow.id, upcomingAt(kNoon + 6 * kHour));
    EXPECT_FALSE(companion::upcomingAlarm({}, kNoon));
}
