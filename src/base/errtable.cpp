// errtable.cpp -- the error table and the fixed purpose texts.
//
// The table has a row per code from 0 to 999: its text and its report
// level.  A row whose level is below the report threshold is not reported:
// 1000 always, 700 only in developer mode, 0 never.  Every row not listed
// here reads "???" at level 700.  The numbering is part of the interface:
// programs see the codes in their error objects.
#include "vlerror.h"

namespace {

constexpr const char* kUnknownText = "???";

struct Row {
  int code;
  int32_t level;
  const char* text;
};

constexpr Row kRows[] = {
    {0, 1000, ""},
    {1, 1000, "record number out of range"},
    {101, 1000, "file open error"},
    {102, 1000, "file close error"},
    {103, 1000, "file read error"},
    {104, 1000, "file write error"},
    {105, 1000, "create file error"},
    {106, 1000, "erase file error"},
    {107, 1000, "file status error"},
    {201, 1000, "data type mismatch"},
    {202, 1000, "illegal operation on data type"},
    {203, 1000, "illegal data type"},
    {204, 1000, "illegal field type"},
    {205, 1000, "illegal field value"},
    {301, 1000, "no memory available"},
    {302, 1000, "no memory variables available"},
    {303, 1000, "null pointer for memory variable"},
    {304, 1000, "too many prompts for menu"},
    {305, 1000, "too many gets"},
    {306, 1000, "cannot find that field"},
    {307, 1000, "undefined variable"},
    {308, 1000, "undefined function"},
    {309, 1000, "Syntax error in expression"},
    {310, 1000, "NULL pointer returned from evaluator"},
    {311, 1000, "Wrong argument count"},
    {312, 1000, "Wrong argument type"},
    {313, 1000, "Wrong argument value"},
    {314, 1000, "Endless loop in macro expansion"},
    {315, 1000, "Too long macro expansion"},
    {316, 1000, "Missing argument"},
    {317, 1000, "Illegal type"},
    {318, 1000, "Illegal skeleton"},
    {319, 1000, "string too long"},
    {320, 1000, "Illegal value"},
    {321, 0, "command or filename not found"},
    {322, 1000, "No database opened"},
    {323, 1000, "Wrong file name"},
    {324, 1000, "Argument is null string"},
    {325, 1000, "DBF file or record not locked"},
    {326, 1000, "Wrong version of DBF file"},
    {327, 1000, "Number of locks for the DBF exceeded"},
    {328, 1000, "Incorrect line in file"},
    {329, 700, "Illegal color specification"},
    {330, 700, "No database opened"},
    {331, 1000, "Index file corrupted"},
    {332, 1000, "wrong type for typed var/par"},
    {333, 700, "Illegal picture string"},
    {334, 1000, "Record wanted but eof"},
    {335, 1000, "BREAK unexpected"},
    {336, 700, "Illegal dateformat string"},
    {337, 1000, "Undefined identifer"},
    {338, 1000, "Illegal object class"},
    {339, 1000, "unable to open file"},
    {340, 1000, "Wrong IDX version of file"},
    {341, 700, "cannot find that field"},
    {342, 1000, "Illegal alias"},
    {343, 1000, "Illegal method"},
    {344, 1000, "Illegal instance"},
    {347, 1000, "fcntl() lock failure"},
    {401, 1000, "argcnt negative"},
    {402, 1000, "too many args"},
    {403, 1000, "too little args"},
    {404, 1000, "wrong arg type"},
    {405, 1000, "arg negative"},
    {406, 1000, "arg null"},
    {407, 1000, "arg null pointer"},
    {408, 1000, "arg points to null string"},
    {409, 1000, "arg out of range"},
    {410, 1000, "flag has impossible value"},
    {411, 1000, "out of memory"},
    {412, 1000, "non-existing index data sector access"},
    {413, 1000, "database file (DBF) not opened "},
    {414, 1000, "database file has no memo file (DBT) "},
    {415, 1000, "database index file (IDX) not opened "},
    {416, 1000, "illegal internal value"},
    {501, 1000, "unable to open file"},
    {502, 1000, "too many function arguments"},
    {701, 1000, "index file already locked"},
    {901, 1000, "(warning)"},
    {902, 700, "(warning)"},
};

const VlnErrRow kUnknownRow = {kUnknownText, VL_LEVEL_DEVEL};

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
  for (VlnErrRow& r : __error_report) r = kUnknownRow;
  for (const Row& r : kRows) __error_report[r.code] = VlnErrRow{r.text, r.level};
}

const VlnErrRow* vln_err_row(int code)
{
  if (code < 0 || code >= VL_ERR_ROWS) return &kUnknownRow;
  return &__error_report[code];
}

}  // extern "C"
