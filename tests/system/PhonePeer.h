#pragma once

#include "common/LineConnection.h"
#include "PhoneStory.h"

#include <ctime>
#include <deque>
#include <memory>

/// A phone alarm as its messages have it.
struct PhoneAlarm {
    std::string uuid;
    std::string title;
    int time = 730;
    int modified = 1;
    bool isDeleted = false;
    long long alert = 0; ///< milliseconds
    int repeat = 0x11111115; ///< daily

    std::string json() const;
};

const PhoneAlarm kWork = { "u1", "Work", 730 };
const PhoneAlarm kLate = { "u2", "Late", 900 };

const time_t kDay = 24L * 60 * 60; ///< seconds

/// An alarm that rings once, so many seconds from now.
PhoneAlarm oneShotIn(time_t seconds);
PhoneAlarm changed(PhoneAlarm alarm, int time, int modified);

/// How often the part is in the text.
size_t count(const std::string& text, const std::string& part);

/// The watch's side alone: the test is the phone, and says what it likes.
class PhonePeer : public PhoneStory {
protected:
    /// The link is up, the phone of the watch's make, and the service there.
    PhonePeer();

    /// Connects; a connection that there was ends.
    void connect();
    void disconnect() { _connection.reset(); }
    bool waitUntilDisconnected();

    void send(const std::string& line) { _connection->send(line); }
    void sendBytes(const std::string& bytes) { _connection->sendBytes(bytes); }
    void sayHello(const std::string& kind, int sequence, int phone = 1);
    void sendList(int number, int sequence, const std::vector<PhoneAlarm>& alarms);
    void sendUpdate(int sequence, const PhoneAlarm& alarm);
    void sendAnswer(const std::string& kind, int number, int sequence);

    /// The next message of the watch, "" when none comes.
    std::string receive(double seconds = 10);
    /// Its kind and the number in it, such as "alarm-list-req 1".
    std::string receiveKind(double seconds = 10);
    /// That it says nothing now: what is sent is answered, and nothing before.
    void expectSilence(double seconds = 10);

    /// Connects for the first time, with that list.
    void meet(int sequence, const std::vector<PhoneAlarm>& alarms);

    /// The phone alarms in the store by name: uuid, hour, minute, and whether unsynced or deleted.
    std::string stored();
    std::string rowOf(const std::string& name, const std::string& columns);

    pid_t service() { return session.pidOf("com.velmora.alarm-service"); }
    void killAndWait();

private:
    std::deque<std::string> _received;
    bool _isConnected = false;
    std::unique_ptr<app::LineConnection> _connection;
};
