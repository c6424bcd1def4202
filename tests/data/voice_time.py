#!/usr/bin/env python3
"""Writes VoiceTimeCases.inc: scripts/check-tables --write

Knows nothing of mktime(): looks for the instants at which the zone's clock shows the time on the date.
Of two it takes the one in standard time. A time that is skipped is read with the offset that is in
force before the clock is set forward. The zone data are the system's.
"""
from datetime import datetime, timedelta
from zoneinfo import ZoneInfo

BERLIN, NEW_YORK, LORD_HOWE = "Europe/Berlin", "America/New_York", "Australia/Lord_Howe"
DUBLIN, SANTIAGO = "Europe/Dublin", "America/Santiago"

# name, zone, year, month, day, time; and by how many seconds mktime() differs, and why
CASES = [
    ("Winter", BERLIN, 2026, 11, 23, "07:30"),
    ("Summer", BERLIN, 2026, 7, 1, "07:30"),
    ("FirstMinuteOfTheDay", BERLIN, 2026, 7, 1, "00:00"),
    ("LastMinuteOfTheDay", BERLIN, 2026, 7, 1, "23:59"),
    ("LeapDay", BERLIN, 2028, 2, 29, "07:30"),
    ("NoSuchDay", BERLIN, 2026, 2, 30, "07:30"),
    ("DayZero", BERLIN, 2026, 3, 0, "07:30"),
    ("NoSuchMonth", BERLIN, 2026, 14, 1, "07:30"),
    ("BeforeTheEpoch", BERLIN, 1969, 12, 31, "23:59"),
    ("LastSecondsOfTheRecord", "UTC", 2038, 1, 19, "03:14"),
    ("NoDaylightSavingTime", "Asia/Kolkata", 2026, 3, 29, "02:30"),

    ("BerlinBeforeTheGap", BERLIN, 2026, 3, 29, "01:59"),
    ("BerlinFirstOfTheGap", BERLIN, 2026, 3, 29, "02:00"),
    ("BerlinInTheGap", BERLIN, 2026, 3, 29, "02:30"),
    ("BerlinLastOfTheGap", BERLIN, 2026, 3, 29, "02:59"),
    ("BerlinAfterTheGap", BERLIN, 2026, 3, 29, "03:00"),
    ("BerlinBeforeTheDoubledHour", BERLIN, 2026, 10, 25, "01:59"),
    ("BerlinFirstOfTheDoubledHour", BERLIN, 2026, 10, 25, "02:00"),
    ("BerlinInTheDoubledHour", BERLIN, 2026, 10, 25, "02:30"),
    ("BerlinLastOfTheDoubledHour", BERLIN, 2026, 10, 25, "02:59"),
    ("BerlinAfterTheDoubledHour", BERLIN, 2026, 10, 25, "03:00"),

    ("NewYorkBeforeTheGap", NEW_YORK, 2026, 3, 8, "01:59"),
    ("NewYorkFirstOfTheGap", NEW_YORK, 2026, 3, 8, "02:00"),
    ("NewYorkLastOfTheGap", NEW_YORK, 2026, 3, 8, "02:59"),
    ("NewYorkAfterTheGap", NEW_YORK, 2026, 3, 8, "03:00"),
    ("NewYorkBeforeTheDoubledHour", NEW_YORK, 2026, 11, 1, "00:59"),
    ("NewYorkFirstOfTheDoubledHour", NEW_YORK, 2026, 11, 1, "01:00"),
    ("NewYorkLastOfTheDoubledHour", NEW_YORK, 2026, 11, 1, "01:59"),
    ("NewYorkAfterTheDoubledHour", NEW_YORK, 2026, 11, 1, "02:00"),

    ("LordHoweBeforeTheGap", LORD_HOWE, 2026, 10, 4, "01:59"),
    ("LordHoweFirstOfTheGap", LORD_HOWE, 2026, 10, 4, "02:00"),
    ("LordHoweLastOfTheGap", LORD_HOWE, 2026, 10, 4, "02:29"),
    ("LordHoweAfterTheGap", LORD_HOWE, 2026, 10, 4, "02:30"),
    ("LordHoweBeforeTheDoubledHalfHour", LORD_HOWE, 2026, 4, 5, "01:29"),
    ("LordHoweFirstOfTheDoubledHalfHour", LORD_HOWE, 2026, 4, 5, "01:30"),
    ("LordHoweLastOfTheDoubledHalfHour", LORD_HOWE, 2026, 4, 5, "01:59"),
    ("LordHoweAfterTheDoubledHalfHour", LORD_HOWE, 2026, 4, 5, "02:00"),

    ("GapAtMidnight", SANTIAGO, 2026, 9, 6, "00:30"),
    ("DoubledHourBeforeMidnight", SANTIAGO, 2026, 4, 4, "23:30"),
    ("WinterThatIsNotStandardTime", DUBLIN, 2026, 1, 15, "07:30"),
    ("StandardTimeComesFirst", DUBLIN, 2026, 10, 25, "01:30"),
    ("GapAfterAWinterThatIsNotStandardTime", DUBLIN, 2026, 3, 29, "01:30",
     -3600, "of the two readings of a skipped time it takes the one that is not in standard time"),
]


def instant_of(local, zone):
    readings = [local.replace(tzinfo=zone, fold=fold) for fold in (0, 1)]
    instants = [int(reading.timestamp()) for reading in readings]
    if instants[0] >= instants[1]:  # shown once, or skipped: fold 0 has the offset before
        return instants[0]
    return next(i for r, i in zip(readings, instants) if not r.dst())


def main():
    print("// Written by voice_time.py: name, zone, year, month, day, hour, minute; instant.")
    for name, zone_id, year, month, day, at, *rule in CASES:
        zone = ZoneInfo(zone_id)
        hour, minute = map(int, at.split(":"))
        first = datetime(year + (month - 1) // 12, (month - 1) % 12 + 1, 1, hour, minute)
        instant = instant_of(first + timedelta(days=day - 1), zone)
        if rule:
            instant += rule[0]
            print(f"// mktime() differs by {rule[0]} s: {rule[1]}.")
        print(f"// {datetime.fromtimestamp(instant, zone):%a %F %R %z}")
        print(f'Case {{ "{name}", "{zone_id}", {year}, {month}, {day}, {hour}, {minute},')
        print(f"    {instant} }},")


main()
