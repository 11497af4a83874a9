/*
** smallfns.h -- the small language functions every part of the library
** leans on: MAX and MIN, DESCEND, and the
** process-level ones (GETENV, PCOUNT, SLEEP, FREADSTDIN, ISCOLOR).
*/
#ifndef VL_SMALLFNS_H
#define VL_SMALLFNS_H

#include "var.h"

VL_BEGIN_DECLS

var* _bb_max(int argc, var** argv);
var* _bb_min(int argc, var** argv);
var* _bb_descend(int argc, var** argv);
var* _bb_getenv(int argc, var** argv);
var* _bb_pcount(int argc, var** argv);
var* _bb_sleep(int argc, var** argv);
var* _bb_freadstdin(int argc, var** argv);
var* _bb_iscolor(int argc, var** argv);

VL_END_DECLS

#endif /* VL_SMALLFNS_H */
