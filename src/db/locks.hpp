// locks.hpp -- sharing DBF and IDX files between processes: the lock byte map,
// the fcntl primitives, and the bookkeeping of what each open table holds.
//
// Processes coordinate only through advisory, process-owned POSIX record
// locks (never open-file-description locks: those have no dead-lock
// detection and would make two areas of one process conflict).  Ranges far
// beyond the end of a file are used freely: the byte map is a name space,
// not a place in the file.  base is VLN_LOCK_BASE (0x7FFFFFFF).
//
//   FILE OFFSET                     SIZE        TYPE    MEANING
//   DBF  0                          2           RD/WR   section lock: one read
//                                                       or write section; the
//                                                       only lock that waits
//   DBF  32                         0x7FFFF7D6  WR(RD)  file lock (FLOCK); ends
//                                                       before 0x7FFFF7F6
//   DBF  hdrlen+(recno-1)*reclen    reclen      WR(RD)  record lock (RLOCK)
//   DBF  base-1033 = 0x7FFFFBF6     1           RD      shared USE gate, taken
//                                                       and released at once
//   DBF  base-1027 .. base-10       1 each      RD      shared USE: one of 1018
//                                                       slots while open
//   DBF  base-1033                  1031        RD      exclusive USE: gate and
//                                                       all slots while open
//   IDX  6                          1           RD/WR   index open shared /
//                                                       exclusive
//   IDX  0                          1024        WR      index after a zap
//
// (RD) in the TYPE column: read-only tables take read locks instead.
// Exclusive USE is made of read locks, which a read-only descriptor can take
// too; exclusivity comes from a test (setExclRlock) that no other process
// holds anything in the range.
//
// Order of taking: USE first, then file or record locks, then the section.
// Only the section waits, so a waiting process holds at most USE bytes and
// record or file locks, and a dead lock can only arise between sections of
// different files taken in opposite order; the kernel reports it as
// EDEADLK, and the section routines turn that into error 347.
//
// The kernel drops all of a process's locks on a file as soon as any of its
// descriptors on that file is closed.  Every descriptor of a DBF or IDX file
// therefore comes from the descriptor pool (diOpenFile, diCloseFile), which
// keeps a file's descriptors open while any open of the file remains; so
// does every handle of the file functions (diOpenHandle, diCloseHandle).
//
// All functions return 0 for success and -1 for failure unless their
// comment says otherwise; a failed lock leaves its errno in vlnFCNTLerrno.
#pragma once

#include <fcntl.h>

#include <cstdint>
#include <cstdio>

#include "switches.hpp"
#include "var.h"

namespace vl {

/* ---- The byte map. ---- */

#define VLN_LOCK_BASE 0x7FFFFFFF

enum {
  VLN_SECTION_START = 0,
  VLN_SECTION_LEN = 2,
  VLN_FLOCK_START = 32,
  VLN_FLOCK_LEN = 0x7FFFF7D6,
  /* First byte past the file lock: record lock bytes must end here. */
  VLN_RECORD_MAP_END = VLN_FLOCK_START + VLN_FLOCK_LEN,
  VLN_USE_GATE_BACK = 1033,       /* gate at base - 1033 */
  VLN_USE_FIRST_SLOT_BACK = 1027, /* slots from base - 1027 ... */
  VLN_USE_LAST_SLOT_BACK = 10,    /* ... up to base - 10 */
  VLN_USE_RANGE_LEN = 1031,       /* gate and slots: the exclusive range */
  VLN_IDX_LOCK_BYTE = 6,
  VLN_IDX_ZAP_LEN = 1024
};

/* ---- Settings (SET and VL_Set write them; defaults in brackets). ---- */

extern int32_t vlnFCNTLprot;      /* trace level: 0 off [0]; -1, -2 special;
                                     2 USE, 3 setExclRlock, 4 canSetWlock,
                                     6 sections, 7 every call */
extern int32_t vlnFCNTLprotDbf;   /* non-zero: traces also list open areas */
extern int32_t vlnRetryFcntlSec;  /* seconds of retrying after EDEADLK [10] */
extern int32_t vlnFCNTLlockfOnly; /* shown in traces only [0] */
extern int32_t vlnCanUseFcntlPid; /* non-zero: l_pid of a request may be
                                     relied on [1] */
extern int32_t vlnAppPid;         /* this process's id; refreshed after fork */
extern int32_t vlnFCNTLerrno;     /* errno of the last failed lock */
/* vlnFCNTLreadwrite and vlnFCNTLcompat42, the two switches the settings
** change, are in the switch store (switches.hpp). */

/* ---- Primitives: the only callers of fcntl. ---- */

/* fcntl(fd, cmd) on [start, start+len) with l_pid = vlnAppPid, retrying
** EINTR at once and EDEADLK by the ladder (one second's sleep, then four
** quick tries, until vlnRetryFcntlSec seconds are spent).  out, if not
** null, receives the lock record as it stands after the call. */
int vlnFCNTLlock(int cmd, int type, long start, long len, int fd,
                 struct flock* out);
/* The lockf form, always from byte 0 whatever the file position: function
** 0 unlock, 1 write-lock and wait, 2 try, 3 test; length 0 means 0x7FFFFFFF;
** a negative length -n covers n bytes and seeks the file to 0. */
int vln_lockf(int fd, int function, long length);
/* 0 when no other process holds anything in the range. */
int canSetWlock(int fd, long start, long len);
/* Read-lock the range and keep it only if no other process holds any part
** of it. */
int setExclRlock(int fd, long start, long len);

/* Section lock on DBF bytes 0 and 1: waits.  A wait that fails is tried
** once more without waiting; a conflict then reports EDEADLK. */
int diReadLock(int fd);
int diWriteLock(int fd);
int diUnlock(int fd);
/* USE locks; base is VLN_LOCK_BASE. */
int diLockShared(int fd, long base);
int diLockExclusive(int fd, long base);
/* 0 if no other process holds anything in the USE range, else the number
** of conflicts found (usersdbf gives this + 1). */
int diCheckExclusive(int fd, long base);
/* Index open locks on IDX byte 6; never wait.  On a read-only descriptor
** the exclusive lock is a read lock. */
int diLockIndexShar(int fd, long base);
int diLockIndexExcl(int fd, long base);
/* Who holds DBF bytes 0 and 1: 0 found (type F_RDLCK/F_WRLCK, bytes from..to,
** holder pid), 1 none, -1 probe failed. */
int diGetLocalLock(int fd, int* type, int* from, int* to, int* pid);
/* Append text to the trace file "<vlnAppPid>.errlog" in the current
** directory (nothing at level 0).  fd names the file the text is about:
** positive lists its locks, negative lists the locks of its directory, 0
** lists nothing.  Always 0. */
int printLockError(const char* text, int fd);
/* When vlnFCNTLprotDbf is set, each trace entry ends with a line per open
** area ("WA=%d %s %s order=%d indexe=%d filter=[%s] relat=...") written by
** this routine, which the area layer provides; null writes nothing. */
extern void (*vlnLockTraceAreas)(FILE* log);

/* ---- The lock state of one open table. ----
** The DBF driver state embeds this record; the lock layer reaches the
** containing state only through the ring and list pointers, which point at
** these records.  Initialise with vlnLockAreaInit. */

struct VlnFileNode; /* pool row of one file (lockint.h) */

enum {
  VLN_LKST_OPEN = 0x01,
  VLN_LKST_READONLY = 0x10,
  VLN_LKST_EXCL = 0x20,
  VLN_LKST_FLOCKED = 0x40
};

struct VlnLockArea {
  uint8_t status;       /* VLN_LKST_* bits, as in the driver's status byte */
  int32_t fd;           /* the DBF's pool descriptor, -1 if none */
  uint32_t headerlen;   /* byte offset of record 1 */
  uint32_t reclen;      /* bytes per record */
  int32_t* locks;       /* record locks, ascending, no duplicates */
  int32_t lockcount;    /* entries in use */
  int32_t lockcap;      /* entries allocated, a multiple of 16 */
  struct VlnLockArea* ring; /* next area of this process on the same file;
                               itself when alone or not linked */
  struct VlnLockArea* next; /* next in the list of all linked areas */
  VlnFileNode* node;    /* the file's pool row: the section counters */
  const char* alias;    /* for messages; may be null */
  const char* filename; /* for messages; may be null */
  struct VlnDriverHead* owner; /* the driver state embedding this record,
                                  whose error path reports; may be null */
};

/* Clear the record: closed, no descriptor, empty list, alone. */
void vlnLockAreaInit(VlnLockArea* area);

/* How the lock layer reports a failure (section locks, warnings, the 4.2
** scheme).  The DBF driver points this at its diError; the default passes
** the text to rt_error (io_error for severity 1). */
typedef void (*VlnLockReportFn)(VlnLockArea* area, const char* method,
                                int code, int severity, const char* text);
extern VlnLockReportFn vlnLockReport;

/* ---- Record lock list. ---- */

/* Index of recno, or the complement (~) of the place it belongs. */
int diLocateLckRec(VlnLockArea* area, int32_t recno);
/* Grow / shrink the list by 16 entries; the list, or 0 on failure (the old
** list stays) or when it is freed. */
int32_t* diAddLckPack(VlnLockArea* area);
int32_t* diRelLckPack(VlnLockArea* area);
/* Insert recno at the place ~code gave by diLocateLckRec. */
int diInsertLckRec(VlnLockArea* area, int32_t recno, int code);
/* Remove entry index (which holds recno). */
int diDeleteLckRec(VlnLockArea* area, int32_t recno, int index);
/* recno if it is locked (recno 0: the first locked record), else 0. */
int32_t diIsRecLocked(VlnLockArea* area, int32_t recno);
/* 0 added, 1 already there, -1 no memory. */
int diAd2LckList(VlnLockArea* area, int32_t recno);
/* 0 removed, 1 not there. */
int diRm2LckList(VlnLockArea* area, int32_t recno);
/* Release every record lock of the area, last first; -1 if any failed. */
int diReleaseAllLcksList(VlnLockArea* area);

/* ---- Record and file locks: never wait. ---- */

/* Lock record recno; 0 at once if this area holds it already.  A record
** whose bytes would leave the record map is refused with error 320. */
int dbf_rlock(VlnLockArea* area, int32_t recno);
int dbf_rulock(VlnLockArea* area, int32_t recno);
int dbf_flock(VlnLockArea* area);
/* Release the file lock, or else all record locks. */
int dbf_fulock(VlnLockArea* area);

/* ---- Areas of this process on the same file. ---- */

enum {
  VLN_CHAIN_LINK = 1,
  VLN_CHAIN_UNLINK = 2
};
enum {
  VLN_CHK_RLOCK = 1,
  VLN_CHK_FLOCK = 2,
  VLN_CHK_SHARED = 3,
  VLN_CHK_EXCL = 4
};

/* Link the area (its fd must come from diOpenFile) into the list of all
** areas and the ring of its file, or unlink it. */
int diFileChain(VlnLockArea* area, int how);
/* Whether another area of this process stands in the way of a lock of the
** given kind: 0 conflict, 1 alone, 2 shared with others. */
int diCheckChain(VlnLockArea* area, int kind, int32_t recno);

/* ---- USE. ---- */

int diUseDbOn(VlnLockArea* area);
int diUseDbExcl(VlnLockArea* area);
/* The lock side of opening a table: fd, status (VLN_LKST_EXCL for an
** exclusive open, VLN_LKST_READONLY) and the record geometry are set.
** Links the area, checks the other areas of this process and takes the USE
** lock; on failure the area is left unlinked. */
int vlnLockUse(VlnLockArea* area);
/* The lock side of closing: releases the area's record and file locks and
** unlinks it; the caller then gives the descriptor back with diCloseFile. */
int vlnLockRelease(VlnLockArea* area);

/* ---- Descriptor pool. ---- */

/* Open name with open(2) flags mode, reusing a parked descriptor of the
** same file and mode.  The name is copied into buffer (if not null, at
** least VLN_LOCK_NAME_SIZE bytes).  Descriptor or -1. */
#define VLN_LOCK_NAME_SIZE 250
int diOpenFile(const char* name, char* buffer, int mode);
/* End one open: the descriptor stays open, parked, while the file has
** other opens; with the last, all descriptors of the file close. */
int diCloseFile(int fd);
/* The file functions' handles (the files layer's vlnHandleOpen and
** vlnHandleClose point here): open(2) of path with flags and creation mode
** perm as an open of the pool.  A parked descriptor of the file with the
** same flags is taken again at position 0, and truncated for O_TRUNC;
** O_CREAT|O_EXCL always opens anew.  Descriptor, or -1 with errno. */
int diOpenHandle(const char* path, int flags, int perm);
/* Give a handle back as diCloseFile ends an open.  A descriptor the pool
** does not hold is just closed; one parked, or in use by a table, is
** refused with EBADF and stays open. */
int diCloseHandle(int fd);

/* ---- Read and write sections (nest by counters per file). ---- */

int local_rdlock2(VlnLockArea* area, const char* method);
int local_wrlock2(VlnLockArea* area, const char* method);
int local_rwulock2(VlnLockArea* area, const char* method);
/* The same with the method names "FieldGet()" / "Init()". */
int local_rdlock(VlnLockArea* area);
int local_wrlock(VlnLockArea* area);
int local_rwulock(VlnLockArea* area);
/* The section nesting counts of the area's file (0, 0 if not linked). */
void vlnSectionCounts(const VlnLockArea* area, int* read, int* write);

/* ---- The 4.2-compatible scheme (used when vlnFCNTLcompat42 is set). ---- */

int loc42_usedbon(VlnLockArea* area);
int loc42_usedbexcl(VlnLockArea* area);
int loc42_rdlock(VlnLockArea* area);
int loc42_wrlock(VlnLockArea* area);
int loc42_rwulock(VlnLockArea* area);

}  // namespace vl
