/*
** dbfbulk.cpp -- the whole-table messages of a table object: appenddb,
** appenddelimited, appendsdf, copydb, copydelimited, copysdf,
** copystructure, sort, total, update and join, and count, sum, average
** and getarray.
**
** The commands work on the selected area, so each message selects the
** object's area, runs the command with the message's arguments, and
** selects the caller's area again, after a BREAK too.
*/
#include "areas.h"
#include "breakguard.hpp"
#include "bulk.h"
#include "bulkint.hpp"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "kernel.h"

namespace {

/* The most arguments a whole-table command takes. */
constexpr int kCommandArgs = 10;

/* Run command with args in the area of obj, and select the caller's area
** again afterwards, after a BREAK too.  .F. when no area holds obj. */
var* in_area_of(var* obj, BbFn command, int argc, var** args)
{
  AreaRec* own = vlnObjectLocateArea(obj);
  if (!own) return FALSE_VAR;
  AreaRec* const back = vlnPushArea(own);
  return vln_guarded([&] { return command(argc, args); }, [&] { vlnPopArea(back); });
}

/* A message that runs command with its own arguments (the object left
** out). */
var* in_own_area(BbFn command, int argc, var** argv) { return in_area_of(argv[0], command, argc - 1, argv + 1); }

/* __DBAPPGEN(object, file, delimiter, ...) for a message whose arguments
** are (file, delimiter, ...), or (file, ...) with delimiter given here. */
var* append_text(int argc, var** argv, var* delimiter)
{
  var* args[kCommandArgs] = {argv[0]};
  int n = 1;
  for (int i = 1; i < argc && n < kCommandArgs; ++i) {
    args[n++] = argv[i];
    if (i == 1 && delimiter && n < kCommandArgs) args[n++] = delimiter;
  }
  return in_area_of(argv[0], _bb___dbappgen, n, args);
}

}  // namespace

extern "C" {

var* _bb_dbfidx_appenddb_me(int argc, var** argv) { return in_own_area(_bb___dbapp, argc, argv); }
var* _bb_dbfidx_appenddelimited_me(int argc, var** argv) { return append_text(argc, argv, nullptr); }
var* _bb_dbfidx_appendsdf_me(int argc, var** argv) { return append_text(argc, argv, vlbulk::text_var("")); }
var* _bb_dbfidx_copydb_me(int argc, var** argv) { return in_own_area(_bb___dbcopy, argc, argv); }
var* _bb_dbfidx_copydelimited_me(int argc, var** argv) { return in_own_area(_bb___dbcopyde, argc, argv); }
var* _bb_dbfidx_copysdf_me(int argc, var** argv) { return in_own_area(_bb___dbcopysd, argc, argv); }
var* _bb_dbfidx_copystructure_me(int argc, var** argv) { return in_own_area(_bb___dbcopyst, argc, argv); }
var* _bb_dbfidx_sort_me(int argc, var** argv) { return in_own_area(_bb___dbsort, argc, argv); }
var* _bb_dbfidx_total_me(int argc, var** argv) { return in_own_area(_bb___dbtotal, argc, argv); }
var* _bb_dbfidx_update_me(int argc, var** argv) { return in_own_area(_bb___dbupdate, argc, argv); }
var* _bb_dbfidx_join_me(int argc, var** argv) { return in_own_area(_bb___dbjoin, argc, argv); }
var* _bb_dbfidx_count_me(int argc, var** argv) { return vlbulk::count_me(argc, argv); }
var* _bb_dbfidx_sum_me(int argc, var** argv) { return vlbulk::sum_me(argc, argv); }
var* _bb_dbfidx_average_me(int argc, var** argv) { return vlbulk::average_me(argc, argv); }
var* _bb_dbfidx_getarray_me(int argc, var** argv) { return vlbulk::getarray_me(argc, argv); }
var* _bb_dbfidx_getarrfields_me(int argc, var** argv) { return vlbulk::getarray_me(argc, argv); }

}  // extern "C"
