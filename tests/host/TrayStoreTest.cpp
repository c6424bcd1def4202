#include "host/daemon/TrayStore.h"

#include "host/common/Log.h"
#include "NoFileGrows.h"
#include "TempDir.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <SQLiteCpp/SQLiteCpp.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> logLines;

host::Notification notificationOf(const std::string& application, const std::string& tag,
    const std::string& title, int type = NOTIFICATION_TYPE_NOTI)
{
    host::Notification notification;
    notification.package = "com.velmora.test";
    notification.application = application;
    notification.tag = tag;
    notification.type = type;
    notification.texts[NOTIFICATION_TEXT_TYPE_TITLE] = { title, "" };
    return notification;
}

class TrayStoreTest : public testing::Test {
protected:
    TrayStoreTest()
    {
        logLines.clear();
        host::setLogHook([](int, const char*, const char* text) { logLines.push_back(text); });
    }
    ~TrayStoreTest() override { host::setLogHook(nullptr); }

    std::vector<std::string> titles()
    {
        std::vector<std::string> titles;
        for (const host::Notification& each : store->all())
            titles.push_back(each.texts.at(NOTIFICATION_TEXT_TYPE_TITLE).text);
        return titles;
    }

    std::vector<std::string> reports()
    {
        std::vector<std::string> texts;
        for (const host::Report& report : store->reports())
            texts.push_back(report.text);
        return texts;
    }

    // As a new hostd does.
    void reopen()
    {
        store.reset();
        store.emplace(path);
    }

    const TempDir folder;
    const std::string path = folder.file("notifications.db");
    std::optional<host::TrayStore> store{ path };
};

TEST_F(TrayStoreTest, KeepsEverythingThatWasSet)
{
    host::Notification posted{ 0, "com.velmora.test", "com.velmora.test-a", 1000, "tag",
        NOTIFICATION_TYPE_ONGOING, NOTIFICATION_LY_EXTENSION, NOTIFICATION_DISPLAY_APP_ACTIVE, 2000,
        { { NOTIFICATION_TEXT_TYPE_TITLE, { "Title", "KEY" } },
            { NOTIFICATION_TEXT_TYPE_EXTENSION, { "{}", "" } } } };
    posted.id = store->post(posted);
    reopen();

    const auto found = store->find("com.velmora.test-a", "tag");

    ASSERT_TRUE(found);
    EXPECT_EQ(posted.id, found->id);
    EXPECT_EQ("com.velmora.test", found->package);
    EXPECT_EQ("com.velmora.test-a", found->application);
    EXPECT_EQ(1000, found->posted);
    EXPECT_EQ("tag", found->tag);
    EXPECT_EQ(NOTIFICATION_TYPE_ONGOING, found->type);
    EXPECT_EQ(NOTIFICATION_LY_EXTENSION, found->layout);
    EXPECT_EQ(NOTIFICATION_DISPLAY_APP_ACTIVE, found->displays);
    EXPECT_EQ(2000, found->time);
    ASSERT_EQ(2u, found->texts.size());
    EXPECT_EQ("Title", found->texts.at(NOTIFICATION_TEXT_TYPE_TITLE).text);
    EXPECT_EQ("KEY", found->texts.at(NOTIFICATION_TEXT_TYPE_TITLE).key);
    EXPECT_EQ("{}", found->texts.at(NOTIFICATION_TEXT_TYPE_EXTENSION).text);
}

TEST_F(TrayStoreTest, ATagIsTheApplicationsOwnAndOnlyTheNewestOfItStays)
{
    const std::int64_t first = store->post(notificationOf("a", "tag", "first"));
    store->post(notificationOf("b", "tag", "other's"));
    store->post(notificationOf("a", "", "no tag"));
    store->post(notificationOf("a", "", "no tag either"));
    EXPECT_GT(store->post(notificationOf("a", "tag", "second")), first);

    EXPECT_THAT(titles(), ElementsAre("other's", "no tag", "no tag either", "second"));
    EXPECT_EQ(2u, store->withTag("tag").size());
    EXPECT_FALSE(store->find("c", "tag"));
    EXPECT_FALSE(store->find("a", ""));
    SQLite::Database file(path);
    EXPECT_EQ(4, file.execAndGet("SELECT count(*) FROM texts").getInt());
}

TEST_F(TrayStoreTest, RemovesOnlyWhatIsTheApplications)
{
    const std::int64_t id = store->post(notificationOf("a", "tag", "a"));
    store->post(notificationOf("a", "", "ongoing", NOTIFICATION_TYPE_ONGOING));
    store->post(notificationOf("b", "tag", "b"));
    EXPECT_FALSE(store->remove("b", id));
    EXPECT_TRUE(store->remove("a", id));
    EXPECT_FALSE(store->remove("a", id));
    EXPECT_THAT(titles(), ElementsAre("ongoing", "b"));

    store->removeAll("a", NOTIFICATION_TYPE_NOTI);
    EXPECT_THAT(titles(), ElementsAre("ongoing", "b"));
    store->removeAll("a", NOTIFICATION_TYPE_ONGOING);
    EXPECT_THAT(titles(), ElementsAre("b"));
    store->post(notificationOf("b", "", "b2", NOTIFICATION_TYPE_ONGOING));
    store->removeAll("b", NOTIFICATION_TYPE_NONE);
    EXPECT_THAT(titles(), IsEmpty());
}

TEST_F(TrayStoreTest, BoundsWhatAnApplicationMayHave)
{
    const std::size_t longest = host::TrayStore::kLongestNotification;
    EXPECT_NO_THROW(store->post(notificationOf("a", "tag", std::string(longest - 3, 'x'))));
    EXPECT_THROW(store->post(notificationOf("a", "tag", std::string(longest - 2, 'x'))),
        host::LimitExceeded);
    host::Notification keyed = notificationOf("a", "", "");
    keyed.texts[NOTIFICATION_TEXT_TYPE_TITLE].key = std::string(longest + 1, 'x');
    EXPECT_THROW(store->post(keyed), host::LimitExceeded);

    for (int i = 1; i < host::TrayStore::kMostNotifications; ++i)
        store->post(notificationOf("a", "", "untagged"));
    EXPECT_THROW(store->post(notificationOf("a", "", "too many")), host::LimitExceeded);
    EXPECT_NO_THROW(store->post(notificationOf("a", "tag", "replaces one")));
    EXPECT_NO_THROW(store->post(notificationOf("b", "", "other's")));
    EXPECT_EQ(static_cast<std::size_t>(host::TrayStore::kMostNotifications) + 1, titles().size());
}

TEST_F(TrayStoreTest, NobodyElseMayReadTheFile)
{
    store->post(notificationOf("a", "tag", "a"));
    for (const char* part : { "", "-wal", "-shm" })
        EXPECT_EQ(
            fs::perms::owner_read | fs::perms::owner_write, fs::status(path + part).permissions())
            << part;
}

TEST_F(TrayStoreTest, ADamagedFileIsMovedAsideAndReported)
{
    store->post(notificationOf("a", "tag", "lost"));
    store.reset();
    std::ofstream(path, std::ios::trunc) << std::string(20000, 'x');
    reopen();

    EXPECT_THAT(titles(), IsEmpty());

    EXPECT_EQ(20000u, fs::file_size(path + ".damaged-1"));
    ASSERT_EQ(1u, logLines.size());
    EXPECT_THAT(logLines[0], StartsWith("The notifications are lost: " + path + " is damaged"));
    EXPECT_EQ(logLines, reports());
    store->post(notificationOf("a", "tag", "new"));
    reopen();
    EXPECT_THAT(titles(), ElementsAre("new"));
    EXPECT_EQ(1u, reports().size());
}

TEST_F(TrayStoreTest, DamageWhileItRunsCostsTheOldNotificationsOnly)
{
    for (int i = 0; i < 100; ++i) // more than SQLite keeps in memory
        store->post(notificationOf("a", "", std::string(60000, 'x')));
    reopen(); // which moves everything into the file itself
    EXPECT_EQ(100u, titles().size());
    std::fstream file(path, std::ios::in | std::ios::out);
    file.seekp(4096);
    file << std::string(fs::file_size(path) - 4096, 'x');
    file.close();

    EXPECT_THROW(titles(), SQLite::Exception);

    EXPECT_NO_THROW(store->post(notificationOf("a", "", "new")));
    EXPECT_THAT(titles(), ElementsAre("new"));
}

TEST_F(TrayStoreTest, WhatAFullDiskRefusesIsAnErrorAndTheReportComesLater)
{
    store->post(notificationOf("a", "tag", "old"));
    EXPECT_TRUE(store->report({ { "known", 900, "known" } }));
    {
        const NoFileGrows full(path + "-wal");
        EXPECT_THROW(store->post(notificationOf("a", "tag", "new")), SQLite::Exception);
        for (int i = 0; i < 2; ++i)
            EXPECT_FALSE(store->report({ { "known", 900, "known" }, { "key", 1000, "text" } }));
        EXPECT_FALSE(store->report({}));
        const char* const logged = "A report cannot be kept for now: text";
        EXPECT_EQ(1, std::count(logLines.begin(), logLines.end(), logged));
        EXPECT_THAT(reports(), ElementsAre("known", "text"));
    }
    {
        const NoFileGrows nearlyFull(path + "-wal", 20000); // the old one can be removed
        EXPECT_THROW(
            store->post(notificationOf("a", "tag", std::string(60000, 'x'))), SQLite::Exception);
    }
    EXPECT_THAT(titles(), ElementsAre("old"));
    EXPECT_TRUE(store->report({ { "key", 1000, "text" } }));
    EXPECT_THAT(reports(), ElementsAre("known", "text"));
}

TEST_F(TrayStoreTest, AFileThatCannotBeOpenedIsTriedAgain)
{
    fs::create_directory(path);
    EXPECT_THROW(store->post(notificationOf("a", "tag", "a")), std::exception);
    EXPECT_FALSE(store->report({ { "key", 1000, "text" } }));
    EXPECT_THAT(logLines.back(), HasSubstr("the reports cannot be kept for now: "));
    fs::remove(path);

    store->post(notificationOf("a", "tag", "a"));

    EXPECT_THAT(titles(), ElementsAre("a"));
    EXPECT_THAT(reports(), ElementsAre("text"));
}

TEST_F(TrayStoreTest, ReportsComeOnceAndTheOldestGo)
{
    EXPECT_TRUE(store->report({ { "first", 1, "first" }, { "second", 2, "second" } }));
    EXPECT_TRUE(store->report({ { "first", 3, "again" }, { "third", 3, "third" } }));
    EXPECT_THAT(reports(), ElementsAre("first", "second", "third"));

    std::vector<host::Report> many;
    for (int i = 0; i < host::TrayStore::kMostReports - 1; ++i)
        many.push_back({ std::to_string(i), 4, std::to_string(i) });
    EXPECT_TRUE(store->report(many));

    EXPECT_EQ(static_cast<std::size_t>(host::TrayStore::kMostReports), reports().size());
    EXPECT_EQ("third", reports().front());
}

TEST_F(TrayStoreTest, OnlyTheNewestReportsWaitForTheDisk)
{
    store->post(notificationOf("a", "tag", "a"));
    std::vector<host::Report> many;
    for (int i = 0; i < host::TrayStore::kMostReports + 5; ++i)
        many.push_back({ std::to_string(i), 4, std::to_string(i) });
    const NoFileGrows full(path + "-wal");

    EXPECT_FALSE(store->report(many));

    EXPECT_EQ(static_cast<std::size_t>(host::TrayStore::kMostReports), reports().size());
    EXPECT_EQ("5", reports().front());
}

TEST_F(TrayStoreTest, ALossIsReportedAlsoWhenNoNewFileCanBeMadeYet)
{
    store.reset();
    std::ofstream(path) << "nonsense";
    store.emplace(path);
    const std::string empty = folder.file("empty");
    std::ofstream(empty).close();
    {
        const NoFileGrows full(empty);
        EXPECT_THROW(store->all(), SQLite::Exception);
        ASSERT_EQ(1u, logLines.size());
        EXPECT_THAT(logLines[0], StartsWith("The notifications are lost: "));
    }

    EXPECT_THAT(titles(), IsEmpty());

    EXPECT_THAT(reports(), ElementsAre(logLines[0]));
}

TEST_F(TrayStoreTest, TheIdsOfANewFileGoByTheClock)
{
    const std::int64_t startOf2020 = 1577836800;
    const std::int64_t seconds = time(nullptr) - startOf2020;

    const std::int64_t id = store->post(notificationOf("a", "", "a"));

    EXPECT_GT(id, seconds);
    EXPECT_LT(id, seconds + 1000);
    reopen();
    EXPECT_EQ(id + 1, store->post(notificationOf("a", "", "b")));
}

TEST_F(TrayStoreTest, ANumberThatIsGivenTwiceIsThatOfTheLastOne)
{
    const std::int64_t first = store->post(notificationOf("a", "tag", "first"));
    store->setShown(first, "d", 1);
    const std::int64_t second = store->post(notificationOf("a", "", "second"));
    store->setShown(second, "d", 1);
    EXPECT_FALSE(store->nextToShow("d"));
    EXPECT_EQ(second, store->shownAs("d", 1).value().id);

    // Nor is the number of the first closed, which is now of the second.
    EXPECT_TRUE(store->remove("a", first));
    EXPECT_FALSE(store->nextToClose("d"));
}

TEST_F(TrayStoreTest, WhatADesktopRefusesIsShownAgainAndTheOldOneIsClosed)
{
    store->setShown(store->post(notificationOf("a", "tag", "first")), "d", 1);
    const std::int64_t refused = store->post(notificationOf("a", "tag", "refused"));
    store->setRefused(refused);
    EXPECT_EQ(1u, store->nextToClose("d").value());
    EXPECT_FALSE(store->nextToShow("d", { refused }));
    EXPECT_EQ(0u, store->nextToShow("d").value().replaced);

    store->setClosed("d", 1);
    store->removeAll("a", NOTIFICATION_TYPE_NONE);
    EXPECT_FALSE(store->concernsDesktops());
}

TEST_F(TrayStoreTest, KnowsWhatADesktopIsToShowAndToClose)
{
    EXPECT_FALSE(store->concernsDesktops());
    const std::int64_t first = store->post(notificationOf("a", "tag", "first"));
    EXPECT_TRUE(store->concernsDesktops());
    ASSERT_TRUE(store->nextToShow("d"));
    EXPECT_EQ(first, store->nextToShow("d")->notification.id);
    EXPECT_EQ(0u, store->nextToShow("d")->replaced);
    store->setShown(first, "d", 7);
    EXPECT_FALSE(store->nextToShow("d"));
    EXPECT_EQ(first, store->shownAs("d", 7).value().id);
    EXPECT_FALSE(store->shownAs("d", 8));
    EXPECT_FALSE(store->shownAs("other", 7));
    EXPECT_TRUE(store->nextToShow("other"));

    // What is shown in its place is not yet the new one.
    const std::int64_t second = store->post(notificationOf("a", "tag", "second"));
    EXPECT_FALSE(store->shownAs("d", 7));
    EXPECT_EQ(7u, store->nextToShow("d")->replaced);
    EXPECT_FALSE(store->nextToClose("d"));

    // The late answer about the first takes nothing from the second.
    store->setShown(second, "d", 7);
    store->setShown(first, "d", 7);
    EXPECT_EQ(second, store->shownAs("d", 7).value().id);
    EXPECT_FALSE(store->nextToClose("d"));
    // Had it another number, it would be closed.
    store->setShown(first, "d", 9);
    EXPECT_THAT(store->numbersOn("d"), UnorderedElementsAre(7, 9));
    EXPECT_EQ(9u, store->nextToClose("d").value());
    store->setClosed("d", 9);
    EXPECT_FALSE(store->nextToClose("d"));

    EXPECT_TRUE(store->remove("a", second));
    EXPECT_TRUE(store->concernsDesktops());
    EXPECT_EQ(7u, store->nextToClose("d").value());
    store->setClosed("d", 7);
    EXPECT_FALSE(store->concernsDesktops());
}

TEST_F(TrayStoreTest, WhatTheUserClosesCountsAsShown)
{
    const std::int64_t early = store->post(notificationOf("a", "", "closed before the answer"));
    const std::int64_t closed = store->post(notificationOf("a", "tag", "closed"));
    store->setShown(early, "d", 0);
    store->setShown(store->post(notificationOf("a", "", "another")), "d", 0);
    store->setShown(closed, "d", 1);
    store->setClosed("d", 1);
    EXPECT_FALSE(store->nextToShow("d"));
    EXPECT_EQ(3u, titles().size());

    store->post(notificationOf("a", "tag", "again"));
    EXPECT_EQ(0u, store->nextToShow("d").value().replaced);
    store->forgetOtherDesktops("new");
    EXPECT_EQ(early, store->nextToShow("new").value().notification.id);
    store->removeAll("a", NOTIFICATION_TYPE_NONE);
    EXPECT_FALSE(store->concernsDesktops());
}

} // namespace
