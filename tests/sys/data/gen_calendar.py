#!/usr/bin/env python3
"""Writes calendar.txt, the independent calendar the date tests check
against: one line per day, "<day number> <YYYYMMDD> <weekday>", where the
day number is Python's proleptic Gregorian ordinal (1 = 1 January of year
1) and the weekday counts 1 = Sunday to 7 = Saturday.

The years cover the start and the end of the calendar, the century years
around 100, 400, 1900, 2000 and 2400 (leap and not), the Gregorian reform
years and a wide modern range.

Run it from anywhere: python3 tests/sys/data/gen_calendar.py
"""
import datetime
import os

YEARS = [(1, 4), (97, 104), (396, 404), (1582, 1583), (1896, 1904),
         (1996, 2104), (2396, 2404), (9995, 9999)]


def main():
    out = os.path.join(os.path.dirname(os.path.abspath(__file__)), "calendar.txt")
    with open(out, "w") as f:
        for first, last in YEARS:
            day = datetime.date(first, 1, 1)
            end = datetime.date(last, 12, 31)
            while True:
                f.write("%d %04d%02d%02d %d\n" % (day.toordinal(), day.year, day.month, day.day,
                                                  day.isoweekday() % 7 + 1))
                if day == end:
                    break
                day += datetime.timedelta(days=1)


if __name__ == "__main__":
    main()
