// eval.cpp -- EVAL() and the host-side block runners.
#include "blocks.hpp"
#include "letters.hpp"
#include "vlerror.h"
#include "vlgen.h"

namespace {

var* run_block(var* block, int argc, var** argv)
{
  if (block->Type == 'B') {
    auto fn = reinterpret_cast<BlockFn>(block->Value.w2.fn);
    return fn(argc, argv, block->Value.w1.arr->A_vec);
  }
  return vln_macro_block_hook(block, argc, argv);
}

var* no_evaluator(var*, int, var**) { return NIL_VAR; }

}  // namespace

// EVAL(block, args...)
VLN_FUNC(eval)
{
  if (argc < 1) return rt_error(VL_E_ARG_COUNT, "in EVAL()"), NIL_VAR;
  if (!vl::kBb.has(argv[0]->Type)) return rt_error(VL_E_ARG_TYPE, "in EVAL()"), NIL_VAR;
  return run_block(argv[0], argc - 1, argv + 1);
}

extern "C" {

var* (*vln_macro_block_hook)(var* block, int argc, var** argv) = no_evaluator;

var* vlnBlockEval(var* block)
{
  if (!vl::kBb.has(block->Type)) return rt_error(VL_E_ARG_TYPE, "in EVAL()"), NIL_VAR;
  return run_block(block, 0, nullptr);
}

int vlnTrueBlockEval(var* block)
{
  if (!vl::kBb.has(block->Type)) return 0;
  var* r = run_block(block, 0, nullptr);
  if (!vl::kNFIL.has(r->Type)) return 0;
  return vlnLogVar(r) ? 1 : 0;
}

}  // extern "C"
