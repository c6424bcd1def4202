#include "host/tools/hostctl.h"

#include "host/common/Bus.h"

#include <cstdio>
#include <map>

namespace {

const char* const kHelp
    = R"(hostctl plays the world around the watch, in the session of its environment.

  hostctl key get KEY                    a device setting
  hostctl key set KEY int|bool|str VALUE
  hostctl key unset KEY
  hostctl key list
  hostctl preference [--package PACKAGE] get|set|unset|list ...
                                         the same for a package's preferences, by default the alarm's
  hostctl locale LOCALE                  the language and region of texts, such as ko_KR
  hostctl clock 12|24                    whether times are shown in 12 or 24 hours
  hostctl zone ZONE                      the device's time zone, such as Asia/Seoul
  hostctl alarms [--json]                the registered alarms, the earliest first
  hostctl tray [--json]                  what the notification tray shows: the applications'
                                         notifications, then missed alarms, the oldest first
  hostctl tray tap TAG                   the user taps on the notification with this tag
  hostctl tray button TAG N              the user taps on its button N, from 1
  hostctl launch APPLICATION [--operation OPERATION] [--extra KEY=VALUE]...
                                         starts an application, or passes the request to it when it runs
  hostctl volume get TYPE                the level of a kind of sound, such as alarm: 0 to 15
  hostctl volume set TYPE LEVEL
  hostctl record start|stop              another application's recording from the microphone
  hostctl focus take|release --reason REASON
                                         another application's sound focus, such as a call
  hostctl vibration --watch              prints what the vibrator does, until it is interrupted
  hostctl device --speaker|--no-speaker|--show
                                         whether the device has a speaker
  hostctl supervise                      keeps hostd running until the session ends

Exit status: 0 done, 1 failed, 2 wrong usage.
)";

const int kFailed = 1;
const int kWrongUsage = 2;

void runCommand(const hostctl::Arguments& words)
{
    static const std::map<std::string, void (*)(const hostctl::Arguments&)> commands = {
        { "key", hostctl::key },
        { "preference", hostctl::preference },
        { "locale", hostctl::locale },
        { "clock", hostctl::clock },
        { "zone", hostctl::zone },
        { "alarms", hostctl::alarms },
        { "tray", hostctl::tray },
        { "launch", hostctl::launch },
        { "volume", hostctl::volume },
        { "record", hostctl::record },
        { "focus", hostctl::focus },
        { "vibration", hostctl::vibration },
        { "device", hostctl::device },
        { "supervise", hostctl::supervise },
    };
    if (words.empty())
        throw hostctl::UsageError("a command is missing; hostctl --help lists them");
    const auto found = commands.find(words[0]);
    if (found == commands.end()) {
        throw hostctl::UsageError(
            "there is no command \"" + words[0] + "\"; hostctl --help lists them");
    }
    found->second({ words.begin() + 1, words.end() });
}

void run(const hostctl::Arguments& words)
{
    if (!words.empty() && words.size() <= 2 && words.back() == "--help") {
        fputs(kHelp, stdout);
    } else {
        runCommand(words);
    }
    if (fflush(stdout) != 0 || ferror(stdout))
        throw std::runtime_error("the result cannot be written");
}

// Words of the command line and answers of the bus may contain control characters.
int failed(int status, const std::string& text)
{
    fprintf(stderr, "hostctl: %s\n", hostctl::shown(text).c_str());
    return status;
}

} // namespace

sdbus::IConnection& hostctl::bus()
{
    try {
        return host::bus();
    } catch (const sdbus::Error& error) {
        throw std::runtime_error("there is no session here (" + error.getMessage()
            + "); host-session COMMAND runs a command in one");
    }
}

int main(int argc, char** argv)
{
    const hostctl::Arguments words(argv + 1, argv + argc);
    try {
        run(words);
        return 0;
    } catch (const hostctl::UsageError& error) {
        return failed(kWrongUsage, error.what());
    } catch (const sdbus::Error& error) {
        return failed(kFailed, error.getMessage());
    } catch (const std::exception& error) {
        return failed(kFailed, error.what());
    }
}
