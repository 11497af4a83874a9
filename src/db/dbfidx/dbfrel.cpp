/*
** dbfrel.cpp -- relations: after every move the parent positions each of
** its children on the record the relation's key gives.
*/
#include "dbfidx.h"
#include "dbfint.hpp"

using namespace vl;

namespace vl {

int diResolveRelations(var* self)
{
  (void)self;
  return -1;
}

void dbf_clear_relations(DbfState* s)
{
  for (int32_t i = 0; i < s->relcount; ++i) {
    dbf_drop(s->relations[i].child);
    dbf_drop(s->relations[i].block);
    dbf_drop(s->relations[i].text);
  }
  s->relcount = s->relactive = 0;
}

}  // namespace vl

extern "C" {

var* _bb_dbfidx_setrelation_me(int argc, var** argv) { (void)argc, (void)argv; return FALSE_VAR; }
var* _bb_dbfidx_clearrelation_me(int argc, var** argv) { (void)argc, (void)argv; return FALSE_VAR; }
var* _bb_dbfidx_relation_me(int argc, var** argv) { (void)argc, (void)argv; return NIL_VAR; }
var* _bb_dbfidx_relationobject_me(int argc, var** argv) { (void)argc, (void)argv; return NIL_VAR; }
var* _bb_dbfidx_isrelation_ac(var* obj) { (void)obj; return FALSE_VAR; }
var* _bb_dbfidx_isrelation_as(var* obj, var* value) { (void)obj, (void)value; return FALSE_VAR; }

}  // extern "C"
