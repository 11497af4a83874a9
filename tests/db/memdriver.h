// memdriver.h -- MEM, a table driver that keeps its rows in memory, written
// the way an application adds a driver: a class derived from dataserver
// whose constructor MEMNEW the driver registry finds by the name "MEM".
//
// A table is defined by name with memdrv::define; opening a name (MEMNEW,
// or a database function with driver "MEM") opens the table of its base
// name ("/d/Cust.dbf": CUST), announces the name as alias to the area and
// announces the fields, also when the alias is refused (an unknown name
// leaves the object closed).  Rows are shared
// by every object that opens the table, so a FIELDPUT is seen by all of
// them.  MEMQUICKNEW makes a MEM object with the quick field methods.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "var.h"

namespace memdrv {

// One column: type 'C' or 'N', with its width.
struct Field {
  std::string name;
  char type;
  int len;
  int dec;
};
// One cell: text for 'C', number for 'N'.
using Value = std::variant<std::string, double>;
using Row = std::vector<Value>;

// What the MEM objects did, over all of them.
struct Counters {
  int axits = 0;
  int fieldgets = 0;
  int fieldputs = 0;
  int quickgets = 0;
  int quickputs = 0;
  int skips = 0;
  int last_skip = -1;  // the count of the last skip
};
Counters& counters();

// Register MEMNEW and MEMQUICKNEW (again: the same functions).
void install();
// Define or replace the table of name's base name, rows in record order.
void define(const std::string& name, const std::vector<Field>& fields,
            const std::vector<Row>& rows);
// Open table name in the lowest free area, which becomes selected; true
// when the table is in use there.  Leaves no temporaries behind.
bool open(const std::string& name);
// Close every area's table through its close message, whatever driver.
void close_all();

}  // namespace memdrv

// MEMNEW(name, shared, readonly, , , new): a MEM driver object, opened when
// name is given (in the lowest free area unless new is .F.), closed and
// without any area change for five NILs and .F.
extern "C" var* _bb_memnew(int argc, var** argv);
extern "C" var* _bb_memquicknew(int argc, var** argv);
