#include "int2str.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

#include "test_util.h"

namespace {

constexpr cert_time64_t invalid = ~cert_time64_t{0};

TEST(Hex, Text) {
  const exact_t input(from_hex("00 1F A0"));
  std::string s = "=";
  EXPECT_EQ(TO_HEX_STD_STRING(input.data(), 3, s, ':'), "=00:1F:A0");
  EXPECT_EQ(TO_HEX_STD_STRING(input.data(), 3, s, 0), "=00:1F:A0001FA0");
  EXPECT_EQ(TO_HEX_STD_STRING(input.data() + 2, 1, s, ':'), "=00:1F:A0001FA0A0");
  EXPECT_EQ(&TO_HEX_STD_STRING(input.data(), 0, s, ':'), &s);
  char out[] = "????????";
  TO_HEX_STRING(input.data() + 1, 2, out, '-');
  EXPECT_EQ(s + out, "=00:1F:A0001FA0A01F-A0???");
  TO_HEX_STRING(input.data(), 0, out, '-');
  EXPECT_STREQ(out, "00-A0???");  // D25: no byte at all still gives the first one's digits
}

TEST(Names, FirstMatchWins) {
  const IntToString repeated[] = {{-1, "a"}, {-1, "b"}, {7, "A"}, {0, nullptr}, {8, "c"}};
  EXPECT_STREQ(repeated->getString(0xFFFFFFFF, "?"), "a");
  EXPECT_STREQ(repeated->getString(8, "?"), "?");
  EXPECT_EQ(repeated->getInt("A", 9), 0xFFFFFFFF);
  EXPECT_EQ(repeated->getInt("c", 9) + repeated->getInt("", 9), 18u);
  std::string levels;
  for (unsigned level = 0; level < 5; ++level) {
    levels += I2S_LOG_LEVEL->getString(level, "?") + std::string(" ");
  }
  EXPECT_EQ(levels, "DISABLED EVENTS DETAILS VERBOSE ? ");
}

std::string shown(std::string& (*show)(cert_time64_t, std::string&), cert_time64_t t) {
  std::string s = "=";
  return show(t, s);
}

TEST(CertTime, LogText) {
  for (const auto& row : data_rows(TEST_DATA "times.txt")) {
    const cert_time64_t packed = std::stoull(row.at(1), nullptr, 16);
    EXPECT_EQ(CertTimeFromLogStringGMT(row.at(0)), packed) << row[0];
    EXPECT_EQ(shown(CertTimeToStringGMT, packed), "=" + row.at(2)) << row[0];
  }
  // D22: the log text replaces
  EXPECT_EQ(shown(CertTimeToLogStringGMT, 0x7E80205070809), "2024.03.05 07:08:09 GMT");
  for (const cert_time64_t t : {invalid, cert_time64_t{1899} << 40, cert_time64_t{0}}) {
    EXPECT_EQ(shown(CertTimeToStringGMT, t), "=Error time");
    EXPECT_EQ(shown(CertTimeToString, t), "=Error time");
    EXPECT_EQ(shown(CertTimeToLogStringGMT, t), "0000.00.00 00:00:00");
    EXPECT_EQ(CertTimeTo_time_t(t), -1);
  }
  EXPECT_EQ(shown(CertTimeToStringGMT, invalid << 32),
            "=00.256.16777215 00:00:00 GMT");  // one half alone is valid
}

void set_zone(const std::string& tz) {
  setenv("TZ", tz.c_str(), 1);
  tzset();
}

std::string format(time_t t, const char* how) {
  tm fields;
  char text[64];
  return std::string(text, std::strftime(text, sizeof text, how, gmtime_r(&t, &fields)));
}

cert_time64_t pack(time_t t) {
  return CertTimeFromLogStringGMT(format(t, "%Y.%m.%d %H:%M:%S"));
}

TEST(LocalTime, EastWestAndNowhere) {
  const std::pair<const char*, int> zones[] = {
      {"UTC0", 0}, {"EAST-5:30", 19800}, {"WEST8", -28800}, {"FAR-14", 50400}};
  for (const auto& [tz, offset] : zones) {
    set_zone(tz);
    for (const int t : {-2000000000, 86400, 951782400, 1709622489, 2147400000}) {
      EXPECT_EQ(CertTimeTo_time_t(pack(t)), t) << tz;
      EXPECT_EQ(shown(CertTimeToString, pack(t)), format(t + offset, "=%d.%m.%Y %H:%M:%S")) << tz;
      char buf[32];
      EXPECT_EQ(i2s::LogTimeToString(t, buf), format(t + offset, "%Y.%m.%d %H:%M:%S")) << tz;
      std::string text = "=";
      EXPECT_EQ(TimeToString(t, text), format(t + offset, "=%a %b %e %H:%M:%S %Y")) << tz;
      EXPECT_EQ("=" + std::string(TimeToString(t)), text) << tz;
    }
  }
}

// D23: a result is off by the difference between the zone's offset now and the offset of the date,
// as the caller's tm_isdst names it. Daylight saving lasts here for 200 days around today or around
// the day half a year away.
TEST(LocalTime, OffsetIsThatOfToday) {
  const time_t now = std::time(nullptr);
  tm utc;
  const int today = gmtime_r(&now, &utc)->tm_yday;
  for (const bool saving_now : {true, false}) {
    const int start = today + (saving_now ? 265 : 100);
    set_zone("STD-3DST,J" + std::to_string(start % 365 + 1) + ",J" +
             std::to_string((start + 200) % 365 + 1));
    const time_t date = now + 180 * 86400;
    EXPECT_EQ(CertTimeTo_time_t(pack(date)), date + (saving_now ? 3600 : 0));
    gmtime_r(&date, &utc);
    utc.tm_isdst = saving_now ? 0 : 1;
    EXPECT_EQ(mktime_utc_(&utc), date + (saving_now ? 3600 : -3600));
    EXPECT_EQ(utc.tm_isdst, saving_now ? 0 : 1);
  }
}

// mktime's -1 counts as a failure, also where it is the last second of 1969; so does what a 32-bit
// time_t cannot hold.
TEST(LocalTime, Edges) {
  const cert_time64_t last = CertTimeFromLogStringGMT("2038.01.19 03:14:07");
  const bool wide = sizeof(time_t) == 8;
  for (const char* tz : {"UTC0", "EAST-3"}) {
    set_zone(tz);
    EXPECT_EQ(CertTimeTo_time_t(last), 2147483647) << tz;
    EXPECT_EQ(CertTimeTo_time_t(last + 1) == -1, !wide) << tz;
  }
  EXPECT_EQ(CertTimeTo_time_t(pack(10799)), -1);
  EXPECT_EQ(shown(CertTimeToString, pack(10799)), "=01.01.1970 02:59:59 GMT");
  EXPECT_EQ(CertTimeTo_time_t(pack(10800)), 10800);
  set_zone("UTC0");
  EXPECT_EQ(shown(CertTimeToString, last + 1),
            wide ? "=19.01.2038 03:14:08" : "=19.01.2038 03:14:08 GMT");
  const long t = std::numeric_limits<long>::max();
  char buf[32];
  std::string text = "=";
  EXPECT_STREQ(i2s::LogTimeToString(t, buf), wide ? "0000.00.00 00:00:00" : "2038.01.19 03:14:07");
  EXPECT_EQ(TimeToString(t, text), wide ? "=Bad time" : "=Tue Jan 19 03:14:07 2038");
  EXPECT_EQ("=" + std::string(TimeToString(t)), text);
}

}  // namespace
