#include "common/LineConnection.h"
#include "common/LocalSocket.h"
#include "common/PhoneLink.h"
#include "PhoneStory.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <unistd.h>

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const char* const kVendorKey = "db/wms/host_status/vendor";
const char* const kWishKey = "db/alarm/host_alarm_notification_enabled";
const char* const kLinkKey = "memory/private/vap/conn_type";

} // namespace

class PhoneTest : public PhoneStory {
protected:
    void connectWithThreeAlarms()
    {
        connectPhone();
        phone({ "add", "07:30", "--days", "mon-fri", "--name", "Work" });
        phone({ "add", "09:00", "--days", "sat,sun", "--name", "Late" });
        phone({ "add", "12:15", "--days", "daily", "--name", "Lunch" });
        expectSame();
    }

    std::string rowOf(const std::string& name, const std::string& columns)
    {
        return store->query("SELECT " + columns + " FROM alarm WHERE name = ?", name);
    }
};

TEST_F(PhoneTest, AlarmsOfThePhoneShowAndRing)
{
    connectWithThreeAlarms();
    phone({ "add", "--in", "4s", "--name", "Now" });
    expectSame();

    EXPECT_EQ(4U, alarmsOnWatch().size());
    EXPECT_THAT(alarmOutput({ "list", "--plain" }), HasSubstr("phone   Work\n"));
    EXPECT_THAT(alarmOutput({ "show", std::to_string(idOf("Work")) }), HasSubstr("phone\n"));
    ASSERT_TRUE(waitForRing(idOf("Now")));
    dismiss();
    expectSame();
    EXPECT_THAT(phone({ "list" }), EndsWith("off  Now\n"));
}

TEST_F(PhoneTest, AlarmsMadeBeforeTheFirstConnectionAreMirrored)
{
    phone({ "add", "07:30", "--name", "Before" });
    phone({ "pair" });
    phone({ "add", "08:30", "--name", "Between" });
    EXPECT_THAT(alarmsOnWatch(), IsEmpty());

    phone({ "connect" });

    expectSame();
    EXPECT_THAT(
        alarmsOnWatch(), ElementsAre("07:30  once  on  Before", "08:30  once  on  Between"));
}

TEST_F(PhoneTest, EveryChangeWhileConnectedReachesTheOtherSide)
{
    connectWithThreeAlarms();

    phone({ "edit", "1", "06:45", "--name", "Early" });
    phone({ "off", "2" });
    phone({ "remove", "3" });
    expectSame();
    EXPECT_THAT(
        alarmsOnWatch(), ElementsAre("06:45  mon-fri  on  Early", "09:00  sat,sun  off  Late"));

    alarmOutput({ "edit", std::to_string(idOf("Early")), "--days", "daily" });
    alarmOutput({ "on", std::to_string(idOf("Late")) });
    expectSame();
    EXPECT_THAT(
        alarmsOnPhone(), ElementsAre("06:45  daily  on  Early", "09:00  sat,sun  on  Late"));

    alarmOutput({ "remove", std::to_string(idOf("Late")) });
    expectSame();
    EXPECT_THAT(alarmsOnPhone(), ElementsAre("06:45  daily  on  Early"));
    EXPECT_EQ("1", store->query("SELECT count(*) FROM alarm"));
}

TEST_F(PhoneTest, OffLineEditsOfBothSidesMeet)
{
    connectWithThreeAlarms();
    phone({ "disconnect" });

    alarmOutput({ "edit", std::to_string(idOf("Work")), "06:00" });
    alarmOutput({ "remove", std::to_string(idOf("Late")) });
    phone({ "edit", "3", "--name", "Dinner", "19:00" });
    phone({ "add", "22:00", "--name", "Bed" });
    EXPECT_EQ("1 0", rowOf("Work", "isNeedToSync, isDeleted"));
    EXPECT_EQ("1 1", rowOf("Late", "isNeedToSync, isDeleted"));
    EXPECT_THAT(alarmOutput({ "list", "--plain" }), Not(HasSubstr("Late")));
    phone({ "connect" });

    expectSame();
    EXPECT_THAT(alarmsOnPhone(),
        ElementsAre(
            "06:00  mon-fri  on  Work", "19:00  daily  on  Dinner", "22:00  once  on  Bed"));
    EXPECT_EQ("3", store->query("SELECT count(*) FROM alarm"));
}

TEST_F(PhoneTest, TheLaterOfTwoOffLineEditsOfAnAlarmCounts)
{
    connectWithThreeAlarms();
    const std::string work = std::to_string(idOf("Work"));
    const std::string late = std::to_string(idOf("Late"));
    const std::string lunch = std::to_string(idOf("Lunch"));
    phone({ "disconnect" });

    phone({ "edit", "1", "06:00" });
    alarmOutput({ "edit", work, "05:00" });
    alarmOutput({ "edit", late, "10:00" });
    phone({ "edit", "2", "11:00" });
    alarmOutput({ "remove", lunch });
    phone({ "off", "3" });
    phone({ "connect" });

    expectSame();
    EXPECT_THAT(alarmsOnPhone(),
        ElementsAre(
            "05:00  mon-fri  on  Work", "11:00  sat,sun  on  Late", "12:15  daily  off  Lunch"));
}

TEST_F(PhoneTest, AlarmRingsWhileThePhoneIsAway)
{
    connectPhone();
    phone({ "add", "--in", "3s", "--name", "Away" });
    expectSame();
    phone({ "disconnect" });

    ASSERT_TRUE(waitForRing(idOf("Away")));
    dismiss();
    EXPECT_EQ("0 1", rowOf("Away", "enable, isNeedToSync"));
    EXPECT_THAT(phone({ "list" }), EndsWith("on  Away\n"));
    phone({ "connect" });

    expectSame();
    EXPECT_THAT(phone({ "list" }), EndsWith("off  Away\n"));
    EXPECT_EQ(1, countRings(idOf("Away")));
}

TEST_F(PhoneTest, AlarmsOfAnotherMakersPhoneShowAndDoNotRing)
{
    phone({ "pair", "--vendor", "Velmora" });
    phone({ "connect" });
    phone({ "add", "07:30", "--name", "Theirs" });
    expectSame();
    EXPECT_EQ("", registered());

    session.setKey(kVendorKey, std::string("velmora"));
    EXPECT_TRUE(waitUntilRegistered("Theirs"));
    session.setKey(kVendorKey, std::string("velmora "));
    EXPECT_TRUE(waitUntilRegistered(""));
}

TEST_F(PhoneTest, AlarmsRingAsTheUserWishes)
{
    connectWithThreeAlarms();
    EXPECT_TRUE(session.waitFor([this] { return session.alarms().size() == 3; }));

    session.setKey(kWishKey, false);
    EXPECT_TRUE(waitUntilRegistered(""));
    phone({ "edit", "1", "06:00" });
    alarmOutput({ "edit", std::to_string(idOf("Late")), "10:00" });
    expectSame();
    EXPECT_EQ("", registered());

    session.setKey(kWishKey, true);
    EXPECT_TRUE(session.waitFor([this] {
        const std::string names = registered();
        return std::count(names.begin(), names.end(), ',') == 2;
    }));
    EXPECT_EQ(3U, session.alarms().size());
}

TEST_F(PhoneTest, DeletedAlarmIsNotRegisteredWhileThePhoneHasNotHeard)
{
    connectWithThreeAlarms();
    phone({ "disconnect" });
    alarmOutput({ "remove", std::to_string(idOf("Work")) });

    session.setKey(kWishKey, false);
    EXPECT_TRUE(waitUntilRegistered(""));
    session.setKey(kWishKey, true);

    EXPECT_TRUE(session.waitFor([this] { return session.alarms().size() == 2; }));
    EXPECT_TRUE(session.waitFor([this] { return rowOf("Work", "alarm_mgr_id") == "-1"; }));
    phone({ "connect" });
    expectSame();
    EXPECT_EQ(2U, session.alarms().size());
}

// Here the test is the watch.
TEST_F(PhoneTest, ListHasThePhonesOwnAlarmsAndNoOthers)
{
    phone({ "add", "07:30", "--name", "Own" });
    phone({ "pair" });
    const int listener = app::listenIn(app::phoneSocketFolder(), app::kPhoneSocket);
    ASSERT_GE(listener, 0);
    BackgroundCommand command({ "phone", "connect" });
    int socket = -1;
    ASSERT_TRUE(session.waitFor([&] { return (socket = app::acceptFrom(listener)) >= 0; }));
    std::vector<std::string> received;
    app::LineConnection::Callbacks callbacks;
    callbacks.line = [&received](const std::string& line) { received.push_back(line); };
    callbacks.end = [] { FAIL() << "the phone went"; };
    app::LineConnection watch(socket, 1 << 20, callbacks);

    watch.send(R"({"msgId":"alarm-first-connection-rsp","sequence":-1})");
    watch.send(R"({"msgId":"alarm-list-req","number":1,"list":[{"uuid":"u","title":"Other"}]})");

    EXPECT_TRUE(session.waitFor([&received] { return received.size() == 2; }));
    EXPECT_EQ("alarm-list-rsp 1 Own",
        store->query("SELECT json_extract(text, '$.msgId'), json_array_length(text, '$.list'),"
                     " json_extract(text, '$.list[0].title') FROM (SELECT ? AS text)",
            received.back()));
    EXPECT_EQ(0, command.finish().status);
    close(listener);
}

TEST_F(PhoneTest, AnotherPhonesAlarmsTakeThePlaceOfTheFormerOnes)
{
    connectWithThreeAlarms();
    const int own = addAlarm({ "05:00", "--name", "Own" });
    phone({ "disconnect" });
    alarmOutput({ "off", std::to_string(idOf("Work")) });

    phone({ "pair" });
    phone({ "connect" });

    expectSame();
    EXPECT_EQ(3U, alarmsOnWatch().size());
    EXPECT_EQ("1", rowOf("Work", "enable"));
    EXPECT_EQ(own, idOf("Own"));
    EXPECT_EQ(4U, session.alarms().size());
}

TEST_F(PhoneTest, LinkThatBreaksIsTakenUpAgain)
{
    connectWithThreeAlarms();
    const pid_t service = session.pidOf("com.velmora.alarm-service");

    session.setKey(kLinkKey, 0);
    ASSERT_TRUE(waitForLog("the phone is away"));
    alarmOutput({ "off", std::to_string(idOf("Work")) });
    session.setKey(kLinkKey, 1);

    expectSame();
    EXPECT_EQ(service, session.pidOf("com.velmora.alarm-service"));
    EXPECT_THAT(phone({ "log" }), HasSubstr("the link is lost"));
}

TEST_F(PhoneTest, NobodyConnectsWhileTheLinkIsDown)
{
    connectWithThreeAlarms();

    session.setKey(kLinkKey, 0);
    ASSERT_TRUE(waitForLog("the phone is away"));

    EXPECT_FALSE(session.waitFor(
        [this] { return session.logText().find("somebody connects while") != std::string::npos; },
        0.5));
    const std::string log = phone({ "log" });
    EXPECT_EQ(log.find("the link is lost"), log.rfind("the link is lost"));
    phone({ "connect" });
    expectSame();
}

TEST_F(PhoneTest, SnoozeOnTheWatchLeavesThePhonesEdit)
{
    connectPhone();
    phone({ "add", "--in", "3s", "--name", "Now" });
    expectSame();
    phone({ "disconnect" });
    phone({ "edit", "1", "--name", "Later" });
    ASSERT_TRUE(waitForRing(idOf("Now")));

    alarmOutput({ "snooze" });
    EXPECT_EQ("1 0", rowOf("Now", "count, isNeedToSync"));
    phone({ "connect" });

    expectSame();
    EXPECT_THAT(phone({ "list" }), EndsWith("on  Later\n"));
    EXPECT_EQ("1", rowOf("Later", "count"));
}

TEST_F(PhoneTest, RemovalOnTheWatchIsLaterThanThePhonesEditBeforeIt)
{
    connectWithThreeAlarms();
    phone({ "disconnect" });

    phone({ "edit", "1", "06:00" });
    alarmOutput({ "remove", std::to_string(idOf("Work")) });
    phone({ "connect" });

    expectSame();
    EXPECT_THAT(
        alarmsOnPhone(), ElementsAre("09:00  sat,sun  on  Late", "12:15  daily  on  Lunch"));
}

TEST_F(PhoneTest, WhatThePhoneCannotStoreIsNotDone)
{
    phone({ "add", "07:30", "--name", "Work" });
    const std::string path = storePath();
    const std::string blocked = path.substr(0, path.rfind('/')) + "/phone.json.new";
    std::filesystem::create_directory(blocked);

    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             { "add", "08:00" }, { "edit", "1", "08:00" }, { "remove", "1" }, { "pair" } }) {
        const CommandResult result = tryPhone(command);
        EXPECT_EQ(1, result.status) << command.front();
        EXPECT_EQ("phone: the phone's alarms cannot be stored\n", result.err);
    }

    EXPECT_EQ("1  07:30  once  on  Work\n", phone({ "list" }));
    EXPECT_EQ("phone: the phone is not paired; phone pair does it\n", tryPhone({ "connect" }).err);
    std::filesystem::remove(blocked);
    EXPECT_EQ("2  08:00  once  on\n", phone({ "add", "08:00" }));
}

// The service is started again by the phone, which finds the link lost.
TEST_F(PhoneTest, NothingIsLostOrDoubledWhenTheServiceIsKilledBeforeAnAcknowledgement)
{
    connectWithThreeAlarms();
    const int rounds = 4;
    for (int i = 0; i < rounds; ++i) {
        // It has the phone's message, and does not come to read it.
        kill(session.pidOf("com.velmora.alarm-service"), SIGSTOP);
        phone({ "add", "08:00", "--days", "daily", "--name", "Round " + std::to_string(i) });
        killService();
        expectSame();

        // The phone does not come to read what it is told.
        const pid_t device = session.pidOf("com.velmora.alarm-phone");
        kill(device, SIGSTOP);
        alarmOutput({ "edit", std::to_string(idOf("Late")), i % 2 == 0 ? "09:30" : "09:00" });
        EXPECT_EQ("1", rowOf("Late", "isNeedToSync"));
        killService();
        kill(device, SIGCONT);
        expectSame();
    }
    EXPECT_EQ(3U + rounds, alarmsOnWatch().size());
    EXPECT_EQ(3U + rounds, session.alarms().size()) << "each with a row";
    const std::string all = registered();
    EXPECT_EQ(2 + rounds, std::count(all.begin(), all.end(), ','));
}

TEST_F(PhoneTest, NothingIsLostOrDoubledWhenTheServiceIsKilledAtAnyMoment)
{
    connectWithThreeAlarms();
    const int rounds = 24;
    for (int i = 0; i < rounds; ++i) {
        const std::string name = "Round " + std::to_string(i);
        if (i % 2 == 0) {
            phone({ "add", "08:00", "--days", "daily", "--name", name });
        } else {
            const bool isOdd = i % 4 == 1;
            alarmOutput({ "edit", std::to_string(idOf("Work")), "--days", isOdd ? "fri" : "sat" });
            alarmOutput({ "edit", std::to_string(idOf("Late")), "--volume", std::to_string(i % 15),
                isOdd ? "09:30" : "09:00" });
        }
        usleep(static_cast<useconds_t>(i * 1500));
        killService();
        expectSame();
    }
    const size_t rows = 3 + rounds / 2;
    EXPECT_EQ(rows, alarmsOnWatch().size());
    const std::string all = registered();
    EXPECT_EQ(rows - 1, static_cast<size_t>(std::count(all.begin(), all.end(), ',')));
    EXPECT_LE(session.alarms().size(), rows + rounds) << "at most one without a row for each kill";
}

TEST_F(PhoneTest, NothingIsLostWhenThePhoneIsKilled)
{
    connectWithThreeAlarms();
    kill(session.pidOf("com.velmora.alarm-phone"), SIGKILL);
    alarmOutput({ "off", std::to_string(idOf("Work")) });

    ASSERT_TRUE(session.waitFor([this] { return session.pidOf("com.velmora.alarm-phone") == 0; }));
    phone({ "connect" });

    expectSame();
    EXPECT_EQ(3U, alarmsOnPhone().size());
    EXPECT_EQ("0", rowOf("Work", "enable"));
}

TEST_F(PhoneTest, MessageLostInItsMiddleIsMadeGood)
{
    connectWithThreeAlarms();
    const TempDir files;
    std::ofstream(files.file("half")) << R"({"msgId":"alarm-mobile-update-ind","sequen)";

    EXPECT_EQ("42 bytes sent\n", phone({ "send", files.file("half") }));
    phone({ "edit", "1", "06:00" }); // goes behind the half one, and is lost with it
    phone({ "disconnect" });
    phone({ "connect" });

    expectSame();
    EXPECT_THAT(alarmsOnWatch(), Contains("06:00  mon-fri  on  Work"));
}

TEST_F(PhoneTest, LogHasTheConversation)
{
    connectPhone();
    phone({ "add", "07:30", "--name", "Work" });
    expectSame();

    const std::string log = phone({ "log" });
    EXPECT_THAT(log,
        HasSubstr("phone -> watch  {\n"
                  "      \"msgId\":\"alarm-first-connection-req\",\n"));
    EXPECT_THAT(log,
        HasSubstr("watch -> phone  {\n"
                  "      \"msgId\":\"alarm-list-req\",\n"));
    EXPECT_THAT(log, HasSubstr("\"title\":\"Work\",\"alarm_time\":730,"));
}

TEST_F(PhoneTest, CommandsThatAreWrongAreRefusedInOneLine)
{
    phone({ "add", "07:30" });
    const struct {
        std::vector<std::string> command;
        std::string reason;
    } rows[] = {
        { {}, "no command; commands are pair, " },
        { { "ring" }, "unknown command \"ring\"; commands are pair, " },
        { { "pair", "velmora" }, "there is no use for \"velmora\"" },
        { { "pair", "--vendor" }, "--vendor needs a value" },
        { { "connect", "now" }, "there is no use for \"now\"" },
        { { "add" }, "add needs a time of day" },
        { { "add", "24:00" }, "\"24:00\" is not a time of day" },
        { { "add", "07:30", "--in", "5s" }, "an alarm has either a time of day or --in" },
        { { "add", "--in", "5s", "--days", "daily" }, "--in makes an alarm that rings once" },
        { { "add", "07:30", "--tone", "x" }, "unknown option \"--tone\"" },
        { { "add", "07:30", "--name" }, "--name needs a value" },
        { { "add", "07:30", "--name", std::string(1001, 'n') }, "a name has at most 1000 bytes" },
        { { "edit" }, "which alarm?" },
        { { "edit", "2", "08:00" }, "there is no alarm 2" },
        { { "edit", "1" }, "edit needs something to change" },
        { { "edit", "x", "08:00" }, "\"x\" is not the id of an alarm; phone list shows the ids" },
        { { "remove", "x" }, "\"x\" is not the id" },
        { { "on", "1", "2" }, "there is no use for \"2\"" },
        { { "off", "0" }, "\"0\" is not the id" },
        { { "list", "all" }, "there is no use for \"all\"" },
        { { "log", "all" }, "there is no use for \"all\"" },
        { { "disconnect", "now" }, "there is no use for \"now\"" },
        { { "send" }, "send needs a file" },
        { { "send", "/no/such/file" }, "the file \"/no/such/file\" cannot be read" },
        { { "send", "/" }, "the file \"/\" cannot be read" },
    };
    for (const auto& row : rows) {
        const CommandResult result = tryPhone(row.command);
        EXPECT_EQ(2, result.status) << row.reason;
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, StartsWith("phone: " + row.reason));
        EXPECT_EQ(result.err.size() - 1, result.err.find('\n')) << result.err;
    }
    EXPECT_EQ("1  07:30  once  on\n", phone({ "list" }));
}

TEST_F(PhoneTest, NoMoreAlarmsAreAddedThanTheWatchTakes)
{
    const std::string path = storePath();
    std::ofstream file(path.substr(0, path.rfind('/')) + "/phone.json");
    file << R"({"pairing":1,"sequence":1000,"met":false,"list":[)";
    for (int i = 1; i <= 1000; ++i) {
        file << (i > 1 ? "," : "") << R"({"uuid":"u)" << i
             << R"(","alarm_time":730,"enable":true,"repeat_type":5,"modified_time":1})";
    }
    file << "]}";
    file.close();

    const CommandResult result = tryPhone({ "add", "08:00" });
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("phone: there are 1000 alarms, and the watch takes no more\n", result.err);
    phone({ "edit", "1000", "08:00" });
    phone({ "remove", "1" });
    EXPECT_EQ("1001  09:00  once  on\n", phone({ "add", "09:00" }));
    EXPECT_EQ(2, tryPhone({ "add", "10:00" }).status);

    phone({ "connect" });
    EXPECT_TRUE(
        session.waitFor([this] { return store->query("SELECT count(*) FROM alarm") == "1000"; }));
}

TEST_F(PhoneTest, OneShotKeepsItsDayWhenItIsSwitched)
{
    connectPhone();
    phone({ "add", "--in", "100h", "--name", "Far" });
    expectSame();
    const std::string instant = rowOf("Far", "mobileAlertTime");

    phone({ "off", "1" });
    expectSame();
    EXPECT_EQ(instant, rowOf("Far", "mobileAlertTime"));
    phone({ "on", "1" });
    expectSame();
    EXPECT_EQ(instant, rowOf("Far", "mobileAlertTime"));
}

TEST_F(PhoneTest, WhatCannotBeDoneFails)
{
    const CommandResult unpaired = tryPhone({ "connect" });
    EXPECT_EQ(1, unpaired.status);
    EXPECT_EQ("phone: the phone is not paired; phone pair does it\n", unpaired.err);

    const CommandResult unconnected = tryPhone({ "send", "/proc/self/status" });
    EXPECT_EQ(1, unconnected.status);
    EXPECT_EQ("phone: the phone is not connected; phone connect does it\n", unconnected.err);

    const CommandResult outside = runCommand({ "env", "-u", "DBUS_SESSION_BUS_ADDRESS",
        "XDG_RUNTIME_DIR=/nonexistent", "phone", "list" });
    EXPECT_EQ(1, outside.status);
    EXPECT_EQ("phone: the phone cannot be reached; is this a session?\n", outside.err);
}

TEST_F(PhoneTest, HelpIsPrinted)
{
    EXPECT_THAT(phone({ "--help" }), StartsWith("phone: a simulated phone"));
}
