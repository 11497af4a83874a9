// arr_build.cpp -- ARRAY and ACLONE: new arrays built from dimensions or
// by deep copy.
#include "arr_args.hpp"
#include "arrays.h"
#include "vlerror.h"
#include "vlgen.h"

// ARRAY(dim1, dim2, ...): built from the innermost dimension outward, each
// level a deep copy of the one inside per element, so rows never share.
VLN_FUNC(array)
{
  for (int i = 0; i < argc; ++i)
    if (!vl::arr::arg_num(argc, argv, i)) return rt_error(VL_E_ARG_TYPE, "in ARRAY"), NIL_VAR;
  var* r = cre_tmpvar();
  const int32_t mark = tmpvar_cnt;
  const int32_t inner = argc > 0 ? vlnIntVar(argv[argc - 1]) : 0;
  if (cre_arr(r, inner, VL_ARR_NIL, (var*)0) == ERROR_VAR) return ERROR_VAR;
  for (int i = argc - 2; i >= 0; --i) {
    var* level = cre_arr(cre_tmpvar(), vlnIntVar(argv[i]), VL_ARR_DEEP_ONE, r, (var*)0);
    if (level == ERROR_VAR) return del_tmpvars(mark), ERROR_VAR;
    cpy_var(r, level);
    del_tmpvars(mark);
  }
  return r;
}

// ACLONE(a): a deep copy; any other value is copied as it is.
VLN_FUNC(aclone)
{
  if (argc != 1) return rt_error(VL_E_ARG_COUNT, "in ACLONE"), NIL_VAR;
  return true_cpy(cre_tmpvar(), argv[0]);
}
