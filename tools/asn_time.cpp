// UTCTime and GeneralizedTime (X.680, 46 and 47), read field by field.

#include "asn_time.h"

#include <charconv>
#include <ctime>
#include <string_view>

#include "asn_cursor.h"
#include "bytes.h"

namespace {

constexpr int seconds_per_minute = 60;
constexpr int minutes_per_hour = 60;

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Takes `count` digits off the front of `text`.
bool take_number(std::string_view& text, std::size_t count, int& number) {
  if (text.size() < count || !is_digit(text.front())) {
    return false;
  }
  const auto [at, error] = std::from_chars(text.data(), text.data() + count, number);
  if (error != std::errc() || at != text.data() + count) {
    return false;
  }
  text.remove_prefix(count);
  return true;
}

void skip_fraction(std::string_view& text) {
  if (text.size() < 2 || (text[0] != '.' && text[0] != ',') || !is_digit(text[1])) {
    return;
  }
  text.remove_prefix(1);
  while (!text.empty() && is_digit(text.front())) {
    text.remove_prefix(1);
  }
}

// "Z", "+0300", "+03" or nothing.
bool read_zone(std::string_view text, bool& local, int& minutes_ahead) {
  local = text.empty();
  if (text.empty() || text == "Z") {
    return true;
  }
  const char sign = text.front();
  std::string_view digits = text.substr(1);
  int hours = 0;
  int minutes = 0;
  if ((sign != '+' && sign != '-') || !take_number(digits, 2, hours) ||
      (!digits.empty() && (!take_number(digits, 2, minutes) || !digits.empty()))) {
    return false;
  }
  minutes_ahead = (hours * minutes_per_hour + minutes) * (sign == '-' ? -1 : 1);
  return true;
}

// Fields that timegm carries over into others are not a date.
bool to_seconds(const std::tm& fields, std::int64_t& seconds) {
  std::tm carried = fields;
  seconds = timegm(&carried);
  return carried.tm_mon == fields.tm_mon && carried.tm_mday == fields.tm_mday &&
         carried.tm_hour == fields.tm_hour && carried.tm_min == fields.tm_min &&
         carried.tm_sec == fields.tm_sec;
}

std::string formatted(const asn_time_t& time, const char* format) {
  const auto seconds = static_cast<std::time_t>(time.seconds);
  std::tm fields = {};
  char text[64];
  gmtime_r(&seconds, &fields);
  return std::string(text, std::strftime(text, sizeof text, format, &fields));
}

}  // namespace

bool read_asn_time(const blob_t& element, asn_time_t& out) {
  asn_iter_t cur = asn1_iter_(element);
  asn_iter_t content;
  const bool two_digits = asn1_next_is_(utc_time_tag, cur);
  if (!asn1_read_tag_i_(two_digits ? utc_time_tag : generalized_time_tag, &cur, &content)) {
    return false;
  }
  return read_asn_time(to_string(asn1_view_(content)), two_digits, out);
}

bool read_asn_time(const std::string& given, bool two_digits, asn_time_t& out) {
  out.given = given;
  std::string_view text = out.given;
  std::tm fields = {};
  int minutes_ahead = 0;
  if (!take_number(text, two_digits ? 2 : 4, fields.tm_year) ||
      !take_number(text, 2, fields.tm_mon) || !take_number(text, 2, fields.tm_mday) ||
      !take_number(text, 2, fields.tm_hour)) {
    return false;
  }
  if (take_number(text, 2, fields.tm_min)) {
    take_number(text, 2, fields.tm_sec);
  }
  skip_fraction(text);
  if (!read_zone(text, out.local, minutes_ahead)) {
    return false;
  }
  constexpr int first_year = 1900;
  constexpr int century = 100;
  if (!two_digits) {
    fields.tm_year -= first_year;
  } else if (fields.tm_year < century / 2) {
    fields.tm_year += century;
  }
  --fields.tm_mon;
  out.exists = to_seconds(fields, out.seconds);
  out.seconds -= std::int64_t{minutes_ahead} * seconds_per_minute;
  return true;
}

std::string time_text(const asn_time_t& time) {
  if (!time.exists) {
    return time.given;
  }
  const std::string text = formatted(time, "%Y.%m.%d %H:%M:%S") + (time.local ? "" : " GMT");
  const std::string plain = formatted(time, "%Y%m%d%H%M%SZ");
  const bool usual = time.given == plain || time.given == plain.substr(2);
  return usual ? text : text + " (given as " + time.given + ')';
}

std::string iso_time_text(const asn_time_t& time) {
  return time.exists ? formatted(time, time.local ? "%Y-%m-%dT%H:%M:%S" : "%Y-%m-%dT%H:%M:%SZ")
                     : time.given;
}
