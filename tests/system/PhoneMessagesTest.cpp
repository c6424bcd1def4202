#include "common/LocalSocket.h"
#include "common/PhoneLink.h"
#include "NoMoreFiles.h"
#include "PhonePeer.h"

#include <fstream>
#include <unistd.h>

using testing::HasSubstr;

namespace {

// An update with the alarm {MEMBERS}, in which from is replaced by to.
std::string update(const std::string& from, const std::string& to)
{
    std::string text = R"({"msgId":"alarm-mobile-update-ind","sequence":2,"list":[)"
        + PhoneAlarm{ "u3", "New" }.json() + "]}";
    const size_t at = text.find(from);
    return at == std::string::npos ? "" : text.replace(at, from.size(), to);
}

// The processor time that the process has used.
long ticksOf(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string word;
    for (int i = 0; i < 13; ++i)
        file >> word;
    long user = 0;
    long system = 0;
    file >> user >> system;
    return user + system;
}

} // namespace

class PhoneMessagesTest : public PhonePeer {
protected:
    /// Sends it; it must be refused for that reason, in one line, and change nothing.
    void expectRefused(const std::string& line, const std::string& reason)
    {
        const size_t before = count(session.logText(), "a phone message is refused: ");
        const std::string rows = store->version();
        send(line);
        expectSilence();
        const std::string text = session.logText();
        EXPECT_EQ(before + 1, count(text, "a phone message is refused: ")) << reason;
        EXPECT_THAT(text.substr(text.rfind("a phone message is refused: ")),
            testing::StartsWith("a phone message is refused: " + reason + "\n"));
        EXPECT_EQ(rows, store->version()) << reason;
    }
};

// PhoneMessageTest has every reason for which a text is refused.
TEST_F(PhoneMessagesTest, WhatIsNoMessageIsRefused)
{
    meet(1, { kWork });
    const pid_t before = service();
    const struct {
        std::string text;
        const char* reason;
    } rows[] = {
        { "", "it is not one JSON object" },
        { R"({"msgId":'alarm-sequence-req'})", "it is not JSON at byte 10" },
        { std::string(R"({"msgId":"a)") + '\0' + R"("})", "it is not JSON at byte 12" },
        { R"({"a":)" + std::string(100000, '['), "it is nested too deep" },
        { R"({"msgId":"alarm-list-rsp","number":1,"sequence":1,"list":[]})",
            "alarm-list-rsp was not expected" },
        { R"({"msgId":"alarm-watch-update-ack","number":1,"sequence":1})",
            "alarm-watch-update-ack was not expected" },
        { R"({"msgId":"alarm-reconnect-watch-change-rsp","number":1,"sequence":1})",
            "alarm-reconnect-watch-change-rsp was not expected" },
        { update("730", "760"), "alarm_time is out of range" },
        { update("]}", "," + PhoneAlarm{ "u4", "Other" }.json() + ",7]}"),
            "list has an element that is no object" },
    };
    for (const auto& row : rows)
        expectRefused(row.text, row.reason);
    EXPECT_EQ("Work u1 730", stored());
    EXPECT_EQ(before, service());
}

TEST_F(PhoneMessagesTest, ListsAndLinesThatAreTooLongAreRefused)
{
    meet(1, { kWork });
    const pid_t before = service();
    std::string list = R"({"msgId":"alarm-mobile-update-ind","sequence":2,"list":[{})";
    for (int i = 0; i < 1000; ++i)
        list += ",{}";
    expectRefused(list + "]}", "list has more than 1000 alarms");
    std::string line = "{}";
    line.resize(10000000, ' ');
    expectRefused(line, "it is longer than 8388608 bytes");
    std::string many = R"({"msgId":"alarm-list-rsp","number":1,"sequence":2,"list":[)";
    for (int i = 0; i < 100000; ++i)
        many += PhoneAlarm{ "u" + std::to_string(i), "Many" }.json() + ',';
    many.back() = ']';
    expectRefused(many + "}", "it is longer than 8388608 bytes");
    EXPECT_EQ("Work u1 730", stored());
    EXPECT_EQ(before, service());
}

TEST_F(PhoneMessagesTest, LongListIsRefusedInOneLine)
{
    meet(1, { kWork });
    const std::string mark = "(" + std::to_string(service()) + "): "; // other processes log, too
    const auto countLines = [&] { return count(session.logText(), mark); };
    expectSilence(); // by then it has logged what came before
    const size_t before = countLines();
    expectSilence();
    const size_t ofSilence = countLines() - before;
    std::string list = R"("sequence":2,"list":[{})";
    for (int i = 1; i < 100000; ++i)
        list += ",{}";
    const std::string most = R"("sequence":2,"list":[)" + kWork.json() + "," + kLate.json() + "]}";
    const std::pair<std::string, std::string> rows[] = {
        { R"({"msgId":"alarm-mobile-update-ind",)" + list + "]}",
            "list has more than 1000 alarms" },
        { R"({"msgId":"alarm-sequence-req",)" + list + "]}", "there is no phone" },
        { R"({"msgId":"alarm-list-rsp","number":9,)" + most, "alarm-list-rsp was not expected" },
        { "{" + list, "it is not JSON at byte " + std::to_string(1 + list.size() + 1) },
    };
    for (const auto& [line, reason] : rows) {
        const size_t so = countLines();
        expectRefused(line, reason);
        EXPECT_EQ(so + 1 + ofSilence, countLines()) << reason;
    }
}

TEST_F(PhoneMessagesTest, ListBehindWhichMoreFollowsRemovesNothing)
{
    meet(1, { kWork });
    size_t refusals = 0;
    for (const char* more : { "[{}]", "[", "{}", "7" }) {
        sendUpdate(9, kLate); // some were missed, so the watch asks
        EXPECT_EQ("mobile-update-ack 1", receiveKind());
        const std::string kind = receiveKind();
        ASSERT_THAT(kind, testing::StartsWith("list-req "));
        send(R"({"msgId":"alarm-list-rsp","number":)" + kind.substr(9) + R"(,"sequence":9,"list":[)"
            + kWork.json() + "]}" + more);
        const std::string refused = "a phone message is refused: it is";
        ++refusals;
        ASSERT_TRUE(session.waitFor([&] { return count(session.logText(), refused) == refusals; }));
        EXPECT_EQ("Late u2 900,Work u1 730", stored()) << more;
    }
}

// Our own builder writes one, and a single odd alarm must not keep the others from the watch.
TEST_F(PhoneMessagesTest, WeeklyAlarmOnNoDayIsStoredSwitchedOff)
{
    meet(1, { kWork });
    send(update("286331157", "5"));
    EXPECT_EQ("mobile-update-ack 2", receiveKind());
    EXPECT_EQ("New u3 730,Work u1 730", stored());
    EXPECT_EQ("0 -1", store->query("SELECT enable, alarm_mgr_id FROM alarm WHERE name = 'New'"));
    EXPECT_EQ(1U, session.alarms().size());
}

TEST_F(PhoneMessagesTest, MostAlarmsOfFullSizeAreTaken)
{
    std::string title;
    for (int i = 0; i < 1000; ++i)
        title += "\\u0041";
    std::vector<PhoneAlarm> alarms(1000);
    for (size_t i = 0; i < alarms.size(); ++i)
        alarms[i] = { std::string(60, 'u') + std::to_string(1000 + i), title, 730 };
    session.setKey("db/alarm/host_alarm_notification_enabled", false);

    connect();
    sayHello("first-connection-req", 1);
    EXPECT_EQ("first-connection-rsp -1", receiveKind());
    EXPECT_EQ("list-req 1", receiveKind());
    sendList(1, 1, alarms);
    expectSilence(60);

    EXPECT_EQ("1000 1000", store->query("SELECT count(*), min(length(name)) FROM alarm"));
}

TEST_F(PhoneMessagesTest, ChangesAreToldAfterAnAnswerThatWasRefused)
{
    meet(1, { kWork });
    alarmOutput({ "edit", std::to_string(idOf("Work")), "06:00" });
    EXPECT_EQ("watch-update-ind 2", receiveKind());
    send(R"({"msgId":"alarm-watch-update-ack","number":2})");
    ASSERT_TRUE(waitForLog("a phone message is refused: there is no sequence"));

    alarmOutput({ "edit", std::to_string(idOf("Work")), "05:00" });

    EXPECT_EQ("watch-update-ind 3", receiveKind());
    sendAnswer("watch-update-ack", 3, 1);
    expectSilence();
    EXPECT_EQ("Work u1 500", stored());
}

TEST_F(PhoneMessagesTest, ListIsAskedForWithoutTheChangesOfARefusedAcknowledgement)
{
    meet(1, { kWork });
    alarmOutput({ "edit", std::to_string(idOf("Work")), "06:00" });
    EXPECT_EQ("watch-update-ind 2", receiveKind());
    send(R"({"msgId":"alarm-watch-update-ack","number":2})");

    sendUpdate(3, kLate);

    EXPECT_EQ("mobile-update-ack 1", receiveKind());
    EXPECT_EQ(R"({"msgId":"alarm-list-req","number":3})", receive());
    sendList(3, 3, { kWork, kLate });
    EXPECT_EQ("watch-update-ind 4", receiveKind());
    EXPECT_EQ("Late u2 900,Work u1 600 unsynced", stored());
}

TEST_F(PhoneMessagesTest, ListThatWasRefusedIsAskedForWithTheNextUpdate)
{
    connect();
    sayHello("first-connection-req", 1);
    EXPECT_EQ("first-connection-rsp -1", receiveKind());
    EXPECT_EQ("list-req 1", receiveKind());
    send(R"({"msgId":"alarm-list-rsp","number":1,"sequence":1,"list":[{}]})");
    ASSERT_TRUE(waitForLog("a phone message is refused: there is no uuid"));

    sendUpdate(2, kLate);

    EXPECT_EQ("mobile-update-ack -1", receiveKind());
    EXPECT_EQ("list-req 2", receiveKind());
    sendList(2, 2, { kWork, kLate });
    expectSilence();
    EXPECT_EQ("Late u2 900,Work u1 730", stored());
}

TEST_F(PhoneMessagesTest, NothingCountsBeforeHello)
{
    connect();
    sendUpdate(1, kWork);
    sendList(1, 1, { kWork });
    ASSERT_TRUE(waitForLog("alarm-mobile-update-ind was not expected"));
    ASSERT_TRUE(waitForLog("alarm-list-rsp was not expected"));

    sayHello("first-connection-req", 0);

    EXPECT_EQ("first-connection-rsp -1", receiveKind());
    EXPECT_EQ("", stored());
}

TEST_F(PhoneMessagesTest, HalfAMessageIsNone)
{
    meet(1, { oneShotIn(kDay) });
    const pid_t before = service();
    const std::string alarms = stored();
    const std::string whole
        = R"({"msgId":"alarm-mobile-update-ind","sequence":2,"list":[)" + kLate.json() + "]}\n";

    sendBytes(whole.substr(0, 90)); // and silence
    const int own = addAlarm({ "--in", "1h" });
    ASSERT_TRUE(waitForLog("upcoming alarm " + std::to_string(own)));
    EXPECT_EQ(alarms, stored());
    disconnect();
    ASSERT_TRUE(waitForLog("the phone is away"));
    connect();
    sayHello("sequence-req", 1);
    EXPECT_EQ("sequence-rsp 1", receiveKind());

    sendBytes(whole.substr(0, 90));
    sendBytes(whole.substr(90));
    EXPECT_EQ("mobile-update-ack 2", receiveKind());
    EXPECT_EQ("Late u2 900," + alarms, stored());
    EXPECT_EQ(before, service());
}

TEST_F(PhoneMessagesTest, DoubledAndLateUpdatesChangeNothing)
{
    meet(1, { kWork });
    sendUpdate(2, changed(kWork, 800, 2));
    sendUpdate(3, changed(kWork, 900, 3));
    EXPECT_EQ("mobile-update-ack 2", receiveKind());
    EXPECT_EQ("mobile-update-ack 3", receiveKind());
    const std::string version = store->version();

    sendUpdate(3, changed(kWork, 900, 3));
    sendUpdate(2, changed(kWork, 800, 2));
    EXPECT_EQ("mobile-update-ack 3", receiveKind());
    EXPECT_EQ("mobile-update-ack 3", receiveKind());

    expectSilence();
    EXPECT_EQ("Work u1 900", stored());
    EXPECT_EQ(version, store->version());
}

TEST_F(PhoneMessagesTest, MissedUpdateMakesTheWatchAskForTheList)
{
    meet(1, { kWork });

    sendUpdate(3, kLate);
    EXPECT_EQ("mobile-update-ack 1", receiveKind());
    EXPECT_EQ("list-req 2", receiveKind());
    sendList(1, 1, {}); // an earlier answer, late
    ASSERT_TRUE(waitForLog("alarm-list-rsp was not expected"));
    sendList(2, 3, { changed(kWork, 800, 2), kLate });

    expectSilence();
    EXPECT_EQ("Late u2 900,Work u1 800", stored());
}

TEST_F(PhoneMessagesTest, WholeListReplacesTheWatchsCopy)
{
    meet(5, { kWork, kLate });
    connect();

    sayHello("sequence-req", 2); // as a phone does that was restored from a backup
    EXPECT_EQ("sequence-rsp 5", receiveKind());
    EXPECT_EQ("list-req 1", receiveKind());
    sendList(1, 2, { changed(kLate, 1000, 0), { "u3", "New" } });

    expectSilence();
    EXPECT_EQ("Late u2 1000,New u3 730", stored());
    EXPECT_EQ(2U, session.alarms().size());
}

TEST_F(PhoneMessagesTest, WatchTellsItsChangeUntilItIsAcknowledged)
{
    meet(1, { kWork, kLate });
    alarmOutput({ "edit", std::to_string(idOf("Work")), "06:00" });
    const std::string told = receive();
    EXPECT_THAT(told,
        HasSubstr(R"("alarm-watch-update-ind","number":2,"list":[{"uuid":"u1","title":"Work",)"
                  R"("alarm_time":600,)"));
    killAndWait();
    alarmOutput({ "remove", std::to_string(idOf("Late")) });
    EXPECT_EQ("Late u2 900 unsynced deleted,Work u1 600 unsynced", stored());

    connect();
    sayHello("sequence-req", 1);
    EXPECT_EQ("sequence-rsp 1", receiveKind());
    const std::string again = receive();
    EXPECT_THAT(again, HasSubstr(R"("alarm-reconnect-watch-change-req")"));
    EXPECT_EQ("u1 0,u2 1",
        store->query("SELECT json_extract(value, '$.uuid'), json_extract(value,"
                     " '$.is_deleted') FROM json_each(?, '$.list') ORDER BY 1",
            again));
    sendAnswer("watch-update-ack", 2, 1); // of an earlier connection
    ASSERT_TRUE(waitForLog("alarm-watch-update-ack was not expected"));
    EXPECT_EQ("Late u2 900 unsynced deleted,Work u1 600 unsynced", stored());
    sendAnswer("reconnect-watch-change-rsp", 1, 1);

    expectSilence();
    EXPECT_EQ("Work u1 600", stored());
    sendAnswer("reconnect-watch-change-rsp", 1, 1);
    EXPECT_TRUE(waitForLog("alarm-reconnect-watch-change-rsp was not expected"));
}

TEST_F(PhoneMessagesTest, AcknowledgementOfAnEarlierChangeDoesNotSettleALaterOne)
{
    meet(1, { kWork });
    alarmOutput({ "edit", std::to_string(idOf("Work")), "06:00" });
    EXPECT_EQ("watch-update-ind 2", receiveKind());
    alarmOutput({ "edit", std::to_string(idOf("Work")), "05:00" });

    sendAnswer("watch-update-ack", 2, 1);

    EXPECT_EQ("watch-update-ind 3", receiveKind());
    sendAnswer("watch-update-ack", 2, 1);
    ASSERT_TRUE(waitForLog("alarm-watch-update-ack was not expected"));
    EXPECT_EQ("Work u1 500 unsynced", stored());
    sendAnswer("watch-update-ack", 3, 1);
    expectSilence();
    EXPECT_EQ("Work u1 500", stored());
}

TEST_F(PhoneMessagesTest, UpdateThatComesWhileTheWatchWaitsIsTakenAtOnce)
{
    meet(1, { kWork });
    alarmOutput({ "edit", std::to_string(idOf("Work")), "06:00" });
    EXPECT_EQ("watch-update-ind 2", receiveKind());

    sendUpdate(2, kLate);
    sendUpdate(3, changed(kWork, 900, 2)); // older than the watch's own change
    EXPECT_EQ("mobile-update-ack 2", receiveKind());
    EXPECT_EQ("mobile-update-ack 3", receiveKind());
    EXPECT_EQ("Late u2 900,Work u1 600 unsynced", stored());

    sendAnswer("watch-update-ack", 2, 4); // the phone has merged it
    EXPECT_EQ("list-req 3", receiveKind());
}

TEST_F(PhoneMessagesTest, UpdateWhoseAcknowledgementIsLostIsNotStoredTwice)
{
    meet(1, { kWork });
    sendUpdate(2, kLate);
    ASSERT_TRUE(session.waitFor([this] { return idOf("Late") > 0; }));
    killAndWait();

    connect();
    sayHello("sequence-req", 2);
    const std::string answer = receiveKind();
    if (answer == "sequence-rsp 1") { // killed before the number was noted
        EXPECT_EQ("list-req 1", receiveKind());
        sendList(1, 2, { kWork, kLate });
    }

    expectSilence();
    EXPECT_EQ("Late u2 900,Work u1 730", stored());
    EXPECT_EQ("Late,Work",
        store->query("SELECT name FROM alarm WHERE alarm_mgr_id > 0"
                     " ORDER BY name"));
}

TEST_F(PhoneMessagesTest, DeletedAlarmGoesAndALateUpdateDoesNotBringItBack)
{
    meet(1, { kWork, kLate });
    PhoneAlarm deleted = changed(kLate, 900, 2);
    deleted.isDeleted = true;
    sendUpdate(2, deleted);
    EXPECT_EQ("mobile-update-ack 2", receiveKind());
    sendUpdate(1, kLate);
    EXPECT_EQ("mobile-update-ack 2", receiveKind());
    deleted.uuid = "never heard of";
    sendUpdate(3, deleted);
    EXPECT_EQ("mobile-update-ack 3", receiveKind());

    EXPECT_EQ("Work u1 730", stored());
    EXPECT_EQ(1U, session.alarms().size());
}

TEST_F(PhoneMessagesTest, AnotherPhoneBeginsAnew)
{
    meet(1, { kWork });
    alarmOutput({ "off", std::to_string(idOf("Work")) });
    connect();

    sayHello("sequence-req", 1, 2);

    EXPECT_EQ("sequence-rsp -1", receiveKind());
    EXPECT_EQ("list-req 1", receiveKind());
    EXPECT_EQ("", stored());
    EXPECT_EQ(0U, session.alarms().size());
}

TEST_F(PhoneMessagesTest, NewConnectionTakesThePlaceOfTheFormer)
{
    meet(1, { kWork });
    const int socket = app::connectIn(app::phoneSocketFolder(), app::kPhoneSocket);
    ASSERT_GE(socket, 0);
    EXPECT_TRUE(waitUntilDisconnected());
    close(socket);
}

TEST_F(PhoneMessagesTest, NobodyIsHeardWhileTheLinkIsDown)
{
    meet(1, { kWork });
    session.setKey("memory/wms/wmanager_connected", false);
    EXPECT_TRUE(waitUntilDisconnected());

    connect();

    EXPECT_TRUE(waitUntilDisconnected());
    EXPECT_TRUE(waitForLog("somebody connects while the phone's link is down"));
}

TEST_F(PhoneMessagesTest, PeerThatNeverReadsKeepsNobodyWaiting)
{
    meet(1, { oneShotIn(kDay) });
    const int socket = app::connectIn(app::phoneSocketFolder(), app::kPhoneSocket);
    ASSERT_GE(socket, 0);
    ASSERT_TRUE(waitUntilDisconnected());
    const std::string line = R"({"msgId":"alarm-sequence-req","phone":1,"sequence":1})"
                             "\n";
    std::string lines;
    for (int i = 0; i < 1000; ++i)
        lines += line;
    // Until the service takes no more, or has had far more than the sockets hold.
    for (int i = 0; i < 200; ++i) {
        (void)write(socket, lines.data(), lines.size());
        session.waitFor([] { return false; }, 0.005);
    }

    const int own = addAlarm({ "--in", "1h" });
    EXPECT_TRUE(waitForLog("upcoming alarm " + std::to_string(own)));
    connect();
    sayHello("sequence-req", 1);
    EXPECT_EQ("sequence-rsp 1", receiveKind());
    close(socket);
}

TEST_F(PhoneMessagesTest, ServiceRestsWhileItCanOpenNoMoreFiles)
{
    meet(1, { kWork });
    const pid_t pid = service();
    int socket = -1;
    {
        const NoMoreFiles full(pid);
        socket = app::connectIn(app::phoneSocketFolder(), app::kPhoneSocket);
        ASSERT_GE(socket, 0);
        ASSERT_TRUE(waitForLog("the phone cannot connect now: Too many open files"));

        const long ticks = ticksOf(pid);
        session.waitFor([] { return false; }, 1.5);
        EXPECT_LT(ticksOf(pid) - ticks, sysconf(_SC_CLK_TCK) / 3);
        EXPECT_LE(count(session.logText(), "the phone cannot connect now"), 4U);
    }
    EXPECT_TRUE(waitUntilDisconnected()) << "in whose place the new one comes";
    close(socket);
}
