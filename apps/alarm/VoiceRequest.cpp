#include "VoiceRequest.h"

#include "common/Failure.h"
#include "common/Json.h"
#include "common/Text.h"

#include <AlarmOrvikUtil.h>
#include <algorithm>
#include <bitset>
#include <climits>
#include <cstdio>
#include <vector>

namespace {

using app::Json;
using app::memberOf;
using app::requiredMember;
using Operation = VoiceRequest::Operation;

const int kSnoozeMinutes = 5; ///< the watch knows no other
const int kFirstYear = 1970;
const int kLastYear = 2037; ///< the last whole one that a record's 32 bits hold

struct Kind {
    const char* name;
    Operation operation;
    std::vector<const char*> members; ///< beside "operation"
};

const Kind& kindOf(const Json& request)
{
    static const std::vector<Kind> kinds = {
        { "open", Operation::Open, {} },
        { "add", Operation::Add,
            { "time", "date", "repeat", "name", "snoozeDuration", "withAlarm", "withAlert" } },
        { "list", Operation::List, { "id", "withAlert" } },
    };
    const auto& name
        = requiredMember(request, "operation", &Json::is_string).get_ref<const std::string&>();
    std::string all;
    for (const Kind& kind : kinds) {
        if (name == kind.name)
            return kind;
        all += std::string(all.empty() ? "" : ", ") + kind.name;
    }
    throw badInput("unknown operation " + quoted(name) + "; operations are " + all);
}

void checkMembers(const Json& request, const Kind& kind)
{
    for (const auto& member : request.items()) {
        const std::string& name = member.key();
        const bool isKnown = name == "operation"
            || std::find(kind.members.begin(), kind.members.end(), name) != kind.members.end();
        if (!isKnown)
            throw badInput(std::string(kind.name) + " has no use for the member " + quoted(name));
    }
}

std::optional<std::string> textOf(const Json& request, const char* name)
{
    const Json* member = memberOf(request, name, &Json::is_string);
    return member ? std::optional<std::string>(member->get<std::string>()) : std::nullopt;
}

bool flagOf(const Json& request, const char* name, bool otherwise)
{
    const Json* member = memberOf(request, name, &Json::is_boolean);
    return member ? member->get<bool>() : otherwise;
}

tm parseDate(const std::string& text)
{
    tm date = {};
    int end = 0;
    const bool isWritten = text.size() == 10 && text.find_first_not_of("0123456789-") == text.npos
        && sscanf(text.c_str(), "%4d-%2d-%2d%n", &date.tm_year, &date.tm_mon, &date.tm_mday, &end)
            == 3
        && end == 10;
    if (isWritten && date.tm_year >= kFirstYear && date.tm_year <= kLastYear) {
        date.tm_year -= 1900;
        date.tm_mon -= 1;
        tm normalised = date;
        (void)timegm(&normalised);
        if (normalised.tm_mon == date.tm_mon) // a day that does not exist is of another month
            return date;
    }
    throw badInput(quoted(text) + " is not a date; one such as 2026-11-23 is, up to the year "
        + std::to_string(kLastYear));
}

// The library passes over what is no day, and takes a day that comes twice for another.
Days parseRepeat(const std::string& text)
{
    const bool isWritten = text.find_first_not_of("01234567, ") == text.npos;
    int once = 0;
    const int days = AlarmOrvikUtil::convertRepeatWeeklyFromOrvikData(text, &once);
    const auto digits
        = std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '7'; });
    const auto read = static_cast<long>(std::bitset<sizeof days * CHAR_BIT>(days).count()) + once;
    if (!isWritten || digits != read || (days == 0) == (once == 0)) {
        throw badInput(quoted(text) + " is not repeat days; they are 0 for once, or some of 1, "
            + "Sunday, to 7, Saturday, with commas between");
    }
    return { once != 0, days };
}

bool parseSnooze(const Json& minutes)
{
    const auto value = minutes.get<int64_t>();
    if (value != 0 && value != kSnoozeMinutes) {
        throw badInput("snoozeDuration is " + std::to_string(kSnoozeMinutes)
            + " minutes, or 0 for an alarm that cannot be snoozed");
    }
    return value != 0;
}

void readAlarm(const Json& request, VoiceRequest& read)
{
    read.time = parseClockTime(
        requiredMember(request, "time", &Json::is_string).get_ref<const std::string&>());
    if (const std::optional<std::string> repeat = textOf(request, "repeat"))
        read.days = parseRepeat(*repeat);
    if (const std::optional<std::string> date = textOf(request, "date")) {
        read.date = parseDate(*date);
        if (!read.days.once)
            throw badInput("an alarm that repeats has no date");
    }
    if (const std::optional<std::string> name = textOf(request, "name"))
        read.name = parseName(*name);
    if (const Json* minutes = memberOf(request, "snoozeDuration", &Json::is_number_integer))
        read.mayBeSnoozed = parseSnooze(*minutes);
    read.withAlarm = flagOf(request, "withAlarm", true);
}

} // namespace

VoiceRequest readVoiceRequest(const std::string& text)
{
    if (text.size() > kLongestVoiceRequest)
        throw badInput("it is longer than " + std::to_string(kLongestVoiceRequest) + " bytes");
    const Json request = app::parseObject(text);
    const Kind& kind = kindOf(request);
    checkMembers(request, kind);
    VoiceRequest read;
    read.operation = kind.operation;
    read.withAlert = flagOf(request, "withAlert", false);
    if (kind.operation == Operation::Add)
        readAlarm(request, read);
    if (const Json* id = memberOf(request, "id", &Json::is_number_integer))
        read.id = static_cast<int>(app::numberOf(*id, "id", 1, INT_MAX));
    return read;
}
