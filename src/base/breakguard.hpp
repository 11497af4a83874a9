// breakguard.hpp -- run code as the innermost BREAK landing, so that its
// clean-up runs whether the code returns or a BREAK passes through it.
//
// A BREAK is a longjmp to glob_sequencebuf.  vln_guarded() puts a landing
// of its own there, runs body(), and then runs undo() either after body
// returns or when a BREAK lands, with the outer landing already back in
// place.  A BREAK then travels on to that outer landing, or ends the
// program with the "no BEGIN SEQUENCE" report when there is none.
//
// The jump skips C++ destructors: body and undo must hold nothing with a
// destructor of its own across the call; they capture plain pointers and
// values.
//
// vln_with_vector() gives a vector of var pointers of any length without
// sizing a stack buffer by it.
#ifndef VL_BREAKGUARD_HPP
#define VL_BREAKGUARD_HPP

#include <csetjmp>
#include <type_traits>

#include "runtime.h"
#include "vlerror.hpp"

template <class Body, class Undo>
auto vln_guarded(Body&& body, Undo&& undo) -> decltype(body())
{
  jmp_buf guard;
  jmp_buf* const outer = glob_sequencebuf;
  glob_sequencebuf = &guard;
  if (setjmp(guard) != 0) {
    glob_sequencebuf = outer;
    undo();
    if (!outer) vl_break_error();
    longjmp(*outer, 1);
  }
  if constexpr (std::is_void_v<decltype(body())>) {
    body();
    glob_sequencebuf = outer;
    undo();
  } else {
    auto result = body();
    glob_sequencebuf = outer;
    undo();
    return result;
  }
}

// Run body(vec) with room in vec for n var pointers and a closing null: an
// array of Local entries on the C stack when n is below Local, else one on
// the heap, freed when body returns and when a BREAK passes.  The stack
// used never depends on n.
template <size_t Local, class Body>
var* vln_with_vector(size_t n, Body&& body)
{
  if (n < Local) {
    var* local[Local];
    return body(local);
  }
  auto** heap = static_cast<var**>(vln_malloc((n + 1) * sizeof(var*), vln_errmsg[9],
                                              VL_SEV_FATAL, VL_LEVEL_ALWAYS, "breakguard",
                                              __LINE__));
  return vln_guarded([&] { return body(heap); },
                     [&] { vln_free(heap, "breakguard", __LINE__); });
}

#endif  // VL_BREAKGUARD_HPP
