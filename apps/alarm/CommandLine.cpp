#include "CommandLine.h"

#include "Commands.h"
#include "common/Failure.h"
#include "common/Text.h"

#include <algorithm>
#include <iterator>

namespace {

struct Option {
    const char* name;
    void (*set)(AlarmOptions& alarm, const std::string& value);
};

const Option kOptions[] = {
    { "--in",
        [](AlarmOptions& alarm, const std::string& value) {
            alarm.inSeconds = parseDuration(value);
        } },
    { "--days",
        [](AlarmOptions& alarm, const std::string& value) { alarm.days = parseDays(value); } },
    { "--name",
        [](AlarmOptions& alarm, const std::string& value) { alarm.name = parseName(value); } },
    { "--tone",
        [](AlarmOptions& alarm, const std::string& value) { alarm.tone = parseTone(value); } },
    { "--volume",
        [](AlarmOptions& alarm, const std::string& value) {
            alarm.volume = parseNumber("--volume", value, 0, 15);
        } },
    { "--type",
        [](AlarmOptions& alarm, const std::string& value) {
            alarm.type = parseNumber("--type", value, 1, 3);
        } },
    { "--vibration",
        [](AlarmOptions& alarm, const std::string& value) {
            alarm.vibration = parseNumber("--vibration", value, 1, 5);
        } },
    { "--snooze",
        [](AlarmOptions& alarm, const std::string& value) {
            alarm.snooze = parseNumber("--snooze", value, 0, 1);
        } },
};

const Option* findOption(const std::string& name)
{
    const auto* found = std::find_if(std::begin(kOptions), std::end(kOptions),
        [&name](const Option& option) { return name == option.name; });
    return found == std::end(kOptions) ? nullptr : found;
}

// Sorts the arguments into options and words, and gives the words their meanings.
class Parser {
public:
    explicit Parser(const std::vector<std::string>& arguments)
        : _arguments(arguments)
    {
    }

    CommandLine parse()
    {
        std::vector<std::string> words;
        bool options = true;
        for (; _at < _arguments.size(); ++_at) {
            const std::string& argument = _arguments[_at];
            if (options && argument == "--") {
                options = false;
            } else if (options && argument.size() > 1 && argument[0] == '-') {
                _takeOption();
            } else {
                words.push_back(argument);
            }
        }
        if (words.empty() && _line.help)
            return _line;
        const Command& command = findCommand(words.empty() ? "" : words[0]);
        _line.command = &command;
        if (!_line.help)
            _takeWords(command, { words.begin() + 1, words.end() });
        return _line;
    }

private:
    void _takeOption()
    {
        const std::string& argument = _arguments[_at];
        const size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const Option* option = findOption(name);
        if (option) {
            _alarmOption = name;
            option->set(_line.alarm, _valueOf(name, equals));
        } else if (argument == "--off") {
            _alarmOption = name;
            _line.alarm.off = true;
        } else if (argument == "--json") {
            _line.json = true;
        } else if (argument == "--plain") {
            _line.plain = true;
        } else if (argument == "--help" || argument == "-h") {
            _line.help = true;
        } else {
            throw badInput("unknown option " + quoted(argument) + "; alarm --help shows them all");
        }
    }

    std::string _valueOf(const std::string& name, size_t equals)
    {
        if (equals != std::string::npos)
            return _arguments[_at].substr(equals + 1);
        if (_at + 1 == _arguments.size())
            throw badInput(name + " needs a value; alarm --help shows which");
        return _arguments[++_at];
    }

    void _takeWords(const Command& command, std::vector<std::string> words)
    {
        if (!command.takesAlarm && !_alarmOption.empty())
            throw badInput(_alarmOption + " is for add and edit, not for " + command.name);
        if (command.takesId) {
            if (words.empty()) {
                throw badInput(std::string(command.name) + " needs the id of an alarm; alarm list"
                    + " shows the ids");
            }
            _line.id = parseId(words.front(), "alarm");
            words.erase(words.begin());
        }
        if (command.takesAlarm && !words.empty()) {
            _line.alarm.time = parseClockTime(words.front());
            words.erase(words.begin());
        }
        if (command.takesRequest) {
            if (words.empty()) {
                throw badInput(std::string(command.name) + " needs a request; alarm " + command.name
                    + " --help shows some");
            }
            _line.request = words.front();
            words.erase(words.begin());
        }
        if (!words.empty()) {
            throw badInput("there is no use for " + quoted(words.front()) + "; alarm "
                + command.name + " --help shows how it goes");
        }
        if (command.takesAlarm)
            _checkAlarm(command);
    }

    void _checkAlarm(const Command& command) const
    {
        const AlarmOptions& alarm = _line.alarm;
        if (alarm.inSeconds && alarm.time)
            throw badInput("an alarm has either a time of day or --in, not both");
        if (alarm.inSeconds && alarm.days && !alarm.days->once)
            throw badInput("--in makes an alarm that rings once; for --days give a time of day");
        if (command.takesId) {
            if (!alarm.time && _alarmOption.empty())
                throw badInput("edit needs something to change, such as 07:45 or --name TEXT");
        } else if (!alarm.time && !alarm.inSeconds) {
            throw badInput("add needs a time of day, as 07:30, or --in, as --in 10m");
        }
    }

    const std::vector<std::string>& _arguments;
    size_t _at = 0;
    CommandLine _line;
    std::string _alarmOption; ///< the last one that only add and edit take
};

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments)
{
    return Parser(arguments).parse();
}
