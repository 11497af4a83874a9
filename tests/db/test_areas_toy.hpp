// A toy data server for the work-area tests: a class with the data-server
// class mark whose objects hold a few rows in memory and answer the
// messages the areas send (fieldget, fieldput, skip, shared, axit, and in
// the quick variant QuickFieldGet and QuickFieldPut).
#pragma once

#include <string>
#include <vector>

#include "areas.h"
#include "vltest.h"

namespace toy {

struct Row {
  std::string name;  // field NAME, C 10
  double age;        // field AGE, N 3
};

// What the toy objects did, over all objects.
struct Counters {
  int axits = 0;
  int fieldgets = 0;
  int fieldputs = 0;
  int quickgets = 0;
  int quickputs = 0;
  int skips = 0;
  int last_skip = -1;
};
Counters& counters();

enum class Kind { plain, quick };

// Open a table of rows in the selected area under the alias derived from
// name.  The object is a temporary: the area's link keeps it.  *changed
// receives vlnAnnounceAlias's result when given.
var* open(const char* name, std::vector<Row> rows, Kind kind = Kind::plain, bool shared = false,
          int* changed = nullptr);
// Close the table of obj: retire its fields and its alias.
void close(var* obj);
// Move obj to row i (0-based).
void go(var* obj, size_t i);
// The rows of obj as the table holds them now.
const std::vector<Row>& rows(var* obj);
// The alias buffer of obj.
const char* alias(var* obj);

// An object of a class without the data-server mark.
var* plain_object();

// A row of a class record being built: name, slot and kind letter.
struct Method {
  const char* name;
  int32_t slot;
  int kind;
};
// A class record with class mark mark, the instance rows ivars and method
// rows for slots 0 to slots-1: methods where given, unused names elsewhere,
// so that sends by slot reach the method array.  Never freed.
const VlnClassRow* make_class(const char* name, char mark, std::vector<Method> ivars,
                              std::vector<Method> methods, int32_t slots);

}  // namespace toy
