/*
** errcodes.h -- the names of the error codes.
**
** One name per row of the error table (errtable.cpp builds its rows from
** these names, and refuses to compile when a name has no row).  The numbers
** are part of the interface: programs see them in their error objects, so a
** code never changes its number.  Codes group by hundreds: 100 file, 200
** type, 300 run-time, 400 internal checks of the library, 500 loading, 700
** index locks, 900 warnings.  Where a text appears twice in the table, the
** suffix _DEV marks the row reported only in developer mode.
**
** Plain C: this header includes nothing and can be included alone.
*/
#ifndef VL_ERRCODES_H
#define VL_ERRCODES_H

typedef enum VlErrCode {
  VL_E_NONE = 0,         /* the empty row: no error */
  VL_E_RECNO_RANGE = 1,  /* record number out of range */

  /* File operations. */
  VL_E_FILE_OPEN = 101,
  VL_E_FILE_CLOSE = 102,
  VL_E_FILE_READ = 103,
  VL_E_FILE_WRITE = 104,
  VL_E_FILE_CREATE = 105,
  VL_E_FILE_ERASE = 106,
  VL_E_FILE_STATUS = 107,

  /* Types. */
  VL_E_TYPE_MISMATCH = 201,
  VL_E_ILLEGAL_OP = 202,  /* illegal operation on data type */
  VL_E_ILLEGAL_DATA_TYPE = 203,
  VL_E_ILLEGAL_FIELD_TYPE = 204,
  VL_E_ILLEGAL_FIELD_VALUE = 205,  /* also a zero divisor */

  /* Run-time errors of the program. */
  VL_E_NO_MEMORY = 301,
  VL_E_NO_MEMVARS = 302,   /* no memory variables available */
  VL_E_NULL_MEMVAR = 303,  /* null pointer for memory variable */
  VL_E_TOO_MANY_PROMPTS = 304,
  VL_E_TOO_MANY_GETS = 305,
  VL_E_NO_FIELD = 306,  /* cannot find that field (always reported) */
  VL_E_UNDEFINED_VAR = 307,
  VL_E_UNDEFINED_FUNC = 308,
  VL_E_SYNTAX = 309,       /* syntax error in an expression */
  VL_E_NULL_RESULT = 310,  /* the evaluator returned a null pointer */
  VL_E_ARG_COUNT = 311,    /* a language function's argument count */
  VL_E_ARG_TYPE = 312,
  VL_E_ARG_VALUE = 313,
  VL_E_MACRO_LOOP = 314,  /* endless loop in macro expansion */
  VL_E_MACRO_TOO_LONG = 315,
  VL_E_ARG_MISSING = 316,
  VL_E_ILLEGAL_TYPE = 317,
  VL_E_ILLEGAL_SKELETON = 318,
  VL_E_STRING_TOO_LONG = 319,
  VL_E_ILLEGAL_VALUE = 320,
  VL_E_NOT_FOUND = 321,  /* command or file name not found; never reported */
  VL_E_NO_DATABASE = 322,  /* no database opened (always reported) */
  VL_E_WRONG_FILE_NAME = 323,
  VL_E_ARG_EMPTY = 324,  /* an argument is the empty text */
  VL_E_NOT_LOCKED = 325, /* DBF file or record not locked */
  VL_E_DBF_VERSION = 326,
  VL_E_TOO_MANY_LOCKS = 327,
  VL_E_INCORRECT_LINE = 328,  /* a line of a file that cannot be read */
  VL_E_ILLEGAL_COLOR = 329,
  VL_E_NO_DATABASE_DEV = 330,  /* as 322, but reported in developer mode only */
  VL_E_INDEX_CORRUPT = 331,
  VL_E_TYPED_VAR = 332,  /* wrong type for a typed variable or parameter */
  VL_E_ILLEGAL_PICTURE = 333,
  VL_E_AT_EOF = 334,  /* a record wanted at end of file */
  VL_E_UNEXPECTED_BREAK = 335,  /* BREAK outside any BEGIN SEQUENCE */
  VL_E_ILLEGAL_DATE_FORMAT = 336,
  VL_E_UNDEFINED_ID = 337,  /* undefined identifier */
  VL_E_ILLEGAL_CLASS = 338,
  VL_E_CANNOT_OPEN = 339,  /* unable to open file (a run-time error) */
  VL_E_IDX_VERSION = 340,
  VL_E_NO_FIELD_DEV = 341,  /* as 306, but reported in developer mode only */
  VL_E_ILLEGAL_ALIAS = 342,
  VL_E_ILLEGAL_METHOD = 343,
  VL_E_ILLEGAL_INSTANCE = 344,
  VL_E_LOCK_FAILED = 347,  /* fcntl() lock failure */

  /* Internal checks: a library routine got what it cannot work with. */
  VL_E_ARGC_NEGATIVE = 401,
  VL_E_TOO_MANY_ARGS = 402,
  VL_E_TOO_FEW_ARGS = 403,
  VL_E_WRONG_ARG_TYPE = 404,  /* a routine's operand (312 is a function's) */
  VL_E_ARG_NEGATIVE = 405,
  VL_E_ARG_NULL = 406,
  VL_E_NULL_POINTER = 407,
  VL_E_NULL_STRING = 408,  /* an argument points to an empty string */
  VL_E_OUT_OF_RANGE = 409,
  VL_E_BAD_FLAG = 410,  /* a flag has an impossible value */
  VL_E_OUT_OF_MEMORY = 411,
  VL_E_NO_INDEX_SECTOR = 412,  /* access to an index sector that does not exist */
  VL_E_DBF_NOT_OPEN = 413,
  VL_E_NO_MEMO_FILE = 414,
  VL_E_IDX_NOT_OPEN = 415,
  VL_E_INTERNAL_VALUE = 416,  /* an illegal internal value */

  /* Loading. */
  VL_E_LOAD_CANNOT_OPEN = 501,  /* unable to open file (339 when running) */
  VL_E_LOAD_TOO_MANY_ARGS = 502,

  /* Index locks. */
  VL_E_INDEX_LOCKED = 701,  /* index file already locked */

  /* Warnings. */
  VL_E_WARNING = 901,     /* a warning, always reported */
  VL_E_DEV_WARNING = 902  /* a warning reported in developer mode only */
} VlErrCode;

#endif /* VL_ERRCODES_H */
