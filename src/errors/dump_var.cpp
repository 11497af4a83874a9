// Dumps of values, memory variables, the current frame and objects.
#include <cstdio>
#include <cstring>

#include "dates.h"
#include "dumps.hpp"
#include "frame.h"
#include "kernel.h"
#include "numbers.h"

namespace {

constexpr int kDumpWidth = 8;     // a number shows in at least 8 places
constexpr int kDumpDecimals = 4;

unsigned long address(const void* p) { return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(p)); }

bool is_field_record(const var* v) { return v->Mode == 'F' || v->Mode == 'f'; }

// The name of v: its own V_indx entry, else a search of every entry.
const char* name_of(const var* v)
{
  if (!mv_names) return "";
  if (v->V_indx < static_cast<uint32_t>(mvn_fpt) && mv_names[v->V_indx].v == v)
    return mv_names[v->V_indx].name;
  for (int32_t i = 0; i < mvn_fpt; ++i)
    if (mv_names[i].v == v) return mv_names[i].name;
  return "";
}

void show_place(FILE* out)
{
  const frame* f = old_fn_stack;
  std::fprintf(out, "PG FN LN :%s, %s, %8d\r\n\n", f ? f->File : "", f ? f->Func : "", f ? f->Line : 0);
}

void show_owner(FILE* out, var* v)
{
  if (is_field_record(v)) {
    std::fprintf(out, "W_area   : %8d\r\n", vlnAreaNumberHook ? vlnAreaNumberHook(v->W_area) : 0);
    std::fprintf(out, "F_indx   : %8d\r\n", static_cast<int>(v->F_indx));
    return;
  }
  std::fprintf(out, "D_level  : %8d\r\n", v->D_level);
  std::fprintf(out, "V_indx   : %8d\r\n", static_cast<int>(v->V_indx));
  std::fprintf(out, "V_name  : %10s\r\n", name_of(v));
}

int links_of(const var* v) { return v->Value.w1.arr ? static_cast<int>(v->Value.w1.arr->A_links) : 0; }
int size_of(const var* v) { return v->Value.w1.arr ? static_cast<int>(v->Value.w1.arr->A_size) : 0; }

void show_value(FILE* out, var* v)
{
  switch (v->Type) {
    case 'A':
      std::fprintf(out, "A_size   : %8d\r\nA_links  : %8d\r\n", size_of(v), links_of(v));
      break;
    case 'B':
      std::fprintf(out, "B_adress : %08lx\r\nB_pars   : %8d\r\nB_vars   : %8d\r\nB_links  : %8d\r\n",
                   address(reinterpret_cast<const void*>(v->Value.w2.fn)), v->Decimals, size_of(v),
                   links_of(v));
      break;
    case 'b': {
      const char* text = v->Value.w1.arr && v->Value.w1.arr->A_text ? v->Value.w1.arr->A_text : "";
      std::fprintf(out, "B_text   : %8d\r\nB_pars   : %8d\r\nB_refs   : %8d\r\nB_links  : %8d\r\n",
                   static_cast<int>(std::strlen(text)), v->Decimals, size_of(v), links_of(v));
      break;
    }
    case 'C':
    case 'M':
      std::fprintf(out, "Value    : '%s'\r\n", VSTR(v) ? VSTR(v) : "");
      break;
    case 'D':
      std::fprintf(out, "Value    : %10s\r\n", vln_dtoc(VINT(v)));
      break;
    case 'F':
    case 'N': {
      char number[VLN_NUMTEXT_SIZE];
      vln_numform(VDBL(v), kDumpWidth, kDumpDecimals, number, sizeof number);
      std::fprintf(out, "Value    : %s\r\n", number);
      break;
    }
    case 'I':
      std::fprintf(out, "Value    : %d\r\n", VINT(v));
      break;
    case 'L':
      std::fprintf(out, "Value    : %8d\r\n", VINT(v));
      break;
    case 'O':
      std::fprintf(out, "O_size   : %8d\r\nO_links  : %8d\r\n", size_of(v), links_of(v));
      break;
    default:
      std::fprintf(out, "ERRORTYPE: \r\n");
  }
}

void show_to(FILE* out, var* v)
{
  std::fprintf(out, "*********:\r\n\n");
  show_place(out);
  std::fprintf(out, "Adress   : %08lx\r\nLinks    : %8d\r\nType     : %8c\r\nMode     : %8c\r\n",
               address(v), static_cast<int>(v->Links), v->Type, v->Mode);
  show_owner(out, v);
  std::fprintf(out, "Lenght   : %8d\r\nDecimals : %8d\r\n", v->Length, v->Decimals);
  show_value(out, v);
}

}  // namespace

extern "C" {

void vln_showvar(var* v) { show_to(stderr, v); }

}  // extern "C"

namespace vl {

void showvars(void)
{
  std::fprintf(stderr, "There are currently %d vars on system allocted\n", mvn_fpt);
  for (int32_t i = 0; mv_names && i < mvn_fpt; ++i) {
    if (!mv_names[i].v) continue;
    std::fprintf(stderr, "\n\n*********%d:\r\n", i);
    vln_showvar(mv_names[i].v);
  }
}

void maShowCurStackEntry(void)
{
  const frame* f = old_fn_stack;
  if (!f) return;
  std::fprintf(stderr, "File %s, Fun %s, Line %d, Params %d, Depth %d,\n TmvNp %d, TmvAp %d, TmvLp %d\n",
               f->File, f->Func, f->Line, static_cast<int>(f->Params), f->Depth, f->TmvNp, f->TmvAp,
               f->TmvLp);
}

}  // namespace vl

extern "C" {

void vlnDumpObject(var* obj)
{
  FILE* out = __diag_fp ? __diag_fp : stderr;
  const bool object = obj->Type == 'O' || obj->Type == 'u';
  if (!object) std::fprintf(out, "This is not an object variable");
  ArrRec* a = object ? obj->Value.w1.arr : nullptr;
  for (uint32_t i = 2; a && i < a->A_size; ++i) {
    std::fprintf(out, "Instance # %d\n", static_cast<int>(i));
    show_to(out, a->A_vec[i]);
  }
  var* methods = a && a->A_size > 1 ? a->A_vec[1] : nullptr;
  std::fprintf(out, "The object has %d methods\n",
               methods && methods->Type == 'A' ? size_of(methods) : 0);
}

}  // extern "C"
