#!/usr/bin/env python3
"""Writes AlertOffsetCases.inc: scripts/check-tables --write

Knows nothing of how the library counts: looks for the first instant after now at which the zone's
clock shows the alarm's time on its date or one of its days, and tells the elapsed time from the
minute of now. The zone data are the system's.

A few nights are counted otherwise by the rule that the watch's applications know. Those rows give
what it counts, and say why; the time that elapses is in their comment.
"""
from datetime import date, datetime, time, timedelta, timezone
from zoneinfo import ZoneInfo

SUN, MON, TUE, WED, THU, FRI, SAT = (1 << n for n in range(7))
WORKDAYS = MON | TUE | WED | THU | FRI
WEEKEND = SAT | SUN
DAILY = 127
BERLIN, NEW_YORK, SYDNEY = "Europe/Berlin", "America/New_York", "Australia/Sydney"

# name, zone, now (local; "*" = the second time that the clock shows it), alarm time,
# date of a one-shot or days of a repeating alarm, and where the rule differs: its result and why
CASES = [
    ("LaterToday", BERLIN, "2024-05-14 06:00:00", "07:30", "2024-05-14"),
    ("LaterTodayMinutesBorrow", BERLIN, "2024-05-14 06:40:00", "07:30", "2024-05-14"),
    ("OneMinuteAhead", BERLIN, "2024-05-14 07:29:00", "07:30", "2024-05-14"),
    ("OneSecondBefore", BERLIN, "2024-05-14 07:29:59", "07:30", "2024-05-14"),
    ("JustAfterTheMinute", BERLIN, "2024-05-14 07:29:01", "07:30", "2024-05-14"),
    ("TomorrowLater", BERLIN, "2024-05-14 06:00:00", "07:30", "2024-05-15"),
    ("TomorrowEarlier", BERLIN, "2024-05-14 22:00:00", "06:00", "2024-05-15"),
    ("TomorrowEarlierMinutesBorrow", BERLIN, "2024-05-14 22:45:00", "06:30", "2024-05-15"),
    ("TomorrowSameTime", BERLIN, "2024-05-14 07:30:00", "07:30", "2024-05-15"),
    ("TomorrowAMinuteEarlier", BERLIN, "2024-05-14 07:31:00", "07:30", "2024-05-15"),
    ("TomorrowMidnight", BERLIN, "2024-05-14 23:59:59", "00:00", "2024-05-15"),
    ("TodayLastMinute", BERLIN, "2024-05-14 00:00:00", "23:59", "2024-05-14"),
    ("NextWeek", BERLIN, "2024-05-14 06:00:00", "07:30", "2024-05-21"),
    ("SameDayNextYear", BERLIN, "2024-05-14 06:00:00", "07:30", "2025-05-14"),
    ("WinterToday", BERLIN, "2024-01-15 06:00:00", "07:30", "2024-01-15"),
    ("WinterTomorrow", BERLIN, "2024-01-15 22:00:00", "06:30", "2024-01-16"),
    ("NoDaylightSavingTime", "Asia/Kolkata", "2024-03-31 01:00:00", "07:30", "2024-04-02"),
    ("Utc", "UTC", "2024-03-31 01:00:00", "00:59", "2024-04-01"),

    ("MonthEnd", BERLIN, "2024-05-31 22:00:00", "06:30", "2024-06-01"),
    ("MonthEndLater", BERLIN, "2024-04-30 06:00:00", "07:30", "2024-05-01"),
    ("MonthEndSeveralDays", BERLIN, "2024-05-29 06:00:00", "07:30", "2024-06-03"),
    ("YearEnd", BERLIN, "2023-12-31 22:00:00", "06:30", "2024-01-01"),
    ("YearEndLastSecond", BERLIN, "2023-12-31 23:59:59", "00:00", "2024-01-01"),
    ("YearEndSeveralDays", BERLIN, "2023-12-29 12:00:00", "12:00", "2024-01-02"),
    ("LeapDayAhead", BERLIN, "2024-02-28 22:00:00", "06:30", "2024-02-29"),
    ("LeapDayBehind", BERLIN, "2024-02-29 22:00:00", "06:30", "2024-03-01"),
    ("LeapDayBetween", BERLIN, "2024-02-28 06:00:00", "07:30", "2024-03-01"),
    ("NoLeapDayBetween", BERLIN, "2023-02-28 06:00:00", "07:30", "2023-03-01"),
    ("NoLeapDayInACenturyYear", "UTC", "2100-02-28 06:00:00", "07:30", MON),

    ("DailyLaterToday", BERLIN, "2024-05-14 06:00:00", "07:30", DAILY),
    ("DailyTomorrow", BERLIN, "2024-05-14 08:00:00", "07:30", DAILY),
    ("DailyNow", BERLIN, "2024-05-14 07:30:00", "07:30", DAILY),
    ("DailyNowAndSomeSeconds", BERLIN, "2024-05-14 07:30:59", "07:30", DAILY),
    ("DailyOneSecondBefore", BERLIN, "2024-05-14 07:29:59", "07:30", DAILY),
    ("DailyMinuteBehind", BERLIN, "2024-05-14 07:31:00", "07:30", DAILY),
    ("DailyMidnight", BERLIN, "2024-05-14 23:59:01", "00:00", DAILY),
    ("TodayOnlyLater", BERLIN, "2024-05-14 06:00:00", "07:30", TUE),
    ("TodayOnlyGone", BERLIN, "2024-05-14 08:00:00", "07:30", TUE),
    ("TodayOnlyNow", BERLIN, "2024-05-14 07:30:00", "07:30", TUE),
    ("TodayOnlyNowAndSomeSeconds", BERLIN, "2024-05-14 07:30:30", "07:30", TUE),
    ("SundayFromTuesday", BERLIN, "2024-05-14 08:00:00", "07:30", SUN),
    ("MondayFromTuesday", BERLIN, "2024-05-14 08:00:00", "07:30", MON),
    ("WednesdayFromTuesday", BERLIN, "2024-05-14 08:00:00", "07:30", WED),
    ("ThursdayFromTuesday", BERLIN, "2024-05-14 08:00:00", "07:30", THU),
    ("FridayFromTuesday", BERLIN, "2024-05-14 08:00:00", "07:30", FRI),
    ("SaturdayFromTuesday", BERLIN, "2024-05-14 08:00:00", "07:30", SAT),
    ("SundayFromTuesdayLater", BERLIN, "2024-05-14 08:00:00", "09:30", SUN),
    ("MondayFromTuesdayLater", BERLIN, "2024-05-14 08:00:00", "09:30", MON),
    ("WednesdayFromTuesdayLater", BERLIN, "2024-05-14 08:00:00", "09:30", WED),
    ("WednesdayFromTuesdaySameTime", BERLIN, "2024-05-14 07:30:00", "07:30", WED),
    ("SundayFromSaturday", BERLIN, "2024-05-18 08:00:00", "07:30", SUN),
    ("SaturdayFromSundayGone", BERLIN, "2024-05-19 08:00:00", "07:30", SAT | SUN),
    ("SaturdayGoneSundayNext", BERLIN, "2024-05-18 08:00:00", "07:30", WEEKEND),
    ("MinutesBorrowOverADay", BERLIN, "2024-05-14 08:45:00", "07:30", THU),
    ("MinutesBorrowAnHourOfTheDay", BERLIN, "2024-05-14 07:45:00", "07:30", THU),
    ("WorkdaysOnMonday", BERLIN, "2024-05-13 06:00:00", "07:30", WORKDAYS),
    ("WorkdaysOnFridayEvening", BERLIN, "2024-05-17 20:00:00", "07:30", WORKDAYS),
    ("WorkdaysOnSaturday", BERLIN, "2024-05-18 06:00:00", "07:30", WORKDAYS),
    ("WorkdaysOnSunday", BERLIN, "2024-05-19 20:00:00", "07:30", WORKDAYS),
    ("WeekendOnFriday", BERLIN, "2024-05-17 20:00:00", "07:30", WEEKEND),
    ("WeekendOnSundayGone", BERLIN, "2024-05-19 20:00:00", "07:30", WEEKEND),
    ("MondayAndThursdayOnTuesday", BERLIN, "2024-05-14 08:00:00", "07:30", MON | THU),
    ("MondayAndThursdayOnThursdayGone", BERLIN, "2024-05-16 08:00:00", "07:30", MON | THU),
    ("RepeatOverAMonthEnd", BERLIN, "2024-05-30 08:00:00", "07:30", SAT),
    ("RepeatOverAYearEnd", BERLIN, "2023-12-30 08:00:00", "07:30", TUE),
    ("RepeatOverALeapDay", BERLIN, "2024-02-28 08:00:00", "07:30", FRI),
    ("WinterRepeatToday", NEW_YORK, "2024-01-15 06:00:00", "07:30", MON),
    ("WinterRepeatLater", NEW_YORK, "2024-01-15 06:00:00", "07:30", SAT),

    ("SpringNightOneShot", BERLIN, "2024-03-30 22:00:00", "07:30", "2024-03-31"),
    ("SpringNightOneShotSmallHours", BERLIN, "2024-03-31 00:30:00", "03:00", "2024-03-31"),
    ("SpringNightOneShotSeconds", BERLIN, "2024-03-31 00:30:30", "03:00", "2024-03-31"),
    ("SpringNightOneShotLastSecond", BERLIN, "2024-03-31 00:30:59", "03:00", "2024-03-31"),
    ("SpringNightBeforeTheGap", BERLIN, "2024-03-31 00:30:00", "01:45", "2024-03-31"),
    ("SpringNightAfterTheGap", BERLIN, "2024-03-31 03:00:00", "07:30", "2024-03-31"),
    ("SpringNightRepeat", BERLIN, "2024-03-30 22:00:00", "07:30", DAILY),
    ("SpringNightRepeatSunday", BERLIN, "2024-03-30 22:00:00", "07:30", SUN),
    ("SpringNightRepeatMonday", BERLIN, "2024-03-30 22:00:00", "23:30", MON),
    ("SpringNightToday", BERLIN, "2024-03-31 00:30:00", "07:30", SUN),
    ("SpringDayItsSmallHours", BERLIN, "2024-03-31 12:00:00", "01:00", SUN),
    ("SpringNightNewYork", NEW_YORK, "2024-03-09 22:00:00", "06:15", "2024-03-10"),
    ("SpringNightNewYorkRepeat", NEW_YORK, "2024-03-09 22:00:00", "06:15", SUN),
    ("SpringNightSydney", SYDNEY, "2024-10-05 22:00:00", "06:15", "2024-10-06"),
    ("SpringTwoDaysAhead", BERLIN, "2024-03-30 06:00:00", "07:30", "2024-04-01",
     (1, 0, 30), "midnights a short day apart are one day less, and the hour comes off as well"),
    ("SpringDayBeforeIt", BERLIN, "2024-03-29 06:00:00", "07:30", "2024-03-30",
     (1, 0, 30), "daylight-saving time is looked for a day past the alarm"),

    ("SpringNightAWholeDay", BERLIN, "2024-03-30 07:30:00", "07:30", "2024-03-31"),
    ("SpringNightAWholeDayRepeat", BERLIN, "2024-03-30 07:30:00", "07:30", DAILY),
    ("SpringNightADayAndMinutes", BERLIN, "2024-03-30 07:20:00", "07:30", SUN),
    ("SpringNightWholeDays", BERLIN, "2024-03-30 07:30:00", "07:30", WED),
    ("SpringNightWholeDaysSydney", SYDNEY, "2024-10-05 06:15:00", "06:15", TUE),

    ("AutumnNightOneShotToday", BERLIN, "2024-10-27 00:30:00", "07:30", "2024-10-27"),
    ("AutumnNightSecondPass", BERLIN, "2024-10-27 02:30:00*", "07:30", "2024-10-27"),
    ("AutumnNightFirstPass", BERLIN, "2024-10-27 02:30:00", "07:30", "2024-10-27"),
    ("AutumnNightBeforeTheOverlap", BERLIN, "2024-10-27 00:30:00", "01:45", "2024-10-27"),
    ("AutumnNightRepeatToday", BERLIN, "2024-10-27 00:30:00", "07:30", SUN),
    ("AutumnNightEndOfTheOverlap", BERLIN, "2024-10-27 01:30:00", "03:00", SUN),
    ("AutumnNightNewYork", NEW_YORK, "2024-11-03 00:30:00", "06:15", "2024-11-03"),
    ("AutumnNightSydney", SYDNEY, "2024-04-07 00:30:00", "06:15", SUN),
    ("AutumnAfterTheNight", BERLIN, "2024-10-27 12:00:00", "07:30", MON),
    ("AutumnNightInTheOverlap", BERLIN, "2024-10-27 00:30:00", "02:30", "2024-10-27",
     (0, 3, 0), "the second of the two is meant"),
    ("AutumnNightAWholeDay", BERLIN, "2024-10-27 00:30:00", "23:30", SUN,
     (7, 24, 0), "24 hours are taken for none"),
    ("AutumnEveningBefore", BERLIN, "2024-10-26 22:00:00", "07:30", "2024-10-27",
     (0, 9, 30), "only the day of now is looked at for the end of daylight-saving time"),
    ("AutumnEveningBeforeRepeat", BERLIN, "2024-10-26 22:00:00", "07:30", SUN,
     (0, 9, 30), "only the day of now is looked at for the end of daylight-saving time"),
]


def instants(local, zone):
    """The instants at which the zone's clock shows the time."""
    found = []
    for fold in (0, 1):
        instant = int(local.replace(tzinfo=zone, fold=fold).timestamp())
        shown = datetime.fromtimestamp(instant, zone).replace(tzinfo=None)
        if shown == local and instant not in found:
            found.append(instant)
    return sorted(found)


def first_ring(now, today, at, days, zone):
    """The first instant after now, whose minute may have begun, on the date or one of the days."""
    if isinstance(days, str):
        return instants(datetime.combine(date.fromisoformat(days), at), zone)[0]
    for ahead in range(9):
        day = today + timedelta(days=ahead)
        if days & 1 << day.isoweekday() % 7:
            later = [i for i in instants(datetime.combine(day, at), zone) if i > now]
            if later:
                return later[0]
    raise AssertionError("no ring within a week")


def main():
    print("// Written by alert_offset.py: name, zone, now, time, days (0 = once), start time;")
    print("// days, hours and minutes until then.")
    for name, zone_id, local, alarm, days, *rule in CASES:
        zone = ZoneInfo(zone_id)
        second_time = local.endswith("*")
        now = instants(datetime.fromisoformat(local.rstrip("*")), zone)[-1 if second_time else 0]
        today = date.fromisoformat(local[:10])
        at = time.fromisoformat(alarm)
        ring = first_ring(now, today, at, days, zone)
        minutes = (ring - now // 60 * 60) // 60
        elapsed = (minutes // 1440, minutes // 60 % 24, minutes % 60)
        expected, why = rule if rule else (elapsed, "")
        assert not rule or expected != elapsed, f"{name} does not differ"
        shown = datetime.fromtimestamp(ring, timezone.utc).astimezone(zone).strftime("%a %F %R %z")
        print(f"// {local} -> {shown}")
        if why:
            print(f"// {elapsed[0]} d {elapsed[1]} h {elapsed[2]} min elapse, but {why}.")
        week_set = 0 if isinstance(days, str) else days
        print(f'Case {{ "{name}", "{zone_id}", {now}, {at.hour}, {at.minute}, {week_set}, {ring},')
        print(f"    {{ {expected[0]}, {expected[1]}, {expected[2]} }} }},")


main()
