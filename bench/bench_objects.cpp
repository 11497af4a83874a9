// Method sends against their native counterparts, in the same run.
//
//   SendBySlot      vlnDoMethod with the index worked out in advance
//   SendByName      vlnNoDoMethod: binary search in the class record
//   InstanceByName  vlnNoIVar reading an instance variable by name
//   CppVirtual      a C++ virtual call through a base pointer
//   UnorderedMap    a std::unordered_map<std::string, fn> lookup and call
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <unordered_map>

#include "vl.h"

namespace {

enum { kAlpha, kBeta, kGamma, kDelta, kEpsilon, kMethodCount };

var* method_body(int argc, var** argv) { return argv[0]; }

const VlnClassRow kClass[] = {
    {'O', 1, kMethodCount, 2},
    {reinterpret_cast<intptr_t>("bench"), 1, kMethodCount, 0},
    {reinterpret_cast<intptr_t>("value"), 2, 0, 'E'},
    {reinterpret_cast<intptr_t>("alpha"), kAlpha, 0, 'M'},
    {reinterpret_cast<intptr_t>("beta"), kBeta, 0, 'M'},
    {reinterpret_cast<intptr_t>("delta"), kDelta, 0, 'M'},
    {reinterpret_cast<intptr_t>("epsilon"), kEpsilon, 0, 'M'},
    {reinterpret_cast<intptr_t>("gamma"), kGamma, 0, 'M'},
};

var* make_object()
{
  var* methods = cre_arr(mak_var('N', 'U'), kMethodCount, 0, static_cast<var*>(nullptr));
  for (int i = 0; i < kMethodCount; ++i)
    vlnAddMethod(methods, i, reinterpret_cast<AnyFn>(method_body), 0);
  var* obj = mak_var('N', 'U');
  cpy_var(obj, set_Ov(1, kClass, methods));
  del_var(methods);
  return obj;
}

void SendBySlot(benchmark::State& state)
{
  var* obj = make_object();
  for (auto _ : state) benchmark::DoNotOptimize(vlnDoMethod("gamma", kGamma, 0, 1, &obj));
  del_var(obj);
}
BENCHMARK(SendBySlot)->Iterations(1000000);

void SendByName(benchmark::State& state)
{
  var* obj = make_object();
  for (auto _ : state) benchmark::DoNotOptimize(vlnNoDoMethod("gamma", 0, 1, &obj));
  del_var(obj);
}
BENCHMARK(SendByName)->Iterations(1000000);

void InstanceByName(benchmark::State& state)
{
  var* obj = make_object();
  for (auto _ : state) benchmark::DoNotOptimize(vlnNoIVar(obj, "value", 0, nullptr));
  del_var(obj);
}
BENCHMARK(InstanceByName)->Iterations(1000000);

struct Base {
  virtual ~Base() = default;
  virtual int gamma(int x) = 0;
};
struct Derived : Base {
  // Not inlined, so that the baseline makes a real call, as a send does.
  __attribute__((noinline)) int gamma(int x) override { return x + 1; }
};

// Made out of line, so that the compiler cannot see the object's type.
__attribute__((noinline)) std::unique_ptr<Base> make_base() { return std::make_unique<Derived>(); }

void CppVirtual(benchmark::State& state)
{
  std::unique_ptr<Base> b = make_base();
  benchmark::DoNotOptimize(b);
  int x = 0;
  for (auto _ : state) benchmark::DoNotOptimize(x = b->gamma(x));
}
BENCHMARK(CppVirtual)->Iterations(1000000);

void UnorderedMap(benchmark::State& state)
{
  std::unordered_map<std::string, var* (*)(int, var**)> table;
  for (const char* n : {"alpha", "beta", "gamma", "delta", "epsilon"}) table[n] = method_body;
  var* obj = make_object();
  const std::string key = "gamma";
  for (auto _ : state) benchmark::DoNotOptimize(table.find(key)->second(1, &obj));
  del_var(obj);
}
BENCHMARK(UnorderedMap)->Iterations(1000000);

}  // namespace
