#include "Help.h"

#include <map>

namespace {

const char* const kOverview = R"(alarm: sets, shows and answers the alarms of the watch

  alarm add TIME [OPTION...]       a new alarm
  alarm list                       all alarms
  alarm show ID                    everything about one
  alarm edit ID [TIME] [OPTION...] change one
  alarm on ID, alarm off ID        switch one on or off
  alarm remove ID                  delete one
  alarm next                       the one that rings next
  alarm snooze, alarm dismiss      answer the one that rings
  alarm watch                      print each change until interrupted

Every command takes --json, and --help to say more. Times are in the device's zone.
Exit status: 0 done, 1 not done, 2 the command line is wrong; nothing was changed then.
)";

const char* const kAlarmOptions = R"(
  TIME            time of day, 00:00 to 23:59
  --in TIME       instead: once, so long from now: 5s, 10m, 2h; up to 167h
  --days DAYS     mon-fri, or sat,sun, or daily; once is what a new alarm is
  --name TEXT     a label on one line
  --tone FILE     the sound
  --volume N      0 to 15; 10 for a new alarm
  --type N        1 sound, 2 vibration, 3 both; 3 for a new alarm
  --vibration N   the pattern, 1 to 5; 1 for a new alarm
  --snooze 0|1    whether it can be snoozed, which is for 5 minutes and 3 times; 1 for a new alarm
  --off           switched off
  --json          prints the alarm as JSON
)";

const std::map<std::string, std::string>& texts()
{
    static const std::map<std::string, std::string> all = {
        { "", kOverview },
        { "add",
            std::string("alarm add TIME|--in TIME [OPTION...]: a new alarm\n") + kAlarmOptions },
        { "edit",
            std::string(
                "alarm edit ID [TIME] [OPTION...]: changes what is given, and registers the\n"
                "alarm anew when it is on; alarm on switches it on\n")
                + kAlarmOptions },
        { "list",
            "alarm list [--json]: all alarms by time of day, in a table that cuts long names, or "
            "as a\n"
            "JSON array\n" },
        { "show", "alarm show ID [--json]: everything about an alarm\n" },
        { "on", "alarm on ID [--json]: switches an alarm on; it is registered anew\n" },
        { "off", "alarm off ID [--json]: switches an alarm off; it stays in the list\n" },
        { "remove", "alarm remove ID [--json]: deletes an alarm and prints it a last time\n" },
        { "next", "alarm next [--json]: the alarm that rings next; null when none is on\n" },
        { "snooze",
            "alarm snooze [--json]: the ringing alarm rings again in 5 minutes; exit status 1 "
            "when\n"
            "nothing rings or it cannot be snoozed (again)\n" },
        { "dismiss",
            "alarm dismiss [--json]: ends the ringing alarm; one that rings once is then off. "
            "Exit\n"
            "status 1 when nothing rings\n" },
        { "watch",
            "alarm watch [--json]: prints a line for each change as it is announced: added, "
            "changed,\n"
            "removed, ringing, quiet. With --json each line is an object with \"event\" and "
            "\"alarm\"\n" },
    };
    return all;
}

} // namespace

std::string helpText(const std::string& command) { return texts().at(command); }
