#include "RingStory.h"

#include <AlarmDbModel.h>
#include <AlarmManagerModel.h>
#include <algorithm>
#include <cerrno>
#include <regex>

namespace {

const long kMillisecond = 1000000;
const long kSecond = 1000 * kMillisecond;

} // namespace

std::vector<Ring> ringsIn(const std::string& log)
{
    static const std::regex line(R"(alarm-alert\((\d+)\): ringing alarm (\d+) at )"
                                 R"((\d\d:\d\d:\d\d), (-?\d+) us after its instant)");
    std::vector<Ring> rings;
    for (std::sregex_iterator at(log.begin(), log.end(), line), end; at != end; ++at) {
        const std::smatch& match = *at;
        rings.push_back(
            { std::stoi(match[1]), std::stoi(match[2]), match[3], std::stol(match[4]) });
    }
    return rings;
}

int RingStory::addAlarm(const std::vector<std::string>& options)
{
    std::vector<std::string> command = { "alarm", "add", "--json" };
    command.insert(command.end(), options.begin(), options.end());
    const CommandResult added = runCommand(command);
    EXPECT_EQ(0, added.status) << added.err;
    std::smatch id;
    return std::regex_search(added.out, id, std::regex(R"("id":(\d+))")) ? std::stoi(id[1]) : -1;
}

AlarmDbData RingStory::setAlarm(time_t instant, int weekdays, int snoozes)
{
    AlarmDbData alarm;
    alarm.enable = 1;
    alarm.count = snoozes;
    const time_t own = instant - 60L * snoozes * alarm.snooze_min;
    tm local = {};
    localtime_r(&own, &local);
    alarm.stime = static_cast<int>(own);
    alarm.hour = local.tm_hour;
    alarm.min = local.tm_min;
    alarm.repeat_once = weekdays == 0 ? 1 : 0;
    alarm.repeatWeekly = weekdays == 0 ? 1 << local.tm_wday : weekdays;
    EXPECT_TRUE(AlarmManagerModel().registerAlarmToServer(alarm, false));
    AlarmDbModel().insertAlarmData(alarm, true, true);
    return alarm;
}

AlarmDbData RingStory::storedAlarm(int id)
{
    AlarmDbData alarm;
    EXPECT_EQ(0, AlarmDbModel().getAlarm(id, alarm));
    return alarm;
}

std::optional<HostSession::Alarm> RingStory::registration(int id)
{
    const int wanted = storedAlarm(id).alarm_mgr_id;
    const std::vector<HostSession::Alarm> all = session.alarms();
    const auto found = std::find_if(all.begin(), all.end(),
        [wanted](const HostSession::Alarm& alarm) { return alarm.id == wanted; });
    return found == all.end() ? std::nullopt : std::optional<HostSession::Alarm>(*found);
}

std::optional<Ring> RingStory::waitForRing(int id)
{
    std::optional<Ring> found;
    session.waitFor([&] {
        for (const Ring& ring : ringsIn(session.logText())) {
            if (ring.id == id)
                found = ring;
        }
        return found.has_value();
    });
    EXPECT_TRUE(found) << "alarm " << id << " did not ring\n" << session.logText();
    return found;
}

int RingStory::countRings(int id)
{
    const std::vector<Ring> rings = ringsIn(session.logText());
    return static_cast<int>(std::count_if(
        rings.begin(), rings.end(), [id](const Ring& ring) { return ring.id == id; }));
}

bool RingStory::waitForLog(const std::string& text)
{
    return session.waitFor([&] { return session.logText().find(text) != std::string::npos; });
}

int RingStory::ringing()
{
    const auto value = session.preference("alarmRinging");
    return value ? std::get<int>(*value) : -1;
}

bool RingStory::waitUntilRinging(int id)
{
    return session.waitFor([this, id] { return ringing() == id; });
}

void RingStory::dismiss()
{
    const CommandResult dismissed = runCommand({ "alarm", "dismiss" });
    EXPECT_EQ(0, dismissed.status) << dismissed.err;
}

bool RingStory::waitForNewDaemon(pid_t before)
{
    return session.waitFor([&] {
        const pid_t now = session.daemonPid();
        return now != 0 && now != before;
    });
}

time_t secondAfter(int milliseconds)
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const long soonest = now.tv_nsec + milliseconds * kMillisecond;
    return now.tv_sec + (soonest + kSecond - 1) / kSecond;
}

void sleepUntil(time_t second, int milliseconds)
{
    timespec instant = { second, milliseconds * kMillisecond };
    if (milliseconds < 0)
        instant = { second - 1, kSecond + milliseconds * kMillisecond };
    while (clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &instant, nullptr) == EINTR) {
    }
}
