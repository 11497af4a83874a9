/*
** dbfscope.cpp -- the filter, the default scope of record-wise commands,
** and LOCATE/CONTINUE.
*/
#include "dbfidx.h"
#include "dbfint.hpp"

using namespace vl;

namespace vl {

void dbf_clear_filter(DbfState* s)
{
  dbf_drop(s->filterblock);
  dbf_drop(s->filtertext);
}

void dbf_clear_locate(DbfState* s)
{
  dbf_drop(s->locateblock);
  dbf_drop(s->locateuser);
}

void dbf_clear_scope(DbfState* s)
{
  dbf_drop(s->forblock);
  dbf_drop(s->whileblock);
  s->scope = -1;
}

int diDoScope(int count, var** source, var** target, var* self)
{
  (void)count, (void)source, (void)target, (void)self;
  return 1;
}

}  // namespace vl

extern "C" {

var* _bb_dbfidx_setfilter_me(int argc, var** argv) { (void)argc, (void)argv; return FALSE_VAR; }
var* _bb_dbfidx_filter_ac(var* obj) { (void)obj; return NIL_VAR; }
var* _bb_dbfidx_filter_as(var* obj, var* value) { (void)obj, (void)value; return NIL_VAR; }
var* _bb_dbfidx_clearfilter_me(int argc, var** argv) { (void)argc, (void)argv; return FALSE_VAR; }
var* _bb_dbfidx_forblock_ac(var* obj) { (void)obj; return NIL_VAR; }
var* _bb_dbfidx_forblock_as(var* obj, var* value) { (void)obj, (void)value; return NIL_VAR; }
var* _bb_dbfidx_whileblock_ac(var* obj) { (void)obj; return NIL_VAR; }
var* _bb_dbfidx_whileblock_as(var* obj, var* value) { (void)obj, (void)value; return NIL_VAR; }
var* _bb_dbfidx_scope_ac(var* obj) { (void)obj; return NIL_VAR; }
var* _bb_dbfidx_scope_as(var* obj, var* value) { (void)obj, (void)value; return NIL_VAR; }
var* _bb_dbfidx_clearscope_me(int argc, var** argv) { (void)argc, (void)argv; return FALSE_VAR; }
var* _bb_dbfidx_locate_me(int argc, var** argv) { (void)argc, (void)argv; return FALSE_VAR; }
var* _bb_dbfidx_continue_me(int argc, var** argv) { (void)argc, (void)argv; return FALSE_VAR; }
var* _bb_dbfidx_setfound_as(var* obj, var* value) { (void)obj, (void)value; return NIL_VAR; }
var* _bb_dbfidx_setlocate_as(var* obj, var* value) { (void)obj, (void)value; return NIL_VAR; }
var* _bb_dbfidx_getlocate_ac(var* obj) { (void)obj; return NIL_VAR; }
var* _bb_dbfidx_clearlocate_me(int argc, var** argv) { (void)argc, (void)argv; return FALSE_VAR; }

}  // extern "C"
