// lua_chunk.hpp -- a Lua chunk run as the baseline of a benchmark.
#pragma once

#include <benchmark/benchmark.h>

#include <lua.hpp>

// Runs the chunk text once per iteration of state with arg as its one
// argument; the benchmark fails when the chunk does not load or its result
// is not expect.
inline void run_lua_chunk(benchmark::State& state, const char* text, lua_Integer arg, double expect)
{
  lua_State* L = luaL_newstate();
  luaL_openlibs(L);
  if (luaL_loadstring(L, text) != LUA_OK) state.SkipWithError("Lua chunk");
  const int chunk = luaL_ref(L, LUA_REGISTRYINDEX);
  for (auto _ : state) {
    lua_rawgeti(L, LUA_REGISTRYINDEX, chunk);
    lua_pushinteger(L, arg);
    lua_call(L, 1, 1);
    if (lua_tonumber(L, -1) != expect) state.SkipWithError("wrong result");
    lua_pop(L, 1);
  }
  lua_close(L);
}
