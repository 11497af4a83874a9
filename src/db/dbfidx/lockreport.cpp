// lockreport.cpp -- the words of a failed lock: which error code an errno
// becomes, and the texts of failed sections.  The only place that maps errno.
#include <errno.h>
#include <stdio.h>

#include "dierror.hpp"
#include "lockint.h"
#include "vlerror.h"

using namespace vl;

namespace {

// A table's area reports through its driver's error path; a bare lock
// area through the run-time error of its severity.
void reportByRtError(VlnLockArea* area, const char* method, int code, int severity, const char* text)
{
  if (area && area->owner)
    diErrorHead(area->owner, method, code, severity, text, "dbflock", 0);
  else if (severity == VL_SEV_IO)
    io_error(code, text);
  else
    rt_error(code, text);
}

// ";already write-locked (0..1) by PID=n" when the holder of the section
// bytes can be found, else "".
void describeHolder(int fd, char* out, size_t size)
{
  int type = F_UNLCK, from = 0, to = 0, pid = 0;
  out[0] = '\0';
  if (diGetLocalLock(fd, &type, &from, &to, &pid) == 0 && pid != 0 &&
      (type == F_RDLCK || type == F_WRLCK))
    snprintf(out, size, ";already %s-locked (%d..%d) by PID=%d",
             type == F_WRLCK ? "write" : "read", from, to, pid);
}

}  // namespace

VlnLockReportFn vl::vlnLockReport = reportByRtError;

int vl::lockErrorCode(int err)
{
  return err == ENOLCK ? VL_E_TOO_MANY_LOCKS : VL_E_LOCK_FAILED;
}

bool vl::lockIsConflict(int err)
{
  return err == EAGAIN || err == EACCES;
}

const char* vl::lockAreaName(const VlnLockArea* area)
{
  if (area->filename) return area->filename;
  const char* pooled = fdpoolNameOf(area->fd);
  return pooled ? pooled : "??.dbf";
}

void vl::lockReportSection(VlnLockArea* area, const char* method, const char* what, int err)
{
  char holder[128];
  char text[1024];
  describeHolder(area->fd, holder, sizeof holder);
  const char* alias = area->alias ? area->alias : "";
  if (err == EDEADLK)
    snprintf(text, sizeof text,
             "errno = %d (Dead Lock);%s by PID=%d;Alias %s = %s %s;Note: check e.g. "
             "for cross/circular relations",
             err, what, vlnAppPid, alias, lockAreaName(area), holder);
  else
    snprintf(text, sizeof text,
             "errno = %d (see codes in /usr/include/errno.h);%s by PID=%d;Alias %s = %s %s",
             err, what, vlnAppPid, alias, lockAreaName(area), holder);
  vlnLockReport(area, method, lockErrorCode(err), VL_SEV_RUNTIME, text);
}

void vl::lockReportFailure(VlnLockArea* area, const char* method, const char* format,
                       const char* what, int err)
{
  char text[512];
  snprintf(text, sizeof text, format, what, err);
  vlnLockReport(area, method, lockErrorCode(err), VL_SEV_RUNTIME, text);
}
