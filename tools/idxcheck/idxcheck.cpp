/*
** idxcheck -- check index files against their table.
**
**   idxcheck TABLE[.dbf] INDEX[.idx] ...
**
** Opens the table read-only and shared, and checks each index file raw:
** its headers, the tree, the free chain, the order of the keys, and that
** every record has exactly the key its key expression gives (none where
** the FOR condition is false).  Each problem is one line on standard
** output, "INDEX: text".  While it reads, writers in other processes wait.
**
** Exit status: 0 every index is sound, 1 problems were found, 2 a usage
** error or a file that could not be opened (the reason on standard error).
*/
#include <cstdio>
#include <string>
#include <vector>

#include "idxcheck.hpp"
#include "vl.h"

int main(int argc, char** argv)
{
  if (argc < 3) {
    std::fprintf(stderr, "usage: idxcheck TABLE[.dbf] INDEX[.idx] ...\n");
    return 2;
  }
  vln_start(1, argv);
  int status = 0;
  for (int i = 2; i < argc; ++i) {
    std::vector<std::string> problems;
    const int n = vl::vlnIdxVerify(argv[1], argv[i], &problems);
    for (const std::string& p : problems) std::fprintf(n < 0 ? stderr : stdout, "%s: %s\n", argv[i], p.c_str());
    status = n < 0 ? 2 : n > 0 && status == 0 ? 1 : status;
  }
  return status;
}
