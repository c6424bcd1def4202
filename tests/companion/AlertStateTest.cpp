#include "AlertState.h"

#include "CompanionFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class AlertStateTest : public CompanionFixture {};

TEST_F(AlertStateTest, NothingRingsWhereNothingWasSaid)
{
    EXPECT_EQ(-1, companion::ringingAlarm());
    EXPECT_THAT(companion::ringingAlarms(), IsEmpty());
}

TEST_F(AlertStateTest, AllThatRingAreToldTheNewestFirst)
{
    companion::setRingingAlarms({ 7, 3, 5 });

    EXPECT_EQ(7, companion::ringingAlarm());
    EXPECT_THAT(companion::ringingAlarms(), ElementsAre(7, 3, 5));
}

TEST_F(AlertStateTest, AlarmsThatEndAreNotToldAnyMore)
{
    companion::setRingingAlarms({ 7, 3, 5 });
    companion::setRingingAlarms({ 3 });
    EXPECT_THAT(companion::ringingAlarms(), ElementsAre(3));

    companion::setRingingAlarms({});
    EXPECT_EQ(-1, companion::ringingAlarm());
    EXPECT_THAT(companion::ringingAlarms(), IsEmpty());
}

// Who hears of a new alarm reads the others then.
TEST_F(AlertStateTest, NewestIsToldLast)
{
    forget();
    companion::setRingingAlarms({ 7, 3 });

    EXPECT_THAT(
        preferenceDouble().sets, ElementsAre(Pair("alarmRinging2", 3), Pair("alarmRinging", 7)));
}

TEST_F(AlertStateTest, WhatIsSaidAlreadyIsNotSaidAgain)
{
    companion::setRingingAlarms({ 7, 3 });
    forget();
    companion::setRingingAlarms({ 8, 3 });

    EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair("alarmRinging", 8)));
}

TEST_F(AlertStateTest, NewestMayHaveNoRowYet)
{
    companion::setRingingAlarms({ -1, 3 });

    EXPECT_EQ(-1, companion::ringingAlarm());
    EXPECT_THAT(companion::ringingAlarms(), ElementsAre(3));
    companion::setRingingAlarms({});
    EXPECT_THAT(companion::ringingAlarms(), IsEmpty());
}
