#pragma once

#include <AlarmDbData.h>
#include <AlarmMessage.h>
#include <functional>
#include <string>
#include <vector>

class AlarmJsonBuilder;
struct PhoneMessage;

/**
 * The watch's side of the conversation with its phone, for one connection. The phone says hello;
 * then each side tells the other what it has changed, and the watch asks for the phone's whole list
 * when it has missed a change. A message that the watch cannot read or store is not answered. If
 * the watch was waiting for an answer it stops, since that message may have been the answer; it
 * goes on telling later changes. The next connection makes good what was lost, from the count of
 * the phone's changes and the marks of what was changed on the watch. Main loop only.
 */
class PhoneConversation {
public:
    using Send = std::function<void(const std::string& message)>;

    explicit PhoneConversation(Send send)
        : _send(std::move(send))
    {
    }

    /// Takes a message of the phone.
    void take(const std::string& text);

    /// Logs why a message is refused, and stops waiting for an answer, which it may have been.
    void refuse(const std::string& reason);

    /// Tells the phone what changed on the watch, unless an answer is still to come.
    void sendChanges();

private:
    enum class Awaited { Hello, Nothing, ChangeRsp, List, UpdateAck };

    void _read(const std::string& text);
    void _take(const PhoneMessage& message, const std::vector<AlarmDbData>& alarms);
    void _stopWaiting();
    void _hello(const PhoneMessage& message);
    void _list(const PhoneMessage& message, const std::vector<AlarmDbData>& alarms);
    void _settled(const PhoneMessage& message);
    void _update(const PhoneMessage& message, const std::vector<AlarmDbData>& alarms);

    bool _isAwaited(const PhoneMessage& message) const;
    void _meet(int phone);
    void _begin();
    void _goOn();
    void _sendUnsynced(AlarmMessage::Type type, Awaited answer);
    void _ask(AlarmMessage::Type type, Awaited answer, const std::vector<AlarmDbData>& alarms = {});
    void _sendSequence(AlarmMessage::Type type);
    void _sendMessage(AlarmJsonBuilder& builder);

    Send _send;
    Awaited _awaited = Awaited::Hello;
    int _number = 0; ///< of the last message that wants an answer; the answer has it, too
    int _phoneSequence = 0; ///< how often the phone's alarms have changed, as the phone says
    std::vector<AlarmDbData> _sent; ///< changes that the phone has not acknowledged yet
};
