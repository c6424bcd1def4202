#include "PhonePeer.h"

#include "common/LocalSocket.h"
#include "common/PhoneLink.h"

#include <algorithm>

namespace {

const size_t kLongestLine = 16 << 20;

std::string listOf(const std::vector<PhoneAlarm>& alarms)
{
    std::string list;
    for (const PhoneAlarm& alarm : alarms)
        list += (list.empty() ? "" : ",") + alarm.json();
    return "\"list\":[" + list + "]";
}

std::string withNumber(const std::string& name, int value)
{
    return ",\"" + name + "\":" + std::to_string(value);
}

} // namespace

std::string PhoneAlarm::json() const
{
    return R"({"uuid":")" + uuid + R"(","title":")" + title + R"(","alarm_time":)"
        + std::to_string(time) + R"(,"alerttime":)" + std::to_string(alert)
        + R"(,"created_time":1,"modified_time":)" + std::to_string(modified)
        + R"(,"enable":true,"repeat_type":)" + std::to_string(repeat) + R"(,"is_deleted":)"
        + (isDeleted ? "true}" : "false}");
}

PhoneAlarm changed(PhoneAlarm alarm, int time, int modified)
{
    alarm.time = time;
    alarm.modified = modified;
    return alarm;
}

PhoneAlarm oneShotIn(time_t seconds)
{
    PhoneAlarm alarm = { "once", "Once" };
    const time_t instant = time(nullptr) + seconds;
    tm local = {};
    localtime_r(&instant, &local);
    alarm.time = 100 * local.tm_hour + local.tm_min;
    alarm.alert = 1000LL * instant;
    alarm.repeat = 1;
    return alarm;
}

size_t count(const std::string& text, const std::string& part)
{
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

PhonePeer::PhonePeer()
{
    session.setKey("db/wms/host_status/vendor", std::string("velmora"));
    session.setKey("memory/private/vap/conn_type", 1);
    session.setKey("memory/wms/wmanager_connected", true);
}

void PhonePeer::connect()
{
    const auto wakeService = [] {
        runCommand({ "hostctl", "launch", "com.velmora.alarm-service" });
    };
    _received.clear();
    int socket = -1;
    session.waitFor([&] {
        socket = app::connectIn(app::phoneSocketFolder(), app::kPhoneSocket);
        if (socket < 0)
            wakeService();
        return socket >= 0;
    });
    app::LineConnection::Callbacks callbacks;
    callbacks.line = [this](const std::string& line) { _received.push_back(line); };
    callbacks.tooLong = [] { FAIL() << "the watch's message is too long"; };
    callbacks.end = [this] {
        _isConnected = false;
        _connection.reset();
    };
    _isConnected = true;
    _connection = std::make_unique<app::LineConnection>(socket, kLongestLine, callbacks);
}

bool PhonePeer::waitUntilDisconnected()
{
    return session.waitFor([this] { return !_isConnected; });
}

void PhonePeer::sayHello(const std::string& kind, int sequence, int phone)
{
    send(R"({"msgId":"alarm-)" + kind + "\"" + withNumber("phone", phone)
        + withNumber("sequence", sequence) + "}");
}

void PhonePeer::sendList(int number, int sequence, const std::vector<PhoneAlarm>& alarms)
{
    send(R"({"msgId":"alarm-list-rsp")" + withNumber("number", number)
        + withNumber("sequence", sequence) + "," + listOf(alarms) + "}");
}

void PhonePeer::sendUpdate(int sequence, const PhoneAlarm& alarm)
{
    send(R"({"msgId":"alarm-mobile-update-ind")" + withNumber("sequence", sequence) + ","
        + listOf({ alarm }) + "}");
}

void PhonePeer::sendAnswer(const std::string& kind, int number, int sequence)
{
    send(R"({"msgId":"alarm-)" + kind + "\"" + withNumber("number", number)
        + withNumber("sequence", sequence) + "}");
}

std::string PhonePeer::receive(double seconds)
{
    if (!session.waitFor([this] { return !_received.empty(); }, seconds))
        return "";
    std::string line = _received.front();
    _received.pop_front();
    return line;
}

std::string PhonePeer::receiveKind(double seconds)
{
    return store->query("SELECT substr(json_extract(text, '$.msgId'), 7), coalesce("
                        "json_extract(text, '$.number'), json_extract(text, '$.sequence'))"
                        " FROM (SELECT ? AS text)",
        receive(seconds));
}

void PhonePeer::expectSilence(double seconds)
{
    EXPECT_THAT(_received, testing::IsEmpty());
    // A change that the watch has is acknowledged, and changes nothing.
    const int known = 0;
    sendUpdate(known, { "known", "Known" });
    EXPECT_THAT(receiveKind(seconds), testing::StartsWith("mobile-update-ack "));
    EXPECT_THAT(_received, testing::IsEmpty());
}

void PhonePeer::meet(int sequence, const std::vector<PhoneAlarm>& alarms)
{
    connect();
    sayHello("first-connection-req", sequence);
    EXPECT_EQ("first-connection-rsp -1", receiveKind());
    EXPECT_EQ("list-req 1", receiveKind());
    sendList(1, sequence, alarms);
    expectSilence();
}

std::string PhonePeer::stored()
{
    return store->query("SELECT name || ' ' || uuid || ' ' || (100 * hour + min)"
                        " || CASE isNeedToSync WHEN 1 THEN ' unsynced' ELSE '' END"
                        " || CASE isDeleted WHEN 1 THEN ' deleted' ELSE '' END"
                        " FROM alarm WHERE deviceType = 1 ORDER BY name");
}

std::string PhonePeer::rowOf(const std::string& name, const std::string& columns)
{
    return store->query("SELECT " + columns + " FROM alarm WHERE name = ?", name);
}

void PhonePeer::killAndWait()
{
    killService();
    ASSERT_TRUE(waitUntilDisconnected());
    ASSERT_TRUE(session.waitFor([this] { return service() == 0; }));
}
