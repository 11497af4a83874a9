// files.hpp -- checked wrappers for the system's file calls.
//
// Every name goes through the translation of fname.h.  Every descriptor
// and stream the library opens is close-on-exec, so that RUN and pipes
// never inherit them.  A failed call leaves its errno in `__oserr`.  The
// wrappers report failures as the table of errors says (open 101, close
// 102, write 104, create 105, erase 106, status 107).
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdio>

#include "files.h"

namespace vl {

// The size of the name buffer path_open_fil fills.
inline constexpr size_t VLN_OPEN_NAME_SIZE = 250;

// open() of the translated name, without SET DEFAULT.
int open_fil(const char* name, int flags, int mode);
// open() along the search of vln::search_names (SET DEFAULT, SET PATH and,
// with system, the terminal directories).  With report, a failure reports
// 101.  With out (VLN_OPEN_NAME_SIZE bytes), the last name tried, made
// absolute.  Returns the descriptor or -1.
int path_open_fil(const char* name, int flags, int mode, char* out, int system, int report);
// Create (truncate) the file under SET DEFAULT with exactly mode, whatever
// the process's mask; a failure reports 105.  Returns the descriptor or -1.
int creat_fil(const char* name, int mode);
// close(); a failure reports 102.
int close_fil(int fd);
// read() and lseek() as they are.
ssize_t read_fil(int fd, void* buf, size_t n);
off_t lseek_fil(int fd, off_t offset, int whence);
// write() all n bytes; a short write reports 104.  Returns the bytes
// written, -1 when none could be.
ssize_t write_fil(int fd, const void* buf, size_t n);
// Remove the file under SET DEFAULT; a failure reports 106.
int erase_fil(const char* name);
// fopen() along SET DEFAULT and SET PATH; a failure reports 101.
FILE* fopen_fil(const char* name, const char* mode);
int fclose_fil(FILE* stream);
// The permission bits of a file by name; 0 after an internal error report
// (107).
int get_nfil_mode(const char* name);

// ---- Handles. ----
// The kernel drops all of a process's locks on a file as soon as any of its
// descriptors on that file is closed.  A descriptor opened by a name the
// program gives (FOPEN, FCREATE, LOADLANG) may name a table this process
// holds locks on, so it is a handle: opened and given back through this
// hook pair.  The database layer points the pair at its descriptor pool at
// start-up, which parks a handle given back while its file has other
// opens; until then they are open(2) (close-on-exec) and close(2).  A
// handle is given back only through vlnHandleClose, never by close(2).

// open(2) of path, already translated, with flags and the creation mode:
// the descriptor, or -1 with errno.
extern int (*vlnHandleOpen)(const char* path, int flags, int mode);
// Give a handle back: 0, or -1 with errno.
extern int (*vlnHandleClose)(int fd);
// path_open_fil opening a handle.
int path_open_handle(const char* name, int flags, int mode, char* out, int system, int report);
// A read stream over handle fd, whose fclose() gives the handle back.  Null,
// with the handle given back, when no stream can be made.
FILE* handle_stream(int fd);

}  // namespace vl
