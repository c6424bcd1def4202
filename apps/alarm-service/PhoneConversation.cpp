#include "PhoneConversation.h"

#include "common/Failure.h"
#include "PhoneMessage.h"
#include "PhoneMirror.h"

#include <AlarmJsonBuilder.h>
#include <algorithm>
#include <app_preference.h>
#include <dlog.h>

namespace {

const char* const kTag = "alarm-service";

// Preferences: the phone whose alarms are stored, and how many of its changes these alarms include.
// Each is written after the alarms. One that cannot be read is never guessed: the watch could drop
// all alarms of its phone by mistake.
const char* const kPhoneKey = "phonePairing";
const char* const kSequenceKey = "phoneSequence";
const int kNone = -1;

int noted(const char* key)
{
    int value = kNone;
    const int error = preference_get_int(key, &value);
    if (error == PREFERENCE_ERROR_NONE)
        return value;
    if (error == PREFERENCE_ERROR_NO_KEY)
        return kNone;
    throw Failure(Failure::kFailed, std::string(key) + " cannot be read");
}

void note(const char* key, int value)
{
    if (noted(key) != value && preference_set_int(key, value) != PREFERENCE_ERROR_NONE)
        throw Failure(Failure::kFailed, std::string(key) + " cannot be noted");
}

void checkStored(bool isStored)
{
    if (!isStored)
        throw Failure(Failure::kFailed, "what the phone sent could not be stored");
}

} // namespace

void PhoneConversation::take(const std::string& text)
{
    try {
        _read(text);
    } catch (const Failure& failure) {
        if (failure.status() == Failure::kBadInput) {
            refuse(failure.what());
        } else {
            dlog_print(DLOG_ERROR, kTag, "%s", failure.what());
            _stopWaiting();
        }
    }
}

void PhoneConversation::refuse(const std::string& reason)
{
    dlog_print(DLOG_WARN, kTag, "a phone message is refused: %s", reason.c_str());
    _stopWaiting();
}

void PhoneConversation::sendChanges()
{
    if (_awaited == Awaited::Nothing)
        _sendUnsynced(AlarmMessage::WatchUpdateInd, Awaited::UpdateAck);
}

void PhoneConversation::_read(const std::string& text)
{
    const PhoneMessage message = readPhoneMessage(text);
    if (_isAwaited(message)) {
        _take(message, readPhoneAlarms(text, message));
        return;
    }
    std::string name;
    AlarmMessage::getId(message.type, name);
    dlog_print(DLOG_WARN, kTag, "a phone message is refused: %s was not expected", name.c_str());
}

void PhoneConversation::_take(const PhoneMessage& message, const std::vector<AlarmDbData>& alarms)
{
    switch (message.type) {
    case AlarmMessage::FirstConnectionReq:
    case AlarmMessage::SequenceReq:
        return _hello(message);
    case AlarmMessage::AlarmListRsp:
        return _list(message, alarms);
    case AlarmMessage::MobileUpdateInd:
        return _update(message, alarms);
    default:
        return _settled(message);
    }
}

// The message that was not taken may have been the awaited answer, and no second one would come.
void PhoneConversation::_stopWaiting()
{
    if (_awaited != Awaited::Hello)
        _awaited = Awaited::Nothing;
}

void PhoneConversation::_hello(const PhoneMessage& message)
{
    _meet(message.phone);
    _phoneSequence = message.sequence;
    _sendSequence(message.type == AlarmMessage::FirstConnectionReq
            ? AlarmMessage::FirstConnectionRsp
            : AlarmMessage::SequenceRsp);
    _begin();
}

void PhoneConversation::_list(const PhoneMessage& message, const std::vector<AlarmDbData>& alarms)
{
    checkStored(mirror::takeAll(alarms));
    note(kSequenceKey, message.sequence);
    _phoneSequence = message.sequence;
    _goOn();
}

// The phone acknowledges the watch's changes.
void PhoneConversation::_settled(const PhoneMessage& message)
{
    checkStored(mirror::settle(_sent) != mirror::Settled::No);
    _sent.clear();
    _phoneSequence = message.sequence;
    _goOn();
}

// An update that comes twice, or late, has no higher sequence and changes nothing.
void PhoneConversation::_update(const PhoneMessage& message, const std::vector<AlarmDbData>& alarms)
{
    const int last = noted(kSequenceKey);
    if (message.sequence > last) {
        checkStored(mirror::take(alarms));
        _phoneSequence = std::max(_phoneSequence, message.sequence);
        if (message.sequence == last + 1)
            note(kSequenceKey, message.sequence);
    }
    _sendSequence(AlarmMessage::MobileUpdateAck);
    if (_awaited == Awaited::Nothing)
        _goOn();
}

// Before hello nothing else is expected; after it, of all answers only the one to the last
// question.
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

// For another phone than before, drops the alarms of the former. If the process is killed between
// two steps, the next hello does all of them again.
void PhoneConversation::_meet(int phone)
{
    if (noted(kPhoneKey) == phone)
        return;
    note(kSequenceKey, kNone);
    checkStored(mirror::drop());
    note(kPhoneKey, phone);
}

// The watch's changes are sent before it asks for the phone's list, so that the list includes them.
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
        _ask(type, answer, _sent);
}

void PhoneConversation::_ask(
    AlarmMessage::Type type, Awaited answer, const std::vector<AlarmDbData>& alarms)
{
    AlarmJsonBuilder builder;
    builder.setMessageType(type);
    builder.addIntegerMember("number", ++_number);
    if (!alarms.empty()) {
        std::vector<AlarmDbData> list = alarms;
        builder.addAlarmList(list);
    }
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
