/*
** vl.h -- everything a host-language program needs to use the library.
*/
#ifndef VL_H
#define VL_H

#include "var.h"
#include "frame.h"
#include "blocks.h"
#include "evaluator.h"
#include "kernel.h"
#include "vlerror.h"
#include "vlgen.h"
#include "arrays.h"
#include "objects.h"
#include "errclass.h"
#include "extend.h"
#include "dumps.h"
#include "operators.h"
#include "set.h"
#include "natlang.h"
#include "stdfuncs.h"
#include "areas.h"
#include "dsslots.h"
#include "dataserver.h"
#include "dierror.h"
#include "facade.h"
#include "rddreg.h"

#endif /* VL_H */
