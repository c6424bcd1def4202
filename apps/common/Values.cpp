#include "common/Values.h"

#include "common/Failure.h"
#include "common/Text.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <HeapText.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const int kDays = 7;
const int kEveryDay = 127;
const char* const kDayNames[kDays] = { "sun", "mon", "tue", "wed", "thu", "fri", "sat" };

bool isDecimal(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// The decimal number that the text is; -1 when it is none or above INT_MAX.
int decimal(const std::string& text)
{
    const size_t longest = 10;
    if (!isDecimal(text) || text.size() > longest)
        return -1;
    const long value = strtol(text.c_str(), nullptr, 10);
    return value <= INT_MAX ? static_cast<int>(value) : -1;
}

int weekday(const std::string& name)
{
    for (int day = 0; day < kDays; ++day) {
        if (name == kDayNames[day])
            return day;
    }
    throw badInput("unknown day " + quoted(name)
        + "; days are mon tue wed thu fri sat sun, as in mon-fri or sat,sun, or daily, or once");
}

// The bits of the weekdays in a text such as "mon" or "fri-mon".
int weekdaysOfRange(const std::string& range)
{
    const size_t dash = range.find('-');
    const int first = weekday(range.substr(0, dash));
    const int last = dash == std::string::npos ? first : weekday(range.substr(dash + 1));
    int bits = 1 << last;
    for (int day = first; day != last; day = (day + 1) % kDays)
        bits |= 1 << day;
    return bits;
}

} // namespace

ClockTime parseClockTime(const std::string& text)
{
    const size_t colon = text.find(':');
    if (colon <= 2 && text.size() == colon + 3) {
        const int hour = decimal(text.substr(0, colon));
        const int minute = decimal(text.substr(colon + 1));
        if (hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59)
            return { hour, minute };
    }
    throw badInput(quoted(text) + " is not a time of day; 00:00 to 23:59 is");
}

Days parseDays(const std::string& text)
{
    if (text == "once")
        return {};
    if (text == "daily")
        return { false, kEveryDay };
    int bits = 0;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find(',', start), text.size());
        bits |= weekdaysOfRange(text.substr(start, end - start));
        start = end + 1;
    }
    return { false, bits };
}

int parseDuration(const std::string& text)
{
    const int longest = 167 * 60 * 60;
    const char unit = text.empty() ? '\0' : text.back();
    const int factor = unit == 's' ? 1 : unit == 'm' ? 60 : unit == 'h' ? 60 * 60 : 0;
    const int count = factor == 0 ? -1 : decimal(text.substr(0, text.size() - 1));
    if (count < 1 || count > longest / factor)
        throw badInput(quoted(text) + " is not a time from now; 5s, 10m or 2h is, up to 167h");
    return count * factor;
}

int parseNumber(const std::string& option, const std::string& text, int lowest, int highest)
{
    const int value = decimal(text);
    if (value < lowest || value > highest) {
        throw badInput(option + " takes a number from " + std::to_string(lowest) + " to "
            + std::to_string(highest) + ", not " + quoted(text));
    }
    return value;
}

int rowIdIn(const std::string& text) { return std::max(decimal(text), 0); }

int parseId(const std::string& text, const std::string& command)
{
    const int id = rowIdIn(text);
    if (id == 0) {
        throw badInput(
            quoted(text) + " is not the id of an alarm; " + command + " list shows the ids");
    }
    return id;
}

std::string parseName(const std::string& text)
{
    if (!isCleanText(text)) {
        throw badInput("a name is UTF-8 text on one line, without control characters or marks that "
                       "reorder it");
    }
    return text;
}

std::string parseTone(const std::string& text)
{
    std::string path = companion::takeText(realpath(text.c_str(), nullptr));
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        throw badInput("there is no tone file " + quoted(text));
    if (!S_ISREG(status.st_mode) || access(path.c_str(), R_OK) != 0)
        throw badInput("the tone " + quoted(text) + " is not a file that can be read");
    if (!isCleanText(path)) {
        throw badInput(
            "the path of a tone is UTF-8 text on one line, without control characters or marks"
            " that reorder it");
    }
    return path;
}

std::string clockText(int hour, int minute)
{
    char text[32];
    snprintf(text, sizeof text, "%02d:%02d", hour, minute);
    return text;
}

std::string daysText(const Days& days)
{
    if (days.once)
        return "once";
    if ((days.weekdays & kEveryDay) == kEveryDay)
        return "daily";
    // Days are named from Monday to Sunday, three or more in a row as a range.
    const auto isSet = [&days](int fromMonday) {
        return fromMonday < kDays && (days.weekdays & 1 << (fromMonday + 1) % kDays) != 0;
    };
    std::string text;
    for (int day = 0; day < kDays;) {
        if (!isSet(day)) {
            ++day;
            continue;
        }
        int end = day + 1;
        while (isSet(end))
            ++end;
        text += (text.empty() ? "" : ",") + std::string(kDayNames[(day + 1) % kDays]);
        if (end - day >= 3) {
            text += "-" + std::string(kDayNames[end % kDays]);
            day = end;
        } else {
            ++day;
        }
    }
    return text;
}

std::string durationText(long seconds)
{
    const long minute = 60;
    const long hour = 60 * minute;
    const long day = 24 * hour;
    const auto part
        = [](long count, const char* unit) { return std::to_string(count) + " " + unit; };
    if (seconds >= minute)
        seconds += minute / 2; // shown in whole minutes
    if (seconds >= day)
        return part(seconds / day, "d ") + part(seconds % day / hour, "h");
    if (seconds >= hour)
        return part(seconds / hour, "h ") + part(seconds % hour / minute, "min");
    if (seconds >= minute)
        return part(seconds / minute, "min");
    return part(seconds, "s");
}
