#include "StoreFixture.h"

#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {
const long kMinute = 60;
const long kHour = 60 * kMinute;
const long kDay = 24 * kHour;

// 2024-03-10 00:00 UTC, a Sunday.
const long kSunday = 1710028800;
const long kMonday = kSunday + kDay;
const long kWednesday = kSunday + 3 * kDay;
const long kSaturday = kSunday + 6 * kDay;

long at(long day, long hour, long min) { return day + hour * kHour + min * kMinute; }

class SearchFixture : public StoreFixture {
protected:
    SearchFixture()
    {
        makeFile();
        probe = std::make_unique<SqliteProbe>();
        model = std::make_unique<AlarmDbModel>();
        probe->statements.clear();
    }

    int insert(AlarmDbData alarm)
    {
        model->insertAlarmData(alarm, false, false);
        probe->statements.clear();
        return alarm.id;
    }

    int insertWeekly(int days, int hour, int min, int enable = 1, int count = 0)
    {
        AlarmDbData alarm;
        alarm.repeat_once = 0;
        alarm.repeatWeekly = days;
        alarm.hour = hour;
        alarm.min = min;
        alarm.enable = enable;
        alarm.count = count;
        return insert(alarm);
    }

    std::unique_ptr<SqliteProbe> probe;
    std::unique_ptr<AlarmDbModel> model;
    std::vector<AlarmDbData> list;
};

class TimeRangeTest : public SearchFixture {
protected:
    std::vector<int> idsInRange(long start, long end, bool includeDisabled = false)
    {
        model->getAllAlarmListInTimeRange(list, start, end, includeDisabled);
        return idsOf(list);
    }
};

class ParameterSearchTest : public SearchFixture {
protected:
    // The conditions under which alarms are looked up, by name.
    struct Search {
        long startTime = 0;
        long endTime = 0;
        int repeatOnce = 0;
        int weekFlag = 0;
        std::string name;
        int enableState = 0;
        int useTimeRange = 0;
        int reserved = 0;
    };

    int run(const Search& s)
    {
        forget();
        return model->getAlarmListWithMultipleParameter(list, s.startTime, s.endTime, s.repeatOnce,
            s.weekFlag, s.name, s.enableState, s.useTimeRange, s.reserved);
    }

    // What follows "SELECT * FROM alarm" in the statement of a search, which must be able to run.
    std::string conditionsOf(const Search& s)
    {
        probe->statements.clear();
        EXPECT_EQ(0, run(s));
        EXPECT_EQ(1u, probe->statements.size());
        EXPECT_EQ(1u, criticals().size());
        EXPECT_EQ("query=" + probe->statements.at(0), criticals().at(0));
        const std::string start = "SELECT * FROM alarm";
        EXPECT_EQ(0u, probe->statements.at(0).find(start));
        return probe->statements.at(0).substr(start.size());
    }
};
} // namespace

TEST_F(TimeRangeTest, RangeOnOneDayIsThisStatement)
{
    idsInRange(at(kMonday, 7, 30), at(kMonday, 8, 0));
    idsInRange(at(kMonday, 7, 30), at(kMonday, 8, 0), true);

    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT * FROM alarm WHERE (hour*60+min)>= 450 AND (hour*60+min) <= 480 AND "
                    "enable = 1 AND (repeat_weekly & 2) = 2 AND isDeleted = 0",
            "SELECT * FROM alarm WHERE (hour*60+min)>= 450 AND (hour*60+min) <= 480 AND "
            "(repeat_weekly & 2) = 2 AND isDeleted = 0"));
}

TEST_F(TimeRangeTest, RangeOverMidnightIsThisStatement)
{
    idsInRange(at(kSaturday, 23, 50), at(kSaturday + kDay, 0, 10));
    idsInRange(at(kMonday, 23, 50), at(kMonday + kDay, 0, 10), true);

    EXPECT_THAT(probe->statements,
        ElementsAre("SELECT * FROM alarm WHERE enable = 1 AND (((hour*60+min) = 1430 AND "
                    "(repeat_weekly & 64) = 64 AND count > 0) OR  ((hour*60+min) > 1430 AND "
                    "(repeat_weekly & 64) = 64) OR ((hour*60+min)<= 10 AND (repeat_weekly & 1) = "
                    "1)) AND isDeleted = 0",
            "SELECT * FROM alarm WHERE (((hour*60+min) = 1430 AND (repeat_weekly & 2) = 2 AND "
            "count > 0) OR ((hour*60+min) > 1430 AND (repeat_weekly & 2) = 2) OR "
            "((hour*60+min)<= 10 AND (repeat_weekly & 4) = 4)) AND isDeleted = 0"));
}

TEST_F(TimeRangeTest, RangeOnOneDayIncludesBothEndsOfItsWeekday)
{
    insertWeekly(2, 7, 29);
    const int start = insertWeekly(2, 7, 30);
    const int end = insertWeekly(127, 8, 0);
    insertWeekly(2, 8, 1);
    insertWeekly(4, 7, 45);
    insertWeekly(0, 7, 45);

    EXPECT_THAT(
        idsInRange(at(kMonday, 7, 30), at(kMonday, 8, 0)), UnorderedElementsAre(start, end));
}

TEST_F(TimeRangeTest, SecondsOfTheInstantsDoNotCount)
{
    const int id = insertWeekly(2, 7, 30);

    EXPECT_THAT(idsInRange(at(kMonday, 7, 30) + 59, at(kMonday, 7, 30) + 59), ElementsAre(id));
}

TEST_F(TimeRangeTest, DisabledAlarmsAreListedOnlyWhenAskedFor)
{
    const int off = insertWeekly(2, 7, 30, 0);
    const int other = insertWeekly(2, 7, 31, 7);

    EXPECT_THAT(idsInRange(at(kMonday, 7, 0), at(kMonday, 8, 0)), IsEmpty());
    EXPECT_THAT(
        idsInRange(at(kMonday, 7, 0), at(kMonday, 8, 0), true), UnorderedElementsAre(off, other));
}

TEST_F(TimeRangeTest, DeletedAlarmsAreNotListed)
{
    insertWeekly(127, 7, 30);
    insertWeekly(127, 23, 55);
    file.run("UPDATE alarm SET isDeleted = 1");

    EXPECT_THAT(idsInRange(at(kMonday, 7, 0), at(kMonday, 8, 0), true), IsEmpty());
    EXPECT_THAT(idsInRange(at(kMonday, 23, 50), at(kMonday + kDay, 0, 10), true), IsEmpty());
}

TEST_F(TimeRangeTest, NightFromSaturdayToSundayListsBothDays)
{
    insertWeekly(64, 23, 49);
    insertWeekly(64, 23, 50);
    const int snoozing = insertWeekly(64, 23, 50, 1, 1);
    const int late = insertWeekly(64, 23, 51);
    const int early = insertWeekly(1, 0, 0);
    const int end = insertWeekly(1, 0, 10);
    insertWeekly(1, 0, 11);
    insertWeekly(1, 23, 55);
    insertWeekly(64, 0, 5);
    insertWeekly(64, 23, 55, 0);

    EXPECT_THAT(idsInRange(at(kSaturday, 23, 50), at(kSaturday + kDay, 0, 10)),
        UnorderedElementsAre(snoozing, late, early, end));
}

TEST_F(TimeRangeTest, DaysBetweenTheTwoAreNotCovered)
{
    const int monday = insertWeekly(2, 12, 0);
    insertWeekly(4, 12, 0);
    const int wednesday = insertWeekly(8, 6, 0);

    EXPECT_THAT(idsInRange(at(kMonday, 10, 0), at(kWednesday, 7, 0)),
        UnorderedElementsAre(monday, wednesday));
}

TEST_F(TimeRangeTest, RangeBackwardsThroughTheWeekIsEmptyWithoutAStatement)
{
    insertWeekly(127, 12, 0);
    list.resize(3);

    EXPECT_THAT(idsInRange(at(kWednesday, 10, 0), at(kMonday + 7 * kDay, 10, 0)), IsEmpty());

    EXPECT_THAT(probe->statements, IsEmpty());
    EXPECT_THAT(criticals(), ElementsAre("stmt is nullptr"));
}

TEST_F(TimeRangeTest, FridayReachesNoFurtherThanSaturday)
{
    insertWeekly(127, 12, 0);

    EXPECT_THAT(idsInRange(at(kSaturday - kDay, 10, 0), at(kSaturday + kDay, 10, 0)), IsEmpty());
    EXPECT_THAT(probe->statements, IsEmpty());
}

TEST_F(TimeRangeTest, SaturdayAndSundayAre65AndNoWeekdayIs0)
{
    const int weekend = insertWeekly(65, 12, 0);
    insertWeekly(0, 12, 0);

    EXPECT_THAT(idsInRange(at(kSaturday, 11, 0), at(kSaturday, 13, 0)), ElementsAre(weekend));
    EXPECT_THAT(
        idsInRange(at(kSaturday + kDay, 11, 0), at(kSaturday + kDay, 13, 0)), ElementsAre(weekend));
    EXPECT_THAT(idsInRange(at(kMonday, 11, 0), at(kMonday, 13, 0)), IsEmpty());
}

TEST_F(TimeRangeTest, SaturdayReachesNoFurtherThanSunday)
{
    insertWeekly(127, 12, 0);

    EXPECT_THAT(idsInRange(at(kSaturday, 10, 0), at(kMonday + 7 * kDay, 10, 0)), IsEmpty());
    EXPECT_THAT(probe->statements, IsEmpty());
}

TEST_F(TimeRangeTest, ListIsReplaced)
{
    list.resize(3);
    const int id = insertWeekly(2, 7, 30);

    EXPECT_THAT(idsInRange(at(kMonday, 7, 0), at(kMonday, 8, 0)), ElementsAre(id));
}

TEST_F(TimeRangeTest, WeekdayAndTimeAreLocal)
{
    setenv("TZ", "TST-05:30", 1);
    tzset();
    // Sunday 20:00 in UTC is Monday 01:30 there.
    const int id = insertWeekly(2, 1, 30);

    EXPECT_THAT(idsInRange(at(kSunday, 20, 0), at(kSunday, 20, 0)), ElementsAre(id));
}

TEST_F(TimeRangeTest, StatementThatCannotBeMadeIsReported)
{
    probe->refuseAll();
    list.resize(3);

    EXPECT_THAT(idsInRange(at(kMonday, 7, 0), at(kMonday, 8, 0)), IsEmpty());

    EXPECT_THAT(criticals(), ElementsAre("_createSqliteStmt:: Error(23)", "stmt is nullptr"));
}

TEST_F(ParameterSearchTest, NoConditionListsEverything)
{
    EXPECT_EQ("", conditionsOf({}));
    EXPECT_EQ("query=SELECT * FROM alarm", criticals().at(0));
}

TEST_F(ParameterSearchTest, ExactTimesWithAState)
{
    Search search;
    search.startTime = at(kMonday, 7, 30);
    search.endTime = at(kWednesday, 8, 0);
    search.enableState = 1;
    EXPECT_EQ(" WHERE ((hour = 7 AND min = 30) OR (hour = 8 AND min = 0)) AND enable = 1",
        conditionsOf(search));

    search.name = "Gym";
    EXPECT_EQ(" WHERE ((hour = 7 AND min = 30) OR (hour = 8 AND min = 0)) AND name=\"Gym\" COLLATE "
              "NOCASE AND enable = 1",
        conditionsOf(search));
}

TEST_F(ParameterSearchTest, AllConditionsWithExactTimes)
{
    Search search;
    search.startTime = at(kMonday, 7, 30);
    search.endTime = at(kMonday, 8, 0);
    search.repeatOnce = 1;
    search.weekFlag = 62;
    search.name = "Gym";
    search.enableState = 2;
    EXPECT_EQ(" WHERE ((hour = 7 AND min = 30) OR (hour = 8 AND min = 0)) AND repeat_once = 1 AND "
              "name=\"Gym\" COLLATE NOCASE AND enable = 0",
        conditionsOf(search));

    search.repeatOnce = 0;
    EXPECT_EQ(" WHERE ((hour = 7 AND min = 30) OR (hour = 8 AND min = 0)) AND (repeat_weekly & 62) "
              "> 0  AND name=\"Gym\" COLLATE NOCASE AND enable = 0",
        conditionsOf(search));
}

TEST_F(ParameterSearchTest, EachConditionAlone)
{
    Search once;
    once.repeatOnce = -3;
    EXPECT_EQ(" WHERE repeat_once = 1", conditionsOf(once));
    Search days;
    days.weekFlag = 65;
    EXPECT_EQ(" WHERE (repeat_weekly & 65) > 0 ", conditionsOf(days));
    Search name;
    name.name = "Gym";
    EXPECT_EQ(" WHERE name=\"Gym\" COLLATE NOCASE", conditionsOf(name));
    Search on;
    on.enableState = 1;
    EXPECT_EQ(" WHERE enable = 1", conditionsOf(on));
    Search off;
    off.enableState = 2;
    EXPECT_EQ(" WHERE enable = 0", conditionsOf(off));
}

TEST_F(ParameterSearchTest, AnyOtherStateIsNoCondition)
{
    for (const int state : { 0, 3, -1 }) {
        Search search;
        search.enableState = state;
        EXPECT_EQ("", conditionsOf(search));
    }
}

TEST_F(ParameterSearchTest, ReservedNumberIsNoCondition)
{
    Search search;
    search.reserved = 12345;

    EXPECT_EQ("", conditionsOf(search));
}

TEST_F(ParameterSearchTest, TimesCountOnlyTogether)
{
    for (const int range : { 0, 1 }) {
        Search start;
        start.startTime = at(kMonday, 7, 30);
        start.useTimeRange = range;
        EXPECT_EQ("", conditionsOf(start));
        Search end;
        end.endTime = at(kMonday, 7, 30);
        end.useTimeRange = range;
        EXPECT_EQ("", conditionsOf(end));
    }
}

TEST_F(ParameterSearchTest, RangeOnOneDayWithDaysFollowsWhereWithoutABlank)
{
    Search search;
    search.startTime = at(kMonday, 7, 30);
    search.endTime = at(kMonday, 8, 0);
    search.useTimeRange = 1;
    search.weekFlag = 2;

    EXPECT_EQ(" WHERE(hour*60+min)>= 450 AND (hour*60+min) <= 480 AND (repeat_weekly & 2) = 2 AND "
              "repeat_once = 0",
        conditionsOf(search));
}

TEST_F(ParameterSearchTest, RangeOnOneDayWithoutDaysOrForOneShots)
{
    Search search;
    search.startTime = at(kMonday, 7, 30);
    search.endTime = at(kMonday, 8, 0);
    search.useTimeRange = 5;
    EXPECT_EQ(" WHERE(hour*60+min)>= 450 AND (hour*60+min) <= 480", conditionsOf(search));

    search.weekFlag = 2;
    search.repeatOnce = 1;
    search.enableState = 1;
    EXPECT_EQ(" WHERE(hour*60+min)>= 450 AND (hour*60+min) <= 480 AND repeat_once = 1 AND enable = "
              "1",
        conditionsOf(search));
}

TEST_F(ParameterSearchTest, RangeOverMidnightHasItsOwnDays)
{
    Search search;
    search.startTime = at(kSaturday, 23, 50);
    search.endTime = at(kSaturday + kDay, 0, 10);
    search.useTimeRange = 1;
    search.weekFlag = 2;
    EXPECT_EQ(" WHERE(((hour*60+min) >= 1430 AND (repeat_weekly & 64) = 64) OR ((hour*60+min)<= 10 "
              "AND (repeat_weekly & 1) = 1))",
        conditionsOf(search));

    search.startTime = at(kMonday, 23, 50);
    search.endTime = at(kMonday + kDay, 0, 10);
    search.name = "Gym";
    EXPECT_EQ(" WHERE(((hour*60+min) >= 1430 AND (repeat_weekly & 2) = 2) OR ((hour*60+min)<= 10 "
              "AND (repeat_weekly & 4) = 4)) AND name=\"Gym\" COLLATE NOCASE",
        conditionsOf(search));
}

TEST_F(ParameterSearchTest, RangeBackwardsThroughTheWeekIsNoCondition)
{
    Search search;
    search.startTime = at(kWednesday, 10, 0);
    search.endTime = at(kMonday + 7 * kDay, 10, 0);
    search.useTimeRange = 1;
    search.weekFlag = 2;
    EXPECT_EQ("", conditionsOf(search));

    search.enableState = 1;
    EXPECT_EQ(" WHERE enable = 1", conditionsOf(search));
}

TEST_F(ParameterSearchTest, DaysAreNoConditionOfARangeWithoutTimes)
{
    Search search;
    search.useTimeRange = 1;
    search.weekFlag = 2;

    EXPECT_EQ("", conditionsOf(search));
}

TEST_F(ParameterSearchTest, NameIsFoundInAnyCase)
{
    AlarmDbData alarm;
    alarm.name = "Gym";
    const int id = insert(alarm);
    alarm.name = "Gym 2";
    insert(alarm);
    Search search;
    search.name = "gYM";

    EXPECT_EQ(0, run(search));

    EXPECT_THAT(idsOf(list), ElementsAre(id));
}

TEST_F(ParameterSearchTest, NameWithQuotesIsFound)
{
    for (const std::string name :
        { "say \"hello\"", "\"", "it's", "100% %s", "\" OR 1=1 --", "a\nb" }) {
        AlarmDbData alarm;
        alarm.name = name;
        const int id = insert(alarm);
        Search search;
        search.name = name;

        EXPECT_EQ(0, run(search)) << name;

        EXPECT_THAT(idsOf(list), ElementsAre(id)) << name;
    }
}

TEST_F(ParameterSearchTest, ExactTimesFindAlarmsAtOneOfTheTwo)
{
    const int first = insertWeekly(0, 7, 30);
    const int second = insertWeekly(0, 8, 0, 0);
    insertWeekly(0, 7, 45);
    Search search;
    search.startTime = at(kMonday, 7, 30);
    search.endTime = at(kMonday, 8, 0);

    run(search);
    EXPECT_THAT(idsOf(list), UnorderedElementsAre(first, second));

    search.enableState = 2;
    run(search);
    EXPECT_THAT(idsOf(list), ElementsAre(second));
}

TEST_F(ParameterSearchTest, DaysFindAnyOfThemOrAllInARange)
{
    const int both = insertWeekly(6, 7, 30);
    const int one = insertWeekly(2, 7, 30);
    Search search;
    search.weekFlag = 6;
    run(search);
    EXPECT_THAT(idsOf(list), UnorderedElementsAre(both, one));

    search.startTime = at(kMonday, 7, 0);
    search.endTime = at(kMonday, 8, 0);
    search.useTimeRange = 1;
    run(search);
    EXPECT_THAT(idsOf(list), ElementsAre(both));
}

TEST_F(ParameterSearchTest, DeletedAlarmsAreFound)
{
    const int id = insertWeekly(2, 7, 30);
    file.run("UPDATE alarm SET isDeleted = 1");

    run({});

    EXPECT_THAT(idsOf(list), ElementsAre(id));
}

TEST_F(ParameterSearchTest, ListIsReplaced)
{
    list.resize(3);

    EXPECT_EQ(0, run({}));

    EXPECT_THAT(list, IsEmpty());
}

TEST_F(ParameterSearchTest, StatementThatCannotBeMadeIsMinus1)
{
    list.resize(3);
    probe->refuseAll();

    EXPECT_EQ(-1, run({}));

    EXPECT_THAT(list, IsEmpty());
    EXPECT_THAT(criticals(), ElementsAre("query=SELECT * FROM alarm"));
}

TEST_F(ParameterSearchTest, TimesAreLocal)
{
    setenv("TZ", "TST-05:30", 1);
    tzset();
    Search search;
    search.startTime = at(kSunday, 20, 0);
    search.endTime = at(kSunday, 20, 1);

    EXPECT_EQ(" WHERE ((hour = 1 AND min = 30) OR (hour = 1 AND min = 31))", conditionsOf(search));
}
