#include "DeviceCommands.h"

#include "common/Failure.h"
#include "common/PhoneLink.h"
#include "common/Text.h"
#include "common/Values.h"
#include "Device.h"

#include <AlarmTime.h>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>

namespace {

const char* const kOurVendor = "velmora";

using Words = std::vector<std::string>;

/// The options of add and edit, each empty when it was not given.
struct Options {
    std::optional<ClockTime> time;
    std::optional<int> inSeconds;
    std::optional<Days> days;
    std::optional<std::string> name;

    bool isEmpty() const { return !time && !inSeconds && !days && !name; }
};

Failure unusable(const std::string& word)
{
    return badInput("there is no use for " + quoted(word) + "; phone --help shows how it goes");
}

std::string takeWord(Words& words, const std::string& missing)
{
    if (words.empty())
        throw badInput(missing);
    std::string word = words.front();
    words.erase(words.begin());
    return word;
}

void takeNoMore(const Words& words)
{
    if (!words.empty())
        throw unusable(words.front());
}

std::string parseTitle(const std::string& text)
{
    if (text.size() > app::kLongestTitle)
        throw badInput("a name has at most " + std::to_string(app::kLongestTitle) + " bytes");
    return parseName(text);
}

Options takeOptions(Words words)
{
    Options options;
    while (!words.empty()) {
        const std::string word = takeWord(words, "");
        if (word.rfind("--", 0) != 0) {
            options.time = parseClockTime(word);
            continue;
        }
        const std::string value = takeWord(words, word + " needs a value");
        if (word == "--in") {
            options.inSeconds = parseDuration(value);
        } else if (word == "--days") {
            options.days = parseDays(value);
        } else if (word == "--name") {
            options.name = parseTitle(value);
        } else {
            throw badInput("unknown option " + quoted(word) + "; phone --help shows them all");
        }
    }
    if (options.time && options.inSeconds)
        throw badInput("an alarm has either a time of day or --in, not both");
    if (options.inSeconds && options.days)
        throw badInput("--in makes an alarm that rings once; for --days give a time of day");
    return options;
}

void setNextAlert(AlarmDbData& alarm)
{
    const int weekdays = alarm.repeat_once ? 0 : alarm.repeatWeekly;
    const time_t next
        = companion::nextInstant(companion::currentTime(), { alarm.hour, alarm.min, 0 }, weekdays);
    alarm.mobileAlertTime = static_cast<unsigned long long>(next) * 1000;
}

// Whether the alarm is a one-shot whose instant is still to come, on whatever day that is.
bool isAhead(const AlarmDbData& alarm)
{
    const auto now = static_cast<unsigned long long>(companion::currentTime());
    return alarm.repeat_once && now < alarm.mobileAlertTime / 1000;
}

void apply(const Options& options, AlarmDbData& alarm)
{
    alarm.name = options.name.value_or(alarm.name);
    if (options.days) {
        alarm.repeat_once = options.days->once ? 1 : 0;
        alarm.repeatWeekly = options.days->weekdays;
    }
    if (options.time) {
        alarm.hour = options.time->hour;
        alarm.min = options.time->minute;
    }
    if (options.inSeconds) {
        const time_t instant = companion::currentTime() + *options.inSeconds;
        const companion::WallTime wall = companion::wallTime(instant);
        alarm.hour = wall.hour;
        alarm.min = wall.minute;
        alarm.repeat_once = 1;
        alarm.repeatWeekly = 0;
        alarm.mobileAlertTime = static_cast<unsigned long long>(instant) * 1000;
    } else if (options.time || options.days) {
        setNextAlert(alarm);
    }
}

std::string lineOf(int number, const AlarmDbData& alarm)
{
    std::string line = std::to_string(number) + "  " + clockText(alarm.hour, alarm.min) + "  "
        + daysText({ alarm.repeat_once != 0, alarm.repeatWeekly }) + "  "
        + (alarm.enable ? "on" : "off");
    return line + (alarm.name.empty() ? "" : "  " + printable(alarm.name)) + '\n';
}

/// Runs one command with the words that follow its name. Each function returns what is printed.
class Command {
public:
    Command(Device& device, Words words)
        : _device(device)
        , _words(std::move(words))
    {
    }

    std::string pair()
    {
        std::string vendor = kOurVendor;
        if (!_words.empty()) {
            const std::string option = takeWord(_words, "");
            if (option != "--vendor")
                throw unusable(option);
            vendor = parseName(takeWord(_words, "--vendor needs a value, such as velmora"));
        }
        takeNoMore(_words);
        _device.pair(vendor);
        return "paired\n";
    }

    std::string connect()
    {
        takeNoMore(_words);
        if (_device.book().pairing() == 0)
            throw Failure(Failure::kFailed, "the phone is not paired; phone pair does it");
        _device.connect();
        return _device.isHeard() ? "connected\n" : "";
    }

    std::string disconnect()
    {
        takeNoMore(_words);
        _device.disconnect();
        return "disconnected\n";
    }

    std::string add()
    {
        const Options options = takeOptions(_words);
        if (!options.time && !options.inSeconds)
            throw badInput("add needs a time of day, as 07:30, or --in, as --in 10m");
        if (_device.book().count() >= app::kMostPhoneAlarms) {
            throw badInput("there are " + std::to_string(app::kMostPhoneAlarms)
                + " alarms, and the watch takes no more");
        }
        AlarmDbData alarm;
        alarm.enable = 1;
        apply(options, alarm);
        return _line(_device.add(alarm));
    }

    std::string edit()
    {
        const int number = _takeNumber();
        const Options options = takeOptions(_words);
        if (options.isEmpty())
            throw badInput("edit needs something to change, such as 07:45 or --name TEXT");
        return _change(number, [&](AlarmDbData& alarm) { apply(options, alarm); });
    }

    std::string remove()
    {
        const int number = _takeNumber();
        takeNoMore(_words);
        _change(number, [](AlarmDbData& alarm) { alarm.isDeleted = true; });
        return "alarm " + std::to_string(number) + " removed\n";
    }

    std::string on() { return _switch(1); }
    std::string off() { return _switch(0); }

    std::string list()
    {
        takeNoMore(_words);
        std::string text;
        for (size_t i = 1; i <= _device.book().alarms().size(); ++i)
            text += _line(static_cast<int>(i));
        return text.empty() ? "no alarms\n" : text;
    }

    std::string log()
    {
        takeNoMore(_words);
        return _device.log().text();
    }

    std::string send()
    {
        const std::string path = takeWord(_words, "send needs a file");
        takeNoMore(_words);
        std::error_code error;
        std::ifstream file;
        if (std::filesystem::is_regular_file(path, error))
            file.open(path, std::ios::binary);
        if (!file.is_open())
            throw badInput("the file " + quoted(path) + " cannot be read");
        if (!_device.isConnected())
            throw Failure(Failure::kFailed, "the phone is not connected; phone connect does it");
        const std::string bytes{ std::istreambuf_iterator<char>(file), {} };
        _device.send(bytes);
        return std::to_string(bytes.size()) + " bytes sent\n";
    }

private:
    int _takeNumber()
    {
        const std::string word = takeWord(_words, "which alarm? phone list shows the ids");
        const int number = parseId(word, "phone");
        if (!_device.book().find(number))
            throw badInput("there is no alarm " + word + "; phone list shows all");
        return number;
    }

    std::string _line(int number) const
    {
        const AlarmDbData* alarm = _device.book().find(number);
        return alarm ? lineOf(number, *alarm) : "";
    }

    template <typename Change>
    std::string _change(int number, Change change)
    {
        AlarmDbData alarm = *_device.book().find(number);
        change(alarm);
        _device.change(number, alarm);
        return _line(number);
    }

    std::string _switch(int enable)
    {
        const int number = _takeNumber();
        takeNoMore(_words);
        return _change(number, [enable](AlarmDbData& alarm) {
            alarm.enable = enable;
            if (!isAhead(alarm))
                setNextAlert(alarm);
        });
    }

    Device& _device;
    Words _words;
};

struct Entry {
    const char* name;
    std::string (Command::*run)();
};

const Entry kEntries[] = {
    { "pair", &Command::pair },
    { "connect", &Command::connect },
    { "disconnect", &Command::disconnect },
    { "add", &Command::add },
    { "edit", &Command::edit },
    { "remove", &Command::remove },
    { "on", &Command::on },
    { "off", &Command::off },
    { "list", &Command::list },
    { "log", &Command::log },
    { "send", &Command::send },
};

std::string run(Device& device, Words words)
{
    const std::string name = words.empty() ? "" : takeWord(words, "");
    std::string all;
    for (const Entry& entry : kEntries) {
        if (name == entry.name) {
            Command command(device, words);
            return (command.*entry.run)();
        }
        all += std::string(all.empty() ? "" : ", ") + entry.name;
    }
    throw badInput((name.empty() ? "no command" : "unknown command " + quoted(name))
        + "; commands are " + all);
}

} // namespace

requests::Result runCommand(Device& device, const std::vector<std::string>& arguments)
{
    try {
        return { 0, run(device, arguments), "" };
    } catch (const Failure& failure) {
        return { failure.status(), "", failure.what() };
    }
}
