/*
** vl-locktool -- take and release table locks by commands on standard
** input, one per line, and print each result with a time stamp:
**
**   <monotonic seconds> <pid> <command> -> ok|fail errno=<n>|<value>
**
** Error reports of the library are printed as
**
**   <monotonic seconds> <pid> report <code> <description>
**
** and the operation goes on, as it does when an error block returns.
**
** Commands (the selected area is 1 until "area" changes it):
**   area N                  select area N (1..16)
**   open FILE [ro]          open the table's descriptor through the pool;
**                           record geometry from the DBF header if present
**   geometry HDRLEN RECLEN  set the record geometry by hand
**   use shared|excl         take the USE lock (checks the other areas)
**   rd | wr | rel           enter a read / write section, leave one
**   rlock N | runlock N     lock / unlock record N
**   flock | unlock          lock the file / release file and record locks
**   users                   1 alone, more when others use the table
**   counts                  section nesting counts of the area's file
**   index FILE shared|excl  open an index and take its open lock
**   iclose                  close the area's index
**   close                   release the area's locks and its descriptor
**   set retry|prot|rw|compat42 N   change a lock setting
**   sleep MS | echo TEXT | quit
*/
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

#include <iostream>
#include <sstream>
#include <string>

#include "locks.hpp"
#include "vl.h"

using namespace vl;

namespace {

constexpr int kAreas = 16;
constexpr int kHeaderGeometryBytes = 12;  // record count, header and record length

struct ToolArea {
  VlnLockArea lock;
  char name[VLN_LOCK_NAME_SIZE];
  int indexFd = -1;
};

ToolArea gAreas[kAreas + 1];
int gSelected = 1;

double now()
{
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

void printLine(const std::string& text)
{
  printf("%.6f %d %s\n", now(), static_cast<int>(getpid()), text.c_str());
  fflush(stdout);
}

void printReport(const VlnErrReport* r)
{
  printLine("report " + std::to_string(r->gencode) + " " + (r->description ? r->description : ""));
}

std::string result(int ret)
{
  return ret == 0 ? "ok" : "fail errno=" + std::to_string(vlnFCNTLerrno);
}

// Header and record length from bytes 8..11 of a DBF header, if present.
void readGeometry(VlnLockArea* a)
{
  unsigned char h[kHeaderGeometryBytes];
  if (pread(a->fd, h, sizeof h, 0) != static_cast<ssize_t>(sizeof h)) return;
  a->headerlen = h[8] | h[9] << 8;
  a->reclen = h[10] | h[11] << 8;
}

std::string cmdOpen(ToolArea& t, std::istringstream& in)
{
  std::string file, flag;
  in >> file >> flag;
  const bool ro = flag == "ro";
  vlnLockAreaInit(&t.lock);
  t.lock.fd = diOpenFile(file.c_str(), t.name, ro ? O_RDONLY : O_RDWR);
  if (t.lock.fd < 0) return "fail errno=" + std::to_string(errno);
  t.lock.status = ro ? VLN_LKST_READONLY : 0;
  t.lock.filename = t.name;
  readGeometry(&t.lock);
  return "ok fd=" + std::to_string(t.lock.fd);
}

std::string cmdUse(ToolArea& t, std::istringstream& in)
{
  std::string how;
  in >> how;
  if (how == "excl") t.lock.status |= VLN_LKST_EXCL;
  return result(vlnLockUse(&t.lock));
}

std::string cmdIndex(ToolArea& t, std::istringstream& in)
{
  std::string file, how;
  in >> file >> how;
  t.indexFd = diOpenFile(file.c_str(), nullptr, O_RDWR);
  if (t.indexFd < 0) return "fail errno=" + std::to_string(errno);
  const int ret = how == "excl" ? diLockIndexExcl(t.indexFd, VLN_LOCK_BASE)
                                : diLockIndexShar(t.indexFd, VLN_LOCK_BASE);
  if (ret != 0) {
    diCloseFile(t.indexFd);
    t.indexFd = -1;
  }
  return result(ret);
}

std::string cmdClose(ToolArea& t)
{
  const int released = vlnLockRelease(&t.lock);
  const int closed = t.lock.fd >= 0 ? diCloseFile(t.lock.fd) : 0;
  vlnLockAreaInit(&t.lock);
  return result(released != 0 || closed != 0 ? -1 : 0);
}

std::string cmdSet(std::istringstream& in)
{
  std::string what;
  int value = 0;
  in >> what >> value;
  int32_t* target = what == "retry"      ? &vlnRetryFcntlSec
                    : what == "prot"     ? &vlnFCNTLprot
                    : what == "rw"       ? &vlnFCNTLreadwrite
                    : what == "compat42" ? &vlnFCNTLcompat42
                                         : nullptr;
  if (!target) return "fail unknown setting";
  *target = value;
  return "ok";
}

std::string run(const std::string& word, std::istringstream& in)
{
  ToolArea& t = gAreas[gSelected];
  VlnLockArea* a = &t.lock;
  int n = 0;
  if (word == "area") {
    in >> n;
    if (n < 1 || n > kAreas) return "fail bad area";
    gSelected = n;
    return "ok";
  }
  if (word == "open") return cmdOpen(t, in);
  if (word == "geometry") {
    in >> a->headerlen >> a->reclen;
    return "ok";
  }
  if (word == "use") return cmdUse(t, in);
  if (word == "rd") return result(local_rdlock2(a, "Tool()"));
  if (word == "wr") return result(local_wrlock2(a, "Tool()"));
  if (word == "rel") return result(local_rwulock2(a, "Tool()"));
  if (word == "rlock") return in >> n, result(dbf_rlock(a, n));
  if (word == "runlock") return in >> n, result(dbf_rulock(a, n));
  if (word == "flock") return result(dbf_flock(a));
  if (word == "unlock") return result(dbf_fulock(a));
  if (word == "users") return std::to_string(diCheckExclusive(a->fd, VLN_LOCK_BASE) + 1);
  if (word == "counts") {
    int r = 0, w = 0;
    vlnSectionCounts(a, &r, &w);
    return "read=" + std::to_string(r) + " write=" + std::to_string(w);
  }
  if (word == "index") return cmdIndex(t, in);
  if (word == "iclose") {
    const int ret = t.indexFd >= 0 ? diCloseFile(t.indexFd) : 0;
    t.indexFd = -1;
    return result(ret);
  }
  if (word == "close") return cmdClose(t);
  if (word == "set") return cmdSet(in);
  if (word == "sleep") return in >> n, usleep(n * 1000), "ok";
  if (word == "echo") return "ok";
  return "fail unknown command";
}

}  // namespace

int main(int argc, char** argv)
{
  vln_start(argc, argv);
  vln_error_handler = printReport;
  for (ToolArea& t : gAreas) vlnLockAreaInit(&t.lock);
  std::string line;
  while (std::getline(std::cin, line)) {
    std::istringstream in(line);
    std::string word;
    if (!(in >> word)) continue;
    if (word == "quit") break;
    const std::string answer = run(word, in);
    printLine(line + " -> " + answer);
  }
  return 0;
}
