// vm_compile.hpp -- turning parsed sources into the machine's code.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "ast.hpp"
#include "exprtree.hpp"
#include "vm.hpp"

namespace vl::prog {

// Everything compiled in a session, kept for its whole life: the code, the
// expression trees whose literal records the code points to, the file
// names the frames show, the records of STATICs and text constants.
struct Image {
  std::deque<std::unique_ptr<Code>> codes;
  std::vector<std::unique_ptr<expr::Program>> trees;
  std::deque<std::string> files;
  std::unordered_map<std::string, Code*> functions;  // callable by name
  std::vector<var*> records;

  Image() = default;
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image();
};

// What one compile adds: the functions to register (name and code), the
// file initialisers (file-wide STATICs) to run once before anything else.
struct Compiled {
  std::vector<std::pair<std::string, Code*>> publics;
  std::vector<Code*> inits;
  Code* main = nullptr;  // the first unit's main procedure
};

// Compile units into image.  false with diag on a fault: image.functions is
// then unchanged.  With top_level the first function of the first unit is
// prompt code: LOCAL declares PRIVATEs and, with echo, each expression
// statement prints its value.
bool compile_units(Image& image, std::vector<Unit>& units, bool top_level, bool echo,
                   Compiled& out, Diagnostic& diag);

}  // namespace vl::prog
