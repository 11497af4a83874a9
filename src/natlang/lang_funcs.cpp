// lang_funcs.cpp -- LOADLANG, SETLANG and _LANGNAMES.
//
// LOADLANG only loads: a language becomes active through SETLANG.  The
// file is looked for along SET DEFAULT, SET PATH and the system
// directories; a failed search is reported as such only in developer mode.
#include <fcntl.h>

#include <cstdio>
#include <cstring>

#include "files.hpp"
#include "natlang.hpp"
#include "args.hpp"
#include "kernel.h"
#include "runtime.hpp"
#include "switches.h"

using namespace vl;

using namespace vl::args;

namespace {

var* report(int code)
{
  rt_error(code, repdum);
  return FALSE_VAR;
}

// SETLANG's result after an error: 0 when the handler answered .F.
var* setlang_error(int code)
{
  var* answer = rt_error(code, repdum);
  return answer == FALSE_VAR ? ZERO_VAR : ERROR_VAR;
}

}  // namespace

VLN_FUNC(loadlang)
{
  if (argc < 1) return FALSE_VAR;
  var* n = argv[0];
  var* name = arg(argc, argv, 1);
  if (!is_number(n)) {
    std::snprintf(repdum, sizeof repdum,
                  "LOADLANG(): requires language number as first argument, not '%c'", n->Type);
    return report(VL_E_ARG_TYPE);
  }
  if (!is_text(name)) {
    std::snprintf(repdum, sizeof repdum,
                  "LOADLANG(): requires filename as second argument, not '%c'", type_of(name));
    return report(VL_E_ARG_TYPE);
  }
  const int64_t number = count_arg(n);
  if (number < 1 || number > VLN_LANGUAGES) {
    std::snprintf(repdum, sizeof repdum,
                  "LOADLANG(): requires language number in the range 1 to %d", VLN_LANGUAGES);
    return report(VL_E_ARG_VALUE);
  }
  // A handle, since the name may be that of a table this process has locked.
  const int fd = path_open_handle(name->Value.w1.str, O_RDONLY, 0, nullptr, 1, vlnGetDevel());
  FILE* stream = fd >= 0 ? handle_stream(fd) : nullptr;
  if (!stream) {
    std::snprintf(repdum, sizeof repdum, "LOADLANG(): cannot open '%s'", name->Value.w1.str);
    return report(VL_E_WRONG_FILE_NAME);
  }
  const int good = _loadlang(static_cast<int>(number - 1), stream);
  std::fclose(stream);
  return good ? TRUE_VAR : FALSE_VAR;
}

VLN_FUNC(setlang)
{
  const int former = curr_lang + 1;
  if (argc < 1) return set_nv(former, 0);
  var* n = argv[0];
  if (!is_number(n)) {
    std::snprintf(repdum, sizeof repdum, "SETLANG() requires numeric argument not '%c'", n->Type);
    return setlang_error(VL_E_ARG_TYPE);
  }
  const int64_t number = count_arg(n);
  if (number < 0 || number > VLN_LANGUAGES) {
    std::snprintf(repdum, sizeof repdum, "SETLANG() requires numeric argument in the range 0 to %d",
                  VLN_LANGUAGES);
    return setlang_error(VL_E_ARG_VALUE);
  }
  if (vlnSelectLanguage(static_cast<int>(number)) != 0) {
    std::snprintf(repdum, sizeof repdum, "SETLANG(): language # %d has not been loaded",
                  static_cast<int>(number));
    return setlang_error(VL_E_ILLEGAL_VALUE);
  }
  return set_nv(former, 0);
}

VLN_FUNC(_langnames)
{
  var* n = arg(argc, argv, 0);
  if (!is_number(n)) return NULLSTR_VAR;
  const int64_t which = count_arg(n);
  if (which < 1 || which > VLN_LANG_SCORE_SLOTS) return NULLSTR_VAR;
  const char* t = vlnScoreText(static_cast<int>(which));
  return text_result(t, std::strlen(t));
}
