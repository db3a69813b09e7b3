// Times as ASN.1 writes them.

#ifndef PKIDER_TOOLS_ASN_TIME_H
#define PKIDER_TOOLS_ASN_TIME_H

#include <cstdint>
#include <string>

#include <pkider/asn_reader.h>

constexpr auto utc_time_tag = static_cast<asn_tag_t::Type>(0x17);
constexpr auto generalized_time_tag = static_cast<asn_tag_t::Type>(0x18);

struct asn_time_t {
  std::string given;         // its characters
  bool exists = false;       // false for the 31 February; what follows is then meaningless
  bool local = false;        // in no stated zone, taken as GMT
  std::int64_t seconds = 0;  // since 1970
};

// Reads a UTCTime or GeneralizedTime in any form of X.680 (46 and 47), also those that RFC 5280
// does not allow: without seconds, with a fraction of them, with an offset from GMT.
bool read_asn_time(const blob_t& element, asn_time_t& out);

// The same of the characters of a UTCTime (`two_digits` of the year) or a GeneralizedTime.
bool read_asn_time(const std::string& given, bool two_digits, asn_time_t& out);

// "2015.06.04 11:04:38 GMT", with what was given after it where that has another form than RFC
// 5280's.
std::string time_text(const asn_time_t& time);

// "2015-06-04T11:04:38Z"; without Z when no zone is given.
std::string iso_time_text(const asn_time_t& time);

#endif
