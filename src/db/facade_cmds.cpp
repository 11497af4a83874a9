// facade_cmds.cpp -- the database functions that commands of a program
// become where no other function does the work: LOCATE and CONTINUE, and
// COUNT, SUM and AVERAGE over a scope.  Each is a send to the selected
// area's table with the scope arguments (for, while, next, record, rest)
// packed as DBEVAL's are.
#include "facade_shape.hpp"
#include "vlgen.h"

using vlfacade::Neutral;
using vlfacade::scope;
using vlfacade::send;

namespace {

constexpr uint8_t R = VLN_BRING_REPORT;  // report 322 on an empty area

}  // namespace

// __DBLOCATE(for, while, next, record, rest): LOCATE; whether found.
VLN_FUNC(__dblocate) { return scope({{"LOCATE", "locate", VLN_DS_LOCATE, R, Neutral::False}, 0}, argc, argv); }
// __DBCONTIN(): CONTINUE, the next record the LOCATE condition holds on.
VLN_FUNC(__dbcontin) { return send({"CONTINUE", "continue", VLN_DS_CONTINUE, R, Neutral::False}, argc, argv); }
// __DBCOUNT(for, while, next, record, rest): COUNT; the number of records.
VLN_FUNC(__dbcount) { return scope({{"COUNT", "count", VLN_DS_COUNT, R, Neutral::Zero}, 0}, argc, argv); }
// __DBSUM(fields, for, while, next, record, rest): SUM of a block, a field
// name, or an array of them (an array of sums).
VLN_FUNC(__dbsum) { return scope({{"SUM", "sum", VLN_DS_SUM, R, Neutral::Zero}, 1}, argc, argv); }
// __DBAVERAG(fields, for, while, next, record, rest): AVERAGE, as SUM.
VLN_FUNC(__dbaverag) { return scope({{"AVERAGE", "average", VLN_DS_AVERAGE, R, Neutral::Zero}, 1}, argc, argv); }
