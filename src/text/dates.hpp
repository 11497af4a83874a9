// dates.hpp -- the calendar and the "YYYYMMDD" form inside the library.
#pragma once

#include <cstdint>

#include "dates.h"

namespace vl {

// ---- The calendar. ----

// Day number of day d of month m of year y (1 to 9999); 0 when there is no
// such day.
int32_t datoint(int d, int m, int y);
// Day, month and year of day number n; all 0 for 0 (and for n < 0).
void intodat(int32_t n, int* d, int* m, int* y);
// The same with the year split: *century = year / 100, *y = year % 100.
void intodat2(int32_t n, int* d, int* m, int* y, int* century);

// ---- "YYYYMMDD". ----

// Day number of a "YYYYMMDD" text (0 when it is no valid date).
int32_t get_dat(const char* text);
// "YYYYMMDD" of day number n, or 8 blanks for 0; a static buffer.  Always
// eight characters: a year beyond 9999 (a day number no date may hold)
// keeps its last four digits.
const char* set_dat(int32_t n);

// ---- The SET DATE form. ----

// The text of d, m, y in the current date format; a static buffer.
const char* form_date(int d, int m, int y);

}  // namespace vl
