#include "Commands.h"

#include "AlertRequest.h"
#include "CommandLine.h"
#include "common/Failure.h"
#include "common/PhoneLink.h"
#include "common/Text.h"
#include "Presentation.h"
#include "StoredAlarms.h"
#include "Voice.h"
#include "Watch.h"

#include <AlarmReading.h>
#include <AlarmTime.h>
#include <AlertState.h>
#include <cstdio>
#include <PhoneAlarms.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

size_t terminalColumns()
{
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 100;
}

void print(const std::string& text) { fputs(text.c_str(), stdout); }

void printResult(const CommandLine& line, const AlarmDbData& alarm, const std::string& text)
{
    print((line.json ? alarmJson(alarm, companion::currentTime()) : text) + '\n');
}

void setRingIn(AlarmDbData& alarm, time_t instant)
{
    const companion::WallTime time = companion::wallTime(instant);
    alarm.hour = time.hour;
    alarm.min = time.minute;
    alarm.repeat_once = 1;
    companion::setRing(alarm, instant);
}

// When clocks are set back an hour comes twice, and an alarm, which is registered by its time of
// day, rings in the first. So an instant in the second is refused.
void checkRingIn(const std::optional<int>& seconds)
{
    if (!seconds)
        return;
    const time_t instant = companion::currentTime() + *seconds;
    if (companion::isNamedByWallTime(instant))
        return;
    const companion::WallTime time = companion::wallTime(instant);
    throw badInput("the clock is set back then, so that " + clockText(time.hour, time.minute)
        + " comes twice, and an alarm rings the first time only");
}

// Gives the alarm what the options name. Answers whether they set when it rings.
bool apply(const AlarmOptions& options, AlarmDbData& alarm, time_t now)
{
    alarm.name = options.name.value_or(alarm.name);
    alarm.tone = options.tone.value_or(alarm.tone);
    alarm.volume = options.volume.value_or(alarm.volume);
    alarm.type = options.type.value_or(alarm.type);
    alarm.vibration_type = options.vibration.value_or(alarm.vibration_type);
    alarm.snooze_enable = options.snooze.value_or(alarm.snooze_enable);
    if (options.off)
        alarm.enable = 0;
    if (options.days) {
        alarm.repeat_once = options.days->once ? 1 : 0;
        alarm.repeatWeekly = options.days->weekdays;
    }
    if (options.time) {
        alarm.hour = options.time->hour;
        alarm.min = options.time->minute;
    }
    if (options.inSeconds) {
        setRingIn(alarm, now + *options.inSeconds);
    } else if (options.time || options.days) {
        companion::setNextRing(alarm, now);
    } else if (options.off) {
        companion::setSwitchedRing(alarm, now);
    } else {
        return false;
    }
    return true;
}

void add(const CommandLine& line)
{
    checkRingIn(line.alarm.inSeconds);
    AlarmDbData alarm = companion::newAlarm();
    check(companion::addAlarm(alarm,
              [&line](AlarmDbData& made, time_t now) { return apply(line.alarm, made, now); }),
        alarm.id);
    const time_t now = companion::currentTime();
    printResult(line, alarm, line.plain ? alarmForecast(alarm, now) : alarmSetText(alarm, now));
}

void change(const CommandLine& line, const companion::Edit& edit)
{
    AlarmDbData alarm;
    check(companion::changeAlarm(*line.id, edit, alarm), *line.id);
    printResult(line, alarm, alarmForecast(alarm, companion::currentTime()));
}

// The phone refuses a name that is longer.
void checkName(const std::optional<std::string>& name, const AlarmDbData& alarm)
{
    if (name && name->size() > app::kLongestTitle && alarm.deviceType == companion::kPhoneDevice) {
        throw badInput("the name of a phone's alarm has at most "
            + std::to_string(app::kLongestTitle) + " bytes");
    }
}

void edit(const CommandLine& line)
{
    checkRingIn(line.alarm.inSeconds);
    change(line, [&line](AlarmDbData& alarm, time_t now) {
        checkName(line.alarm.name, alarm);
        return apply(line.alarm, alarm, now);
    });
}

void switchTo(int enable, const CommandLine& line)
{
    change(line, [enable](AlarmDbData& alarm, time_t now) {
        alarm.enable = enable;
        companion::setSwitchedRing(alarm, now);
        return true;
    });
}

void switchOn(const CommandLine& line) { switchTo(1, line); }

void switchOff(const CommandLine& line) { switchTo(0, line); }

void remove(const CommandLine& line)
{
    AlarmDbData alarm;
    check(companion::removeAlarm(*line.id, alarm), *line.id);
    printResult(line, alarm, "alarm " + std::to_string(alarm.id) + " removed");
}

void list(const CommandLine& line)
{
    const std::vector<AlarmDbData> alarms = storedAlarms();
    const time_t now = companion::currentTime();
    print(line.json ? alarmsJson(alarms, now) + '\n'
                    : alarmTable(alarms, now, terminalColumns(), line.plain));
}

void show(const CommandLine& line)
{
    const AlarmDbData alarm = storedAlarm(*line.id);
    const time_t now = companion::currentTime();
    print(line.json ? alarmJson(alarm, now) + '\n' : alarmDetails(alarm, now));
}

void next(const CommandLine& line)
{
    const time_t now = companion::currentTime();
    const std::optional<AlarmDbData> alarm = companion::upcomingAlarm(storedAlarms(), now);
    if (alarm) {
        printResult(line, *alarm, alarmForecast(*alarm, now));
    } else {
        print(line.json ? "null\n" : "no alarm will ring\n");
    }
}

void snooze(const CommandLine& line)
{
    const AlarmDbData alarm = storedAlarm(askAlert(companion::kSnoozeOperation));
    printResult(line, alarm, alarmForecast(alarm, companion::currentTime()));
}

void dismiss(const CommandLine& line)
{
    const AlarmDbData alarm = storedAlarm(askAlert(companion::kDismissOperation));
    printResult(line, alarm, "alarm " + std::to_string(alarm.id) + " dismissed");
}

void watch(const CommandLine& line) { watchAlarms(line.json); }

void voice(const CommandLine& line) { answerVoice(line.request); }

const Command kCommands[] = {
    { "add", false, true, false, add, "alarm add TIME|--in TIME [OPTION...]: a new alarm\n" },
    { "list", false, false, false, list,
        "alarm list [--json|--plain]: all alarms by time of day, in a table that cuts long names,\n"
        "or as a JSON array. Times and days are as the device's language and region have them;\n"
        "with --plain they are the same everywhere. The table says which are the phone's; of "
        "those\n"
        "that are on, the ones that will not ring on the watch are silent\n" },
    { "show", true, false, false, show, "alarm show ID [--json]: everything about an alarm\n" },
    { "edit", true, true, false, edit,
        "alarm edit ID [TIME] [OPTION...]: changes what is given, and registers the alarm\n"
        "anew when that is its time or days and it is on; alarm on switches it on. The phone is\n"
        "told of what becomes of its alarms\n" },
    { "on", true, false, false, switchOn,
        "alarm on ID [--json]: switches an alarm on; it is registered anew. Says why when one of\n"
        "the phone stays silent\n" },
    { "off", true, false, false, switchOff,
        "alarm off ID [--json]: switches an alarm off; it stays in the list\n" },
    { "remove", true, false, false, remove,
        "alarm remove ID [--json]: deletes an alarm and prints it a last time\n" },
    { "next", false, false, false, next,
        "alarm next [--json]: the alarm that rings next; null when none will\n" },
    { "snooze", false, false, false, snooze,
        "alarm snooze [--json]: the ringing alarm rings again in 5 minutes; exit status 1 when\n"
        "nothing rings or it cannot be snoozed (again)\n" },
    { "dismiss", false, false, false, dismiss,
        "alarm dismiss [--json]: ends the ringing alarm; one that rings once is then off. Exit\n"
        "status 1 when nothing rings\n" },
    { "watch", false, false, false, watch,
        "alarm watch [--json]: prints a line for each change as it is announced: added, changed,\n"
        "removed, ringing, quiet. With --json each line is an object with \"event\" and\n"
        "\"alarm\"\n" },
    { "voice", false, false, true, voice,
        "alarm voice [--] REQUEST: answers a request of the voice assistant, a JSON object, by a\n"
        "line of JSON. docs/voice.md lists the members of both:\n\n"
        "  {\"operation\":\"open\"}\n"
        "  {\"operation\":\"add\",\"time\":\"07:30\",\"repeat\":\"2,3,4,5,6\",\"name\":\"Work\"}\n"
        "  {\"operation\":\"add\",\"time\":\"18:00\",\"date\":\"2026-11-23\"}\n"
        "  {\"operation\":\"list\"}\n\n"
        "A request that fails has a reply, too, and a line on standard error. Exit status 1: not\n"
        "done, as when the same alarm exists; 2: the request is wrong\n" },
};

} // namespace

const Command& findCommand(const std::string& name)
{
    std::string all;
    for (const Command& command : kCommands) {
        if (name == command.name)
            return command;
        all += std::string(all.empty() ? "" : ", ") + command.name;
    }
    throw badInput((name.empty() ? "no command" : "unknown command " + quoted(name))
        + "; commands are " + all);
}

void runCommand(const CommandLine& line)
{
    // snooze and dismiss ask the alert, which knows what rings: they work though the store does
    // not. So do some requests by voice.
    auto* const run = line.command->run;
    if (run != snooze && run != dismiss && run != voice)
        companion::start();
    run(line);
}
