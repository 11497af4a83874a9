/*
** sysinfo.h -- what the program can learn about the system it runs on:
** VERSION, OS, NETNAME and MEMORY, and TONE, which sounds through the
** screen layer when there is one.
*/
#ifndef VL_SYSINFO_H
#define VL_SYSINFO_H

#include "var.h"

VL_BEGIN_DECLS

/* VERSION(): "VL " and the library's version. */
var* _bb_version(int argc, var** argv);
/* OS(): the system's name and release, e.g. "Linux 6.1.0". */
var* _bb_os(int argc, var** argv);
/* NETNAME(): the host name; "" when it cannot be had. */
var* _bb_netname(int argc, var** argv);
/* MEMORY(n): kilobytes of memory free for the program (n 0: for values,
** 1: the largest block, 2: for RUN; all the memory available now), 0 for
** any other n.  A non-number reports 312. */
var* _bb_memory(int argc, var** argv);
/* TONE(frequency[, duration]): sounds through the screen layer, silently
** nothing without one; NIL.  A non-number reports 312. */
var* _bb_tone(int argc, var** argv);

VL_END_DECLS

#endif /* VL_SYSINFO_H */
