#include "HostSession.h"
#include "Probing.h"

#include <app_alarm.h>
#include <climits>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace fs = std::filesystem;

namespace {

const int kUntouched = 4711;
const char* const kTarget = "com.velmora.alarm-alert";

struct Destroy {
    void operator()(app_control_h request) const { app_control_destroy(request); }
};
using AppControl = std::unique_ptr<app_control_s, Destroy>;

AppControl requestFor(const char* application)
{
    app_control_h request = nullptr;
    app_control_create(&request);
    app_control_set_app_id(request, application);
    return AppControl(request);
}

tm timeOfDay(int hour, int minute, int second)
{
    tm date = {};
    date.tm_year = -1900;
    date.tm_mon = -1;
    date.tm_mday = 0;
    date.tm_hour = hour;
    date.tm_min = minute;
    date.tm_sec = second;
    // These are not looked at.
    date.tm_wday = date.tm_yday = date.tm_isdst = 99;
    return date;
}

tm onDay(int year, int month, int day, int hour)
{
    tm date = timeOfDay(hour, 0, 0);
    date.tm_year = year - 1900;
    date.tm_mon = month - 1;
    date.tm_mday = day;
    return date;
}

class AlarmModuleTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(session.waitFor([this] { return session.daemonPid() != 0; }));
    }

    void TearDown() override
    {
        for (const HostSession::Alarm& alarm : session.alarms())
            alarm_cancel(alarm.id);
    }

    int schedule(tm date, int weekFlag, int* id) const
    {
        return alarm_schedule_with_recurrence_week_flag(request.get(), &date, weekFlag, id);
    }

    void expectRefused(int code, const tm& date, int weekFlag = 0)
    {
        int id = kUntouched;
        EXPECT_EQ(code, schedule(date, weekFlag, &id));
        EXPECT_EQ(kUntouched, id);
        EXPECT_TRUE(session.alarms().empty());
    }

    // The probe, as a program that is installed in the package.
    std::string installedProbe(const std::string& package, const std::string& name)
    {
        fs::copy(HOST_PROBE, _programs.file(name));
        HostSession::installProgram(package, _programs.file(name));
        return _programs.file(name);
    }

    // The first so many of those that the platform tells of.
    static std::vector<int> ownAlarms(size_t most)
    {
        std::pair<std::vector<int>, size_t> told = { {}, most };
        const auto take = [](int id, void* data) {
            auto& [ids, wanted] = *static_cast<std::pair<std::vector<int>, size_t>*>(data);
            ids.push_back(id);
            return ids.size() < wanted;
        };
        EXPECT_EQ(ALARM_ERROR_NONE, alarm_foreach_registered_alarm(take, &told));
        return told.first;
    }

    HostSession session;
    AppControl request = requestFor(kTarget);

private:
    TempDir _programs;
};

struct DateCase {
    const char* name;
    tm date;
    int code;
};

class AlarmDateTest : public AlarmModuleTest, public testing::WithParamInterface<DateCase> {};

} // namespace

TEST_F(AlarmModuleTest, RegistersAWeeklyAlarm)
{
    int id = kUntouched;

    EXPECT_EQ(ALARM_ERROR_NONE,
        schedule(timeOfDay(7, 30, 5), ALARM_WEEK_FLAG_MONDAY | ALARM_WEEK_FLAG_SUNDAY, &id));

    ASSERT_EQ(1u, session.alarms().size());
    const HostSession::Alarm alarm = session.alarms()[0];
    EXPECT_GT(id, 0);
    EXPECT_EQ(id, alarm.id);
    EXPECT_EQ("com.velmora.alarm", alarm.package);
    EXPECT_EQ(kTarget, alarm.application);
    EXPECT_EQ(7, alarm.hour);
    EXPECT_EQ(30, alarm.minute);
    EXPECT_EQ(5, alarm.second);
    EXPECT_EQ(3, alarm.weekFlag);
    const time_t next = alarm.next;
    EXPECT_GT(next, time(nullptr) - 1);
    EXPECT_LE(next, time(nullptr) + 8 * 24 * 3600);
    tm local = {};
    localtime_r(&next, &local);
    EXPECT_EQ(7, local.tm_hour);
    EXPECT_TRUE(local.tm_wday == 0 || local.tm_wday == 1) << local.tm_wday;
}

TEST_F(AlarmModuleTest, RegistersADay)
{
    int id = kUntouched;

    EXPECT_EQ(ALARM_ERROR_NONE, schedule(onDay(2090, 2, 28, 6), 0, &id));

    ASSERT_EQ(1u, session.alarms().size());
    const time_t next = session.alarms()[0].next;
    tm local = {};
    localtime_r(&next, &local);
    EXPECT_EQ(190, local.tm_year);
    EXPECT_EQ(1, local.tm_mon);
    EXPECT_EQ(28, local.tm_mday);
    EXPECT_EQ(6, local.tm_hour);
}

TEST_F(AlarmModuleTest, EveryAlarmHasItsOwnId)
{
    int first = 0;
    int second = 0;
    int third = 0;
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(7, 0, 0), 127, &first));
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(7, 0, 0), 127, &second));
    EXPECT_NE(first, second);

    EXPECT_EQ(ALARM_ERROR_NONE, alarm_cancel(first));
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(7, 0, 0), 127, &third));

    EXPECT_NE(first, third);
    EXPECT_NE(second, third);
}

TEST_F(AlarmModuleTest, TheRequestIsCopied)
{
    int id = 0;
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(7, 0, 0), 127, &id));

    app_control_set_app_id(request.get(), "com.velmora.other");

    EXPECT_EQ(kTarget, session.alarms().at(0).application);
}

TEST_F(AlarmModuleTest, ACancelledAlarmIsGone)
{
    int id = 0;
    int other = 0;
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(7, 0, 0), 127, &id));
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(8, 0, 0), 127, &other));

    EXPECT_EQ(ALARM_ERROR_NONE, alarm_cancel(id));

    ASSERT_EQ(1u, session.alarms().size());
    EXPECT_EQ(other, session.alarms()[0].id);
    EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_cancel(id));
}

TEST_F(AlarmModuleTest, OnlyARegisteredAlarmIsCancelled)
{
    for (const int id : { 0, -1, INT_MIN, 999999, INT_MAX })
        EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_cancel(id)) << id;
}

TEST_F(AlarmModuleTest, OnlyThePackagesProgramsMayCancelWhateverAProcessClaims)
{
    int id = 0;
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(7, 0, 0), 127, &id));
    const std::string invalid = std::to_string(ALARM_ERROR_INVALID_PARAMETER);

    EXPECT_EQ(invalid, probe({ "alarm", std::to_string(id) })); // which names the package itself
    const std::string other = installedProbe("com.velmora.other", "other-probe");
    EXPECT_EQ(invalid, runCommand({ other, "alarm", std::to_string(id) }).out);
    EXPECT_EQ(1u, session.alarms().size());

    const std::string own = installedProbe("com.velmora.alarm", "own-probe");
    EXPECT_EQ("0", runCommand({ own, "alarm", std::to_string(id) }).out);
    EXPECT_TRUE(session.alarms().empty());
}

TEST_F(AlarmModuleTest, AProgramThatIsNotInstalledRegistersNothing)
{
    TempDir place;
    fs::create_directories(place.file("com.velmora.alarm/bin"));
    const std::string program = place.file("com.velmora.alarm/bin/com.velmora.alarm-probe");
    fs::copy(HOST_PROBE, program);

    EXPECT_EQ(std::to_string(ALARM_ERROR_NOT_PERMITTED_APP) + " untouched",
        runCommand({ program, "schedule", kTarget }).out);
    EXPECT_TRUE(session.alarms().empty());
}

TEST_F(AlarmModuleTest, APackageSeesItsOwnRegistrations)
{
    int first = 0;
    int second = 0;
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(7, 30, 5), ALARM_WEEK_FLAG_MONDAY, &first));
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(onDay(2090, 2, 28, 6), 0, &second));
    const std::string other = installedProbe("com.velmora.other", "other-probe");
    ASSERT_EQ("0 touched", runCommand({ other, "schedule", kTarget }).out);
    ASSERT_EQ(3u, session.alarms().size());

    EXPECT_EQ((std::vector<int>{ first, second }), ownAlarms(2));
    EXPECT_EQ(std::vector<int>{ first }, ownAlarms(1));

    tm date = {};
    EXPECT_EQ(ALARM_ERROR_NONE, alarm_get_scheduled_date(second, &date));
    EXPECT_EQ(190, date.tm_year);
    EXPECT_EQ(1, date.tm_mon);
    EXPECT_EQ(28, date.tm_mday);
    EXPECT_EQ(6, date.tm_hour);
    EXPECT_EQ(ALARM_ERROR_NONE, alarm_get_scheduled_date(first, &date));
    EXPECT_EQ(1, date.tm_wday);
    EXPECT_EQ(5, date.tm_sec);
    int flag = kUntouched;
    EXPECT_EQ(ALARM_ERROR_NONE, alarm_get_scheduled_recurrence_week_flag(first, &flag));
    EXPECT_EQ(ALARM_WEEK_FLAG_MONDAY, flag);
    EXPECT_EQ(ALARM_ERROR_NONE, alarm_get_scheduled_recurrence_week_flag(second, &flag));
    EXPECT_EQ(0, flag);

    // Nobody's, and another package's.
    for (const int id : { 0, 1, INT_MAX, session.alarms()[1].id + session.alarms()[0].id }) {
        EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_get_scheduled_date(id, &date)) << id;
        flag = kUntouched;
        EXPECT_EQ(
            ALARM_ERROR_INVALID_PARAMETER, alarm_get_scheduled_recurrence_week_flag(id, &flag));
        EXPECT_EQ(kUntouched, flag);
    }
    for (const HostSession::Alarm& alarm : session.alarms()) {
        if (alarm.package == "com.velmora.other") {
            EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_get_scheduled_date(alarm.id, &date));
        }
    }
    EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_foreach_registered_alarm(nullptr, nullptr));
    EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_get_scheduled_date(first, nullptr));
    EXPECT_EQ(
        ALARM_ERROR_INVALID_PARAMETER, alarm_get_scheduled_recurrence_week_flag(first, nullptr));
}

TEST_F(AlarmModuleTest, ARequestBeyondTheLimitIsRefusedWithALineThatNamesIt)
{
    app_control_add_extra_data(request.get(), "text", std::string(70000, 'x').c_str());

    expectRefused(ALARM_ERROR_OUT_OF_MEMORY, timeOfDay(7, 0, 0));

    EXPECT_TRUE(session.waitFor([this] {
        return session.logText().find("bytes; it may have 65536") != std::string::npos;
    }));
}

TEST_F(AlarmModuleTest, ARegistrationOutlivesTheService)
{
    int id = 0;
    ASSERT_EQ(ALARM_ERROR_NONE, schedule(timeOfDay(7, 0, 0), 127, &id));
    const pid_t killed = session.daemonPid();

    session.killDaemon();

    ASSERT_TRUE(session.waitFor([this] { return session.daemonPid() != 0; }));
    EXPECT_NE(killed, session.daemonPid());
    ASSERT_EQ(1u, session.alarms().size());
    EXPECT_EQ(id, session.alarms()[0].id);
    EXPECT_EQ(ALARM_ERROR_NONE, alarm_cancel(id));
}

TEST_F(AlarmModuleTest, RefusesWhatIsMissing)
{
    tm date = timeOfDay(7, 0, 0);
    int id = kUntouched;
    const int invalid = ALARM_ERROR_INVALID_PARAMETER;
    const AppControl noId = requestFor(nullptr);
    const AppControl emptyId = requestFor("");

    EXPECT_EQ(invalid, alarm_schedule_with_recurrence_week_flag(nullptr, &date, 0, &id));
    EXPECT_EQ(invalid, alarm_schedule_with_recurrence_week_flag(request.get(), nullptr, 0, &id));
    EXPECT_EQ(invalid, alarm_schedule_with_recurrence_week_flag(request.get(), &date, 0, nullptr));
    EXPECT_EQ(invalid, alarm_schedule_with_recurrence_week_flag(noId.get(), &date, 0, &id));
    EXPECT_EQ(invalid, alarm_schedule_with_recurrence_week_flag(emptyId.get(), &date, 0, &id));
    EXPECT_EQ(kUntouched, id);
    EXPECT_TRUE(session.alarms().empty());
}

TEST_F(AlarmModuleTest, RefusesFlagsThatAreNoWeekdays)
{
    for (const int flag : { -1, 128, 255, INT_MIN, INT_MAX })
        expectRefused(ALARM_ERROR_INVALID_PARAMETER, timeOfDay(7, 0, 0), flag);
}

TEST_F(AlarmModuleTest, SaysWhenTheServiceCannotBeReached)
{
    const std::string fail = std::to_string(ALARM_ERROR_CONNECTION_FAIL);

    EXPECT_EQ(fail,
        probe({ "alarm", "1" }, { { "DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent" } }));
    EXPECT_EQ(fail + " untouched",
        probe(
            { "schedule", kTarget }, { { "DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent" } }));
    // A bus on which nobody offers the service.
    const std::string noService = "<busconfig><listen>unix:tmpdir=/tmp</listen>"
                                  "<policy context=\"default\"><allow own=\"*\"/>"
                                  "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                                  "<allow eavesdrop=\"true\"/></policy></busconfig>";
    TempDir place;
    std::ofstream(place.file("bus.conf")) << noService;
    const CommandResult result = runCommand({ "dbus-run-session",
        "--config-file=" + place.file("bus.conf"), "--", HOST_PROBE, "schedule", kTarget });
    EXPECT_EQ(fail + " untouched", result.out) << result.err;
}

TEST_P(AlarmDateTest, IsCheckedBeforeItIsRegistered)
{
    const DateCase& c = GetParam();
    if (c.code != ALARM_ERROR_NONE) {
        expectRefused(c.code, c.date);
        return;
    }
    int id = kUntouched;
    EXPECT_EQ(ALARM_ERROR_NONE, schedule(c.date, 0, &id));
    EXPECT_GT(id, 0);
}

INSTANTIATE_TEST_SUITE_P(Table, AlarmDateTest,
    testing::Values(DateCase{ "FirstSecond", timeOfDay(0, 0, 0), ALARM_ERROR_NONE },
        DateCase{ "LastSecond", timeOfDay(23, 59, 59), ALARM_ERROR_NONE },
        DateCase{ "Hour24", timeOfDay(24, 0, 0), ALARM_ERROR_INVALID_TIME },
        DateCase{ "NegativeHour", timeOfDay(-1, 0, 0), ALARM_ERROR_INVALID_TIME },
        DateCase{ "Minute60", timeOfDay(0, 60, 0), ALARM_ERROR_INVALID_TIME },
        DateCase{ "NegativeMinute", timeOfDay(0, -1, 0), ALARM_ERROR_INVALID_TIME },
        DateCase{ "Second60", timeOfDay(0, 0, 60), ALARM_ERROR_INVALID_TIME },
        DateCase{ "NegativeSecond", timeOfDay(0, 0, -1), ALARM_ERROR_INVALID_TIME },
        DateCase{ "LeapDay", onDay(2088, 2, 29, 7), ALARM_ERROR_NONE },
        DateCase{ "LastDay", onDay(9999, 12, 31, 7), ALARM_ERROR_NONE },
        DateCase{ "NoLeapYear", onDay(2089, 2, 29, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "NoLeapCentury", onDay(2100, 2, 29, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "April31", onDay(2090, 4, 31, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "Day0", onDay(2090, 4, 0, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "Day32", onDay(2090, 1, 32, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "Month0", onDay(2090, 0, 1, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "Month13", onDay(2090, 13, 1, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "Year0", onDay(0, 1, 1, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "Year10000", onDay(10000, 1, 1, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "YearBeyondInt", onDay(INT_MIN + 1900, 1, 1, 7), ALARM_ERROR_INVALID_DATE },
        DateCase{ "WrongTimeFirst", onDay(2090, 13, 1, 24), ALARM_ERROR_INVALID_TIME }),
    [](const auto& row) { return row.param.name; });
