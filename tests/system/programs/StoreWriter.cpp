// store-writer GATE COUNT NAME: saves COUNT alarms as an application does, once nobody has the file
// GATE locked. Prints "ready", then "saved ID MODTIME REGISTRATION" or "refused: WHY" for each; the
// exit status is 1 when one was refused.

#include <AlarmDbData.h>
#include <AlarmTime.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>

namespace {

bool passGate(const char* path)
{
    puts("ready");
    fflush(stdout);
    const int gate = open(path, O_RDONLY | O_CLOEXEC);
    const bool passed = gate >= 0 && flock(gate, LOCK_SH) == 0;
    if (gate >= 0)
        close(gate);
    return passed;
}

// Two hours from now, so that none rings during a test.
bool setTime(AlarmDbData& alarm, time_t now)
{
    const companion::WallTime time = companion::wallTime(now + 2L * 60 * 60);
    alarm.enable = 1;
    alarm.hour = time.hour;
    alarm.min = time.minute;
    companion::setNextRing(alarm, now);
    return true;
}

bool save(const std::string& name)
{
    AlarmDbData alarm;
    alarm.name = name;
    const companion::Saved result = companion::addAlarm(alarm, setTime);
    const bool done = result == companion::Saved::Yes;
    if (done) {
        printf("saved %d %d %d\n", alarm.id, alarm.modTime, alarm.alarm_mgr_id);
    } else {
        printf("refused: %s\n", companion::textOf(result));
    }
    fflush(stdout);
    return done;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        fprintf(stderr, "usage: store-writer GATE COUNT NAME\n");
        return 2;
    }

    if (!passGate(argv[1])) {
        perror(argv[1]);
        return 2;
    }
    companion::start();
    int status = 0;
    const long count = strtol(argv[2], nullptr, 10);
    for (long i = 1; i <= count; ++i) {
        if (!save(std::string(argv[3]) + "-" + std::to_string(i)))
            status = 1;
    }
    return status;
}
