// The printer's control sequences: new line, new page, move, home, back,
// space and margin, as VL_Set("printersequences") changes them and the
// printer output reads them.
#include <string>

#include "letters.hpp"
#include "set.h"
#include "set_args.hpp"

namespace {

std::string sSeq[VL_PRSEQ_COUNT] = {"\n", "\f", "", "\r", "", " ", " "};

}  // namespace

extern "C" const char* vlnGetPrinterSeq(int which)
{
  return which >= 0 && which < VL_PRSEQ_COUNT ? sSeq[which].c_str() : "";
}

extern "C" var* vl_prset(int argc, var** argv)
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
