#include "Help.h"

#include "Commands.h"

namespace {

const char* const kOverview = R"(alarm: sets, shows and answers the alarms of the watch

  alarm add TIME [OPTION...]       add an alarm
  alarm list                       list all alarms
  alarm show ID                    show everything about an alarm
  alarm edit ID [TIME] [OPTION...] change an alarm
  alarm on ID, alarm off ID        switch an alarm on or off
  alarm remove ID                  delete an alarm
  alarm next                       show the alarm that rings next
  alarm snooze, alarm dismiss      answer the alarm that rings
  alarm watch                      print each change until interrupted
  alarm voice REQUEST              answer the voice assistant

Every command takes --json, and --help, which explains it. Times are in the device's zone.
Exit status: 0 done, 1 not done, 2 the command line is wrong; nothing was changed then.
)";

const char* const kAlarmOptions = R"(
  TIME            time of day, 00:00 to 23:59
  --in TIME       instead of TIME: rings once, so long from now; 5s, 10m or 2h, up to 167h
  --days DAYS     mon-fri, or sat,sun, or daily, or once; once for a new alarm
  --name TEXT     a label on one line
  --tone FILE     the sound file that it plays
  --volume N      0 to 15; 10 for a new alarm
  --type N        1 sound, 2 vibration, 3 both; 3 for a new alarm
  --vibration N   the pattern, 1 to 5; 1 for a new alarm
  --snooze 0|1    whether it can be snoozed, up to 3 times for 5 minutes each; 1 for a new alarm
  --off           switched off
  --json          prints the alarm as JSON
  --plain         says when it rings in words that are the same in every language
)";

} // namespace

std::string helpText(const Command* command)
{
    if (!command)
        return kOverview;
    return std::string(command->help) + (command->takesAlarm ? kAlarmOptions : "");
}
