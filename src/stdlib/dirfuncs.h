/*
** dirfuncs.h -- the directory functions: DIRECTORY, ADIR, CURDIR and
** DISKSPACE.
*/
#ifndef VL_DIRFUNCS_H
#define VL_DIRFUNCS_H

#include "var.h"

VL_BEGIN_DECLS

/* DIRECTORY(mask, attributes): an array of {name, size, date, time,
** attributes} rows, sorted by name.  Plain files always; directories with
** "D", hidden (dot) files with "H" or "S", other special files with "S";
** "V" gives the volume (mount point) alone.  A non-text argument reports
** 312 and gives an empty array. */
var* _bb_directory(int argc, var** argv);
/* ADIR(mask, names, sizes, dates, times, attributes): the number of
** entries; each array given is filled as far as it reaches.  An attributes
** array also lists directories, hidden and system files. */
var* _bb_adir(int argc, var** argv);
/* CURDIR(): the working directory without its leading '/'. */
var* _bb_curdir(int argc, var** argv);
/* DISKSPACE([place]): bytes free to the process on the file system of
** place (a name), or of SET DEFAULT; 0 when it cannot be told. */
var* _bb_diskspace(int argc, var** argv);

VL_END_DECLS

#endif /* VL_DIRFUNCS_H */
