#include "VoiceAlarm.h"

#include "ClockDouble.h"
#include "common/Failure.h"
#include "DlogDouble.h"
#include "VconfDouble.h"
#include "VoiceRequest.h"

#include <cstdlib>
#include <ctime>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>

// A process whose zone is not set has the device's, as on the watch.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void __real_tzset();
void __wrap_tzset();
ssize_t __wrap_readlink(const char* path, char* buffer, size_t size);

void __wrap_tzset()
{
    setenv("TZ", ":Europe/Berlin", 0);
    __real_tzset();
}

ssize_t __wrap_readlink(const char* /*path*/, char* buffer, size_t size)
{
    return static_cast<ssize_t>(
        std::string("/usr/share/zoneinfo/Europe/Berlin").copy(buffer, size));
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

const int kHour = 3600;
const int kDay = 24 * kHour;
const int kNoon = 1795431600; // Mon 2026-11-23 12:00 in Berlin

class VoiceAlarmTest : public testing::Test {
protected:
    VoiceAlarmTest()
    {
        dlogDouble() = {};
        vconfDouble() = {};
        setenv("TZ", ":Europe/Berlin", 1);
        tzset();
    }
    ~VoiceAlarmTest() override { clockDouble() = {}; }

    static AlarmDbData asked(const VoiceRequest& request, int now)
    {
        clockDouble().now = timeval{ now, 0 };
        AlarmDbData alarm;
        setAsAsked(alarm, request, now);
        return alarm;
    }

    static std::string refusalOf(const VoiceRequest& request, int now)
    {
        try {
            asked(request, now);
            return "";
        } catch (const Failure& failure) {
            EXPECT_EQ(Failure::kBadInput, failure.status());
            return failure.what();
        }
    }
};

struct Date {
    int year, month, day; ///< 0: none
};

struct OnceCase {
    const char* name;
    int now;
    Date date;
    int hour, minute;
    int instant;
    int days;
};
class VoiceOnceTest : public VoiceAlarmTest, public testing::WithParamInterface<OnceCase> {};

struct SameCase {
    const char* name;
    bool isSame;
    bool isRepeating; ///< the new alarm: on Mondays at 12:30; else today at 12:30
    std::function<void(AlarmDbData&)> change; ///< of the stored one, which is as the new one
};
class VoiceSameTest : public VoiceAlarmTest, public testing::WithParamInterface<SameCase> {};

struct RefusedCase {
    const char* name;
    int now;
    Date date;
    int hour, minute;
    const char* reason;
};
class VoiceRefusedTest : public VoiceAlarmTest, public testing::WithParamInterface<RefusedCase> {};

VoiceRequest requestOf(const Date& date, int hour, int minute)
{
    VoiceRequest request;
    request.operation = VoiceRequest::Operation::Add;
    request.time = { hour, minute };
    if (date.year != 0) {
        request.date.emplace();
        request.date->tm_year = date.year - 1900;
        request.date->tm_mon = date.month - 1;
        request.date->tm_mday = date.day;
    }
    return request;
}

const char* const kOver = "the time of the alarm is over";
const char* const kFar = "the date of the alarm is more than a week away";
const Date kNone = { 0, 0, 0 };
const Date kSpring = { 2026, 3, 29 }; ///< clocks are set forward at 01:00 UTC, 1774746000
const Date kAutumn = { 2026, 10, 25 }; ///< and back at 01:00 UTC, 1792890000

const auto nameOf = [](const auto& row) { return row.param.name; };

} // namespace

TEST_P(VoiceOnceTest, RingsAsTheAlarmServiceWill)
{
    const OnceCase& row = GetParam();

    const AlarmDbData alarm = asked(requestOf(row.date, row.hour, row.minute), row.now);

    EXPECT_EQ(row.instant, alarm.stime);
    EXPECT_EQ(row.instant, alarm.atime);
    EXPECT_EQ(row.days, alarm.repeatWeekly);
    EXPECT_EQ(1, alarm.repeat_once);
    EXPECT_EQ(row.hour, alarm.hour);
    EXPECT_EQ(row.minute, alarm.min);
    EXPECT_EQ("Europe/Berlin", alarm.timezone);
}

INSTANTIATE_TEST_SUITE_P(Table, VoiceOnceTest,
    testing::Values(OnceCase{ "LaterToday", kNoon, kNone, 18, 0, kNoon + 6 * kHour, 2 },
        OnceCase{ "Tomorrow", kNoon, kNone, 11, 30, kNoon + kDay - kHour / 2, 4 },
        OnceCase{ "NowIsTomorrow", kNoon, kNone, 12, 0, kNoon + kDay, 4 },
        OnceCase{ "Date", kNoon, { 2026, 11, 25 }, 12, 0, kNoon + 2 * kDay, 8 },
        OnceCase{ "DateAndNow", kNoon, { 2026, 11, 23 }, 12, 0, kNoon + kDay, 4 },
        OnceCase{ "DateThatIsOver", kNoon, { 2026, 11, 23 }, 11, 59, kNoon + kDay - 60, 4 },
        OnceCase{ "Yesterday", kNoon, { 2026, 11, 22 }, 12, 1, kNoon + 60, 2 },
        OnceCase{ "AWeek", kNoon, { 2026, 11, 30 }, 12, 0, kNoon + 7 * kDay, 2 },
        OnceCase{ "NextYear", kNoon + 34 * kDay, { 2027, 1, 1 }, 12, 0, kNoon + 39 * kDay, 32 },
        OnceCase{ "Gap", 1774738800, kSpring, 2, 30, 1774746000, 1 },
        OnceCase{ "GapWithoutADate", 1774738800, kNone, 2, 30, 1774746000, 1 },
        OnceCase{ "GapIsOver", 1774746900, kSpring, 2, 30, 1774830600, 2 },
        OnceCase{ "FirstOfTwo", 1792836000, kAutumn, 2, 30, 1792888200, 1 },
        OnceCase{ "FirstOfTwoOfTheDateIsOver", 1792889100, kAutumn, 2, 30, 1792978200, 2 },
        OnceCase{ "FirstOfTwoIsOver", 1792889100, kNone, 2, 30, 1792978200, 2 },
        OnceCase{ "DayAfter25Hours", 1792968300, kAutumn, 0, 30, 1792971000, 2 },
        OnceCase{ "DayAfter23Hours", 1774741500, kSpring, 0, 30, 1774823400, 2 },
        OnceCase{ "DayOf23Hours", 1774737900, { 2026, 3, 28 }, 23, 30, 1774819800, 1 }),
    nameOf);

TEST_P(VoiceRefusedTest, IsToldWhatIsWrong)
{
    const RefusedCase& row = GetParam();
    EXPECT_EQ(row.reason, refusalOf(requestOf(row.date, row.hour, row.minute), row.now));
}

INSTANTIATE_TEST_SUITE_P(Table, VoiceRefusedTest,
    testing::Values(RefusedCase{ "YesterdayAndOver", kNoon, { 2026, 11, 22 }, 11, 59, kOver },
        RefusedCase{ "TwoDaysAgo", kNoon, { 2026, 11, 21 }, 12, 1, kOver },
        RefusedCase{ "LongAgo", kNoon, { 1970, 1, 1 }, 0, 0, kOver },
        RefusedCase{ "YesterdayAndFirstOfTwo", 1792889100, { 2026, 10, 24 }, 2, 30, kOver },
        RefusedCase{ "YesterdayAndGap", 1774746000, { 2026, 3, 28 }, 2, 30, kOver },
        RefusedCase{ "AWeekAndAMinute", kNoon, { 2026, 11, 30 }, 12, 1, kFar },
        RefusedCase{ "LongAhead", kNoon, { 2037, 12, 31 }, 23, 59, kFar }),
    nameOf);

// time() is some milliseconds late to tell the second that the companion's clock tells.
TEST_F(VoiceAlarmTest, InstantThatIsNowIsOverThoughTimeIsLate)
{
    clockDouble().now = timeval{ kNoon - 1, 999999 };
    AlarmDbData alarm;

    setAsAsked(alarm, requestOf({ 2026, 11, 23 }, 12, 0), kNoon);

    EXPECT_EQ(kNoon + kDay, alarm.stime);
    EXPECT_EQ(4, alarm.repeatWeekly);
}

TEST_F(VoiceAlarmTest, RepeatingAlarmRingsOnTheNextOfItsDays)
{
    VoiceRequest request = requestOf(kNone, 12, 0);
    request.days = { false, 2 + 64 };

    const AlarmDbData alarm = asked(request, kNoon);

    EXPECT_EQ(0, alarm.repeat_once);
    EXPECT_EQ(66, alarm.repeatWeekly);
    EXPECT_EQ(kNoon + 5 * kDay, alarm.stime);
    EXPECT_EQ(alarm.stime, alarm.atime);
    EXPECT_EQ("Europe/Berlin", alarm.timezone);
}

TEST_P(VoiceSameTest, IsOneThatWillRingAsTheNewOne)
{
    VoiceRequest request = requestOf(kNone, 12, 30);
    if (GetParam().isRepeating)
        request.days = { false, 2 };
    const AlarmDbData made = asked(request, kNoon);
    AlarmDbData stored = made;
    stored.enable = 1;
    stored.alarm_mgr_id = 7;
    stored.name = "another";
    GetParam().change(stored);

    EXPECT_EQ(GetParam().isSame, ringsInsteadOf(made, stored, kNoon));
}

INSTANTIATE_TEST_SUITE_P(Once, VoiceSameTest,
    testing::Values(SameCase{ "Same", true, false, [](AlarmDbData& /*alarm*/) {} },
        SameCase{ "Off", false, false, [](AlarmDbData& alarm) { alarm.enable = 0; } },
        SameCase{ "OtherHour", false, false, [](AlarmDbData& alarm) { alarm.hour = 13; } },
        SameCase{ "OtherMinute", false, false, [](AlarmDbData& alarm) { alarm.min = 31; } },
        SameCase{ "Repeating", false, false, [](AlarmDbData& alarm) { alarm.repeat_once = 0; } },
        SameCase{ "OfTheNextDay", false, false,
            [](AlarmDbData& alarm) {
                alarm.stime += kDay;
                alarm.repeatWeekly = 4;
            } },
        SameCase{ "OtherSecond", false, false, [](AlarmDbData& alarm) { alarm.stime += 30; } },
        SameCase{ "HasRung", false, false, [](AlarmDbData& alarm) { alarm.stime -= 7 * kDay; } },
        SameCase{ "OfPhone", true, false, [](AlarmDbData& alarm) { alarm.deviceType = 1; } },
        SameCase{ "SilentOfPhone", false, false,
            [](AlarmDbData& alarm) {
                alarm.deviceType = 1;
                alarm.alarm_mgr_id = -1;
            } },
        SameCase{ "OfPhoneAWeekLater", false, false,
            [](AlarmDbData& alarm) {
                alarm.deviceType = 1;
                alarm.alarm_mgr_id = -1;
                alarm.stime += 7 * kDay;
                alarm.mobileAlertTime = alarm.stime * 1000ULL;
                vconfDouble().texts["db/wms/host_status/vendor"] = "velmora";
            } }),
    nameOf);

INSTANTIATE_TEST_SUITE_P(Repeating, VoiceSameTest,
    testing::Values(SameCase{ "Same", true, true, [](AlarmDbData& /*alarm*/) {} },
        SameCase{ "Off", false, true, [](AlarmDbData& alarm) { alarm.enable = 0; } },
        SameCase{ "OtherHour", false, true, [](AlarmDbData& alarm) { alarm.hour = 13; } },
        SameCase{ "OtherMinute", false, true, [](AlarmDbData& alarm) { alarm.min = 31; } },
        SameCase{ "OtherDays", false, true, [](AlarmDbData& alarm) { alarm.repeatWeekly = 6; } },
        SameCase{ "Once", false, true, [](AlarmDbData& alarm) { alarm.repeat_once = 1; } },
        SameCase{ "HasRung", true, true, [](AlarmDbData& alarm) { alarm.stime -= 7 * kDay; } },
        SameCase{ "Snoozed", true, true,
            [](AlarmDbData& alarm) {
                alarm.stime = kNoon - 60;
                alarm.count = 1;
            } },
        SameCase{ "OfPhone", true, true, [](AlarmDbData& alarm) { alarm.deviceType = 1; } },
        SameCase{ "SilentOfPhone", false, true,
            [](AlarmDbData& alarm) {
                alarm.deviceType = 1;
                alarm.alarm_mgr_id = -1;
            } }),
    nameOf);

TEST_F(VoiceAlarmTest, NameAndSnoozeAreTaken)
{
    VoiceRequest request = requestOf(kNone, 18, 0);
    request.name = "Work";
    EXPECT_EQ("Work", asked(request, kNoon).name);
    EXPECT_EQ(1, asked(request, kNoon).snooze_enable);

    request.mayBeSnoozed = false;
    EXPECT_EQ(0, asked(request, kNoon).snooze_enable);
}

TEST_F(VoiceAlarmTest, ReplyHasTheNextInstantWhateverIsStored)
{
    AlarmDbData alarm;
    alarm.hour = 7;
    alarm.min = 30;
    alarm.repeat_once = 0;
    alarm.repeatWeekly = 127;
    alarm.stime = kNoon - 100 * kDay - 4 * kHour - kHour / 2;
    alarm.name = "a\nb\xff";
    const int next = kNoon + 19 * kHour + kHour / 2;

    for (const int stored : { 0, kNoon - kDay }) {
        alarm.atime = stored;
        const AlarmDbData described = recordForReply(alarm, kNoon);
        EXPECT_EQ(next, described.atime);
        EXPECT_EQ(5, described.snooze_min);
        EXPECT_EQ("a\uFFFD"
                  "b\uFFFD",
            described.name);
    }

    alarm.stime = kNoon - 60;
    alarm.count = 1;
    EXPECT_EQ(kNoon + 240, recordForReply(alarm, kNoon).atime);

    alarm.snooze_enable = 0;
    EXPECT_EQ(0, recordForReply(alarm, kNoon).snooze_min);
}
