// fieldcodec.hpp -- what every driver that keeps records in the DBF layout
// shares: a field's value decoded from its bytes in the record buffer, and
// field names compared the way the areas compare them.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>

#include "dates.hpp"
#include "numbers.hpp"
#include "var.h"

namespace vl {

/* The longest field name, and the bytes a date takes in a record. */
constexpr int32_t kFieldNameMax = 11;
constexpr size_t kRecordDateLen = 8;

/* Decode a field of type C, N, F, D or L from its len bytes at p into its
** field record: a C record points at the bytes (not copied), a number is
** read with blanks skipped, a date from "YYYYMMDD", a logical is true for
** 'T'.  False for any other type (the record is left alone). */
inline bool decode_plain_field(char type, uint8_t* p, uint32_t len, var* field)
{
  switch (type) {
    case 'C':
      field->Value.w1.str = reinterpret_cast<char*>(p);
      return true;
    case 'N':
    case 'F':
      field->Value.w1.d = qrt_atof1(reinterpret_cast<const char*>(p), int32_t(len));
      return true;
    case 'D': {
      char date[kRecordDateLen + 1];
      const size_t n = std::min<size_t>(len, kRecordDateLen);
      std::memcpy(date, p, n);
      date[n] = '\0';
      field->Value.w1.i = get_dat(date);
      return true;
    }
    case 'L':
      field->Value.w1.i = p[0] == 'T';
      return true;
    default:
      return false;
  }
}

/* The key a field name is compared by: its first 11 characters, blanks at
** both ends removed, upper-cased, into key (12 bytes).  False for a name
** that is then empty. */
inline bool field_name_key(const char* name, int32_t len, char* key)
{
  int32_t end = std::min<int32_t>(len, kFieldNameMax), start = 0;
  while (start < end && name[start] == ' ') ++start;
  while (end > start && name[end - 1] == ' ') --end;
  for (int32_t k = start; k < end; ++k) key[k - start] = char(std::toupper(static_cast<unsigned char>(name[k])));
  key[end - start] = '\0';
  return start < end;
}

}  // namespace vl
