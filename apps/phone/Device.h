#pragma once

#include "common/LineConnection.h"
#include "PhoneBook.h"
#include "TalkLog.h"

#include <AlarmMessage.h>
#include <Ecore.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/**
 * The simulated phone: its alarms, and its end of the link to the watch. connect() sets the
 * device's settings that say that a phone is near. While they say so, the phone starts the watch's
 * service when nobody listens, and connects again whenever the connection is lost. Main loop only.
 */
class Device {
public:
    Device() = default;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device();

    const PhoneBook& book() const { return _book; }
    const TalkLog& log() const { return _log; }

    /// Becomes the watch's phone, of that maker, as if the two had never met. It is not connected
    /// then.
    void pair(const std::string& vendor);
    void connect();
    void disconnect();
    /// Whether the watch has answered on this connection.
    bool isHeard() const { return _isHeard; }
    bool isConnected() const { return _connection != nullptr; }

    /// Changes by the phone's user. The watch is told at once when it is connected, else later.
    int add(const AlarmDbData& alarm);
    void change(int number, const AlarmDbData& alarm);

    /// Sends the bytes as they are. The phone must be connected.
    void send(const std::string& bytes);

private:
    static unsigned char _tryCb(void* data);
    template <typename Action>
    void _attempt(Action action);
    void _drop();
    void _try();
    void _hear(const std::string& text);
    void _sayList(int number);
    void _tell(int number);
    void _say(AlarmMessage::Type type, std::optional<int> number = std::nullopt,
        const std::vector<AlarmDbData>* alarms = nullptr);

    PhoneBook _book;
    TalkLog _log;
    std::unique_ptr<app::LineConnection> _connection;
    Ecore_Timer* _timer = nullptr; ///< runs while the phone tries to connect
    bool _isHeard = false;
};
