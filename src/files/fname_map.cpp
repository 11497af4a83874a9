// The extension map: ten rows, each an extension (lower case) and the one
// it is to become, at most 7 characters each.  The map starts empty, so
// that no name's extension changes unless the program asked for it; rows
// are filled in order by VL_Set("convert", ext, new) and searched up to the
// first empty row.
#include <algorithm>
#include <cctype>

#include "fname.h"

namespace {

constexpr int kRows = 10;
constexpr size_t kExtMax = 7;

struct MapRow {
  std::string from;
  std::string to;
};

MapRow sRows[kRows];

std::string cut_trim(std::string s)
{
  if (s.size() > kExtMax) s.resize(kExtMax);
  s.erase(s.find_last_not_of(' ') + 1);
  return s;
}

std::string key_of(const std::string& ext)
{
  std::string key = cut_trim(ext);
  std::transform(key.begin(), key.end(), key.begin(), [](char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  });
  return key;
}

// The row of key, or the first empty row; null when the map is full.
MapRow* find_row(const std::string& key)
{
  for (MapRow& r : sRows)
    if (r.from.empty() || r.from == key) return &r;
  return nullptr;
}

// Results handed to C callers, valid until the next call.
std::string sMapResult;
std::string sNameResult;

}  // namespace

std::string vln::mapext(const std::string& ext, const char* newext)
{
  const std::string key = key_of(ext);
  MapRow* row = key.empty() ? nullptr : find_row(key);
  if (!row) return "";
  if (newext) {
    row->from = key;
    row->to = cut_trim(newext);
  }
  return key + "." + row->to;
}

std::string vln::namemapext(const std::string& name)
{
  const size_t dot = name.rfind('.');
  const size_t slash = name.rfind('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash) ||
      dot + 1 >= name.size())
    return name;
  const std::string key = key_of(name.substr(dot + 1));
  const MapRow* row = find_row(key);
  if (!row || row->from.empty() || row->to.empty()) return name;
  return name.substr(0, dot + 1) + row->to;
}

extern "C" const char* vln_mapext(const char* ext, const char* newext)
{
  sMapResult = ext ? vln::mapext(ext, newext) : "";
  return sMapResult.c_str();
}

extern "C" const char* vln_namemapext(const char* name)
{
  sNameResult = name ? vln::namemapext(name) : "";
  return sNameResult.c_str();
}
