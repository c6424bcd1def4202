#include "AlarmDbData.h"
#include "AlarmIcuDataModel.h"
#include "I18nFixture.h"

#include <cstring>
#include <limits>
#include <optional>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
using Kind = I18nHandle::Kind;

// What the link holds, none without a value, and the links that were read.
std::optional<std::string> linkTarget;
std::vector<std::string> linksRead;
std::vector<size_t> linkRooms;

class AlarmIcuDataModelZoneTest : public I18nTest {
protected:
    AlarmIcuDataModelZoneTest()
    {
        linksRead.clear();
        linkRooms.clear();
        linkTarget = "/usr/share/zoneinfo/Asia/Seoul";
    }

    static std::string zone()
    {
        char* text = AlarmIcuDataModel::getCurrentTimeZone();
        std::string result = text;
        free(text);
        return result;
    }

    static AlarmDbData alarmAt(int hour, int min, int stime, const char* timezone)
    {
        AlarmDbData alarm;
        alarm.hour = hour;
        alarm.min = min;
        alarm.stime = stime;
        alarm.timezone = timezone;
        return alarm;
    }

    static bool isZoneVariableSet() { return getenv("TZ") != nullptr; }

    // The offset of the C library's zone as it was last read.
    static long offsetInForce()
    {
        const time_t instant = 0;
        tm local = {};
        localtime_r(&instant, &local);
        return local.tm_gmtoff;
    }

    static void expectTheMachinesZoneInForce()
    {
        const long inForce = offsetInForce();
        tzset();
        EXPECT_EQ(offsetInForce(), inForce);
    }
};
} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" ssize_t __wrap_readlink(const char* path, char* buffer, size_t size);
ssize_t __wrap_readlink(const char* path, char* buffer, size_t size)
{
    linksRead.emplace_back(path);
    linkRooms.push_back(size);
    if (!linkTarget)
        return -1;
    const size_t length = linkTarget->copy(buffer, size);
    return static_cast<ssize_t>(length);
}
// NOLINTEND(bugprone-reserved-identifier)

TEST_F(AlarmIcuDataModelZoneTest, ZoneIsWhatTheLinkNamesBelowTheZoneData)
{
    EXPECT_EQ("Asia/Seoul", zone());

    EXPECT_THAT(linksRead, ElementsAre("/opt/etc/localtime"));
    EXPECT_THAT(linkRooms, ElementsAre(1023u));
    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("tz [Asia/Seoul]"));
}

TEST_F(AlarmIcuDataModelZoneTest, WithoutALinkTheZoneIsEmpty)
{
    linkTarget.reset();

    EXPECT_EQ("", zone());

    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("timezone get error", "tz []"));
}

TEST_F(AlarmIcuDataModelZoneTest, ZoneDataMayLieInAnotherFolder)
{
    for (const char* target : { "../usr/share/zoneinfo/Asia/Seoul", "zoneinfo/Asia/Seoul",
             "/opt/share/zoneinfo/Asia/Seoul", "/my-zoneinfo/usr/zoneinfo/Asia/Seoul" }) {
        linkTarget = target;
        EXPECT_EQ("Asia/Seoul", zone()) << target;
    }
    linkTarget = "../usr/share/zoneinfo/";
    EXPECT_EQ("", zone());
}

TEST_F(AlarmIcuDataModelZoneTest, TwentyCharactersOfAnotherPathAreCutWhateverTheyAre)
{
    linkTarget = "/another/path/of/it/Asia/Seoul";
    EXPECT_EQ("Asia/Seoul", zone());
    linkTarget = "/usr/share/zoneinfo/";
    EXPECT_EQ("", zone());
    linkTarget = "../zone";
    EXPECT_EQ("", zone());
    linkTarget = "/usr/share/zoneinfo/X";
    EXPECT_EQ("X", zone());
}

TEST_F(AlarmIcuDataModelZoneTest, ALinkEndsAt1023Bytes)
{
    linkTarget = std::string(2000, 'x');

    EXPECT_EQ(std::string(1003, 'x'), zone());
}

TEST_F(AlarmIcuDataModelZoneTest, AStartTimeThatShowsTheAlarmsTimeStays)
{
    const AlarmDbData alarm = alarmAt(7, 30, 1711863000, "Europe/Berlin");

    EXPECT_EQ(1711863000, AlarmIcuDataModel::verifyExistingTimeForDst(alarm));

    EXPECT_FALSE(isZoneVariableSet());
    EXPECT_THAT(
        dlogDouble().criticals(), ElementsAre("Alarm time match case. Return orignal startTime"));
}

TEST_F(AlarmIcuDataModelZoneTest, ASkippedStartTimeMovesToTheNextDay)
{
    // 2024-03-31 03:30 of summer time, the 02:30 that was skipped.
    const AlarmDbData alarm = alarmAt(2, 30, 1711848600, "Europe/Berlin");

    EXPECT_EQ(1711848600 + 23 * 3600, AlarmIcuDataModel::verifyExistingTimeForDst(alarm));

    EXPECT_FALSE(isZoneVariableSet());
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre(
            "Alarm time value mismatch! [tm.tm_hour = 3, tm.tm_min = 30, hour = 2, min = 30]"));
}

TEST_F(AlarmIcuDataModelZoneTest, AStartTimeMovesByWholeHours)
{
    const int noon = 1718445600; // 2024-06-15 12:00 in Berlin

    EXPECT_EQ(noon + 24 * 3600,
        AlarmIcuDataModel::verifyExistingTimeForDst(alarmAt(12, 5, noon, "Europe/Berlin")));
    EXPECT_EQ(noon + 25 * 3600,
        AlarmIcuDataModel::verifyExistingTimeForDst(alarmAt(13, 0, noon, "Europe/Berlin")));
    EXPECT_EQ(noon + 12 * 3600,
        AlarmIcuDataModel::verifyExistingTimeForDst(alarmAt(0, 0, noon, "Europe/Berlin")));
}

TEST_F(AlarmIcuDataModelZoneTest, AStartTimeIsReadInTheAlarmsZone)
{
    const int noon = 1718445600;

    EXPECT_EQ(
        noon, AlarmIcuDataModel::verifyExistingTimeForDst(alarmAt(19, 0, noon, "Asia/Seoul")));
    EXPECT_EQ(noon, AlarmIcuDataModel::verifyExistingTimeForDst(alarmAt(10, 0, noon, "")));
}

TEST_F(AlarmIcuDataModelZoneTest, AStartTimeNearTheEndOfTheRecordsRangeDoesNotOverflow)
{
    const AlarmDbData alarm = alarmAt(4, 0, 2147483647, "UTC"); // 03:14

    EXPECT_EQ(2147483647L + 25 * 3600, AlarmIcuDataModel::verifyExistingTimeForDst(alarm));
}

TEST_F(AlarmIcuDataModelZoneTest, AnyHourOfADamagedRecordMovesTheStartTime)
{
    const int noon = 1718445600; // 2024-06-15 10:00 UTC
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();

    EXPECT_EQ(noon + 3600L * (14L + most),
        AlarmIcuDataModel::verifyExistingTimeForDst(alarmAt(most, most, noon, "UTC")));
    EXPECT_EQ(noon + 3600L * (14L + least),
        AlarmIcuDataModel::verifyExistingTimeForDst(alarmAt(least, least, noon, "UTC")));
}

TEST_F(AlarmIcuDataModelZoneTest, ACalendarIsGregorianInTheDefaultLocale)
{
    void* calendar = AlarmIcuDataModel::getUcal("Asia/Seoul");

    const I18nHandle* made = i18nDouble().lastOf(Kind::Calendar);
    EXPECT_EQ("Asia/Seoul", made->zone);
    EXPECT_EQ("C", made->locale);
    EXPECT_EQ(I18N_UCALENDAR_GREGORIAN, made->type);
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
    i18n_ucalendar_destroy(calendar);
}

TEST_F(AlarmIcuDataModelZoneTest, ACalendarDoesNotNeedTheDefaultLocalesName)
{
    i18nDouble().getDefaultCode = I18N_ERROR_UNKNOWN;

    void* calendar = AlarmIcuDataModel::getUcal("Asia/Seoul");

    EXPECT_EQ("(default)", i18nDouble().lastOf(Kind::Calendar)->locale);
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
    i18n_ucalendar_destroy(calendar);
}

TEST_F(AlarmIcuDataModelZoneTest, ACalendarsZoneEndsAt64Units)
{
    void* calendar = AlarmIcuDataModel::getUcal(std::string(100, 'Z'));

    EXPECT_EQ(std::string(64, 'Z'), i18nDouble().lastOf(Kind::Calendar)->zone);
    i18n_ucalendar_destroy(calendar);
}

TEST_F(AlarmIcuDataModelZoneTest, ACalendarThatCannotBeMadeIsNull)
{
    i18nDouble().calendarCode = -22;

    EXPECT_EQ(nullptr, AlarmIcuDataModel::getUcal("Asia/Seoul"));

    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("i18n_ucalendar_create got an error : -22"));
}

TEST_F(AlarmIcuDataModelZoneTest, ACalendarFillsTheFieldsOfABrokenDownTime)
{
    i18nDouble().fields = {
        { I18N_UCALENDAR_SECOND, 5 },
        { I18N_UCALENDAR_MINUTE, 4 },
        { I18N_UCALENDAR_HOUR_OF_DAY, 23 },
        { I18N_UCALENDAR_DATE, 29 },
        { I18N_UCALENDAR_MONTH, 1 },
        { I18N_UCALENDAR_YEAR, 2024 },
        { I18N_UCALENDAR_DAY_OF_WEEK, 5 },
        { I18N_UCALENDAR_DAY_OF_YEAR, 60 },
        { I18N_UCALENDAR_DST_OFFSET, 3600000 },
    };
    void* calendar = AlarmIcuDataModel::getUcal("UTC");
    tm out = {};

    AlarmIcuDataModel::getUCalendar(calendar, &out);

    EXPECT_EQ(5, out.tm_sec);
    EXPECT_EQ(4, out.tm_min);
    EXPECT_EQ(23, out.tm_hour);
    EXPECT_EQ(29, out.tm_mday);
    EXPECT_EQ(1, out.tm_mon);
    EXPECT_EQ(124, out.tm_year);
    EXPECT_EQ(4, out.tm_wday);
    EXPECT_EQ(59, out.tm_yday);
    EXPECT_EQ(1, out.tm_isdst);
    EXPECT_THAT(i18nDouble().fieldsRead,
        ElementsAre(I18N_UCALENDAR_SECOND, I18N_UCALENDAR_MINUTE, I18N_UCALENDAR_HOUR_OF_DAY,
            I18N_UCALENDAR_DATE, I18N_UCALENDAR_MONTH, I18N_UCALENDAR_YEAR,
            I18N_UCALENDAR_DAY_OF_WEEK, I18N_UCALENDAR_DAY_OF_YEAR, I18N_UCALENDAR_DST_OFFSET));

    i18nDouble().fields[I18N_UCALENDAR_DST_OFFSET] = 0;
    AlarmIcuDataModel::getUCalendar(calendar, &out);
    EXPECT_EQ(0, out.tm_isdst);
    i18n_ucalendar_destroy(calendar);
}

TEST_F(AlarmIcuDataModelZoneTest, ACalendarIsSetToABrokenDownTime)
{
    tm in = {};
    in.tm_year = 124;
    in.tm_mon = 1;
    in.tm_mday = 29;
    in.tm_hour = 23;
    in.tm_min = 4;
    in.tm_sec = 5;
    void* calendar = AlarmIcuDataModel::getUcal("UTC");

    AlarmIcuDataModel::setUCalendar(calendar, &in);

    EXPECT_THAT(i18nDouble().setDateTimes, ElementsAre(ElementsAre(2024, 1, 29, 23, 4, 5)));
    i18n_ucalendar_destroy(calendar);
}

TEST_F(AlarmIcuDataModelZoneTest, WallTimeIsReadFromACalendarOfTheDevicesZone)
{
    i18nDouble().fields = { { I18N_UCALENDAR_HOUR_OF_DAY, 7 }, { I18N_UCALENDAR_MINUTE, 30 } };
    tm out = {};
    out.tm_gmtoff = 32400;

    AlarmIcuDataModel::getTmFromUtime(5000000000, out);

    EXPECT_EQ("Asia/Seoul", i18nDouble().lastOf(Kind::Calendar)->zone);
    EXPECT_THAT(i18nDouble().setMilliseconds, ElementsAre(5000000000000.0));
    EXPECT_EQ(7, out.tm_hour);
    EXPECT_EQ(30, out.tm_min);
    EXPECT_EQ(32400, out.tm_gmtoff);
    EXPECT_THAT(i18nDouble().alive, IsEmpty());
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("tz [Asia/Seoul]", "hour [7] min [30] gmtoff[32400]"));
}

TEST_F(AlarmIcuDataModelZoneTest, InstantIsReadFromACalendarOfTheDevicesZone)
{
    i18nDouble().calendarMilliseconds = 5000000000999.0;
    tm in = {};
    in.tm_year = 228;
    in.tm_mon = 5;
    in.tm_mday = 11;
    in.tm_hour = 17;
    in.tm_min = 53;
    in.tm_sec = 20;

    EXPECT_EQ(5000000000, AlarmIcuDataModel::getUtimeFromTm(in));

    EXPECT_EQ("Asia/Seoul", i18nDouble().lastOf(Kind::Calendar)->zone);
    EXPECT_THAT(i18nDouble().setDateTimes, ElementsAre(ElementsAre(2128, 5, 11, 17, 53, 20)));
    EXPECT_THAT(i18nDouble().alive, IsEmpty());
    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("tz [Asia/Seoul]"));
}

TEST_F(AlarmIcuDataModelZoneTest, ConversionsTolerateAnUnknownZone)
{
    linkTarget.reset();
    i18nDouble().calendarCode = I18N_ERROR_UNKNOWN;
    tm time = {};

    AlarmIcuDataModel::getTmFromUtime(0, time);
    EXPECT_EQ(0, AlarmIcuDataModel::getUtimeFromTm(time));

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("timezone get error", "tz []",
            "i18n_ucalendar_create got an error : -1073741824", "hour [0] min [0] gmtoff[0]",
            "timezone get error", "tz []", "i18n_ucalendar_create got an error : -1073741824"));
}

TEST_F(AlarmIcuDataModelZoneTest, InstantByTheCLibraryIsToTheMinuteAndNormalised)
{
    setZone("Europe/Berlin");
    tm in = {};
    in.tm_year = 120;
    in.tm_mon = 8;
    in.tm_mday = 31; // the 1st of October
    in.tm_hour = 7;
    in.tm_min = 30;
    in.tm_sec = 59;
    in.tm_isdst = 1;

    EXPECT_EQ(1601505000, AlarmIcuDataModel::getTimeTFromTm(&in));

    EXPECT_EQ(0, in.tm_sec);
    EXPECT_EQ(1, in.tm_mday);
    EXPECT_EQ(9, in.tm_mon);
    EXPECT_EQ(4, in.tm_wday);
    EXPECT_EQ(274, in.tm_yday);
    EXPECT_EQ(0, in.tm_isdst);
    EXPECT_FALSE(isZoneVariableSet());
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("tz [Asia/Seoul]",
            "timeTm->tm_hour[7] timeTm->tm_min[30] timeTm->tm_wday[4] timeT[1601505000]"));
}

TEST_F(AlarmIcuDataModelZoneTest, InstantByTheCLibraryFindsDaylightSavingTimeItself)
{
    linkTarget = "/usr/share/zoneinfo/Europe/Berlin";
    tm in = {};
    in.tm_year = 120;
    in.tm_mon = 6;
    in.tm_mday = 1;
    in.tm_hour = 7;

    EXPECT_EQ(1593579600, AlarmIcuDataModel::getTimeTFromTm(&in));

    EXPECT_EQ(7, in.tm_hour);
    EXPECT_EQ(1, in.tm_isdst);
}

// Of two zones, one at least is not the machine's.
TEST_F(AlarmIcuDataModelZoneTest, TheProcesssZoneIsTheMachinesAfterwards)
{
    for (const char* name : { "Asia/Seoul", "Pacific/Marquesas" }) {
        SCOPED_TRACE(name);
        setZone("America/New_York");
        linkTarget = std::string("/usr/share/zoneinfo/") + name;
        tm in = {};
        in.tm_year = 120;
        in.tm_mday = 1;
        AlarmIcuDataModel::getTimeTFromTm(&in);
        expectTheMachinesZoneInForce();

        setZone("America/New_York");
        AlarmIcuDataModel::verifyExistingTimeForDst(alarmAt(7, 30, 0, name));
        expectTheMachinesZoneInForce();
    }
}

TEST_F(AlarmIcuDataModelZoneTest, AnUnknownZoneIsUtcForTheCLibrary)
{
    linkTarget.reset();
    tm in = {};
    in.tm_year = 70;
    in.tm_mday = 1;
    in.tm_hour = 1;

    EXPECT_EQ(3600, AlarmIcuDataModel::getTimeTFromTm(&in));
    EXPECT_FALSE(isZoneVariableSet());
}

TEST_F(AlarmIcuDataModelZoneTest, LocalInstantIsLaterByTheOffset)
{
    setZone("Europe/Berlin");

    EXPECT_EQ(1700000000 + 3600, AlarmIcuDataModel::getLocalTimeTfromUtcTimeT(1700000000));
    EXPECT_EQ(1690000000 + 7200, AlarmIcuDataModel::getLocalTimeTfromUtcTimeT(1690000000));

    EXPECT_STREQ("Europe/Berlin", getenv("TZ"));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}
