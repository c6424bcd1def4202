#include "CommandStory.h"
#include "NoMoreFiles.h"
#include "Registration.h"
#include "RingStory.h"
#include "TempDir.h"

#include <AlarmDbModel.h>
#include <AlarmManagerModel.h>
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

const char* const kAlert = "com.velmora.alarm-alert";
const char* const kPhone = "com.velmora.alarm-phone";

std::vector<int> idsOf(const std::vector<HostSession::Alarm>& alarms)
{
    std::vector<int> ids;
    for (const HostSession::Alarm& alarm : alarms)
        ids.push_back(alarm.id);
    return ids;
}

} // namespace

// The alarm service under what may happen to it.
class DaemonTest : public RingStory {
protected:
    /// Whatever rings twice has done so when a later alarm has rung.
    void ringLastOne()
    {
        const AlarmDbData last = setAlarm(secondAfter(300));
        EXPECT_TRUE(waitForRing(last.id));
    }

    bool waitForSendingAgain(const AlarmDbData& alarm)
    {
        return waitForLog("The alert of alarm " + std::to_string(alarm.alarm_mgr_id) + " for "
            + kAlert + " was not answered and is sent again");
    }
};

TEST_F(DaemonTest, KilledAfterRegistrationItRingsOnce)
{
    const int id = addAlarm({ "--in", "2s" });
    const time_t instant = storedAlarm(id).stime;

    session.killDaemon();

    EXPECT_TRUE(waitForRing(id));
    EXPECT_GE(time(nullptr), instant);
    ringLastOne();
    EXPECT_EQ(1, countRings(id));
}

TEST_F(DaemonTest, KilledAtTheInstantItRingsOnce)
{
    std::vector<int> ids;
    for (int milliseconds = -15; milliseconds <= 30; milliseconds += 5) {
        SCOPED_TRACE("killed " + std::to_string(milliseconds) + " ms after the instant");
        const time_t instant = secondAfter(300);
        const AlarmDbData alarm = setAlarm(instant);
        const pid_t daemon = session.daemonPid();
        ASSERT_NE(0, daemon);

        sleepUntil(instant, milliseconds);
        ASSERT_EQ(0, kill(daemon, SIGKILL));

        ASSERT_TRUE(waitForNewDaemon(daemon));
        EXPECT_TRUE(waitForRing(alarm.id));
        // It answers when it has launched what it found due, so the alert has that before this.
        (void)session.alarms();
        dismiss();
        ids.push_back(alarm.id);
    }
    ringLastOne();
    for (const int id : ids)
        EXPECT_EQ(1, countRings(id)) << "alarm " << id;
}

TEST_F(DaemonTest, AlarmOfAnAbsentApplicationIsLoggedAndTheNextRings)
{
    const pid_t daemon = session.daemonPid();
    const time_t instant = secondAfter(300);
    const int absent = registerApplication("com.velmora.absent", instant);

    EXPECT_TRUE(waitForLog("The alert of alarm " + std::to_string(absent)
        + " for com.velmora.absent cannot be launched"));

    const AlarmDbData next = setAlarm(secondAfter(300));
    EXPECT_TRUE(waitForRing(next.id));
    EXPECT_EQ(daemon, session.daemonPid());
    const std::vector<int> registered = idsOf(session.alarms());
    EXPECT_EQ(0, std::count(registered.begin(), registered.end(), absent));
    ASSERT_EQ(1U, session.reports().size());
    EXPECT_THAT(session.reports()[0].text,
        MatchesRegex("Missed alarm of com.velmora.absent at .*: it cannot be launched: .*"));
}

TEST_F(DaemonTest, AlarmRingsWhoseProgramIsMissingForAMoment)
{
    const TempDir place;
    const std::string program = place.file("alert");
    session.installApplication(kAlert, program);
    const AlarmDbData alarm = setAlarm(secondAfter(300));
    ASSERT_TRUE(waitForSendingAgain(alarm));

    fs::create_symlink(HostSession::programOf(kAlert), program);

    EXPECT_TRUE(waitForRing(alarm.id));
    EXPECT_TRUE(session.reports().empty());
}

TEST_F(DaemonTest, AlarmRingsThatComesWhileTheBusCanStartNoProgram)
{
    const AlarmDbData alarm = setAlarm(secondAfter(300));
    {
        const NoMoreFiles full(session.pidOf("org.freedesktop.DBus"));
        ASSERT_TRUE(waitForSendingAgain(alarm));
    }
    EXPECT_TRUE(waitForRing(alarm.id));
    EXPECT_TRUE(session.reports().empty());
}

TEST_F(DaemonTest, ApplicationThatHangsHoldsUpNoOthersAlarm)
{
    ASSERT_EQ(0, runCommand({ "hostctl", "launch", kPhone }).status);
    const pid_t hanging = session.pidOf(kPhone);
    ASSERT_NE(0, hanging);
    kill(hanging, SIGSTOP);
    const time_t instant = secondAfter(4000); // for so many registrations on a busy machine
    for (int i = 0; i < 70; ++i)
        registerApplication(kPhone, instant);
    const AlarmDbData alarm = setAlarm(instant);

    EXPECT_TRUE(waitForRing(alarm.id));

    kill(hanging, SIGCONT);
}

TEST_F(DaemonTest, LostRegistrationsAreToldOfAndNoOldIdRingsAnAlarm)
{
    const AlarmDbData lost = setAlarm(time(nullptr) + 3600);
    const pid_t daemon = session.daemonPid();
    for (const char* part : { "", "-wal", "-shm" })
        fs::remove(HostSession::home() + "alarms.db" + part);

    session.killDaemon();
    ASSERT_TRUE(waitForNewDaemon(daemon));

    EXPECT_TRUE(session.alarms().empty());
    ASSERT_EQ(1U, session.reports().size());
    EXPECT_THAT(session.reports()[0].text, StartsWith("The registered alarms are lost: "));
    EXPECT_TRUE(waitForLog("The registered alarms are lost: "));
    EXPECT_GT(setAlarm(time(nullptr) + 3600).alarm_mgr_id, lost.alarm_mgr_id);
}

TEST_F(DaemonTest, AlarmRingsThoughTheSettingsAreDamaged)
{
    const AlarmDbData alarm = setAlarm(secondAfter(2000));
    const pid_t daemon = session.daemonPid();
    for (const char* part : { "-wal", "-shm" })
        fs::remove(HostSession::home() + "settings.db" + part);
    spoil(HostSession::home() + "settings.db");

    session.killDaemon();

    ASSERT_TRUE(waitForNewDaemon(daemon));
    EXPECT_TRUE(waitForRing(alarm.id));
}

TEST_F(DaemonTest, LongestRequestThatIsTakenIsDelivered)
{
    const time_t instant = secondAfter(1000);
    int id = -1;
    for (size_t length = 65536; id < 0 && length > 0; --length)
        id = registerApplication(kAlert, instant, std::string(length, 'x').c_str());
    ASSERT_GT(id, 0);

    EXPECT_TRUE(session.waitFor([&] { return session.alarms().empty(); }));
    EXPECT_THAT(session.logText(), Not(HasSubstr("was not answered")));
}

TEST_F(DaemonTest, AlarmFollowsTheZone)
{
    session.setZone("Europe/Berlin");
    const int id = addAlarm({ "07:30", "--days", "daily" });

    for (const char* zone : { "America/New_York", "Asia/Kolkata" }) {
        SCOPED_TRACE(zone);
        session.setZone(zone);
        setenv("TZ", zone, 1);
        EXPECT_TRUE(session.waitFor([&] {
            const time_t next = registration(id).value_or(HostSession::Alarm()).next;
            tm local = {};
            tzset();
            localtime_r(&next, &local);
            return local.tm_hour == 7 && local.tm_min == 30 && local.tm_sec == 0
                && next > time(nullptr);
        }));
    }
}

TEST_F(DaemonTest, RegistrationsOutliveTheDaemon)
{
    for (const char* time : { "07:30", "12:00", "23:15" })
        addAlarm({ time, "--days", "mon,sat" });
    const std::vector<HostSession::Alarm> before = session.alarms();
    const pid_t daemon = session.daemonPid();

    session.killDaemon();
    ASSERT_TRUE(waitForNewDaemon(daemon));

    const std::vector<HostSession::Alarm> after = session.alarms();
    EXPECT_EQ(3U, after.size());
    EXPECT_EQ(idsOf(before), idsOf(after));
    for (size_t i = 0; i < std::min(before.size(), after.size()); ++i)
        EXPECT_EQ(before[i].next, after[i].next);
}

TEST_F(DaemonTest, TwoAlarmsOfOneSecondBothRing)
{
    const time_t instant = secondAfter(500);
    const AlarmDbData first = setAlarm(instant);
    const AlarmDbData second = setAlarm(instant);

    const auto firstRing = waitForRing(first.id);
    const auto secondRing = waitForRing(second.id);

    ASSERT_TRUE(firstRing && secondRing);
    EXPECT_EQ(firstRing->time, secondRing->time);
    EXPECT_EQ(firstRing->alert, secondRing->alert);
}
