#!/usr/bin/env python3
"""Writes NextOccurrenceCases.inc: scripts/check-tables --write

Knows nothing of how hostd looks for an occurrence: walks the clock minute by minute from two days
before the start, notes the first instant at which each day's alarm time is shown or jumped over, and
takes the first noted instant after now. The zone data are the system's.
"""
from datetime import date, datetime, time, timedelta, timezone
from zoneinfo import ZoneInfo

SUN, MON, TUE, WED, THU, FRI, SAT = (1 << n for n in range(7))
WORKDAYS = MON | TUE | WED | THU | FRI
WEEKEND = SAT | SUN

# name, zone, now (local; "*" = the second time that the clock shows it), alarm time, week set, first day
CASES = [
    ("LaterToday", "Europe/Berlin", "2024-05-14 06:00:00", "07:30:00", 0, None),
    ("EarlierToday", "Europe/Berlin", "2024-05-14 08:00:00", "07:30:00", 0, None),
    ("ExactlyNow", "Europe/Berlin", "2024-05-14 07:30:00", "07:30:00", 0, None),
    ("OneSecondBefore", "Europe/Berlin", "2024-05-14 07:29:59", "07:30:00", 0, None),
    ("OneSecondAfter", "Europe/Berlin", "2024-05-14 07:30:01", "07:30:00", 0, None),
    ("WithSeconds", "Europe/Berlin", "2024-05-14 07:30:16", "07:30:17", 0, None),
    ("WithSecondsJustGone", "Europe/Berlin", "2024-05-14 07:30:17", "07:30:17", 0, None),
    ("LastSecondOfTheDay", "Europe/Berlin", "2024-05-14 23:59:58", "23:59:59", 0, None),
    ("Midnight", "Europe/Berlin", "2024-05-14 23:59:59", "00:00:00", 0, None),
    ("MidnightNow", "Europe/Berlin", "2024-05-15 00:00:00", "00:00:00", 0, None),

    ("SetOfAllDays", "Europe/Berlin", "2024-05-14 08:00:00", "07:30:00", 127, None),
    ("TodayOnly", "Europe/Berlin", "2024-05-14 06:00:00", "07:30:00", TUE, None),
    ("TodayOnlyGone", "Europe/Berlin", "2024-05-14 08:00:00", "07:30:00", TUE, None),
    ("TodayOnlyNow", "Europe/Berlin", "2024-05-14 07:30:00", "07:30:00", TUE, None),
    ("Sunday", "Europe/Berlin", "2024-05-14 08:00:00", "07:30:00", SUN, None),
    ("Monday", "Europe/Berlin", "2024-05-14 08:00:00", "07:30:00", MON, None),
    ("Saturday", "Europe/Berlin", "2024-05-14 08:00:00", "07:30:00", SAT, None),
    ("WorkdaysOnFridayEvening", "Europe/Berlin", "2024-05-17 20:00:00", "07:30:00", WORKDAYS, None),
    ("WeekendOnFridayEvening", "Europe/Berlin", "2024-05-17 20:00:00", "07:30:00", WEEKEND, None),
    ("WeekendOnSunday", "Europe/Berlin", "2024-05-19 20:00:00", "07:30:00", WEEKEND, None),
    ("MondayAndThursday", "Europe/Berlin", "2024-05-14 08:00:00", "07:30:00", MON | THU, None),

    ("LeapDay", "Europe/Berlin", "2024-02-28 08:00:00", "07:30:00", 0, None),
    ("AfterLeapDay", "Europe/Berlin", "2024-02-29 08:00:00", "07:30:00", 0, None),
    ("NoLeapDay", "Europe/Berlin", "2023-02-28 08:00:00", "07:30:00", 0, None),
    ("NoLeapDayInACenturyYear", "UTC", "2100-02-28 08:00:00", "07:30:00", 0, None),
    ("LeapDayByWeekday", "Europe/Berlin", "2024-02-23 08:00:00", "07:30:00", THU, None),
    ("YearEnd", "Europe/Berlin", "2023-12-31 08:00:00", "07:30:00", 0, None),
    ("LastSecondOfTheYear", "Europe/Berlin", "2023-12-31 23:59:59", "00:00:00", 0, None),
    ("YearEndByWeekday", "America/New_York", "2023-12-31 20:00:00", "06:15:00", SUN, None),
    ("BeforeTheEpoch", "UTC", "1969-12-31 23:00:00", "22:30:00", 0, None),

    ("DateToday", "Europe/Berlin", "2024-05-14 06:00:00", "07:30:00", 0, "2024-05-14"),
    ("DateTodayGone", "Europe/Berlin", "2024-05-14 08:00:00", "07:30:00", 0, "2024-05-14"),
    ("DatePast", "Europe/Berlin", "2024-05-14 06:00:00", "07:30:00", 0, "2023-01-01"),
    ("DateAhead", "Europe/Berlin", "2024-05-14 06:00:00", "07:30:00", 0, "2024-08-01"),
    ("DateOfAnotherWeekday", "Europe/Berlin", "2024-05-14 06:00:00", "07:30:00", MON, "2024-08-01"),
    ("DateOfTheWeekday", "Europe/Berlin", "2024-05-14 06:00:00", "07:30:00", THU, "2024-08-01"),
    ("DateOfALeapDay", "Europe/Berlin", "2024-01-14 06:00:00", "07:30:00", 0, "2024-02-29"),
    ("DateNextYear", "America/New_York", "2023-05-14 06:00:00", "00:00:00", 0, "2024-01-01"),
    ("DateOfAGap", "Europe/Berlin", "2024-01-14 06:00:00", "02:30:00", 0, "2024-03-31"),
    ("DateOfAnOverlap", "Europe/Berlin", "2024-01-14 06:00:00", "02:30:00", 0, "2024-10-27"),
    ("DateTomorrowNearMidnight", "Pacific/Kiritimati", "2024-05-14 23:59:59", "00:00:00", 0,
     "2024-05-15"),

    ("BerlinGap", "Europe/Berlin", "2024-03-31 01:00:00", "02:30:00", 0, None),
    ("BerlinGapStart", "Europe/Berlin", "2024-03-31 01:59:59", "02:00:00", 0, None),
    ("BerlinGapLastSecond", "Europe/Berlin", "2024-03-31 01:00:00", "02:59:59", 0, None),
    ("BerlinGapEnd", "Europe/Berlin", "2024-03-31 01:00:00", "03:00:00", 0, None),
    ("BerlinGapBySunday", "Europe/Berlin", "2024-03-30 12:00:00", "02:30:00", SUN, None),
    ("BerlinGapBySaturday", "Europe/Berlin", "2024-03-30 12:00:00", "02:30:00", SAT, None),
    ("BerlinFirstInstantAfterTheGap", "Europe/Berlin", "2024-03-31 03:00:00", "02:30:00", 0, None),
    ("BerlinJustAfterTheGap", "Europe/Berlin", "2024-03-31 03:00:01", "02:30:00", 0, None),
    ("BerlinAcrossTheGap", "Europe/Berlin", "2024-03-30 08:00:00", "07:30:00", 0, None),
    ("BerlinOverlap", "Europe/Berlin", "2024-10-27 00:00:00", "02:30:00", 0, None),
    ("BerlinBetweenTheTwo", "Europe/Berlin", "2024-10-27 02:45:00", "02:30:00", 0, None),
    ("BerlinFirstOfTheTwoNow", "Europe/Berlin", "2024-10-27 02:30:00", "02:30:00", 0, None),
    ("BerlinSecondOfTheTwoNow", "Europe/Berlin", "2024-10-27 02:30:00*", "02:30:00", 0, None),
    ("BerlinBeforeTheSecond", "Europe/Berlin", "2024-10-27 02:00:00*", "02:30:00", 0, None),
    ("BerlinOverlapStart", "Europe/Berlin", "2024-10-27 01:59:59", "02:00:00", 0, None),
    ("BerlinOverlapEnd", "Europe/Berlin", "2024-10-27 02:59:59", "03:00:00", 0, None),
    ("BerlinOverlapBySunday", "Europe/Berlin", "2024-10-27 02:30:00", "02:30:00", SUN, None),

    ("NewYorkGap", "America/New_York", "2024-03-10 00:00:00", "02:15:00", 0, None),
    ("NewYorkGapEveryDay", "America/New_York", "2024-03-10 03:00:00", "02:15:00", 127, None),
    ("NewYorkOverlap", "America/New_York", "2024-11-03 00:00:00", "01:15:00", 0, None),
    ("NewYorkInsideTheOverlap", "America/New_York", "2024-11-03 01:00:00*", "01:15:00", SUN, None),
    ("NewYorkAfterTheOverlap", "America/New_York", "2024-11-03 01:59:59*", "02:00:00", 0, None),

    ("LordHoweGap", "Australia/Lord_Howe", "2024-10-06 01:00:00", "02:10:00", 0, None),
    ("LordHoweGapEnd", "Australia/Lord_Howe", "2024-10-06 01:00:00", "02:30:00", 0, None),
    ("LordHoweOverlap", "Australia/Lord_Howe", "2024-04-07 01:00:00", "01:45:00", 0, None),
    ("LordHoweInsideTheOverlap", "Australia/Lord_Howe", "2024-04-07 01:40:00*", "01:45:00", 0, None),
    ("LordHoweBeforeTheOverlap", "Australia/Lord_Howe", "2024-04-07 01:00:00", "01:29:59", 0, None),

    ("CasablancaGap", "Africa/Casablanca", "2023-04-22 12:00:00", "02:30:00", 0, None),
    ("CasablancaOverlap", "Africa/Casablanca", "2023-03-18 12:00:00", "02:30:00", 0, None),
    ("CasablancaInsideTheOverlap", "Africa/Casablanca", "2023-03-19 02:10:00*", "02:30:00", 0, None),

    ("SantiagoMidnightSkipped", "America/Santiago", "2022-09-10 12:00:00", "00:00:00", 0, None),
    ("SantiagoHalfPastMidnightSkipped", "America/Santiago", "2022-09-10 23:59:59", "00:30:00", SUN,
     None),
    ("SantiagoSkippedIsNotSaturday", "America/Santiago", "2022-09-10 12:00:00", "00:30:00", SAT,
     None),
    ("SantiagoSkippedOnItsDate", "America/Santiago", "2022-09-01 12:00:00", "00:00:00", 0,
     "2022-09-11"),
    ("SantiagoLateEveningTwice", "America/Santiago", "2022-04-02 22:00:00", "23:30:00", 0, None),
    ("SantiagoSecondLateEvening", "America/Santiago", "2022-04-02 23:00:00*", "23:30:00", 0, None),
    ("SantiagoMidnightAfterTheOverlap", "America/Santiago", "2022-04-02 23:59:59", "00:00:00", 0,
     None),

    ("CairoMidnightSkipped", "Africa/Cairo", "2023-04-27 23:59:59", "00:00:00", FRI, None),
    ("HavanaMidnightTwice", "America/Havana", "2023-11-05 00:30:00", "00:15:00", 0, None),
    ("StJohnsBackOverMidnight", "America/St_Johns", "2010-11-06 23:30:00*", "00:00:30", 0, None),
    ("StJohnsSecondEvening", "America/St_Johns", "2010-11-07 00:00:30", "23:30:00", 0, None),
    ("PyongyangSkipsOverMidnight", "Asia/Pyongyang", "2018-05-04 23:00:00", "23:45:00", FRI, None),
    ("PyongyangSkippedIsNotSaturday", "Asia/Pyongyang", "2018-05-04 23:00:00", "23:45:00", SAT,
     None),
    ("ApiaSkippedDay", "Pacific/Apia", "2011-12-29 23:00:00", "07:30:00", FRI, None),
    ("ApiaSkippedDayIsGone", "Pacific/Apia", "2011-12-31 00:00:00", "07:30:00", FRI, None),
    ("ApiaAcrossTheSkippedDay", "Pacific/Apia", "2011-12-29 23:00:00", "00:00:00", SAT, None),
    ("TrollTwoHours", "Antarctica/Troll", "2024-03-31 00:00:00", "02:00:00", 0, None),
    ("CaracasHalfHour", "America/Caracas", "2016-05-01 02:00:00", "02:45:00", 0, None),
    ("ChathamQuarter", "Pacific/Chatham", "2024-09-29 02:00:00", "02:50:00", 0, None),
    ("KolkataNeverChanges", "Asia/Kolkata", "2024-03-31 02:00:00", "02:30:00", 0, None),
]


def instant(local, zone):
    second = local.endswith("*")
    wall = datetime.fromisoformat(local.rstrip("*")).replace(tzinfo=zone, fold=int(second))
    result = int(wall.timestamp())
    assert shown(result, zone) == wall.replace(tzinfo=None), f"{local} does not exist"
    return result


def shown(when, zone):
    return datetime.fromtimestamp(when, timezone.utc).astimezone(zone).replace(tzinfo=None)


def first_time(now, zone, alarm, week_set, first_day):
    start = now
    if first_day:
        midnight = datetime.combine(first_day, time(), timezone.utc)
        start = max(start, int(midnight.timestamp()))
    noted = set()
    minute = (start - 2 * 86400) // 60 * 60
    before = shown(minute - 1, zone)
    while True:
        begin, end = shown(minute, zone), shown(minute + 59, zone)
        assert end - begin == timedelta(seconds=59), "the clock changes inside a minute"
        day = min(before, begin).date()
        while day <= end.date():
            wall = datetime.combine(day, alarm)
            met = None
            if begin <= wall <= end:
                met = minute + int((wall - begin).total_seconds())
            elif before < wall < begin:
                met = minute
            if met is not None and day not in noted:
                noted.add(day)
                flagged = week_set == 0 or week_set & (1 << day.isoweekday() % 7)
                if met > now and flagged and (not first_day or day >= first_day):
                    return met
            day += timedelta(days=1)
        before = end
        minute += 60


def main():
    print("// Written by next_occurrence.py: name, zone, now, time, week set, first day, expected.")
    for name, zone_id, local, alarm, week_set, first_day in CASES:
        zone = ZoneInfo(zone_id)
        at = time.fromisoformat(alarm)
        first = date.fromisoformat(first_day) if first_day else None
        now = instant(local, zone)
        expected = first_time(now, zone, at, week_set, first)
        ymd = f"{{ {first.year}, {first.month}, {first.day} }}" if first else "{ 0, 0, 0 }"
        offset = datetime.fromtimestamp(expected, zone).strftime("%a %F %T %z")
        print(f"// {local} -> {offset}")
        clock = f"{at.hour}, {at.minute}, {at.second}"
        print(f'NextOccurrenceCase {{ "{name}", "{zone_id}", {now}, {{ {clock} }},')
        print(f"    {week_set}, {ymd}, {expected} }},")


main()
