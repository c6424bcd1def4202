#include "Voice.h"

#include "common/Failure.h"
#include "StoredAlarms.h"
#include "VoiceAlarm.h"
#include "VoiceRequest.h"

#include <AlarmJsonBuilder.h>
#include <AlarmSaving.h>
#include <cstdio>
#include <PhoneAlarms.h>

namespace {

/// There is an alarm that rings as the new one would.
class SameAlarm : public Failure {
public:
    explicit SameAlarm(const AlarmDbData& existing)
        : Failure(kFailed, "alarm " + std::to_string(existing.id) + " rings at that time already")
        , alarm(existing)
    {
    }

    const AlarmDbData alarm;
};

void print(AlarmJsonBuilder& reply)
{
    std::string text;
    reply.getJsonMessage(text);
    puts(text.c_str());
}

bool rings(const AlarmDbData& alarm, time_t now)
{
    return alarm.enable && !companion::isSilent(alarm, now);
}

void replyToAdd(
    const VoiceRequest& request, const AlarmDbData& alarm, bool success, std::string description)
{
    const time_t now = companion::currentTime();
    AlarmDbData described = recordForReply(alarm, now);
    AlarmJsonBuilder reply;
    reply.addAlarmByOrvik(
        described, success, description, request.withAlarm, request.withAlert, rings(alarm, now));
    print(reply);
}

AlarmDbData save(const VoiceRequest& request)
{
    companion::AlarmSaving saving;
    AlarmDbData alarm = companion::newAlarm();
    // The edit has the turn to save, so no other process adds the same alarm after the look.
    const auto edit = [&request](AlarmDbData& made, time_t now) {
        setAsAsked(made, request, now);
        for (const AlarmDbData& stored : storedAlarms()) {
            if (ringsInsteadOf(made, stored, now))
                throw SameAlarm(stored);
        }
        return true;
    };
    check(saving.add(alarm, edit), alarm.id);
    check(saving.commit(), alarm.id);
    return alarm;
}

void add(const VoiceRequest& request)
{
    AlarmDbData alarm;
    try {
        alarm = save(request);
    } catch (const SameAlarm& same) {
        replyToAdd(request, same.alarm, false, "SameAlarmExist");
        throw;
    } catch (const Failure& failure) {
        replyToAdd(request, alarm, false, failure.what());
        throw;
    }
    replyToAdd(request, alarm, true, "");
}

void replyToList(const VoiceRequest& request, std::vector<AlarmDbData> alarms, bool success,
    std::string description)
{
    const time_t now = companion::currentTime();
    bool alert = false;
    for (AlarmDbData& alarm : alarms) {
        alert = alert || rings(alarm, now);
        alarm = recordForReply(alarm, now);
    }
    AlarmJsonBuilder reply;
    reply.addAlarmListByOrvik(alarms, success, description, request.withAlert, alert);
    print(reply);
}

void list(const VoiceRequest& request)
{
    std::vector<AlarmDbData> alarms;
    try {
        alarms = request.id ? std::vector<AlarmDbData>{ storedAlarm(*request.id) } : storedAlarms();
    } catch (const Failure& failure) {
        replyToList(request, {}, false, failure.what());
        throw;
    }
    replyToList(request, alarms, true, "");
}

void replyToOpen(bool success, std::string description)
{
    AlarmJsonBuilder reply;
    reply.openAlarmByOrvik(success, description);
    print(reply);
}

VoiceRequest requestOf(const std::string& text)
{
    try {
        return readVoiceRequest(text);
    } catch (const Failure& failure) {
        const Failure refused(
            failure.status(), std::string("the request is refused: ") + failure.what());
        replyToOpen(false, refused.what());
        throw refused;
    }
}

} // namespace

void answerVoice(const std::string& text)
{
    const VoiceRequest request = requestOf(text);
    switch (request.operation) {
    case VoiceRequest::Operation::Open:
        replyToOpen(true, "");
        break;
    case VoiceRequest::Operation::Add:
        companion::start();
        add(request);
        break;
    case VoiceRequest::Operation::List:
        companion::start();
        list(request);
        break;
    }
}
