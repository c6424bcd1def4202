#pragma once

#include <AlarmDbData.h>
#include <AlarmMessage.h>
#include <functional>
#include <string>
#include <vector>

class AlarmJsonBuilder;
struct PhoneMessage;

/**
 * What the watch says to its phone and hears from it, from one connection to its end. The phone
 * says hello; then each side tells the other what changed, and the watch asks for the phone's whole
 * list when it has missed something. What the watch cannot read or store is not answered, nor
 * waited for if it may have been an answer; later changes are told as ever, and the next connection
 * begins with what both know: the count of the phone's changes, and the alarms that are marked as
 * changed on the watch. Main loop only.
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

    /// Logs why a message cannot be taken. If it was the answer that is awaited, that is given up.
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
    int _number = 0; ///< of the last message that wants an answer, which names it
    int _phoneSequence = 0; ///< what the phone says that it is
    std::vector<AlarmDbData> _sent; ///< the changes that the phone is to acknowledge
};
