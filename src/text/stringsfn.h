/*
** stringsfn.h -- the string functions of the language and the counted-text
** helpers other modules share.
**
** Texts are counted: a value's Length is its byte count plus 1, and a text
** may hold NUL bytes.  No function here writes into its arguments.
*/
#ifndef VL_STRINGSFN_H
#define VL_STRINGSFN_H

#include <stdint.h>

#include "var.h"

VL_BEGIN_DECLS

/* The PAD family: mode 'L' pads on the left, 'R' on the right, 'C' on both
** sides; argv as PADL(value, length[, fill]). */
var* vln_pad(int argc, var** argv, int mode);

/* Substrings. */
var* _bb_substr(int argc, var** argv);
var* _bb_left(int argc, var** argv);
var* _bb_right(int argc, var** argv);
var* _bb_stuff(int argc, var** argv);
/* Search and replace. */
var* _bb_at(int argc, var** argv);
var* _bb_rat(int argc, var** argv);
var* _bb_strtran(int argc, var** argv);
/* Padding and trimming. */
var* _bb_padl(int argc, var** argv);
var* _bb_padr(int argc, var** argv);
var* _bb_padc(int argc, var** argv);
var* _bb_pad(int argc, var** argv);
var* _bb_trim(int argc, var** argv);
var* _bb_rtrim(int argc, var** argv);
var* _bb_ltrim(int argc, var** argv);
var* _bb_alltrim(int argc, var** argv);
/* Building texts. */
var* _bb_replicate(int argc, var** argv);
var* _bb_space(int argc, var** argv);
var* _bb_chr(int argc, var** argv);
var* _bb_asc(int argc, var** argv);
/* Case, classes and sound. */
var* _bb_lower(int argc, var** argv);
var* _bb_isalpha(int argc, var** argv);
var* _bb_isdigit(int argc, var** argv);
var* _bb_isupper(int argc, var** argv);
var* _bb_islower(int argc, var** argv);
var* _bb_soundex(int argc, var** argv);
/* Integers as little-endian binary text: BIN2I (signed) and BIN2W
** (unsigned) read 2 bytes, BIN2L 4; I2BIN writes 2, L2BIN 4. */
var* _bb_bin2i(int argc, var** argv);
var* _bb_bin2w(int argc, var** argv);
var* _bb_bin2l(int argc, var** argv);
var* _bb_i2bin(int argc, var** argv);
var* _bb_l2bin(int argc, var** argv);

VL_END_DECLS

#endif /* VL_STRINGSFN_H */
