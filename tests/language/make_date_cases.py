#!/usr/bin/env python3
"""Works out what sentences about dates mean, by Python's own calendar and time zones, and writes date_cases.inc."""
import datetime as dt
import sys
from zoneinfo import ZoneInfo

# Zone, locale, first day of its week (0 is Monday).
PLACES = [("America/New_York", "en_US", 6), ("Europe/Berlin", "de_DE", 0)]
NOWS = [
    (2016, 1, 1, 0, 0, 0),  # the year's first second
    (2016, 2, 29, 10, 30, 0),  # a leap day, and a Monday
    (2016, 3, 13, 12, 0, 0),  # a Sunday; clocks go forward in New York
    (2016, 10, 30, 12, 0, 0),  # a Sunday; clocks go back in Berlin
    (2016, 12, 31, 23, 59, 59),
]
DAY = 86400
UNITS = {"minute": 60, "hour": 3600, "day": DAY, "week": 7 * DAY, "month": 7 * 30 * DAY, "year": 7 * 365 * DAY}


class World:
    def __init__(self, zone, first_day, now):
        self.zone, self.first_day = ZoneInfo(zone), first_day
        self.wall = dt.datetime(*now, tzinfo=self.zone)
        self.now = int(self.wall.timestamp())

    def at(self, year, month=1, day=1):
        year, month = year + (month - 1) // 12, (month - 1) % 12 + 1
        return int(dt.datetime(year, month, day, tzinfo=self.zone).timestamp())

    def midnight(self, date):
        return self.at(date.year, date.month, date.day)

    def last(self, month, day=1):
        """The latest such day that is not ahead."""
        return max(self.at(y, month, day) for y in (2014, 2015, 2016) if self.at(y, month, day) <= self.now)

    def first_behind(self, moment, month):
        return min(self.at(y, month) for y in range(2010, 2019) if self.at(y, month) > moment)

    def week(self, date):
        start = date - dt.timedelta(days=(date.weekday() - self.first_day) % 7)
        return self.midnight(start), self.midnight(start + dt.timedelta(days=7))

    def last_time(self, unit):
        today = self.wall.date()
        if unit == "day":
            return self.midnight(today - dt.timedelta(days=1)), self.midnight(today)
        if unit == "week":
            return self.week(today - dt.timedelta(days=7))
        if unit == "month":
            return self.at(today.year, today.month - 1), self.at(today.year, today.month)
        if unit == "year":
            return self.at(today.year - 1), self.at(today.year)
        start = self.now - self.now % UNITS[unit]
        return start - UNITS[unit], start

    def this_time(self, unit):
        today = self.wall.date()
        if unit == "day":
            return self.midnight(today), self.midnight(today + dt.timedelta(days=1))
        if unit == "week":
            return self.week(today)
        if unit == "month":
            return self.at(today.year, today.month), self.at(today.year, today.month + 1)
        if unit == "year":
            return self.at(today.year), self.at(today.year + 1)
        start = self.now - self.now % UNITS[unit]
        return start, start + UNITS[unit]

    def answers(self):
        today = self.midnight(self.wall.date())
        yield "modified recent", (self.now - 3600, self.now)
        yield "today", (today, today + DAY)
        yield "created yesterday", (today - DAY, today)
        yield "changed tomorrow", (today + DAY, today + 2 * DAY)
        yield "modified 2016-03-05", (self.at(2016, 3, 5), self.at(2016, 3, 5) + DAY)
        yield "modified on 2016-03-13", (self.at(2016, 3, 13), self.at(2016, 3, 13) + DAY)
        yield "between 2014-03-05 and 2014-04-01", (self.at(2014, 3, 5), self.at(2014, 4, 1) + DAY)
        for unit in UNITS:
            yield "this " + unit, self.this_time(unit)
            yield "modified last " + unit, self.last_time(unit)
            yield "created last 3 " + unit + "s", (self.now - 3 * UNITS[unit], self.now)
        for name, month in (("january", 1), ("feb", 2), ("march", 3), ("october", 10), ("december", 12)):
            start = self.last(month)
            yield "in " + name, (start, self.first_behind(start, month % 12 + 1))
        yield "modified in march 2014", (self.at(2014, 3), self.at(2014, 4))
        yield "modified december 2015", (self.at(2015, 12), self.at(2016, 1))
        yield "march to may", (self.last(3), self.first_behind(self.last(3), 6))
        yield "from november to february", (self.last(11), self.first_behind(self.last(11), 3))
        yield "modified march 2013 to december", (self.at(2013, 3), self.last(1))
        yield "modified march to may 2014", (self.at(2014, 3), self.at(2014, 6))
        yield "from november to february 2014", (self.at(2013, 11), self.at(2014, 3))
        yield "march 2013 to may 2014", (self.at(2013, 3), self.at(2014, 6))
        yield "march 2012 to 2013", (self.at(2012, 3), self.at(2014))
        yield "in 2013 march to may", (self.at(2013, 3), self.last(6))
        yield "from march 5 to may", (self.last(3, 5), self.first_behind(self.last(3, 5), 6))
        yield "modified 2010 to 2012", (self.at(2010), self.at(2013))
        yield "in 2014", (self.at(2014), self.at(2015))
        yield "created in 2016", (self.at(2016), self.at(2017))
        yield "on 5 march", (self.last(3, 5), self.last(3, 5) + 86400)
        yield "modified march 5 2014", (self.at(2014, 3, 5), self.at(2014, 3, 6))
        yield "after 2014-03-05", (self.at(2014, 3, 5), self.now)
        yield "after 2014", (self.at(2015), self.now)
        yield "since 2014", (self.at(2014), self.now)
        yield "modified after march", (self.last(4), self.now)
        yield "since march", (self.last(3), self.now)
        yield "before 2014-03-05", (self.at(1970), self.at(2014, 3, 5))
        yield "created before 2014", (self.at(1970), self.at(2014))
        yield "before march", (self.at(1970), self.last(3))


def main():
    out = []
    for zone, locale, first_day in PLACES:
        said = set()  # what does not depend on the moment is asked for once
        for now in NOWS:
            world = World(zone, first_day, now)
            out.append(f'{{"{zone}", "{locale}", {world.now}, {{')
            for line, (lower, upper) in world.answers():
                if (line, lower, upper) in said:
                    continue
                said.add((line, lower, upper))
                if line.startswith("march"):
                    line = "between " + line.replace(" to ", " and ")
                out.append(f'    {{"{line}", {{{lower}, {upper}}}}},')
            out.append("}},")
    with open(sys.argv[1], "w", encoding="utf-8") as file:
        file.write("// Written by make_date_cases.py.\n// clang-format off\n" + "\n".join(out) + "\n")


main()
