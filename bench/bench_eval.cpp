// The expression evaluator against Lua 5.4, in the same run.
//
//   CachedKeyBlock   an index key made into a block once (as an index keeps
//                    it) and evaluated: UPPER(name) + DTOS(born)
//   CachedKeyText    the same key evaluated from its text each time (the
//                    compiled form comes from the cache)
//   CompileFresh     a text never seen before, compiled and run
//   LuaCall          the same key as a Lua function loaded once and called:
//                    string.upper(name) .. os.date("%Y%m%d", born)
//   LuaLoadAndCall   a fresh Lua chunk loaded and run
#include <benchmark/benchmark.h>

#include <string>

#include "vl.h"

#ifdef VL_HAVE_LUA
#include <lua.hpp>
#endif

namespace {

constexpr int32_t kBorn = 2451545;  // 2000-01-01 as a day number

void set_fields()
{
  set_cvarf(vln_add_var("name"), "customer name");
  set_dvarf(vln_add_var("born"), kBorn);
}

void BM_CachedKeyBlock(benchmark::State& state)
{
  set_fields();
  var* key = mak_var('N', 'U');
  cpy_var(key, vlnMakeCB("UPPER(name) + DTOS(born)"));
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(vlnBlockEval(key));
    del_tmpvars(mark);
  }
  del_var(key);
}
BENCHMARK(BM_CachedKeyBlock)->Name("CachedKeyBlock");

void BM_CachedKeyText(benchmark::State& state)
{
  set_fields();
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(exp_eval("UPPER(name) + DTOS(born)"));
    del_tmpvars(mark);
  }
}
BENCHMARK(BM_CachedKeyText)->Name("CachedKeyText");

void BM_CompileFresh(benchmark::State& state)
{
  set_fields();
  const int32_t mark = tmpvar_cnt;
  int64_t n = 0;
  for (auto _ : state) {
    const std::string text = "UPPER(name) + DTOS(born + " + std::to_string(n++) + ")";
    benchmark::DoNotOptimize(exp_eval(text.c_str()));
    del_tmpvars(mark);
  }
}
BENCHMARK(BM_CompileFresh)->Name("CompileFresh");

#ifdef VL_HAVE_LUA
constexpr const char* kLuaKey =
    "return function(name, born) return string.upper(name) .. os.date('%Y%m%d', born) end";
constexpr int64_t kBornTime = 946684800;  // 2000-01-01 as seconds

void BM_LuaCall(benchmark::State& state)
{
  lua_State* L = luaL_newstate();
  luaL_openlibs(L);
  luaL_dostring(L, kLuaKey);
  const int fn = luaL_ref(L, LUA_REGISTRYINDEX);
  for (auto _ : state) {
    lua_rawgeti(L, LUA_REGISTRYINDEX, fn);
    lua_pushstring(L, "customer name");
    lua_pushinteger(L, kBornTime);
    lua_call(L, 2, 1);
    benchmark::DoNotOptimize(lua_tostring(L, -1));
    lua_pop(L, 1);
  }
  lua_close(L);
}
BENCHMARK(BM_LuaCall)->Name("LuaCall");

void BM_LuaLoadAndCall(benchmark::State& state)
{
  lua_State* L = luaL_newstate();
  luaL_openlibs(L);
  int64_t n = 0;
  for (auto _ : state) {
    const std::string chunk = "local name, born = 'customer name', " +
                              std::to_string(kBornTime + n++) +
                              " return string.upper(name) .. os.date('%Y%m%d', born)";
    luaL_loadstring(L, chunk.c_str());
    lua_call(L, 0, 1);
    benchmark::DoNotOptimize(lua_tostring(L, -1));
    lua_pop(L, 1);
  }
  lua_close(L);
}
BENCHMARK(BM_LuaLoadAndCall)->Name("LuaLoadAndCall");
#endif

}  // namespace
