/*
** fname.h -- the one translation every file name of the language passes.
**
** A name written for another system becomes a path of this one: a drive
** prefix "X:" becomes the value of the environment variable X_VLDRIVE,
** back-slashes become slashes, the extension goes through the extension
** map, the directory and file parts are folded to lower or upper case by
** the VL_Set switches, and with "strip" on the name keeps safe characters
** only and is clipped to 8.3.  form_fnam adds SET DEFAULT to a name without
** a directory; the search routines then try SET PATH.
**
** Two interfaces: functions writing into the caller's buffer of size
** bytes, and, for C++ callers, the same operations on std::string in
** namespace vln.  The C functions report their own errors.  The C++ ones
** never report: a problem is described in an optional VlnNameReport, which
** the caller hands to vln_name_report once it holds no object with a
** destructor (a report may run the error block, which may leave by BREAK).
*/
#ifndef VL_FNAME_H
#define VL_FNAME_H

#include <stddef.h>

#include "var.h"

VL_BEGIN_DECLS

/* Room for a report text. */
#define VLN_REPORT_TEXT 640

/* A report that a name routine describes instead of making: code 0 means
** nothing to report; io selects io_error over rt_error. */
typedef struct VlnNameReport {
  int code;
  int io;
  char text[VLN_REPORT_TEXT];
} VlnNameReport;

/* Make the report, if any, and clear it. */
void vln_name_report(VlnNameReport* report);

/* The expansion of a name argument (a text opening with "(" is an
** expression, other texts have their macros expanded) into a buffer of size
** bytes, which it returns.  The evaluator fills it at start-up; until then
** a name stands as it is. */
extern char* (*vln_name_expr_hook)(const char* text, int size);

/* Number of directories of SET PATH, and directory i (0 based, translated,
** with a trailing '/'); null past the end. */
int vln_path_count(void);
const char* vln_path_entry(int i);
/* Change SET PATH (list separated by ',' or ';') and SET DEFAULT. */
void vln_path_to(const char* text);
void vln_default_to(const char* text);

/* Translate name in place (buffer of size bytes).  Returns name; null
** stays null. */
char* vlnConvertFile(char* name, size_t size);
/* The file name would open under: SET DEFAULT, then SET PATH; '*' and '?'
** match in the file part.  out is "" when nothing is found.  Returns out. */
char* vlnPathFile(const char* name, char* out, size_t size);
/* Make name absolute and remove "//", "/./" and "/../" in place.  A result
** that does not fit reports 107 and leaves name as it was. */
char* vlnGetAbsPath(char* name, size_t size);
/* Name without leading and trailing blanks, plus ext (given with its dot)
** unless the file part has an extension.  Null when it doesn't fit. */
char* vlnAddExtension(char* out, const char* name, const char* ext, size_t size);
/* form_fnam with SET DEFAULT in place; a result that doesn't fit reports
** 319 "to add default path" and leaves name as it was. */
char* vlnAddDefPath(char* name, size_t size);
/* The extension map: with newext null, look ext up; otherwise make ext map
** to newext.  Returns "ext.to" (the map's row), "" when ext is empty or the
** map is full; valid until the next call. */
const char* vln_mapext(const char* ext, const char* newext);
/* name with its extension replaced by its mapping, if it has one; valid
** until the next call. */
const char* vln_namemapext(const char* name);
/* The base name of path (no directory, no extension) upper-cased into out
** (size bytes).  Returns its length, or 0 when it didn't fit. */
int vlnExtractName(const char* path, char* out, size_t size);

VL_END_DECLS

#ifdef __cplusplus
#include <string>
#include <vector>

namespace vl {

/* Expand name (macros, or an expression in parentheses) and translate
** it; a name without '/' gets, with dir null, the
** SET DEFAULT prefix, with dir non-empty dir and a '/', with dir "" none.
** A result that doesn't fit size bytes reports 319 and leaves out "".
** Returns out. */
char* form_fnam(const char* dir, const char* name, char* out, size_t size);

}  // namespace vl

namespace vln {

/* The size the C++ routines measure against in their reports. */
constexpr size_t kNameMax = 4096;

/* The C++ forms take names as given: no macro expansion. */
std::string convert_file(std::string name, size_t limit = kNameMax,
                         VlnNameReport* report = nullptr);
std::string form_fnam(const char* dir, const std::string& name,
                      VlnNameReport* report = nullptr);
/* The names a relative file is looked for under, in order: SET DEFAULT,
** then (with system) the screen-map and terminfo directories of the
** environment, SET PATH, then (with system) the system terminfo
** directories.  A name with a directory has one candidate. */
std::vector<std::string> search_names(const std::string& name, bool system,
                                      VlnNameReport* report = nullptr);
/* The first existing file (not directory) among search_names, with '*' and
** '?' matching in the file part; "" when none. */
std::string path_file(const std::string& name);
/* Absolute form; "" after a failure described in report. */
std::string abs_path(const std::string& name, VlnNameReport* report = nullptr);
std::string mapext(const std::string& ext, const char* newext);
std::string namemapext(const std::string& name);

}  // namespace vln
#endif

#endif /* VL_FNAME_H */
