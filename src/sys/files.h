/*
** files.h -- checked wrappers for the system's file calls, and the
** language's low-level file functions.
**
** Every name goes through the translation of fname.h.  Every descriptor
** and stream the library opens is close-on-exec, so that RUN and pipes
** never inherit them.  A failed call leaves its errno in `__oserr`, which
** DOSERROR() gives.
**
** The wrappers report failures as the table of errors says (open 101,
** close 102, write 104, create 105, erase 106, status 107).  The language
** functions never report: they clear `vln_ferror` and leave the errno of a
** failure there, for FERROR(); a wrong argument type leaves 9 (EBADF).
*/
#ifndef VL_FILES_H
#define VL_FILES_H

#include <stdio.h>
#include <sys/types.h>

#include "var.h"

VL_BEGIN_DECLS

/* The size of the name buffer path_open_fil fills. */
#define VLN_OPEN_NAME_SIZE 250
/* The largest count FREAD and FREADSTR accept; above it they fail with
** EINVAL rather than try to make room for it. */
#define VLN_FILE_MAX_COUNT (64L * 1024 * 1024)

/* open() of the translated name, without SET DEFAULT. */
int open_fil(const char* name, int flags, int mode);
/* open() along the search of vln::search_names (SET DEFAULT, SET PATH and,
** with system, the terminal directories).  With report, a failure reports
** 101.  With out (VLN_OPEN_NAME_SIZE bytes), the last name tried, made
** absolute.  Returns the descriptor or -1. */
int path_open_fil(const char* name, int flags, int mode, char* out, int system, int report);
/* Create (truncate) the file under SET DEFAULT with exactly mode, whatever
** the process's mask; a failure reports 105.  Returns the descriptor or -1. */
int creat_fil(const char* name, int mode);
/* close(); a failure reports 102. */
int close_fil(int fd);
/* read() and lseek() as they are. */
ssize_t read_fil(int fd, void* buf, size_t n);
off_t lseek_fil(int fd, off_t offset, int whence);
/* write() all n bytes; a short write reports 104.  Returns the bytes
** written, -1 when none could be. */
ssize_t write_fil(int fd, const void* buf, size_t n);
/* Remove the file under SET DEFAULT; a failure reports 106. */
int erase_fil(const char* name);
/* fopen() along SET DEFAULT and SET PATH; a failure reports 101. */
FILE* fopen_fil(const char* name, const char* mode);
int fclose_fil(FILE* stream);
/* The permission bits of a file by name or descriptor; 0 after an internal
** error report (107). */
int get_nfil_mode(const char* name);
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
/* FCLOSE(fd), FERASE(name), FRENAME(old, new): 0 or -1. */
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

/* ---- Directories. ---- */

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

#endif /* VL_FILES_H */
