/*
** valkind.h -- the kind of a value as the language shows it: VALTYPE and
** EMPTY.
*/
#ifndef VL_VALKIND_H
#define VL_VALKIND_H

#include "var.h"

VL_BEGIN_DECLS

/* The VALTYPE letter of v as a one-letter text: "C", "N", "D", "L", "A",
** "O", "B", "M", "S", "?" or "U".  'F' and 'I' show as such only while the
** integer-variable switch is on. */
const char* vlnValType(const var* v);
/* Non-zero when v is empty as EMPTY() tells. */
int vlnIsEmpty(const var* v);

var* _bb_valtype(int argc, var** argv);
var* _bb_empty(int argc, var** argv);

VL_END_DECLS

#endif /* VL_VALKIND_H */
