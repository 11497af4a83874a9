// VL_Set(keyword, ...): the switches of this run-time beyond SET().
//
// The keyword is matched against the table below the way the scanner
// matches its keywords: trimmed and lower-cased, it must be the start of a
// name and at least three characters long, or the whole name; the first
// match wins.  Each token takes its own arguments and gives back the
// former value; an unknown keyword gives .F.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fname.h"
#include "kernel.hpp"
#include "letters.hpp"
#include "set.hpp"
#include "set_args.hpp"
#include "sethooks.h"
#include "switches.hpp"
#include "vlerror.h"
#include "vlgen.h"

using namespace vl;

namespace {

using vlset::present;
using vlset::text_of;
using vlset::text_result;

enum Token {
  kDevel, kLookahead, kLowerFile, kUpperFile, kLoadLang, kSetLang, kOutMap,
  kTerminal, kPrinterFile, kInMap, kDebugKey, kIntrKey, kSlot12, kLowerPath,
  kUpperPath, kFourChar, kConvert, kStrip, kSlot18, kCompat42, kEnvironment,
  kEscDelay, kIntvar, kMultiUser, kPrinterSeq = 26, kNoToken = -1
};

constexpr VlnKeyword kKeywords[] = {
    {"developer", kDevel},          {"keyboardlookahead", kLookahead},
    {"lowerfilename", kLowerFile},  {"upperfilename", kUpperFile},
    {"loadlanguage", kLoadLang},    {"setlanguage", kSetLang},
    {"outputmap", kOutMap},         {"terminal", kTerminal},
    {"printerfile", kPrinterFile},  {"inputmap", kInMap},
    {"debugkey", kDebugKey},        {"interruptkey", kIntrKey},
    {"slot12", kSlot12},            {"lowerpath", kLowerPath},
    {"upperpath", kUpperPath},      {"fourcharactertext", kFourChar},
    {"convert", kConvert},          {"strip", kStrip},
    {"slot18", kSlot18},            {"4.2compatible", kCompat42},
    {"environment", kEnvironment},  {"escdelay", kEscDelay},
    {"intvar", kIntvar},            {"multiusersecur", kMultiUser},
    {"printersequences", kPrinterSeq}, {nullptr, 0}};

constexpr size_t kLeastLength = 3;
constexpr size_t kFourCharLen = 4;
constexpr int kEscDelayMin = 1;
constexpr int kEscDelayMax = 100;
constexpr int kMultiUserMax = 3;
constexpr int kMultiUserSafe = 2;

// The token of a keyword abbreviated to at least kLeastLength letters.
Token keyword_token(const char* text)
{
  return static_cast<Token>(get_tok(text, kKeywords, static_cast<int>(kLeastLength)));
}

bool is_logical_arg(const var* v) { return v && vl::kNFIL.has(v->Type); }
bool is_number_arg(const var* v) { return v && vl::kNFI.has(v->Type); }
var* logical(int b) { return b ? TRUE_VAR : FALSE_VAR; }

var* devel(int argc, var** argv)
{
  const int former = vlnGetDevel();
  if (argc > 2) {
    rt_error(VL_E_ARG_COUNT, "expected only 2 arguments, 1:'expc' 2:'expl'");
  } else if (argc == 2) {
    if (!is_logical_arg(argv[1]))
      rt_error(VL_E_ARG_TYPE, "expected logical for 2.nd argument");
    else
      vl_set_flag[VL_SLOT_LEVEL] = vlnLogVar(argv[1]) ? VL_DEVEL_LEVEL : VL_NORMAL_LEVEL;
  }
  return logical(former);
}

var* lookahead(int argc, var** argv)
{
  var* former = vl_setlogic(argc, argc > 1 ? argv[1] : nullptr, VL_SLOT_LOOKAHEAD, -1);
  if (argc == 2 && vln_lookahead_hook) vln_lookahead_hook(vl_set_flag[VL_SLOT_LOOKAHEAD]);
  return former;
}

// Tokens whose work is a language function of another subsystem: called by
// name with the arguments after the keyword.
var* delegate(const char* name, int argc, var** argv)
{
  const int32_t pos = find_fun(name);
  if (pos <= 0) return FALSE_VAR;
  return glob_ftab[pos].fn(argc - 1, argv + 1);
}

var* printer_file(int argc)
{
  if (argc > 1) rt_error(VL_E_ARG_COUNT, "no arguments allowed");
  return text_result(vln_flagto.printer_file);
}

var* terminal_key(int argc, var** argv, int slot)
{
  const int former = vl_set_flag[slot];
  if (argc > 2) {
    rt_error(VL_E_ARG_COUNT, "expected only 2 arguments, 1:'expc' 2:'expn'");
  } else if (argc == 2) {
    if (!is_number_arg(argv[1])) {
      rt_error(VL_E_ARG_TYPE, "expected numeric for 2.nd argument");
    } else {
      vl_set_flag[slot] = vlnIntVar(argv[1]);
      if (vln_termkey_hook) vln_termkey_hook(slot, vl_set_flag[slot]);
    }
  }
  return set_nv(former, 0);
}

var* four_chars(int argc, var** argv)
{
  char former[kFourCharLen + 1] = {};
  std::memcpy(former, &vl_set_flag[VL_SLOT_FOURCHAR], kFourCharLen);
  var* result = text_result(former);
  if (argc > 2) {
    rt_error(VL_E_ARG_COUNT, "expected only 1 argument, 'expc'");
  } else if (argc == 2) {
    const char* text = text_of(argv[1]);
    if (!text) {
      rt_error(VL_E_ARG_TYPE, "expected character for 2.nd argument");
    } else {
      char bytes[kFourCharLen] = {};
      std::memcpy(bytes, text, strnlen(text, kFourCharLen));
      std::memcpy(&vl_set_flag[VL_SLOT_FOURCHAR], bytes, kFourCharLen);
    }
  }
  return result;
}

var* convert(int argc, var** argv)
{
  if (argc != 2 && argc != 3) {
    rt_error(VL_E_ARG_COUNT, "expected only 3 arguments convert, 1:'expc' 2:'from' 3:'to'");
    return NULLSTR_VAR;
  }
  const char* ext = text_of(argv[1]);
  if (!ext) {
    rt_error(VL_E_ARG_TYPE, "expected character for 2.nd argument");
    return NULLSTR_VAR;
  }
  const char* newext = argc == 3 ? text_of(argv[2]) : nullptr;
  if (argc == 3 && !newext) {
    rt_error(VL_E_ARG_TYPE, "expected character for 3.rd argument");
    return NULLSTR_VAR;
  }
  return text_result(vln_mapext(ext, newext));
}

var* environment(int argc, var** argv)
{
  const char* name = argc > 1 ? text_of(argv[1]) : nullptr;
  if (!name) {
    rt_error(VL_E_ARG_TYPE, "expected character for 2.nd argument");
    return NULLSTR_VAR;
  }
  const char* old = std::getenv(name);
  var* former = text_result(old ? old : "");
  if (!present(argc, argv, 2)) return former;
  const char* value = text_of(argv[2]);
  if (!value) {
    rt_error(VL_E_ARG_TYPE, "expected character for 3.rd argument");
    return former;
  }
  const bool reinit = argc > 3 && is_logical_arg(argv[3]) && vlnLogVar(argv[3]);
  if (reinit && vln_checkforterm_hook && !vln_checkforterm_hook(value)) {
    rt_error(VL_E_ILLEGAL_VALUE, "Cannot initialize terminal (ignored)");
    return former;
  }
  if (setenv(name, value, 1) != 0) {
    rt_error(VL_E_NO_MEMORY, "Unable to extend environment for new variable");
    return former;
  }
  if (reinit && vln_term_reinit_hook) vln_term_reinit_hook();
  return former;
}

var* escdelay(int argc, var** argv)
{
  const int former = vl_set_flag[VL_SLOT_ESCDELAY];
  if (argc > 2) {
    rt_error(VL_E_ARG_COUNT, "expected only 2 arguments for escdelay");
  } else if (argc == 2) {
    if (!is_number_arg(argv[1])) {
      rt_error(VL_E_ARG_TYPE, "expected numeric for 2.nd argument");
    } else {
      const int n = vlnIntVar(argv[1]);
      if (n >= kEscDelayMin && n <= kEscDelayMax) {
        vl_set_flag[VL_SLOT_ESCDELAY] = n;
        if (vln_escdelay_hook) vln_escdelay_hook(n);
      }
    }
  }
  return set_nv(former, 0);
}

var* intvar(int argc, var** argv)
{
  const int former = vlnGetIntvar();
  if (argc >= 2) {
    if (!is_logical_arg(argv[1]))
      rt_error(VL_E_ARG_TYPE, "expected logical for VL_Set(Intvar)");
    else
      vlnSetIntvar(vlnLogVar(argv[1]));
  }
  return logical(former);
}

// The level is the lock layer's own switch word.
var* multiuser(int argc, var** argv)
{
  const int former = vlnFCNTLreadwrite;
  if (present(argc, argv, 1)) {
    const int n = is_number_arg(argv[1]) ? vlnIntVar(argv[1]) : -1;
    if (n < 0 || n > kMultiUserMax) {
      rt_error(VL_E_ARG_TYPE, "expected NIL or numeric 0..3 for 2nd argument");
    } else {
      vlnFCNTLreadwrite = n;
    }
  }
  const int now = vlnFCNTLreadwrite;
  if (now < kMultiUserSafe) {
    char text[128];
    std::snprintf(text, sizeof text,
                  "DANGER: multi-user-security is only %d;"
                  "see description of vl_set('multiUserSecur')",
                  now);
    rt_error(VL_E_DEV_WARNING, text);
  }
  return set_nv(former, 0);
}

var* logic_slot(int argc, var** argv, int slot, int excl)
{
  return vl_setlogic(argc, argc > 1 ? argv[1] : nullptr, slot, excl);
}

// The lock layer follows the switch in a word of its own.
var* compat42(int argc, var** argv)
{
  var* former = logic_slot(argc, argv, VL_SLOT_COMPAT42, -1);
  vlnFCNTLcompat42 = vl_set_flag[VL_SLOT_COMPAT42];
  return former;
}

}  // namespace

var* vl::vl_setlogic(int count, var* value, int slot, int excl)
{
  const int former = vl_set_flag[slot] != 0;
  if (count != 1 && count != 2) {
    rt_error(VL_E_ARG_COUNT, "expected 2 arguments, 1:'expc' 2:'expl'");
  } else if (count == 2) {
    if (!is_logical_arg(value)) {
      rt_error(VL_E_ARG_TYPE, "expected logical for 2.nd argument");
    } else {
      const int on = vlnLogVar(value) != 0;
      vl_set_flag[slot] = on;
      if (on && excl >= 0) vl_set_flag[excl] = 0;
    }
  }
  return logical(former);
}

VLN_FUNC(vl_set)
{
  const char* keyword = argc > 0 ? text_of(argv[0]) : nullptr;
  switch (keyword ? keyword_token(keyword) : kNoToken) {
    case kDevel: return devel(argc, argv);
    case kLookahead: return lookahead(argc, argv);
    case kLowerFile: return logic_slot(argc, argv, VL_SLOT_LOWERFILE, VL_SLOT_UPPERFILE);
    case kUpperFile: return logic_slot(argc, argv, VL_SLOT_UPPERFILE, VL_SLOT_LOWERFILE);
    case kLoadLang: return delegate("loadlang", argc, argv);
    case kSetLang: return delegate("setlang", argc, argv);
    case kOutMap: return delegate("scroutmap", argc, argv);
    case kTerminal: return delegate("termtype", argc, argv);
    case kPrinterFile: return printer_file(argc);
    case kInMap: return delegate("scrinmap", argc, argv);
    case kDebugKey: return terminal_key(argc, argv, VL_SLOT_DEBUGKEY);
    case kIntrKey: return terminal_key(argc, argv, VL_SLOT_INTRKEY);
    case kSlot12: return logic_slot(argc, argv, VL_SLOT_MEMCOMPAT, -1);
    case kLowerPath: return logic_slot(argc, argv, VL_SLOT_LOWERPATH, VL_SLOT_UPPERPATH);
    case kUpperPath: return logic_slot(argc, argv, VL_SLOT_UPPERPATH, VL_SLOT_LOWERPATH);
    case kFourChar: return four_chars(argc, argv);
    case kConvert: return convert(argc, argv);
    case kStrip: return logic_slot(argc, argv, VL_SLOT_STRIP, -1);
    case kSlot18: return logic_slot(argc, argv, VL_SLOT_NULTEXT, -1);
    case kCompat42: return compat42(argc, argv);
    case kEnvironment: return environment(argc, argv);
    case kEscDelay: return escdelay(argc, argv);
    case kIntvar: return intvar(argc, argv);
    case kMultiUser: return multiuser(argc, argv);
    case kPrinterSeq: return vl_prset(argc - 1, argv + 1);
    case kNoToken: break;
  }
  return FALSE_VAR;
}

// The printer's control sequences: new line, new page, move, home, back,
// space and margin, as VL_Set("printersequences") changes them and the
// printer output reads them.
namespace {

std::string sSeq[VL_PRSEQ_COUNT] = {"\n", "\f", "", "\r", "", " ", " "};

}  // namespace

extern "C" const char* vlnGetPrinterSeq(int which)
{
  return which >= 0 && which < VL_PRSEQ_COUNT ? sSeq[which].c_str() : "";
}

var* vl::vl_prset(int argc, var** argv)
{
  var* former = vlset::array_result(VL_PRSEQ_COUNT);
  if (former == NIL_VAR) return former;
  for (int i = 0; i < VL_PRSEQ_COUNT; ++i)
    set_Cvar(VARR(former)->A_vec[i], sSeq[i].data(), static_cast<int32_t>(sSeq[i].size()));
  if (argc < 1 || !argv[0] || argv[0]->Type != 'A') return former;
  const ArrRec* a = VARR(argv[0]);
  for (uint32_t i = 0; i < a->A_size && i < VL_PRSEQ_COUNT; ++i) {
    const var* e = a->A_vec[i];
    if (e && vl::kCM.has(e->Type))
      sSeq[i].assign(VSTR(e), static_cast<size_t>(e->Length > 0 ? e->Length - 1 : 0));
  }
  return former;
}
