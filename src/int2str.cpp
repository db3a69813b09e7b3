// Text for logs and displays: names of codes, hexadecimal, times.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>

#include <pkider/int2str.h>

#include "out_string.h"

// ---- Names of codes ----

namespace {

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// ASCII, whatever the locale.
bool equal_ignoring_case(const char* a, const char* b) {
  while (*a != 0 && lower(*a) == lower(*b)) {
    ++a;
    ++b;
  }
  return *a == *b;
}

}  // namespace

const char* IntToString::getString(unsigned wanted, const char* dflt) const {
  for (const IntToString* row = this; row->name != nullptr; ++row) {
    if (static_cast<unsigned>(row->value) == wanted) {
      return row->name;
    }
  }
  return dflt;
}

unsigned IntToString::getInt(const char* wanted, unsigned dflt) const {
  for (const IntToString* row = this; row->name != nullptr; ++row) {
    if (equal_ignoring_case(row->name, wanted)) {
      return static_cast<unsigned>(row->value);
    }
  }
  return dflt;
}

const IntToString I2S_LOG_LEVEL[] = {
    {0, "DISABLED"},  //
    {1, "EVENTS"},    //
    {2, "DETAILS"},   //
    {3, "VERBOSE"},   //
    {0, nullptr},
};

// ---- Hexadecimal ----

void TO_HEX_STRING(const unsigned char* p, unsigned n, char* out, char sep) {
  static constexpr char digits[] = "0123456789ABCDEF";
  for (const unsigned char* end = p + n;;) {
    *out++ = digits[*p >> 4];
    *out++ = digits[*p & 0x0F];
    if (n == 0 || ++p == end) {  // Q25: the first byte is written before `n` is looked at
      return;
    }
    if (sep != 0) {
      *out++ = sep;
    }
  }
}

std::string& TO_HEX_STD_STRING(const unsigned char* p, unsigned n, std::string& s, char sep) {
  if (n == 0) {
    return s;
  }
  const std::uint64_t size = sep == 0 ? std::uint64_t{n} * 2 : std::uint64_t{n} * 3 - 1;
  TO_HEX_STRING(p, n, grow_string_(s, size), sep);
  return s;
}

// ---- Times ----

namespace {

constexpr cert_time64_t invalid_time = ~cert_time64_t{0};
constexpr char error_time[] = "Error time";
constexpr char bad_time[] = "Bad time";
constexpr char zero_time[] = "0000.00.00 00:00:00";

// The fields as stored; false for the invalid time and years before 1900.
bool unpack(cert_time64_t t, tm& fields) {
  const auto byte = [t](unsigned shift) { return static_cast<int>(t >> shift & 0xFF); };
  fields = {};
  fields.tm_sec = byte(0);
  fields.tm_min = byte(8);
  fields.tm_hour = byte(16);
  fields.tm_mday = byte(24);
  fields.tm_mon = byte(32);
  fields.tm_year = static_cast<int>(t >> 40) - 1900;
  return t != invalid_time && fields.tm_year >= 0;
}

void append_time(std::string& s, const char* format, const tm& fields) {
  char text[255];
  const std::size_t size = std::strftime(text, sizeof text, format, &fields);
  append_string_(s, {text, size});
}

// Where ctime's text ends: before its line feed, and not after 24 characters.
std::size_t ctime_size(const char* text) {
  const std::size_t size = std::strcspn(text, "\n");
  return size < 24 ? size : 24;
}

}  // namespace

time_t mktime_utc_(tm* utc) {
  const time_t now = std::time(nullptr);
  tm now_utc;
  if (gmtime_r(&now, &now_utc) == nullptr) {
    return -1;
  }
  now_utc.tm_isdst = -1;
  const time_t now_as_local = std::mktime(&now_utc);
  if (now_as_local == -1) {
    return -1;
  }
  tm copy = *utc;
  const time_t as_local = std::mktime(&copy);
  if (as_local == -1) {  // Q23: also where that is the time
    return -1;
  }
  // Q23: the zone's offset of today, whatever the date.
  const std::int64_t result = std::int64_t{as_local} - now_as_local + now;
  if (result < std::numeric_limits<time_t>::min() || result > std::numeric_limits<time_t>::max()) {
    return -1;
  }
  return static_cast<time_t>(result);
}

const char* i2s::LogTimeToString(long t, char (&buf)[32]) {
  const time_t time = t;
  tm local;
  if (localtime_r(&time, &local) == nullptr ||
      std::strftime(buf, sizeof buf, "%Y.%m.%d %H:%M:%S", &local) == 0) {
    return zero_time;
  }
  return buf;
}

std::string& TimeToString(long t, std::string& s) {
  const time_t time = t;
  char text[64];
  if (ctime_r(&time, text) == nullptr) {
    append_string_(s, bad_time);
    return s;
  }
  append_string_(s, {text, ctime_size(text)});
  return s;
}

const char* TimeToString(long t) {
  const time_t time = t;
  char* text = std::ctime(&time);
  if (text == nullptr) {
    return bad_time;
  }
  text[ctime_size(text)] = 0;
  return text;
}

std::string& CertTimeToStringGMT(cert_time64_t t, std::string& s) {
  tm fields;
  if (!unpack(t, fields)) {
    append_string_(s, error_time);  // Q22
    return s;
  }
  append_time(s, "%d.%m.%Y %H:%M:%S GMT", fields);
  return s;
}

std::string& CertTimeToLogStringGMT(cert_time64_t t, std::string& s) {
  tm fields;
  if (!unpack(t, fields)) {
    return s.assign(zero_time);  // Q22: replaced, not appended
  }
  s.clear();
  append_time(s, "%Y.%m.%d %H:%M:%S GMT", fields);
  return s;
}

cert_time64_t CertTimeFromLogStringGMT(const std::string& text) {
  unsigned year = 0;
  unsigned month = 0;
  unsigned day = 0;
  unsigned hour = 0;
  unsigned minute = 0;
  unsigned second = 0;
  // NOLINTNEXTLINE(cert-err34-c): numbers past 32 bits are truncated like the fields
  if (std::sscanf(text.c_str(), "%u.%u.%u %u:%u:%u", &year, &month, &day, &hour, &minute, &second) <
      6) {
    return invalid_time;
  }
  const auto as_signed = [](unsigned field) { return static_cast<int>(field); };
  if (as_signed(year) <= 1899 || as_signed(month) <= 0 || as_signed(day) <= 0 || year > 0xFFFFFF) {
    return invalid_time;
  }
  const auto byte = [](unsigned field) { return cert_time64_t{field & 0xFF}; };  // Q21
  return cert_time64_t{year} << 40 | byte(month - 1) << 32 | byte(day) << 24 | byte(hour) << 16 |
         byte(minute) << 8 | byte(second);
}

std::string& CertTimeToString(cert_time64_t t, std::string& s) {
  tm fields;
  if (!unpack(t, fields)) {
    append_string_(s, error_time);
    return s;
  }
  const time_t time = mktime_utc_(&fields);
  if (time == -1) {
    append_time(s, "%d.%m.%Y %H:%M:%S GMT", fields);
    return s;
  }
  tm local;
  if (localtime_r(&time, &local) == nullptr) {
    append_time(s, "%d.%m.%Y %H:%M:%S UTC", fields);
    return s;
  }
  append_time(s, "%d.%m.%Y %H:%M:%S", local);
  return s;
}

time_t CertTimeTo_time_t(cert_time64_t t) {
  tm fields;
  return unpack(t, fields) ? mktime_utc_(&fields) : -1;
}
