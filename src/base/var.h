/*
** var.h -- the value record and the kernel's value services.
**
** Every language value, variable, temporary, array element and object slot
** is one `var` record, always handled by pointer.  The record is a plain
** standard-layout struct of 40 bytes so that it can be statically
** initialised (the constant records), copied with memcpy, and jumped over by
** the longjmp of BREAK.
**
**   OFFSET SIZE MEANING
**   0      1    Type      letter, never 0 ('U' for NIL/undefined)
**   1      1    Mode      letter; upper case owns its content, lower borrows
**   2      1    Decimals  display decimals ('N','F'); parameter count ('B','b')
**   3      1    Flags     VF_* bits private to the kernel
**   4      4    Length    'C','M': bytes + 1; 'D' 8; 'L' 1; numerics -1
**   8      4    Links     reference count of this record
**   12     4    V_indx    memory-variable index (F_indx: field number)
**   16     8    D_level   declaring call depth (W_area: owning work area)
**   24     16   Value     word 1: double, int32 or pointer; word 2: function,
**                         block text or two 16-bit method indices
**
** Ownership rule: a record whose Mode letter is upper case owns a character
** buffer it may realloc and must free; lower case borrows it.  Field records
** ('F','f') never own: their text lives in the table's record buffer.
**
** Results of language functions are temporaries, constant records or the
** caller's own variable: a caller never frees a result.
*/
#ifndef VL_VAR_H
#define VL_VAR_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
#define VL_EXTERN_C extern "C"
#define VL_BEGIN_DECLS extern "C" {
#define VL_END_DECLS }
#else
#define VL_EXTERN_C
#define VL_BEGIN_DECLS
#define VL_END_DECLS
#endif

VL_BEGIN_DECLS

typedef struct var var;
typedef struct ArrRec ArrRec;
struct AreaRec;

/* A language-level function: `_bb_<name>(argc, argv)`, never returns null. */
typedef var* (*BbFn)(int argc, var** argv);
/* The generic stored form of a function word; cast back by kind. */
typedef void (*AnyFn)(void);

/* Word 1 of a value: the double lives here too. */
typedef union VWord1 {
  double d;            /* 'N','F' */
  int32_t i;           /* 'I','L','D','W' (upper bytes kept 0) */
  char* str;           /* 'C','M' */
  ArrRec* arr;         /* 'A','O','B','b' */
  void* win;           /* 'S': curses window */
  intptr_t slot;       /* '?': pointer-sized word (class record, state) */
  const void* ptr;     /* '?': pointer view of the same word */
  uint64_t bits;
} VWord1;

/* Word 2 of a value. */
typedef union VWord2 {
  AnyFn fn;            /* 'B': block function; method function */
  char* text;          /* 'b': block text (owned by the array record) */
  struct {
    int16_t access;    /* '?' special slot: access method index or -1 */
    int16_t assign;    /* '?' special slot: assign method index or -1 */
  } mi;
  uint64_t bits;
} VWord2;

typedef struct VValue {
  VWord1 w1;
  VWord2 w2;
} VValue;

/* Two words have two names each; the unions are anonymous so that both
** read as members (`v->V_indx`, `v->F_indx`).  C99 has no anonymous unions:
** __extension__ lets a C99 program include this header all the same. */
struct var {
  char Type;
  char Mode;
  uint8_t Decimals;
  uint8_t Flags;
  int32_t Length;
  uint32_t Links;
  __extension__ union {
    uint32_t V_indx;
    uint32_t F_indx;
  };
  __extension__ union {
    int32_t D_level;
    struct AreaRec* W_area;
  };
  VValue Value;
};

/* Flags bits. */
enum {
  VF_STATIC = 1, /* never written or freed: a constant or a compiled literal */
  VF_LITERAL = 2 /* a literal owned by a compiled expression */
};

/* The array record shared by 'A', 'O', 'B' and 'b' values. */
struct ArrRec {
  uint32_t A_links;  /* how many values share this record */
  uint32_t A_size;   /* number of elements; at most 65535 */
  var** A_vec;       /* A_size+1 entries; A_vec[A_size] is always null */
  uint32_t A_cap;    /* allocated element slots (excluding the null) */
  uint32_t A_flags;  /* AF_* bits */
  char* A_text;      /* 'b' blocks: the block's text, owned here */
  void* A_code;      /* 'b' blocks: the compiled form, owned by the evaluator */
};

enum {
  AF_STATIC = 1, /* belongs to a constant record: never freed */
  AF_DYING = 2,  /* an object whose axit has run or is running */
  AF_OBJECT = 4  /* the record of an object */
};

/* ---- The tag: Type, Mode, Decimals and Flags as one 32-bit word. ----
** The fast paths of the operators, the assignment and the temporaries
** (fastops.h and the library's own) read and write the first four bytes of
** a record as one little-endian word: Type in the low byte, then Mode,
** Decimals and Flags.  The assertions below state what that needs. */
#define VLN_TAG_KIND_MASK 0xFFFFu                /* Type and Mode */
#define VLN_TAG_NUMBER_TEMP 0x544Eu              /* 'N', 'T' */
#define VLN_TAG_NUMBER_LOCAL 0x4E4Eu             /* 'N', 'N' */
#define VLN_TAG_DECIMALS 0x00FF0000u
#define VLN_TAG_VALUE_BYTES 0x00FF00FFu          /* Type and Decimals */
#define VLN_TAG_STATIC ((uint32_t)VF_STATIC << 24)
#define VLN_NO_WIDTH (-1)                        /* Length of a computed number */

#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "the value record's tag word assumes a little-endian machine"
#endif
#ifdef __cplusplus
#define VL_STATIC_ASSERT(cond, name) static_assert(cond, #name)
#else
#define VL_STATIC_ASSERT(cond, name) typedef char vl_assert_##name[(cond) ? 1 : -1]
#endif
VL_STATIC_ASSERT(sizeof(var) == 40, var_is_40_bytes);
VL_STATIC_ASSERT(offsetof(var, Type) == 0 && offsetof(var, Mode) == 1 &&
                     offsetof(var, Decimals) == 2 && offsetof(var, Flags) == 3,
                 tag_bytes_in_order);
VL_STATIC_ASSERT(offsetof(var, Value) == 24 && sizeof(VWord1) == 8, value_words);
VL_STATIC_ASSERT(sizeof(double) == sizeof(uint64_t), double_is_a_word);

/* The tag of v. */
static inline uint32_t vln_tag(const var* v)
{
  uint32_t t;
  memcpy(&t, v, sizeof t);
  return t;
}

/* Whether v, a released temporary, is an 'N' number the temporary stack
** can keep as a spare: its one link is the stack's and it is no constant. */
static inline int vln_tmp_spare_number(const var* v)
{
  return v->Links == 1 &&
         (vln_tag(v) & (VLN_TAG_KIND_MASK | VLN_TAG_STATIC)) == VLN_TAG_NUMBER_TEMP;
}

/* Readable accessors for word 1 of a value. */
#define VSTR(v) ((v)->Value.w1.str)
#define VDBL(v) ((v)->Value.w1.d)
#define VINT(v) ((v)->Value.w1.i)
#define VARR(v) ((v)->Value.w1.arr)

/* The largest number of elements an array may have (code 409 beyond). */
#define VL_MAX_ARRAY 65535
/* The longest text a function builds; longer results report 319. */
#define VLN_MAX_TEXT (256L * 1024 * 1024)

/* The last day a date may be: 31 December 9999, so that every date has a
** year of four digits and "YYYYMMDD" stays eight characters. */
#define VLN_LAST_DAY 3652059

/* Whether day number n may stand in a date: up to VLN_LAST_DAY.  Day
** numbers below 1 (before the empty date 0, too) are kept as they are and
** show as the empty date. */
static inline int vln_day_ok(double n) { return n >= INT32_MIN && n <= VLN_LAST_DAY; }
/* Report a day number made by what (e.g. "date arithmetic") as out of
** range (409); gives ERROR_VAR.  The report runs the error block. */
var* vln_day_range_error(const char* what);


/* ---- The twelve constant records (never written, never released). ---- */
extern var* NIL_VAR;
extern var* ERROR_VAR;
extern var* TRUE_VAR;
extern var* FALSE_VAR;
extern var* ZERO_VAR;
extern var* ONE_VAR;
extern var* MINONE_VAR;
extern var* IZERO_VAR;
extern var* NULLSTR_VAR;
extern var* NULLDATE_VAR;
extern var* NILCB_VAR;
extern var* TRUCB_VAR;

/* A class record row: {name or letter, three words}.  Rows are described
** with the object model; axNullObj is the class of a declared object that
** was never instantiated: header {'U', 0, 0, 2} and an empty name. */
typedef struct VlnClassRow {
  intptr_t w1;
  int32_t w2, w3, w4;
} VlnClassRow;
extern const VlnClassRow axNullObj[];

/* ---- Letter sets (C callers; C++ code uses the constexpr sets). ----
** Returns non-zero when c is one of the letters of set; the byte 0 never
** matches, unlike a bare strchr. */
int vlnInSet(const char* set, int c);

/* ---- Temporaries. ---- */

/* Height of the temporary stack; marks are plain copies of it. */
extern int32_t tmpvar_cnt;
/* The temporary stack's slots, tmpvar_cnt of them in use.  A slot at or
** above tmpvar_cnt holds null or a spare record: a released temporary that
** held a plain scalar and no other link, which the stack owns and the next
** temporary made at that height takes back.  The entry past the capacity is
** always null, so one load answers both "is there room" and "is there a
** record". */
extern var** vln_tmp_slots;
/* Non-zero when released temporaries are kept as spares (zero in the
** sanitizer build, which frees each one so that a late use is caught). */
extern const int32_t vln_tmp_keeps_spares;

/* Push a new record on the temporary stack: Type 'U', Mode 'T', Length 0.
** The stack owns it; del_tmpvars releases it. */
var* cre_tmpvar(void);
/* Pop and release every temporary above mark. */
void del_tmpvars(int32_t mark);
/* Push an existing record so that a later del_tmpvars drops one link.
** Does not raise Links. */
void add_tmpvar(var* v);
/* Hold v until the statement ends: one more link, dropped by del_tmpvars.
** For a record (an element, a variable) that a later step of the same
** statement may release while v is still to be read.  Constant records are
** left alone.  Returns v. */
var* vln_hold(var* v);

/* ---- Records. ---- */

/* A free-standing record with Links 1 and D_level = glob_depth. */
var* mak_var(int mode, int type);
/* A new owned 'C' record holding a copy of text (field records). */
var* mak_chrvar(const char* text, int flag);
/* A new temporary of Type 'S' holding window. */
var* mak_scrvar(void* window);
/* A new temporary holding a copy of v's value: own string buffer, field
** value read through, arrays/objects/blocks shared by A_links. */
var* mk_var_cp(var* v);
/* Assign src's value to dst under dst's Mode rules (fields write through,
** strictly typed records convert or refuse).  Returns dst, or ERROR_VAR
** when the store was refused. */
var* cpy_var(var* dst, var* src);
/* Free v's content so that a value of newtype can be stored.  Returns v,
** or ERROR_VAR when strict typing forbids the store (code 332). */
var* release_v_cont(var* v, int newtype);
/* Drop one link of v; at zero free the record and its content. */
void del_var(var* v);

/* ---- Readers: the only way library code reads a loose number. ---- */

/* 'F','N': the double; 'I','L': the word; else 317 and 0.0. */
double vlnNumVar(var* v);
/* 'F','N' truncated toward zero (INT32_MIN out of range); 'I','L' the word;
** else 317 and 0. */
int32_t vlnIntVar(var* v);
/* 'F','N' non-zero; 'I' non-zero; 'L' the word; else 317 and 0. */
int vlnLogVar(var* v);
/* Turn v into the empty value of the declared type and fix its Mode. */
var* vlnSetFixedEmpty(var* v, int type);
/* Truncate a double toward zero into 32 bits; NaN or out of range give
** INT32_MIN, as the processor's own conversion does. */
int32_t vlnDoubleToInt(double d);

/* ---- Type compatibility. ---- */

/* Parameter and return pairs (received, expected): equal letters, B-b,
** b-B, O-u, u-O and the numeric-logical pairs. */
int vlnParamTypesCompatible(int received, int expected);
/* Comparison pairs: equal letters, C-M, M-C and the numeric-logical pairs. */
int vlnRTypesCompatible(int received, int expected);

/* ---- Array records (shared by arrays, objects and blocks). ---- */

/* A new array record of n NIL elements ('N','U' records), A_links 1.
** Returns null when n exceeds VL_MAX_ARRAY or memory runs out (reported). */
ArrRec* vln_arr_new(uint32_t n);
/* Drop one link of an array record; at zero release its elements last to
** first and free it. */
void vln_arr_unref(ArrRec* a);

/* ---- Value constructors (into a var, into a new temporary; the forms by
** memory-variable index are in kernel.h).  Each returns the record
** written, or ERROR_VAR. ---- */

var* set_cvar(var* v, const char* text);
var* set_cv(const char* text);
var* set_Cvar(var* v, const char* text, int32_t len);

/* A day number after 9999-12-31 reports 409 and stores nothing. */
var* set_dvar(var* v, int32_t day);
var* set_dv(int32_t day);

var* set_Ivar(var* v, int32_t n);
var* set_Iv(int32_t n);

var* set_lvar(var* v, int b);
var* set_lv(int b);

var* set_nvar(var* v, double d, int dec);
var* set_nv(double d, int dec);

/* '?' internal slot holding a pointer-sized word. */
var* set_ivar(var* v, intptr_t word);
/* 'S': take window over / duplicate window. */
var* set_svar(var* v, void* window);
var* set_Svar(var* v, void* window);
/* 'B': a compiled block of function fn with pars parameters; the detached
** variables follow, closed by (var*)0. */
var* set_bvar(var* v, AnyFn fn, int pars, ...)
#if defined(__GNUC__)
    __attribute__((sentinel))
#endif
    ;
/* 'O': a new object temporary with nslots+2 elements. */
var* set_Ov(int32_t nslots, const VlnClassRow* classrecord, var* methods);
/* Deep copy: nested arrays duplicated at every level; objects and blocks
** shared; cycles reproduced in the copy. */
var* true_cpy(var* dst, var* src);

VL_END_DECLS

#endif /* VL_VAR_H */
