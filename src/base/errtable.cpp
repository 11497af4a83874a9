// errtable.cpp -- the error table and the fixed purpose texts.
//
// The table has a row per code from 0 to 999: its text and its report
// level.  A row whose level is below the report threshold is not reported:
// 1000 always, 700 only in developer mode, 0 never.  The codes with a row
// are the names of errcodes.h; every other number reads "???" at level 700.  The numbering is part of the interface:
// programs see the codes in their error objects.
#include "vlerror.hpp"

namespace {

constexpr const char* kUnknownText = "???";
constexpr int32_t kAlways = VL_LEVEL_ALWAYS;
constexpr int32_t kDevel = VL_LEVEL_DEVEL;
constexpr int32_t kNever = VL_LEVEL_NEVER;

constexpr VlnErrRow kUnknownRow = {kUnknownText, kDevel};

// The switch below is the table: a case per name of errcodes.h, so that a
// name without a row is a compile error here, and so is a row twice.
#pragma GCC diagnostic push
#pragma GCC diagnostic error "-Wswitch"

// The row of code; kUnknownRow for a number that has none.
constexpr VlnErrRow row_of(VlErrCode code)
{
  switch (code) {
    case VL_E_NONE: return {"", kAlways};
    case VL_E_RECNO_RANGE: return {"record number out of range", kAlways};
    case VL_E_FILE_OPEN: return {"file open error", kAlways};
    case VL_E_FILE_CLOSE: return {"file close error", kAlways};
    case VL_E_FILE_READ: return {"file read error", kAlways};
    case VL_E_FILE_WRITE: return {"file write error", kAlways};
    case VL_E_FILE_CREATE: return {"create file error", kAlways};
    case VL_E_FILE_ERASE: return {"erase file error", kAlways};
    case VL_E_FILE_STATUS: return {"file status error", kAlways};
    case VL_E_TYPE_MISMATCH: return {"data type mismatch", kAlways};
    case VL_E_ILLEGAL_OP: return {"illegal operation on data type", kAlways};
    case VL_E_ILLEGAL_DATA_TYPE: return {"illegal data type", kAlways};
    case VL_E_ILLEGAL_FIELD_TYPE: return {"illegal field type", kAlways};
    case VL_E_ILLEGAL_FIELD_VALUE: return {"illegal field value", kAlways};
    case VL_E_NO_MEMORY: return {"no memory available", kAlways};
    case VL_E_NO_MEMVARS: return {"no memory variables available", kAlways};
    case VL_E_NULL_MEMVAR: return {"null pointer for memory variable", kAlways};
    case VL_E_TOO_MANY_PROMPTS: return {"too many prompts for menu", kAlways};
    case VL_E_TOO_MANY_GETS: return {"too many gets", kAlways};
    case VL_E_NO_FIELD: return {"cannot find that field", kAlways};
    case VL_E_UNDEFINED_VAR: return {"undefined variable", kAlways};
    case VL_E_UNDEFINED_FUNC: return {"undefined function", kAlways};
    case VL_E_SYNTAX: return {"Syntax error in expression", kAlways};
    case VL_E_NULL_RESULT: return {"NULL pointer returned from evaluator", kAlways};
    case VL_E_ARG_COUNT: return {"Wrong argument count", kAlways};
    case VL_E_ARG_TYPE: return {"Wrong argument type", kAlways};
    case VL_E_ARG_VALUE: return {"Wrong argument value", kAlways};
    case VL_E_MACRO_LOOP: return {"Endless loop in macro expansion", kAlways};
    case VL_E_MACRO_TOO_LONG: return {"Too long macro expansion", kAlways};
    case VL_E_ARG_MISSING: return {"Missing argument", kAlways};
    case VL_E_ILLEGAL_TYPE: return {"Illegal type", kAlways};
    case VL_E_ILLEGAL_SKELETON: return {"Illegal skeleton", kAlways};
    case VL_E_STRING_TOO_LONG: return {"string too long", kAlways};
    case VL_E_ILLEGAL_VALUE: return {"Illegal value", kAlways};
    case VL_E_NOT_FOUND: return {"command or filename not found", kNever};
    case VL_E_NO_DATABASE: return {"No database opened", kAlways};
    case VL_E_WRONG_FILE_NAME: return {"Wrong file name", kAlways};
    case VL_E_ARG_EMPTY: return {"Argument is null string", kAlways};
    case VL_E_NOT_LOCKED: return {"DBF file or record not locked", kAlways};
    case VL_E_DBF_VERSION: return {"Wrong version of DBF file", kAlways};
    case VL_E_TOO_MANY_LOCKS: return {"Number of locks for the DBF exceeded", kAlways};
    case VL_E_INCORRECT_LINE: return {"Incorrect line in file", kAlways};
    case VL_E_ILLEGAL_COLOR: return {"Illegal color specification", kDevel};
    case VL_E_NO_DATABASE_DEV: return {"No database opened", kDevel};
    case VL_E_INDEX_CORRUPT: return {"Index file corrupted", kAlways};
    case VL_E_TYPED_VAR: return {"wrong type for typed var/par", kAlways};
    case VL_E_ILLEGAL_PICTURE: return {"Illegal picture string", kDevel};
    case VL_E_AT_EOF: return {"Record wanted but eof", kAlways};
    case VL_E_UNEXPECTED_BREAK: return {"BREAK unexpected", kAlways};
    case VL_E_ILLEGAL_DATE_FORMAT: return {"Illegal dateformat string", kDevel};
    case VL_E_UNDEFINED_ID: return {"Undefined identifer", kAlways};
    case VL_E_ILLEGAL_CLASS: return {"Illegal object class", kAlways};
    case VL_E_CANNOT_OPEN: return {"unable to open file", kAlways};
    case VL_E_IDX_VERSION: return {"Wrong IDX version of file", kAlways};
    case VL_E_NO_FIELD_DEV: return {"cannot find that field", kDevel};
    case VL_E_ILLEGAL_ALIAS: return {"Illegal alias", kAlways};
    case VL_E_ILLEGAL_METHOD: return {"Illegal method", kAlways};
    case VL_E_ILLEGAL_INSTANCE: return {"Illegal instance", kAlways};
    case VL_E_LOCK_FAILED: return {"fcntl() lock failure", kAlways};
    case VL_E_ARGC_NEGATIVE: return {"argcnt negative", kAlways};
    case VL_E_TOO_MANY_ARGS: return {"too many args", kAlways};
    case VL_E_TOO_FEW_ARGS: return {"too little args", kAlways};
    case VL_E_WRONG_ARG_TYPE: return {"wrong arg type", kAlways};
    case VL_E_ARG_NEGATIVE: return {"arg negative", kAlways};
    case VL_E_ARG_NULL: return {"arg null", kAlways};
    case VL_E_NULL_POINTER: return {"arg null pointer", kAlways};
    case VL_E_NULL_STRING: return {"arg points to null string", kAlways};
    case VL_E_OUT_OF_RANGE: return {"arg out of range", kAlways};
    case VL_E_BAD_FLAG: return {"flag has impossible value", kAlways};
    case VL_E_OUT_OF_MEMORY: return {"out of memory", kAlways};
    case VL_E_NO_INDEX_SECTOR: return {"non-existing index data sector access", kAlways};
    case VL_E_DBF_NOT_OPEN: return {"database file (DBF) not opened ", kAlways};
    case VL_E_NO_MEMO_FILE: return {"database file has no memo file (DBT) ", kAlways};
    case VL_E_IDX_NOT_OPEN: return {"database index file (IDX) not opened ", kAlways};
    case VL_E_INTERNAL_VALUE: return {"illegal internal value", kAlways};
    case VL_E_LOAD_CANNOT_OPEN: return {"unable to open file", kAlways};
    case VL_E_LOAD_TOO_MANY_ARGS: return {"too many function arguments", kAlways};
    case VL_E_INDEX_LOCKED: return {"index file already locked", kAlways};
    case VL_E_WARNING: return {"(warning)", kAlways};
    case VL_E_DEV_WARNING: return {"(warning)", kDevel};
  }
  return kUnknownRow;
}

#pragma GCC diagnostic pop

}  // namespace

extern "C" {

VlnErrRow __error_report[VL_ERR_ROWS];

const char* const vln_errmsg[VL_ERRMSG_ROWS] = {
    /* 0 */ "to do achoice",
    /* 1 */ "for storing alternate file name",
    /* 2 */ "PADC: negative length",
    /* 3 */ "PADC: result too long",
    /* 4 */ "PADL: negative length",
    /* 5 */ "PADL: result too long",
    /* 6 */ "PADR: negative length",
    /* 7 */ "PADR: result too long",
    /* 8 */ "to store path",
    /* 9 */ "to create array memory var(s)",
    /* 10 */ "for buffers to do DBEDIT",
    /* 11 */ "for picture buffers to do DBEDIT",
    /* 12 */ "for separator buffer in DBEDIT",
    /* 13 */ "for footings buffer in DBEDIT",
    /* 14 */ "for DBF header",
    /* 15 */ "for DBF record space",
    /* 16 */ "for field variables",
    /* 17 */ "for field definitions",
    /* 18 */ "for memo field variable",
    /* 19 */ "while saving memo field variable",
    /* 20 */ "for temp space in APPEND",
    /* 21 */ "for temp space in COPY TO",
    /* 22 */ "for temp space in COPY STRUCTURE",
    /* 23 */ "in SET FILTER TO",
    /* 24 */ "for temp space in JOIN",
    /* 25 */ "for PROMPT string",
    /* 26 */ "for PROMPT MESSAGE string",
    /* 27 */ "cannot create RELATION structure",
    /* 28 */ "no space to RESTORE",
    /* 29 */ "for temp space in SORT TO",
    /* 30 */ "for temp space in TYPE",
    /* 31 */ "\n\nFATAL ERROR: No memory space for function table !!!\n\n",
    /* 32 */ "Cannot select working area %d",
    /* 33 */ "Not enough memory for keyboard buffer",
    /* 34 */ "for text in SET KEYBUF TO",
    /* 35 */ "SET FUNCTION <expN> TO <expC>: no memory for text  ",
    /* 36 */ "for index structure",
    /* 37 */ "for index header structure",
    /* 38 */ "for index key sector",
    /* 39 */ "for storing printer file name",
    /* 40 */ "READ: no memory for temp buff for storing variable",
    /* 41 */ "Creating character variable",
    /* 42 */ "trying to _push_tty()",
    /* 43 */ "during character expression evaluation",
    /* 44 */ "while reading in memo field",
    /* 45 */ "trying to expand the variable stack",
    /* 46 */ "trying to reallocate mem var names",
    /* 47 */ "trying to reallocate mem var pointers",
    /* 48 */ "\n\nNot enough space to allocate memory variable names\n\n",
    /* 49 */ "\n\nNot enough space to allocate temporary memvar pointers\n\n",
    /* 50 */ "trying to allocate memory for variable",
    /* 51 */ "APPEND FROM: source file '%s' not available ",
    /* 52 */ "APPEND record number",
    /* 53 */ "COPY TO record number",
    /* 54 */ "COPY STRUCTURE: file '%s'",
    /* 55 */ "COPY STRUCTURE: database not open in area %d ",
    /* 56 */ "' CREATE FROM: FILENAME ERROR '",
    /* 57 */ "COPY STRUCT : Wrong Fieldnames",
    /* 58 */ "COPY STRUCTURE EXT: dbf-open error",
    /* 59 */ "JOIN    : filename or key expr. error ",
    /* 60 */ "JOIN    : database not open in area %d ",
    /* 61 */ "JOIN    : database not exclusive in area %d ",
    /* 62 */ "adding a prompt",
    /* 63 */ "in SET RELATION TO",
    /* 64 */ "wrong alias in: SET RELATION INTO",
    /* 65 */ "in SET RELATION INTO",
    /* 66 */ "RESTORE: opening '%s'  ",
    /* 67 */ "wrong screen variable parameters",
    /* 68 */ "RESTORE: reading in '%s', type '%c'(0x%02x)       ",
    /* 69 */ "TOTAL ON: filename or key expr. error ",
    /* 70 */ "TOTAL ON: database not open in area %d ",
    /* 71 */ "TYPE: source file '%s' not available ",
    /* 72 */ "TYPE: UNIX returned error %d  ",
    /* 73 */ "NULL pointer received setting mem space free",
    /* 74 */ "%lx < %lx setting mem space free",
    /* 75 */ "\r\n\r\nBus error  on line %d of %s.\r\n\r\n",
    /* 76 */ "Program aborted. \r\n\r\n",
    /* 77 */ "-------- Bus error  on line %d of %s !!! -------- \n\n",
    /* 78 */ "               Program aborted. \n\n",
    /* 79 */ "while forming arguments for function call",
    /* 80 */ "while forming code block",
    /* 81 */ "while forming array declarator",
    /* 82 */ "\n\nNo more memory for a new work area\n\n",
    /* 83 */ "for PROMPTs in MENU",
    /* 84 */ "for text in MEMOEDIT",
    /* 85 */ "for GET Object",
};

void err_init(void)
{
  for (int code = 0; code < VL_ERR_ROWS; ++code)
    __error_report[code] = row_of(static_cast<VlErrCode>(code));
}

const VlnErrRow* vln_err_row(int code)
{
  if (code < 0 || code >= VL_ERR_ROWS) return &kUnknownRow;
  return &__error_report[code];
}

}  // extern "C"
