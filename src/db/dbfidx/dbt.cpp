/*
** dbt.cpp -- the memo file.
*/
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "dbfint.hpp"

namespace vl {

var* dbt_read(var* self, int32_t block, var* value) { return nullptr; }
int32_t memo_siz(var* self, int32_t block, int round) { return 0; }
int32_t dbt_write(var* self, int32_t block, const char* text, int32_t len, var* variable) { return 0; }

int dbt_create(const char* name, int perms)
{
  char memo[VLN_LOCK_NAME_SIZE];
  std::snprintf(memo, sizeof memo, "%s", name);
  char* dot = std::strrchr(memo, '.');
  if (dot) std::snprintf(dot, sizeof memo - size_t(dot - memo), ".dbt");
  const int fd = open(memo, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, perms);
  if (fd < 0) return -1;
  uint8_t block[DBT_BLOCK] = {1};
  const bool ok = dbf_pwrite(fd, block, sizeof block, 0);
  close(fd);
  return ok ? 0 : -1;
}

}  // namespace vl
