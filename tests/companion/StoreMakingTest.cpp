#include "CompanionFixture.h"

#include <AlarmReading.h>
#include <fstream>
#include <thread>

class StoreMakingTest : public CompanionFixture {
protected:
    bool isWhole() const
    {
        return file.value("SELECT count(*) FROM sqlite_master WHERE name IN ('alarm', 'tone')")
            == "2";
    }
};

TEST_F(StoreMakingTest, StoreIsMadeWhereThereIsNone)
{
    ASSERT_EQ(0, unlink(file.path().c_str()));

    companion::start();

    EXPECT_TRUE(isWhole());
}

TEST_F(StoreMakingTest, StoreThatWasLeftUnfinishedIsMadeAnew)
{
    for (const char* left :
        { "DROP TABLE alarm; DROP TABLE tone", "DELETE FROM alarm; DROP TABLE tone" }) {
        added(ringAt(7, 30));
        file.run(left);
        clockDouble().sleep = [] {}; // whoever made it is not at it any more

        companion::start();

        EXPECT_TRUE(isWhole()) << left;
        added(ringAt(7, 30));
    }
}

// Its journal would be taken for the new file's.
TEST_F(StoreMakingTest, JournalOfAnUnfinishedStoreGoesWithIt)
{
    file.run("DROP TABLE alarm; DROP TABLE tone");
    std::ofstream(file.path() + "-journal") << "left over";
    clockDouble().sleep = [] {};

    companion::start();

    EXPECT_TRUE(isWhole());
    EXPECT_NE(0, access((file.path() + "-journal").c_str(), F_OK));
}

TEST_F(StoreMakingTest, StoreThatIsJustBeingMadeIsWaitedFor)
{
    file.run("DROP TABLE tone");
    clockDouble().sleep = [this] {
        file.run("INSERT INTO alarm (hour) VALUES (8)");
        file.run("CREATE TABLE IF NOT EXISTS tone (id INTEGER)");
    };

    companion::start();

    EXPECT_EQ("8", file.value("SELECT hour FROM alarm"));
}

TEST_F(StoreMakingTest, StoreWithAlarmsOrOfAnotherKindIsLeftAlone)
{
    added(ringAt(7, 30));
    file.run("DROP TABLE tone");
    companion::start();
    EXPECT_EQ(1, rowCount());

    file.run("DROP TABLE alarm; CREATE TABLE somebodys (value)");
    companion::start();
    EXPECT_EQ("1", file.value("SELECT count(*) FROM sqlite_master WHERE name = 'somebodys'"));

    file.write(std::string(5000, 'x'));
    companion::start();
    EXPECT_EQ(std::string(5000, 'x'), file.bytes());
}

TEST_F(StoreMakingTest, ProcessWithoutADataFolderStarts)
{
    appCommonDouble().dataPath.reset();
    companion::start();
    takeFileAway();
    companion::start();
}

TEST_F(StoreMakingTest, TextsAreThoseOfThePackage)
{
    companion::useDeviceLanguage();
    EXPECT_THAT(appCommonDouble().textDomains, testing::IsEmpty()) << "it has no resources";

    appCommonDouble().resourcePath = "/ro/package/res/";
    companion::useDeviceLanguage();
    EXPECT_THAT(appCommonDouble().textDomains,
        testing::ElementsAre(testing::Pair("alarm-merid", "/ro/package/res/locale")));
}

// The library would wait as long again after each wait of SQLite.
TEST_F(StoreMakingTest, OnlySqliteWaitsForABusyStore)
{
    AlarmDbModel::_maxRetryTimeout = 1000000;

    companion::start();

    EXPECT_EQ(AlarmDbModel::_initialRetryTimeout, AlarmDbModel::_maxRetryTimeout);
}

// The process's own use of the library.
TEST_F(StoreMakingTest, EveryConnectionOfTheProcessWaits)
{
    sqlite3_reset_auto_extension();
    companion::start();
    sqlite3* holder = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(file.path().c_str(), &holder));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    AlarmDbModel model;
    AlarmDbData alarm;
    std::thread release([holder] {
        usleep(50000);
        sqlite3_exec(holder, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(holder);
    });

    model.insertAlarmData(alarm, false, false);

    release.join();
    EXPECT_EQ(1, rowCount());
}
