/*
** vl.h -- everything a host-language program needs to use the library:
** every installed header, and nothing else.
*/
#ifndef VL_H
#define VL_H

/* Values, the run state and errors. */
#include "var.h"
#include "runtime.h"
#include "errcodes.h"
#include "vlerror.h"
#include "switches.h"

/* The kernel: names, frames, the registry and start-up. */
#include "kernel.h"
#include "frame.h"

/* Operators, calls, arrays, objects, blocks and the Extend interface. */
#include "operators.h"
#include "fastops.h"
#include "calls.h"
#include "vlgen.h"
#include "arrays.h"
#include "objects.h"
#include "blocks.h"
#include "valkind.h"
#include "extend.h"

/* The evaluator, errors and dumps. */
#include "evaluator.h"
#include "errclass.h"
#include "dumps.h"

/* The language functions of the system library. */
#include "set.h"
#include "natlang.h"
#include "dates.h"
#include "numbers.h"
#include "stringsfn.h"
#include "files.h"
#include "printer.h"
#include "stdfuncs.h"
#include "smallfns.h"
#include "dirfuncs.h"
#include "sysinfo.h"

/* Work areas, the database functions and drivers. */
#include "areas.h"
#include "dsslots.h"
#include "dataserver.h"
#include "dierror.h"
#include "facade.h"
#include "rddreg.h"
#include "dbfidx.h"
#include "bulk.h"
#include "ascirdd.h"

#endif /* VL_H */
