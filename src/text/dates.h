/*
** dates.h -- the language's dates: day numbers, the calendar, the SET DATE
** text forms and the date functions.
**
** A date is a signed day number: 1 is 1 January of year 1 in the Gregorian
** calendar extended back to year 1, and 0 is the empty date.  On disk a
** date is "YYYYMMDD", or eight blanks for the empty date.
**
** The text form follows the date format of SET DATE (letters D, M and Y in
** groups, with separators; "MM/DD/YY" by default) and SET EPOCH for two-
** digit years.
*/
#ifndef VL_DATES_H
#define VL_DATES_H

#include <stdint.h>

#include "var.h"

VL_BEGIN_DECLS

/* The longest date format text (letters and separators). */
#define VLN_DATEFORMAT_LEN 15
/* Picture bytes that stand for the day, month and year digits. */
#define VLN_PICT_DAY 5
#define VLN_PICT_MONTH 6
#define VLN_PICT_YEAR 7

/* ---- The calendar. ---- */

/* Day of the week of day number n: 1 = Sunday to 7; 0 for the empty date. */
int vln_dow(int32_t n);
/* A year of up to two digits made full by SET EPOCH; 0 for a negative
** year; a year of 100 or more as it stands. */
int vln_epocnv(int y);
/* The same under the given epoch. */
int vln_epocnv_at(int y, int epoch);
/* Today, by the local clock. */
int32_t vln_today(void);

/* ---- The SET DATE form. ---- */

/* Day number of a text in the current date format (0 when invalid).  The
** separators in the text may be any of "/.- ". */
int32_t vln_ctod(const char* text);
/* Text of day number n in the current date format; the empty date gives
** the format with its letters as blanks.  A static buffer. */
const char* vln_dtoc(int32_t n);
/* The same with an explicit format text and epoch. */
int32_t vln_ctod_form(const char* text, const char* format, int epoch);
const char* vln_dtoc_form(int32_t n, const char* format);

/* Check a date format text.  0: good (one group each of D, M and Y, day
** and month of 2 letters, year of 2 or 4); 1: usable with unusual widths or
** repeated groups; 2: a part is missing; 3: unusable (empty, too long, or
** holding letters or digits other than D, M, Y).  For 0 to 2 the checked
** form is kept for the three readers below. */
int vln_chk_dateform(const char* text);
/* The normal form of the last checked format: upper case, at most 15. */
const char* vln_get_d_buff(void);
/* The order of its parts as letters, e.g. "MDY". */
const char* vln_get_d_dmy(void);
/* Its picture: the format with D, M and Y letters as the bytes 5, 6, 7. */
const char* vln_get_d_pict(void);

/* ---- Language functions. ---- */

var* _bb_date(int argc, var** argv);
var* _bb_time(int argc, var** argv);
var* _bb_seconds(int argc, var** argv);
var* _bb_year(int argc, var** argv);
var* _bb_month(int argc, var** argv);
var* _bb_day(int argc, var** argv);
var* _bb_dow(int argc, var** argv);
var* _bb_cdow(int argc, var** argv);
var* _bb_cmonth(int argc, var** argv);
var* _bb_dtos(int argc, var** argv);
var* _bb_stod(int argc, var** argv);
var* _bb_dtoc(int argc, var** argv);
var* _bb_ctod(int argc, var** argv);
/* ELAPTIME(start, end): "HH:MM:SS" from start to end, two "HH:MM:SS"
** texts; an end before the start counts on the next day. */
var* _bb_elaptime(int argc, var** argv);

VL_END_DECLS

#endif /* VL_DATES_H */
