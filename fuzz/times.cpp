// Times, three hours east of Greenwich. The first eight bytes are a packed time; the rest is text.

#include <pkider/int2str.h>

#include "model.h"

namespace {

constexpr std::int64_t east = 3 * 3600;

bool fits(std::int64_t seconds) {
  return seconds == static_cast<time_t>(seconds) && seconds != -1;
}

std::tm fields_of(std::int64_t seconds) {
  const auto t = static_cast<time_t>(seconds);
  std::tm fields = {};
  gmtime_r(&t, &fields);
  return fields;
}

void check_packed(cert_time64_t t) {
  const auto field = [t](int shift) { return static_cast<int>(t >> shift & 0xFF); };
  const std::tm fields = {
      field(0), field(8), field(16), field(24), field(32), static_cast<int>(t >> 40) - 1900,
      0,        0,        0,         0,         nullptr};
  std::string shown = "~", local = "~", log = "~";
  CertTimeToStringGMT(t, shown);
  CertTimeToString(t, local);
  CertTimeToLogStringGMT(t, log);
  const time_t seconds = CertTimeTo_time_t(t);
  if (t == ~cert_time64_t{0} || fields.tm_year < 0) {
    law(shown == "~Error time" && local == shown && log == "0000.00.00 00:00:00" && seconds == -1);
    return;
  }
  std::tm normalized = fields;
  const std::int64_t utc = timegm(&normalized);
  const bool converted = fits(utc - east) && fits(utc);
  law(seconds == (converted ? utc : -1));
  law(shown == '~' + model::show(fields, false) + " GMT");
  law(log == model::show(fields, true) + " GMT");
  law(local == (converted ? '~' + model::show(fields_of(utc + east), false) : shown) ||
      !fits(utc + east));
  // A day of 0 is shown but not read.
  law(CertTimeFromLogStringGMT(log) == (fields.tm_mday != 0 ? t : ~cert_time64_t{0}));
}

}  // namespace

int harness_times(const std::uint8_t* data, std::size_t size) {
  static const bool zone_set = setenv("TZ", "EAST-3", 1) == 0 && (tzset(), true);
  law(zone_set);
  std::string_view rest = text_of(data, size);
  const cert_time64_t high = take_number(rest);
  check_packed(high << 32 | take_number(rest));
  check_packed(CertTimeFromLogStringGMT(std::string(rest)));
  return 0;
}
