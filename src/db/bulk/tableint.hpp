/*
** tableint.hpp -- what the commands that write one table from another
** share (tablecopy.cpp, tablemerge.cpp): structures, creating a table
** like the selected one, a command's run with what it must give back, and
** copying records from one area to another.
**
** A BREAK out of a block of the program skips C++ destructors, so a
** command keeps its containers in a Run on the heap, which guarded_run
** releases on both paths, after closing the areas the command opened,
** removing its temporary files and selecting the caller's area again.
*/
#ifndef VL_TABLEINT_HPP
#define VL_TABLEINT_HPP

#include <memory>
#include <string>
#include <vector>

#include "breakguard.hpp"
#include "bulkint.hpp"
#include "var.h"

namespace vlbulk {

/* One row of a structure: name, type, length and decimals. */
struct FieldDesc {
  std::string name;
  char type;
  int32_t len;
  int32_t dec;
  bool operator==(const FieldDesc&) const = default;
};

/* The selected area's structure (DBSTRUCT). */
std::vector<FieldDesc> area_struct();
/* The position (0-based) of name in descs, or -1. */
int desc_index(const std::vector<FieldDesc>& descs, const std::string& name);
/* The selected area's file permissions as DBCREATE takes them (octal
** digits written as a decimal number), 0 when unknown. */
int32_t area_perms();
/* DBCREATE(file, descs, driver, perms); whether the table was made (the
** driver reported otherwise). */
bool create_table(var* file, const std::vector<FieldDesc>& descs, var* driver, int32_t perms);

/* Whether the selected area holds a table of the DBF driver, whose
** records may be read and written as bytes. */
bool dbf_area();

/* A field of the source area written to a field of the target area. */
struct FieldPair {
  int from, to;           // field numbers, 1-based
  char from_type, to_type;
  int area = 0;           // the area read, 0 for the copier's source
};

/* Copies records from the source area to the target area: each copy
** appends a record to the target and writes the paired fields of the
** source's current record into it, converted to the target's type when
** convert is set.  A shared target appends through AUTOAPPEND, so a
** locked table is waited for as the automatic locks wait. */
struct Copier {
  const char* command = "";  // the name progress shows
  int source = 0, target = 0;
  std::vector<FieldPair> pairs;
  bool convert = false;
  bool wait = false;      // append through AUTOAPPEND
  bool stopped = false;   // an append failed; nothing more is copied
  long done = 0;
  Progress progress;
  std::vector<var*> scratch;  // one record's values, reused
  bool raw = false;       // records go across as bytes (see use_raw)
  /* Decide whether records may go across as bytes: both tables are DBF
  ** tables of the same structure without memo fields, every field paired
  ** with its namesake in order, nothing converted.  Call once the pairs,
  ** source and target are set; sets and gives raw. */
  bool use_raw();
  /* Append and copy; false (and stopped) when the append failed.  Leaves
  ** the source area selected. */
  bool copy_current();
  /* Append a record holding bytes (a record of the source, taken while
  ** raw); false (and stopped) when the append or the write failed.
  ** Leaves the source area selected. */
  bool copy_bytes(const uint8_t* bytes);

 private:
  /* Append a blank record to the selected target; false when refused. */
  bool append_target();
};

/* What a command gives back when it ends, however it ends. */
struct Run {
  int back = 0;                     // the area selected at the start
  std::vector<int> opened;          // second areas the command opened
  std::vector<std::string> temps;   // files to remove
  std::vector<var*> owned;          // value records to release
  int32_t saved_level = -1;         // report level to restore, -1 none
  std::vector<std::string> names;   // the command's field names
  std::vector<FieldDesc> descs;     // the command's structure rows
  Copier copier;                    // the command's record copy
  std::vector<std::shared_ptr<void>> kept;  // a command's own state
  /* A T that lives as long as the run. */
  template <class T>
  T& make()
  {
    auto p = std::make_shared<T>();
    kept.push_back(p);
    return *p;
  }
  /* open_free_area, remembering the area for finish; 0 after NETERR. */
  int open(var* driver, var* file, const std::string& alias, bool shared);
  /* Report developer warnings until finish. */
  void developer_mode();
  /* Close the opened areas, remove the files, restore the report level
  ** and select back. */
  void finish();
};

/* Run body(run) for a command and give its result; finish the run after
** it and after a BREAK through it. */
template <class Body>
var* guarded_run(Body&& body)
{
  Run* run = new Run;
  run->back = selected_area();
  return vln_guarded([&] { return body(*run); }, [&] {
    run->finish();
    delete run;
  });
}

/* The source value v in a field of type to (C/M as is, numbers and
** logicals numerically, dates and texts as DTOS/STOD); null when the pair
** has no conversion and the field stays empty. */
var* converted(var* v, char to);

/* A compiled block running fn with p as its detached context; fn reads
** it back with context_of(avec). */
var* ptr_block(BlockFn fn, void* p);
template <class T>
T* context_of(var** avec)
{
  return static_cast<T*>(const_cast<void*>(avec[0]->Value.w1.ptr));
}

/* DBEVAL in the selected area with a block that copies each record
** through c, with the scope; stops when an append fails. */
void copy_scope(Copier& c, var* const* scope);

}  // namespace vlbulk

#endif  // VL_TABLEINT_HPP
