#pragma once

#include "common/LineConnection.h"
#include "PhoneBook.h"
#include "TalkLog.h"

#include <AlarmMessage.h>
#include <Ecore.h>
#include <memory>
#include <string>

/**
 * The phone: its alarms, and its end of the link. While it is to be connected it keeps the device's
 * settings so, wakes the watch's service, and connects again whenever the link was lost. Main loop
 * only.
 */
class Device {
public:
    Device() = default;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device();

    const PhoneBook& book() const { return _book; }
    const TalkLog& log() const { return _log; }

    /// Becomes the watch's phone, of that maker, for the first time.
    void pair(const std::string& vendor);
    void connect();
    void disconnect();
    /// Whether the watch has answered on this connection.
    bool isHeard() const { return _isHeard; }
    bool isConnected() const { return _connection != nullptr; }

    /// Changes of the phone's user: the watch is told when it is near.
    int add(const AlarmDbData& alarm);
    void change(int number, const AlarmDbData& alarm);

    /// Sends bytes as they are; nowhere when it is not connected.
    void send(const std::string& bytes);

private:
    static unsigned char _tryCb(void* data);
    void _drop();
    void _try();
    void _hear(const std::string& text);
    void _tell(int number);
    void _say(
        AlarmMessage::Type type, int number = 0, const std::vector<AlarmDbData>* alarms = nullptr);

    PhoneBook _book;
    TalkLog _log;
    std::unique_ptr<app::LineConnection> _connection;
    Ecore_Timer* _timer = nullptr; ///< while it tries to connect
    bool _isHeard = false;
};
