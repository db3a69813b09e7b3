// Text for logs and displays: hexadecimal, names of numeric codes, and times.
//
// Everything but TimeToString(long) may be called from any thread. Functions that use local time
// depend on the process's time zone.

#ifndef PKIDER_INT2STR_H
#define PKIDER_INT2STR_H

#include <cstdint>
#include <ctime>
#include <string>

#include "pkider_api.h"

// ---- Names of codes ----

// One row of a table that maps numbers to names and back. A table is an array of rows whose last
// has a null name; the lookups are called on its first row and return the first match:
//
//   I2S_LOG_LEVEL->getString(2, "?")
struct IntToString {
  int value;
  const char* name;

  // The name of `value`, or `dflt`. Names are constants of the table.
  PKIDER_API const char* getString(unsigned value, const char* dflt) const;

  // The value named `name` (zero-terminated, ASCII case ignored in every locale), or `dflt`.
  PKIDER_API unsigned getInt(const char* name, unsigned dflt) const;
};

// Log levels: 0 DISABLED, 1 EVENTS, 2 DETAILS, 3 VERBOSE.
extern PKIDER_API const IntToString I2S_LOG_LEVEL[];

// ---- Hexadecimal ----

// TO_HEX_STRING writes two upper-case hexadecimal digits for each of `n` bytes to `out`, with `sep`
// between bytes unless it is 0: 2n characters, or 3n - 1, and no terminating zero. `n` must be at
// least 1: with 0 it still reads p[0] and writes its two digits. `out` must not overlap the bytes.
PKIDER_API void TO_HEX_STRING(const unsigned char* p, unsigned n, char* out, char sep);

// TO_HEX_STD_STRING appends the same text to `s`, nothing for `n` = 0, and returns `s`. The bytes
// must not be those of `s`. Throws std::bad_alloc only, and then leaves `s` as it was.
PKIDER_API std::string& TO_HEX_STD_STRING(const unsigned char* p, unsigned n, std::string& s,
                                          char sep);

// ---- Times ----

// A broken-down UTC time packed into bit fields, from bit 0: seconds, minutes, hours and day of
// month (8 bits each), month from 0 (8), full year (24). All bits set is the invalid time.
typedef std::uint64_t cert_time64_t;

// mktime_utc_ converts a broken-down UTC time to time_t; -1 when the platform cannot, or the result
// does not fit time_t. A -1 of the C library's mktime counts as a failure, even where it is the
// time itself (the last second of 1969 in local time). `utc` is not changed.
//
// It is mktime corrected by the local zone's offset as it is now, not as it was or will be at the
// converted time, and `utc->tm_isdst` is used as it stands: across a change of the zone's offset
// the result differs from timegm's by that change.
PKIDER_API time_t mktime_utc_(tm* utc);

namespace i2s {

// LogTimeToString writes local time as "YYYY.MM.DD hh:mm:ss" to `buf` and returns it; the constant
// "0000.00.00 00:00:00" when `t` cannot be converted.
PKIDER_API const char* LogTimeToString(long t, char (&buf)[32]);

}  // namespace i2s

// TimeToString appends local time in ctime's form ("Tue Mar  5 07:08:09 2024", no line feed) to `s`
// and returns it; "Bad time" when ctime_r cannot convert `t` (glibc's: a year above 9999).
PKIDER_API std::string& TimeToString(long t, std::string& s);

// The same text, for years up to 9999, in the C library's own ctime buffer, or the constant "Bad
// time". Later years may lose digits. Valid until any thread calls this, ctime or asctime again:
// not thread-safe.
PKIDER_API const char* TimeToString(long t);

// CertTimeToStringGMT appends "DD.MM.YYYY hh:mm:ss GMT" to `s` and returns it; "Error time" when
// `t` is invalid or its year is before 1900. Fields are printed as stored, in or out of range.
PKIDER_API std::string& CertTimeToStringGMT(cert_time64_t t, std::string& s);

// CertTimeToLogStringGMT replaces `s` with "YYYY.MM.DD hh:mm:ss GMT" and returns it; with
// "0000.00.00 00:00:00" when `t` is invalid or its year is before 1900.
PKIDER_API std::string& CertTimeToLogStringGMT(cert_time64_t t, std::string& s);

// CertTimeFromLogStringGMT reads six numbers in the form that CertTimeToLogStringGMT writes; what
// follows them is ignored. Returns the invalid time when there are fewer, the year is before 1900
// or above 16777215, or month or day is 0, negative, or 2^31 and more. Up to there no field has an
// upper limit: all but the year are truncated to 8 bits. A number that 32 bits do not hold is read
// as the C library's sscanf reads it, modulo 2^32 or as the largest.
PKIDER_API cert_time64_t CertTimeFromLogStringGMT(const std::string& text);

// CertTimeToString appends local time as "DD.MM.YYYY hh:mm:ss" to `s` and returns it. It appends
// the UTC fields followed by " GMT" where mktime_utc_ gives -1, or by " UTC" where only the way
// from there to local time fails; "Error time" when `t` is invalid or its year is before 1900.
PKIDER_API std::string& CertTimeToString(cert_time64_t t, std::string& s);

// CertTimeTo_time_t is mktime_utc_ of the fields; -1 when `t` is invalid or its year is before
// 1900.
PKIDER_API time_t CertTimeTo_time_t(cert_time64_t t);

#endif
