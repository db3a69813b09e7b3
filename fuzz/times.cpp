// Times, three hours east of Greenwich. The first eight bytes are a time, packed and as seconds;
// the rest is text.

#include <ctime>
#include <limits>

#include <pkider/int2str.h>

#include "laws.h"
#include "model.h"

namespace {

constexpr std::int64_t east = 3 * 3600;
constexpr std::int64_t year_1 = -62135596800 + east;

bool fits(std::int64_t seconds) {
  return seconds == static_cast<time_t>(seconds) && seconds != -1;
}

void check_packed(cert_time64_t t) {
  const auto field = [t](int shift) { return static_cast<unsigned>(t >> shift & 0xFF); };
  const model::civil_t fields = {
      static_cast<std::int64_t>(t >> 40), field(32) + 1, field(24), field(16), field(8), field(0)};
  const bool bad = t == ~cert_time64_t{0} || fields.year < 1900;
  std::string shown = "~", local = "~", log = "~";
  CertTimeToStringGMT(t, shown);
  CertTimeToString(t, local);
  CertTimeToLogStringGMT(t, log);
  const time_t seconds = CertTimeTo_time_t(t);
  if (bad) {
    law(shown == "~Error time" && local == shown && log == "0000.00.00 00:00:00" && seconds == -1);
    return;
  }
  const std::int64_t utc = model::seconds_of(fields);
  const bool converted = fits(utc - east) && fits(utc);
  law(seconds == (converted ? utc : -1));
  law(shown == '~' + model::show(fields, false) + " GMT");
  law(log == model::show(fields, true) + " GMT");
  law(local == (converted ? '~' + model::show(model::civil_of(utc + east), false) : shown) ||
      !fits(utc + east));
  // A day of 0 is shown but not read.
  law(CertTimeFromLogStringGMT(log) == (fields.day != 0 ? t : ~cert_time64_t{0}));
}

void check_seconds(long t) {
  char buf[32];
  std::string text = "~";
  const std::string log = i2s::LogTimeToString(t, buf);
  law(TimeToString(t, text)[0] == '~' && log.size() < sizeof buf);
  const std::int64_t local = std::int64_t{t / 4096} + east;  // years of at most nine digits
  if (local < year_1) {
    return;
  }
  const model::civil_t civil = model::civil_of(local);
  constexpr char days[] = "ThuFriSatSunMonTueWed";
  constexpr char months[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
  char expected[64];
  const std::int64_t weekday = (local / 86400 % 7 + 7 - (local % 86400 < 0 ? 1 : 0)) % 7;
  std::snprintf(expected, sizeof expected, "%.3s %.3s %2u %02u:%02u:%02u %d", days + weekday * 3,
                months + (civil.month - 1) * 3, civil.day, civil.hour, civil.minute, civil.second,
                static_cast<int>(civil.year));
  text.clear();
  law(TimeToString(t / 4096, text) == (civil.year > 9999 ? "Bad time" : expected));
  law(civil.year < 1000 || i2s::LogTimeToString(t / 4096, buf) == model::show(civil, true));
}

}  // namespace

int harness_times(const std::uint8_t* data, std::size_t size) {
  static const bool zone_set = setenv("TZ", "EAST-3", 1) == 0 && (tzset(), true);
  law(zone_set);
  std::string_view rest = text_of(data, size);
  const cert_time64_t high = take_number(rest);
  const cert_time64_t raw = high << 32 | take_number(rest);
  check_packed(raw);
  check_packed(CertTimeFromLogStringGMT(std::string(rest)));
  check_seconds(static_cast<long>(raw));
  return 0;
}
