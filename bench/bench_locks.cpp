// The cost of the lock layer's hot paths against a bare fcntl pair on the
// same file: a record lock taken and released, and a read section entered
// and left, one hundred thousand times each.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "locks.hpp"
#include "vl.h"

using namespace vl;

namespace {

constexpr int kIterations = 100000;
constexpr int kHeaderLen = 66;
constexpr int kRecordLen = 10;

// One shared table in a scratch file, open in one area.
struct Table {
  Table()
  {
    char tmpl[] = "/tmp/vl-bench-locks-XXXXXX";
    const int fd = mkstemp(tmpl);
    unsigned char header[kHeaderLen] = {3};
    header[8] = kHeaderLen;
    header[10] = kRecordLen;
    if (write(fd, header, sizeof header) != static_cast<ssize_t>(sizeof header)) abort();
    close(fd);
    path = tmpl;
    vlnLockAreaInit(&area);
    area.fd = diOpenFile(path.c_str(), nullptr, O_RDWR);
    area.headerlen = kHeaderLen;
    area.reclen = kRecordLen;
    if (vlnLockUse(&area) != 0) abort();
  }
  ~Table()
  {
    vlnLockRelease(&area);
    diCloseFile(area.fd);
    unlink(path.c_str());
  }
  std::string path;
  VlnLockArea area;
};

Table& table()
{
  static Table t;
  return t;
}

void BM_BareFcntlPair(benchmark::State& state)
{
  const int fd = table().area.fd;
  struct flock fl {};
  fl.l_whence = SEEK_SET;
  fl.l_start = kHeaderLen + 4 * kRecordLen;
  fl.l_len = kRecordLen;
  for (auto _ : state) {
    fl.l_type = F_WRLCK;
    fcntl(fd, F_SETLK, &fl);
    fl.l_type = F_UNLCK;
    fcntl(fd, F_SETLK, &fl);
  }
}
BENCHMARK(BM_BareFcntlPair)->Iterations(kIterations);

void BM_RecordLock(benchmark::State& state)
{
  VlnLockArea* a = &table().area;
  for (auto _ : state) {
    dbf_rlock(a, 5);
    dbf_rulock(a, 5);
  }
}
BENCHMARK(BM_RecordLock)->Iterations(kIterations);

void BM_ReadSection(benchmark::State& state)
{
  VlnLockArea* a = &table().area;
  for (auto _ : state) {
    local_rdlock2(a, "Bench()");
    local_rwulock2(a, "Bench()");
  }
}
BENCHMARK(BM_ReadSection)->Iterations(kIterations);

}  // namespace
