#include "CardPosting.h"
#include "Command.h"
#include "EchoFixture.h"
#include "host/common/Bus.h"
#include "host/common/Session.h"
#include "host/daemon/TrayStore.h"
#include "Probing.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

const char* const kPoster = "com.velmora.test-poster";
const char* const kTag = "upcoming";

Noti load(const char* tag) { return Noti(notification_load_by_tag(tag)); }

CommandResult hostctl(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "hostctl");
    return runCommand(arguments);
}

std::string shown() { return hostctl({ "tray" }).out; }
std::string asSet() { return hostctl({ "tray", "--json" }).out; }

class NotificationTest : public EchoFixture {
protected:
    void TearDown() override
    {
        EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete_all(NOTIFICATION_TYPE_NONE));
        EchoFixture::TearDown();
    }

    // Refused in one line, and nothing is launched.
    void expectRefusal(const std::vector<std::string>& press, const std::string& reason)
    {
        const CommandResult result = hostctl(press);
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, AllOf(StartsWith("hostctl: "), HasSubstr(reason)));
        EXPECT_TRUE(echo.lines().empty());
        EXPECT_EQ(0, session.pidOf(kEcho));
    }
};

} // namespace

TEST_F(NotificationTest, WrongArgumentsAreRefused)
{
    const Noti noti = newNoti();
    EXPECT_EQ(nullptr, notification_create(NOTIFICATION_TYPE_NONE));
    EXPECT_EQ(nullptr, notification_create(static_cast<notification_type_e>(2)));
    EXPECT_EQ(nullptr, notification_load_by_tag(nullptr));
    const int wrong = NOTIFICATION_ERROR_INVALID_PARAMETER;
    EXPECT_EQ(wrong, notification_free(nullptr));
    EXPECT_EQ(wrong, notification_set_time(nullptr, 0));
    EXPECT_EQ(wrong, notification_set_display_applist(nullptr, 16));
    EXPECT_EQ(wrong, notification_set_layout(nullptr, NOTIFICATION_LY_EXTENSION));
    EXPECT_EQ(wrong, notification_set_layout(noti.get(), static_cast<notification_ly_type_e>(7)));
    EXPECT_EQ(wrong, setText(nullptr, "text"));
    EXPECT_EQ(wrong, setText(noti, nullptr));
    EXPECT_EQ(wrong, setText(noti, "text", NOTIFICATION_TEXT_TYPE_NONE));
    EXPECT_EQ(wrong,
        notification_set_text(noti.get(), NOTIFICATION_TEXT_TYPE_TITLE, "text", nullptr, 1, 7, -1));
    EXPECT_EQ(wrong, notification_set_tag(nullptr, "tag"));
    EXPECT_EQ(wrong, notification_set_tag(noti.get(), nullptr));
    EXPECT_EQ(wrong, notification_set_tag(noti.get(), ""));
    EXPECT_EQ(wrong, notification_post(nullptr));
    EXPECT_EQ(wrong, notification_delete(nullptr));
    EXPECT_EQ(wrong, notification_delete_all(static_cast<notification_type_e>(2)));
    EXPECT_EQ(wrong, post(kTag, "\xff\xfe")); // no UTF-8
    EXPECT_EQ("", shown());
}

TEST_F(NotificationTest, EachPostHasAnIdAndAMissingHandleAReason)
{
    int group = -1;
    int id = -1;
    const Noti noti = newNoti();
    EXPECT_EQ(TIZEN_ERROR_NONE, get_last_result());
    EXPECT_EQ(NOTIFICATION_ERROR_NOT_EXIST_ID, notification_get_id(noti.get(), &group, &id));
    EXPECT_EQ(-1, id);
    const int wrong = NOTIFICATION_ERROR_INVALID_PARAMETER;
    EXPECT_EQ(wrong, notification_get_id(nullptr, &group, &id));
    EXPECT_EQ(wrong, notification_get_id(noti.get(), nullptr, &id));
    EXPECT_EQ(wrong, notification_get_id(noti.get(), &group, nullptr));
    EXPECT_EQ(nullptr, notification_create(NOTIFICATION_TYPE_NONE));
    EXPECT_EQ(wrong, get_last_result());
    EXPECT_EQ(nullptr, load(kTag));
    EXPECT_EQ(NOTIFICATION_ERROR_NOT_EXIST_ID, get_last_result());
    EXPECT_EQ(nullptr, load(nullptr));
    EXPECT_EQ(wrong, get_last_result());

    std::set<int> ids;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(NOTIFICATION_ERROR_NONE, post(kTag, "text"));
        EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_get_id(load(kTag).get(), &group, &id));
        EXPECT_EQ(NOTIFICATION_ERROR_NONE, get_last_result());
        ids.insert(id);
    }
    EXPECT_EQ(3U, ids.size());
    EXPECT_EQ(0, group);
}

TEST_F(NotificationTest, EverythingThatWasSetCanBeReadBack)
{
    const Noti noti = newNoti(NOTIFICATION_TYPE_ONGOING);
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_set_time(noti.get(), 1234567890));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE,
        notification_set_display_applist(noti.get(), NOTIFICATION_DISPLAY_APP_ACTIVE));
    EXPECT_EQ(
        NOTIFICATION_ERROR_NONE, notification_set_layout(noti.get(), NOTIFICATION_LY_EXTENSION));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_set_tag(noti.get(), kTag));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, setText(noti, "old"));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, setText(noti, "Wecker \"ä\"\n"));
    EXPECT_EQ(
        NOTIFICATION_ERROR_NONE, setText(noti, "text", NOTIFICATION_TEXT_TYPE_CONTENT, "IDS_KEY"));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_post(noti.get()));

    const std::string rest = std::string("\"application\": \"") + kPoster
        + "\", \"posted\": [0-9]+, \"tag\": \"upcoming\", \"type\": 1, \"layout\": 6, "
          "\"displays\": 16, \"time\": 1234567890, \"texts\": \\[\n"
          "      \\{ \"type\": 0, \"text\": \"Wecker ..ä..\\\\u000a\", \"key\": \"\" \\},\n"
          "      \\{ \"type\": 1, \"text\": \"text\", \"key\": \"IDS_KEY\" \\} \\] \\} \\],\n"
          "  \"reports\": \\[ \\] \\}\n";
    const std::string before = asSet();
    EXPECT_THAT(
        before, MatchesRegex("\\{ \"notifications\": \\[\n    \\{ \"id\": [0-9]+, " + rest));

    // A loaded one is a copy, and has all that it takes to be posted again.
    const Noti loaded = load(kTag);
    ASSERT_NE(nullptr, loaded);
    EXPECT_EQ(NOTIFICATION_ERROR_ALREADY_EXIST_ID, notification_post(loaded.get()));
    EXPECT_EQ(before, asSet());
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete(loaded.get()));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_post(loaded.get()));
    EXPECT_THAT(asSet(), MatchesRegex("[^,]*, " + rest));
}

TEST_F(NotificationTest, AHandleIsPostedAndDeletedOnce)
{
    const Noti noti = newNoti();
    setText(noti, "text");
    EXPECT_EQ(NOTIFICATION_ERROR_NOT_EXIST_ID, notification_delete(noti.get()));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_post(noti.get()));
    EXPECT_EQ(NOTIFICATION_ERROR_ALREADY_EXIST_ID, notification_post(noti.get()));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete(noti.get()));
    EXPECT_EQ(NOTIFICATION_ERROR_NOT_EXIST_ID, notification_delete(noti.get()));
    EXPECT_EQ("", shown());
}

TEST_F(NotificationTest, AUsedTagReplacesAndOthersStay)
{
    const Noti first = newNoti();
    notification_set_tag(first.get(), kTag);
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_post(first.get()));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, post(nullptr, "one"));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, post(nullptr, "one"));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, post(kTag, "second"));

    EXPECT_EQ(NOTIFICATION_ERROR_NOT_EXIST_ID, notification_delete(first.get()));
    EXPECT_THAT(shown(),
        MatchesRegex(".*poster  -\n  one\n.*poster  -\n  one\n.*poster  upcoming\n  second\n"));
    EXPECT_EQ(nullptr, load("other"));
    EXPECT_EQ(nullptr, load(""));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete(load(kTag).get()));
    EXPECT_EQ(nullptr, load(kTag));
}

TEST_F(NotificationTest, DeleteAllTakesThoseOfTheType)
{
    const auto ongoing = NOTIFICATION_TYPE_ONGOING;
    post(nullptr, "noti");
    post(nullptr, "ongoing", NOTIFICATION_TEXT_TYPE_TITLE, ongoing);

    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete_all(NOTIFICATION_TYPE_NOTI));
    EXPECT_THAT(shown(), AllOf(HasSubstr("ongoing"), Not(HasSubstr("noti\n"))));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete_all(ongoing));
    EXPECT_EQ("", shown());
    post(nullptr, "noti");
    post(nullptr, "ongoing", NOTIFICATION_TEXT_TYPE_TITLE, ongoing);
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete_all(NOTIFICATION_TYPE_NONE));
    EXPECT_EQ("", shown());
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete_all(NOTIFICATION_TYPE_NONE));
}

TEST_F(NotificationTest, AnotherApplicationsAreLeftAlone)
{
    host::Notification others;
    others.application = "com.velmora.test-other";
    others.tag = kTag;
    others.texts[NOTIFICATION_TEXT_TYPE_TITLE] = { "other's", "" };
    EXPECT_EQ("", shown()); // hostd has made the file
    host::TrayStore store(host::homePath() + "notifications.db");
    const std::int64_t id = store.post(others);

    EXPECT_EQ(nullptr, load(kTag));
    EXPECT_EQ(NOTIFICATION_ERROR_NONE, notification_delete_all(NOTIFICATION_TYPE_NONE));
    postCard(kTag, requestFor(kEcho));
    EXPECT_THAT(shown(), AllOf(HasSubstr("other's"), HasSubstr("Upcoming alarm")));
    expectRefusal({ "tray", "tap", kTag }, "both have a notification with the tag upcoming");

    EXPECT_TRUE(store.remove(others.application, id));
}

TEST_F(NotificationTest, WhoIsNoApplicationIsRefused)
{
    EXPECT_EQ(std::to_string(NOTIFICATION_ERROR_PERMISSION_DENIED) + " "
            + std::to_string(NOTIFICATION_ERROR_PERMISSION_DENIED) + " none",
        probe({ "notification", kTag }));
    EXPECT_EQ("", shown());
}

TEST_F(NotificationTest, BoundsAreRefusals)
{
    EXPECT_EQ(NOTIFICATION_ERROR_OUT_OF_MEMORY, post(kTag, std::string(65536, 'x').c_str()));
    for (int i = 0; i < host::TrayStore::kMostNotifications; ++i)
        EXPECT_EQ(NOTIFICATION_ERROR_NONE, post(nullptr, "text"));
    EXPECT_EQ(NOTIFICATION_ERROR_OUT_OF_MEMORY, post(nullptr, "text"));
    EXPECT_THAT(session.logText(),
        AllOf(HasSubstr("A request is refused: The notification has 65544 bytes"),
            HasSubstr("has 100 notifications, which is the most")));
}

TEST_F(NotificationTest, TheTrayOutlivesHostdAndACallToOneThatHangsEnds)
{
    post(kTag, "stays");
    const std::string before = shown();
    session.killDaemon();
    EXPECT_EQ(before, shown());
    EXPECT_NE(nullptr, load(kTag));

    const pid_t daemon = session.daemonPid();
    ASSERT_NE(0, daemon);
    host::bus().setMethodCallTimeout(100'000);
    kill(daemon, SIGSTOP);
    EXPECT_EQ(NOTIFICATION_ERROR_SERVICE_NOT_READY, post(nullptr, "hangs"));
    EXPECT_EQ(nullptr, load(kTag));
    EXPECT_EQ(NOTIFICATION_ERROR_SERVICE_NOT_READY, get_last_result());
    EXPECT_EQ(NOTIFICATION_ERROR_NOT_EXIST_ID, notification_delete(newNoti().get()));
    EXPECT_EQ(
        NOTIFICATION_ERROR_SERVICE_NOT_READY, notification_delete_all(NOTIFICATION_TYPE_ONGOING));
    kill(daemon, SIGCONT);
    host::bus().setMethodCallTimeout(10'000'000);
}

TEST_F(NotificationTest, ACardIsShownAsText)
{
    postCard(kTag, requestFor(kEcho), requestFor(kOther));
    post(nullptr, "nonsense", NOTIFICATION_TEXT_TYPE_EXTENSION);
    post("\x1b[2J", "\x1b[31mred\u009b\u202e\nnext");

    EXPECT_THAT(shown(),
        MatchesRegex("[-0-9]+ [:0-9]+  com.velmora.test-poster  upcoming\n"
                     "  Upcoming alarm\n  7:30\n  Sun & Mon\n  1: Turn off\n"
                     ".*  com.velmora.test-poster  -\n  com.velmora.test-poster\n"
                     ".*  com.velmora.test-poster  .\\[2J\n  .\\[31mred[?][?]\n  next\n"));
    EXPECT_THAT(shown(), Not(HasSubstr("\x1b")));
}

TEST_F(NotificationTest, TapAndButtonLaunchWhatTheCardSays)
{
    postCard(kTag, requestFor(kEcho, "tapped"), requestFor(kOther, "turn off"));

    EXPECT_EQ("handed over to com.velmora.test-echo\n", hostctl({ "tray", "tap", kTag }).out);
    expectLines(echo, std::string("request ") + APP_CONTROL_OPERATION_DEFAULT + " tapped");
    EXPECT_TRUE(other.lines().empty());

    EXPECT_EQ(
        "handed over to com.velmora.test-other\n", hostctl({ "tray", "button", kTag, "1" }).out);
    expectLines(other, std::string("request ") + APP_CONTROL_OPERATION_DEFAULT + " turn off");
    expectRequests(echo, { "tapped" });
}

TEST_F(NotificationTest, APressThatFindsTheApplicationDeadIsForANewProcess)
{
    launch(kEcho, "first");
    expectRequests(echo, { "first" });
    postCard(kTag, requestFor(kEcho));
    const pid_t daemon = session.daemonPid();
    const pid_t dead = session.pidOf(kEcho);
    ASSERT_TRUE(daemon != 0 && dead != 0);
    std::string taken;
    auto tray = sdbus::createProxy(host::bus(), host::kDaemonName, host::kDaemonPath);

    // hostd hears of the press before it hears of the application's end.
    kill(daemon, SIGSTOP);
    tray->callMethodAsync("Press")
        .onInterface("com.velmora.host.Tray")
        .withArguments(std::string(kTag), std::int32_t{ 0 })
        .uponReplyInvoke([&](const sdbus::Error* error, const std::string& application) {
            taken = error ? error->getMessage() : application;
        });
    EXPECT_EQ(dead, session.pidOf(kEcho)); // answered when the bus has passed the call on
    kill(dead, SIGKILL);
    EXPECT_TRUE(session.waitFor([&] { return session.pidOf(kEcho) == 0; }));
    kill(daemon, SIGCONT);

    EXPECT_TRUE(session.waitFor([&] { return !taken.empty(); }));
    EXPECT_EQ(kEcho, taken);
    expectRequests(echo, { "first", "pressed" });
    expectLines(echo, "create", 2);
}

TEST_F(NotificationTest, WhatACardMayNotLaunchIsRefused)
{
    expectRefusal({ "tray", "tap", kTag }, "no notification has the tag upcoming");

    postCard(kTag, "nonsense", requestFor(kEcho));
    expectRefusal({ "tray", "tap", kTag }, "it has no request that can be read");
    expectRefusal({ "tray", "button", kTag, "2" }, "it has no button 2");
    EXPECT_THAT(session.logText(), HasSubstr("launches nothing: it has no button 2"));

    postCard(kTag, "", requestFor(""));
    expectRefusal({ "tray", "tap", kTag }, "it has no request that can be read");
    expectRefusal({ "tray", "button", kTag, "1" }, "its request names no application");

    postCard(kTag, requestFor("com.velmora.alarm-alert"), requestFor("com.velmora.test-none"));
    expectRefusal({ "tray", "tap", kTag }, "com.velmora.alarm-alert is of another package");
    expectRefusal({ "tray", "button", kTag, "1" }, "com.velmora.test-none is not installed");

    post(kTag, "an ordinary one");
    expectRefusal({ "tray", "tap", kTag }, "it has no request that can be read");
}
