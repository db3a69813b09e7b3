// Names of codes, hexadecimal, times.

#include <cstdlib>
#include <limits>

#include <pkider/int2str.h>

#include "rows.h"

namespace {

TEST(Hex, Text) {
  const exact_t input(from_hex("00 1F A0"));
  std::string s = "=";
  EXPECT_EQ(&TO_HEX_STD_STRING(input.data(), 3, s, ':'), &s);
  TO_HEX_STD_STRING(input.data(), 2, TO_HEX_STD_STRING(input.data(), 0, s, ':'), 0);
  EXPECT_EQ(s, "=00:1F:A0001F");
  char out[] = "????????";
  TO_HEX_STRING(input.data() + 1, 2, out, '-');
  TO_HEX_STRING(input.data(), 0, out + 6, '-');
  EXPECT_STREQ(out, "1F-A0?00");  // Q25: no byte at all still gives the first one's digits
}

TEST(Names, FirstMatchWins) {
  const IntToString repeated[] = {{-1, "a"}, {-1, "b"}, {7, "A"}, {0, nullptr}, {8, "c"}};
  EXPECT_STREQ(repeated->getString(0xFFFFFFFF, "?"), "a");
  EXPECT_STREQ(repeated->getString(8, "?"), "?");
  EXPECT_EQ(repeated->getInt("A", 9), 0xFFFFFFFF);
  EXPECT_EQ(repeated->getInt("c", 9) + repeated->getInt("", 9), 18u);
  EXPECT_EQ(repeated->getInt("aa", 9), 9u);
  const IntToString edges[] = {{5, "@AZ["}, {0, nullptr}};
  EXPECT_EQ(edges->getInt("@az[", 9) * 10 + edges->getInt("`az{", 9), 59u);
  EXPECT_STREQ(I2S_LOG_LEVEL->getString(0, "?"), "DISABLED");
  EXPECT_EQ(I2S_LOG_LEVEL->getInt("events", 9) + 10 * I2S_LOG_LEVEL->getInt("details", 9), 21u);
  EXPECT_STREQ(I2S_LOG_LEVEL->getString(3, "?"), "VERBOSE");
  EXPECT_STREQ(I2S_LOG_LEVEL->getString(4, "?"), "?");
}

std::string shown(std::string& (*show)(cert_time64_t, std::string&), cert_time64_t t) {
  std::string s = "=";
  return show(t, s) + " ";
}

std::string from_text(const row_t& row) {
  const cert_time64_t packed = CertTimeFromLogStringGMT(row.input);
  return hex_number(packed) + ", " + shown(CertTimeToStringGMT, packed);
}

void set_zone(const std::string& tz) {
  setenv("TZ", tz.c_str(), 1);
  tzset();
}

std::string from_packed(const row_t& row) {
  set_zone("UTC0");
  const cert_time64_t t = std::stoull(row.input, nullptr, 16);
  return shown(CertTimeToStringGMT, t) + shown(CertTimeToString, t) +
         shown(CertTimeToLogStringGMT, t) + std::to_string(CertTimeTo_time_t(t));
}

std::string seconds(long t) {
  char buf[32];
  std::string appended;
  TimeToString(t, appended);
  const std::string text = i2s::LogTimeToString(t, buf) + std::string(", ") + appended;
  const std::string other = TimeToString(t);
  return text + (other == appended ? "" : ", " + other);
}

std::string local(const row_t& row) {
  set_zone(row.argument);
  const cert_time64_t packed = CertTimeFromLogStringGMT(row.input);
  const time_t t = CertTimeTo_time_t(packed);
  std::string text = std::to_string(t) + ", ";
  return CertTimeToString(packed, text) + ", " + seconds(t);
}

TEST(Times, Rows) {
  set_zone("UTC0");
  const long last = std::numeric_limits<long>::max();
  EXPECT_EQ(seconds(last), sizeof last == 8 ? "0000.00.00 00:00:00, Bad time"
                                            : "2038.01.19 03:14:07, Tue Jan 19 03:14:07 2038");
  run_rows(
      rows_t("times.txt"),
      {{"text", from_text},
       {"packed", from_packed},
       {"local", local},
       {"local-4", [](auto& row) { return sizeof(time_t) == 4 ? local(row) : row.expected; }},
       {"local-8", [](auto& row) { return sizeof(time_t) == 8 ? local(row) : row.expected; }}});
}

// Q23: a result is off by the difference between the zone's offset now and the offset of the date,
// as the caller's tm_isdst names it. Daylight saving lasts here for 200 days around today or around
// the day half a year away.
TEST(Times, OffsetIsThatOfToday) {
  const time_t now = std::time(nullptr);
  tm utc;
  const int today = gmtime_r(&now, &utc)->tm_yday;
  for (const bool saving_now : {true, false}) {
    const int start = today + (saving_now ? 265 : 100);
    set_zone("STD-3DST,J" + std::to_string(start % 365 + 1) + ",J" +
             std::to_string((start + 200) % 365 + 1));
    const time_t date = now + 180 * 86400;
    char text[32];
    std::strftime(text, sizeof text, "%Y.%m.%d %H:%M:%S", gmtime_r(&date, &utc));
    EXPECT_EQ(CertTimeTo_time_t(CertTimeFromLogStringGMT(text)), date + (saving_now ? 3600 : 0));
    utc.tm_isdst = saving_now ? 0 : 1;
    utc.tm_mon += 12;  // mktime would make it a month of the next year
    utc.tm_year -= 1;
    EXPECT_EQ(mktime_utc_(&utc), date + (saving_now ? 3600 : -3600));
    EXPECT_GE(utc.tm_mon, 12);
  }
}

}  // namespace
