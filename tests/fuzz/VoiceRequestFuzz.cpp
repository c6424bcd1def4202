#include "AlarmJsonBuilder.h"
#include "AlarmOrvikUtil.h"
#include "common/Failure.h"
#include "common/Json.h"
#include "common/Text.h"
#include "DlogDouble.h"
#include "VoiceRequest.h"

#include <cstdint>
#include <cstdlib>
#include <ctime>

// Any text is a request or refused with a line. A request has values in their ranges, and is read
// again from its own text. The line fits into a reply.

namespace {
using Operation = VoiceRequest::Operation;

void require(bool condition)
{
    if (!condition)
        abort();
}

void requireReply(const std::string& reason)
{
    require(!reason.empty() && isCleanText(reason));
    AlarmJsonBuilder builder;
    std::string description = reason;
    builder.openAlarmByOrvik(false, description);
    std::string reply;
    builder.getJsonMessage(reply);
    require(reply.find('\n') == std::string::npos);
    require(app::parseObject(reply)["description"] == reason);
}

void requireRanges(const VoiceRequest& request)
{
    require(request.time.hour >= 0 && request.time.hour <= 23);
    require(request.time.minute >= 0 && request.time.minute <= 59);
    require(request.days.once == (request.days.weekdays == 0));
    require(request.days.weekdays >= 0 && request.days.weekdays <= 127);
    require(request.name.size() < kLongestVoiceRequest && isCleanText(request.name));
    require(!request.id || *request.id >= 1);
    if (!request.date)
        return;
    require(request.days.once);
    tm normalised = *request.date;
    const time_t day = timegm(&normalised);
    require(day >= 0 && day <= INT32_MAX);
    require(normalised.tm_year == request.date->tm_year);
    require(normalised.tm_mon == request.date->tm_mon);
    require(normalised.tm_mday == request.date->tm_mday);
}

std::string dateText(const tm& date)
{
    char text[16] = {};
    strftime(text, sizeof text, "%Y-%m-%d", &date);
    return text;
}

std::string textOf(const VoiceRequest& request)
{
    app::Json json;
    json["operation"] = request.operation == Operation::Add ? "add"
        : request.operation == Operation::List              ? "list"
                                                            : "open";
    if (request.operation != Operation::Open)
        json["withAlert"] = request.withAlert;
    if (request.id)
        json["id"] = *request.id;
    if (request.operation == Operation::Add) {
        json["time"] = clockText(request.time.hour, request.time.minute);
        json["repeat"] = AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(
            request.days.weekdays, request.days.once ? 1 : 0);
        if (request.date)
            json["date"] = dateText(*request.date);
        json["name"] = request.name;
        json["snoozeDuration"] = request.mayBeSnoozed ? 5 : 0;
        json["withAlarm"] = request.withAlarm;
    }
    return json.dump();
}

void requireSame(const VoiceRequest& read, const VoiceRequest& again)
{
    require(read.operation == again.operation && read.withAlert == again.withAlert);
    require(read.time.hour == again.time.hour && read.time.minute == again.time.minute);
    require(read.date.has_value() == again.date.has_value());
    require(!read.date || dateText(*read.date) == dateText(*again.date));
    require(read.days.once == again.days.once && read.days.weekdays == again.days.weekdays);
    require(read.name == again.name && read.mayBeSnoozed == again.mayBeSnoozed);
    require(read.withAlarm == again.withAlarm && read.id == again.id);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    dlogDouble().lines.clear();
    try {
        const VoiceRequest request
            = readVoiceRequest(std::string(reinterpret_cast<const char*>(data), size));
        requireRanges(request);
        const std::string text = textOf(request);
        if (text.size() <= kLongestVoiceRequest) // with every member it may be longer
            requireSame(request, readVoiceRequest(text));
    } catch (const Failure& failure) {
        require(failure.status() == Failure::kBadInput);
        requireReply(failure.what());
    }
    return 0;
}
