#include "PhoneConversation.h"

#include "PhoneMessage.h"
#include "PhoneMirror.h"

#include <AlarmJsonBuilder.h>
#include <algorithm>
#include <app_preference.h>
#include <dlog.h>

namespace {

const char* const kTag = "alarm-service";

// Which phone the stored alarms are of, and how many of its changes they have. The phone's changes
// are taken again when the number could not be noted.
const char* const kPhoneKey = "phonePairing";
const char* const kSequenceKey = "phoneSequence";
const int kNone = -1;

int noted(const char* key)
{
    int value = kNone;
    (void)preference_get_int(key, &value);
    return value;
}

void note(const char* key, int value)
{
    if (noted(key) != value)
        (void)preference_set_int(key, value);
}

void refuse(const std::string& reason)
{
    dlog_print(DLOG_WARN, kTag, "a phone message is refused: %s", reason.c_str());
}

void logNotStored() { dlog_print(DLOG_ERROR, kTag, "what the phone sent could not be stored"); }

} // namespace

void PhoneConversation::take(const std::string& text)
{
    PhoneMessage message;
    const std::string fault = readPhoneMessage(text, message);
    if (!fault.empty()) {
        refuse(fault);
        return;
    }
    if (!_isAwaited(message)) {
        std::string name;
        AlarmMessage::getId(message.type, name);
        refuse(name + " was not expected");
        return;
    }
    switch (message.type) {
    case AlarmMessage::FirstConnectionReq:
    case AlarmMessage::SequenceReq:
        return _hello(message);
    case AlarmMessage::AlarmListRsp:
        return _list(message);
    case AlarmMessage::MobileUpdateInd:
        return _update(message);
    default:
        return _settled(message);
    }
}

void PhoneConversation::sendChanges()
{
    if (_awaited == Awaited::Nothing)
        _sendUnsynced(AlarmMessage::WatchUpdateInd, Awaited::UpdateAck);
}

void PhoneConversation::_hello(const PhoneMessage& message)
{
    if (!_meet(message.phone))
        return;
    _phoneSequence = message.sequence;
    _sendSequence(message.type == AlarmMessage::FirstConnectionReq
            ? AlarmMessage::FirstConnectionRsp
            : AlarmMessage::SequenceRsp);
    _begin();
}

void PhoneConversation::_list(const PhoneMessage& message)
{
    if (!mirror::takeAll(message.alarms)) {
        logNotStored();
        return;
    }
    note(kSequenceKey, message.sequence);
    _phoneSequence = message.sequence;
    _goOn();
}

// The phone has the changes of the watch.
void PhoneConversation::_settled(const PhoneMessage& message)
{
    const mirror::Settled settled = mirror::settle(_sent);
    if (settled == mirror::Settled::No) {
        logNotStored();
        return;
    }
    _sent.clear();
    _phoneSequence = message.sequence;
    _goOn();
}

// One that comes again, or late, tells nothing new.
void PhoneConversation::_update(const PhoneMessage& message)
{
    const int last = noted(kSequenceKey);
    if (message.sequence > last) {
        if (!mirror::take(message.alarms)) {
            logNotStored();
            return;
        }
        _phoneSequence = std::max(_phoneSequence, message.sequence);
        if (message.sequence == last + 1)
            note(kSequenceKey, message.sequence);
    }
    _sendSequence(AlarmMessage::MobileUpdateAck);
    if (_awaited == Awaited::Nothing)
        _goOn();
}

// Before the phone has said hello nothing counts, and an answer only to what was asked last.
bool PhoneConversation::_isAwaited(const PhoneMessage& message) const
{
    switch (message.type) {
    case AlarmMessage::FirstConnectionReq:
    case AlarmMessage::SequenceReq:
        return true;
    case AlarmMessage::MobileUpdateInd:
        return _awaited != Awaited::Hello;
    case AlarmMessage::AlarmListRsp:
        return _awaited == Awaited::List && message.number == _number;
    case AlarmMessage::ReconnectWatchChangeRsp:
        return _awaited == Awaited::ChangeRsp && message.number == _number;
    default:
        return _awaited == Awaited::UpdateAck && message.number == _number;
    }
}

// Another phone than before: the alarms of that one go, in steps that can be done again.
bool PhoneConversation::_meet(int phone)
{
    if (noted(kPhoneKey) == phone)
        return true;
    note(kSequenceKey, kNone);
    if (!mirror::drop()) {
        logNotStored();
        return false;
    }
    note(kPhoneKey, phone);
    return true;
}

// The watch's changes go first, so that the phone's list has them.
void PhoneConversation::_begin()
{
    _sent.clear();
    _awaited = Awaited::Nothing;
    _sendUnsynced(AlarmMessage::ReconnectWatchChangeReq, Awaited::ChangeRsp);
    if (_awaited == Awaited::Nothing)
        _goOn();
}

void PhoneConversation::_goOn()
{
    _awaited = Awaited::Nothing;
    if (_phoneSequence == noted(kSequenceKey)) {
        sendChanges();
    } else {
        _ask(AlarmMessage::AlarmListReq, Awaited::List);
    }
}

void PhoneConversation::_sendUnsynced(AlarmMessage::Type type, Awaited answer)
{
    _sent = mirror::unsynced();
    if (!_sent.empty())
        _ask(type, answer);
}

void PhoneConversation::_ask(AlarmMessage::Type type, Awaited answer)
{
    AlarmJsonBuilder builder;
    builder.setMessageType(type);
    builder.addIntegerMember("number", ++_number);
    if (!_sent.empty())
        builder.addAlarmList(_sent);
    _awaited = answer;
    _sendMessage(builder);
}

void PhoneConversation::_sendSequence(AlarmMessage::Type type)
{
    AlarmJsonBuilder builder;
    builder.setMessageType(type);
    builder.addIntegerMember("sequence", noted(kSequenceKey));
    _sendMessage(builder);
}

void PhoneConversation::_sendMessage(AlarmJsonBuilder& builder)
{
    std::string text;
    builder.getJsonMessage(text);
    _send(text);
}
