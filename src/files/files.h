/*
** files.h -- the language's low-level file functions.
**
** Every name goes through the file-name translation of the library.  A
** failed call leaves its errno in `__oserr`, which DOSERROR() gives.  The
** functions never report: they clear `vln_ferror` and leave the errno of a
** failure there, for FERROR(); a wrong argument type leaves 9 (EBADF).
*/
#ifndef VL_FILES_H
#define VL_FILES_H

#include "var.h"

VL_BEGIN_DECLS

/* The largest count FREAD and FREADSTR accept; above it they fail with
** EINVAL rather than try to make room for it. */
#define VLN_FILE_MAX_COUNT (64L * 1024 * 1024)

/* The permission bits of the file open on fd; 0 after an internal error
** report (107). */
int vlnGetFileMode(int fd);
/* The bits a new file gets: ~umask & 0666; the mask stays as it is. */
int vlnGetUmask(void);

/* ---- Language functions. ---- */

/* FOPEN(name, mode): mode 0 read, 1 write, 2 read-write (the last two
** create), non-blocking; other modes are open() flags.  fd or -1. */
var* _bb_fopen(int argc, var** argv);
/* FCREATE(name, attr): attr 0 0660, 1 0440, 2 0600, 4 0400, 100 to 777 as
** octal digits, others 0666, none the mask's.  fd (read-write) or -1. */
var* _bb_fcreate(int argc, var** argv);
/* FCLOSE(fd), FERASE(name), FRENAME(old, new): 0 or -1.  FCLOSE of a
** file this process has open otherwise (a table, another FOPEN) keeps the
** descriptor open, unused, so that the process keeps its locks on the file;
** a descriptor a table holds cannot be closed (EBADF). */
var* _bb_fclose(int argc, var** argv);
var* _bb_ferase(int argc, var** argv);
var* _bb_frename(int argc, var** argv);
/* FSEEK(fd, offset, origin 0/1/2 = start/current/end, default 0): the new
** offset or -1. */
var* _bb_fseek(int argc, var** argv);
/* FWRITE(fd, text, n): writes n bytes (default and most: all of text);
** the count written or -1. */
var* _bb_fwrite(int argc, var** argv);
/* FREAD(fd, @buffer, n): reads up to n bytes (default: the buffer's
** length) over the start of buffer, which grows if need be; the count
** read or -1. */
var* _bb_fread(int argc, var** argv);
/* FREADSTR(fd, n): up to n bytes, ending before the first 0 byte. */
var* _bb_freadstr(int argc, var** argv);
/* FREADTXT(fd): the next line, without its end mark; at end of file ""
** and FERROR() -1. */
var* _bb_freadtxt(int argc, var** argv);
/* FATTRIB(name): the file's mode bits or -1. */
var* _bb_fattrib(int argc, var** argv);
/* FILE(name): whether a file (not a directory) of that name, '*' and '?'
** allowed, stands under SET DEFAULT or SET PATH. */
var* _bb_file(int argc, var** argv);
/* FLOCKF(fd, type, length): lock length bytes from the current position,
** type 1 read, 2 write, other unlock, without waiting; 0 or -1. */
var* _bb_flockf(int argc, var** argv);
/* FERROR(): the error of the last low-level file function, 0 if none. */
var* _bb_ferror(int argc, var** argv);
/* DOSERROR([n]): the errno of the last failed file primitive, 0 if none;
** n replaces it. */
var* _bb_doserror(int argc, var** argv);

VL_END_DECLS

#endif /* VL_FILES_H */
