// idxorder.hpp -- what the two halves of the order layer share: the table
// of an area's open orders (idxorder.cpp) and the builds that fill them
// (idxbuild.cpp).
#pragma once

#include "dbfint.hpp"
#include "idx.hpp"

namespace vl {

// Order n of the area (1-based), or null when n is out of range.
inline IdxDesc* idx_order_at(DbfState* s, int32_t n)
{
  return n >= 1 && n <= s->indexcount ? s->orders[n] : nullptr;
}

// Whether idx is still one of the area's open orders: a fault report or
// code run by a build may have closed them all.
bool idx_still_open(const DbfState* s, const IdxDesc* idx);

// The order that value names, or alternative when value is NIL: a number
// from 1 to the count, or a text matching an order's file base name or
// order name without regard to case (first hit wins).  0 for anything else.
int32_t diGetOrderNumber(var* self, DbfState* s, var* value, var* alternative);

// clearindex: write the buffer, count the changes into every order and
// close them all.  The area must be open.
void idx_clear(var* self, DbfState* s);

// Drop the build condition and put its defaults back.
void idx_cond_reset(OrderCond* c);

}  // namespace vl
