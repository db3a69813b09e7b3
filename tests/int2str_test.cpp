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
  EXPECT_EQ(s, "=00:1F:A0001FA0A0");
  char out[] = "????????";
  TO_HEX_STRING(input.data() + 1, 2, out, '-');
  EXPECT_STREQ(out, "1F-A0???");
  TO_HEX_STRING(input.data(), 0, out, '-');
  EXPECT_STREQ(out, "00-A0???");  // no byte at all still gives the first one's digits
}

TEST(Names, FirstMatchWins) {
  EXPECT_EQ(I2S_LOG_LEVEL->getInt("vErbose", 9), 3u);
  EXPECT_EQ(I2S_LOG_LEVEL->getInt("VERBOS", 9), 9u);
  EXPECT_STREQ(I2S_LOG_LEVEL->getString(0, "?"), "DISABLED");
  EXPECT_STREQ(I2S_LOG_LEVEL->getString(1, "?"), "EVENTS");
  EXPECT_STREQ(I2S_LOG_LEVEL->getString(2, "?"), "DETAILS");
  EXPECT_STREQ(I2S_LOG_LEVEL->getString(4, "?"), "?");
  const IntToString repeated[] = {{-1, "a"}, {-1, "b"}, {7, "A"}, {0, nullptr}, {8, "c"}};
  EXPECT_STREQ(repeated->getString(0xFFFFFFFF, "?"), "a");
  EXPECT_EQ(repeated->getInt("A", 9), 0xFFFFFFFF);
  EXPECT_STREQ(repeated->getString(8, "?"), "?");
  EXPECT_STREQ(repeated[3].getString(0, "?"), "?");
}

std::string gmt(cert_time64_t t) {
  std::string s = "=";
  return CertTimeToStringGMT(t, s);
}
std::string log_gmt(cert_time64_t t) {
  std::string s = "replaced";
  return CertTimeToLogStringGMT(t, s);
}
std::string local(cert_time64_t t) {
  std::string s = "=";
  return CertTimeToString(t, s);
}

TEST(CertTime, LogText) {
  for (const auto& row : data_rows(TEST_DATA "times.txt")) {
    const cert_time64_t packed = std::stoull(row.at(1), nullptr, 16);
    EXPECT_EQ(CertTimeFromLogStringGMT(row.at(0)), packed) << row[0];
    EXPECT_EQ(gmt(packed), "=" + row.at(2)) << row[0];
  }
  EXPECT_EQ(log_gmt(0x7E80205070809), "2024.03.05 07:08:09 GMT");
  for (const cert_time64_t t : {invalid, cert_time64_t{1899} << 40, cert_time64_t{0}}) {
    EXPECT_EQ(gmt(t) + local(t) + log_gmt(t), "=Error time=Error time0000.00.00 00:00:00");
    EXPECT_EQ(CertTimeTo_time_t(t), -1);
  }
  EXPECT_EQ(gmt(invalid << 32), "=00.256.16777215 00:00:00 GMT");  // one half alone is valid
}

struct zone_t {
  explicit zone_t(const std::string& tz) { set(tz); }
  ~zone_t() { set("UTC0"); }
  static void set(const std::string& tz) {
    setenv("TZ", tz.c_str(), 1);
    tzset();
  }
};

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
    const zone_t zone(tz);
    for (const int t : {-2000000000, 86400, 951782400, 1709622489, 2147400000}) {
      EXPECT_EQ(CertTimeTo_time_t(pack(t)), t) << tz;
      EXPECT_EQ(local(pack(t)), format(t + offset, "=%d.%m.%Y %H:%M:%S")) << tz;
      char buf[32];
      EXPECT_EQ(i2s::LogTimeToString(t, buf), format(t + offset, "%Y.%m.%d %H:%M:%S")) << tz;
      std::string text = "=";
      EXPECT_EQ(TimeToString(t, text), format(t + offset, "=%a %b %e %H:%M:%S %Y")) << tz;
      EXPECT_EQ("=" + std::string(TimeToString(t)), text) << tz;
    }
  }
}

// A result is off by the difference between the zone's offset now and the offset of the date, as
// the caller's tm_isdst names it. Daylight saving lasts here for 200 days around today or around
// the day half a year away.
TEST(LocalTime, OffsetIsThatOfToday) {
  const time_t now = std::time(nullptr);
  tm utc;
  const int today = gmtime_r(&now, &utc)->tm_yday;
  for (const bool saving_now : {true, false}) {
    const int start = today + (saving_now ? 265 : 100);
    const zone_t zone("STD-3DST,J" + std::to_string(start % 365 + 1) + ",J" +
                      std::to_string((start + 200) % 365 + 1));
    const time_t date = now + 180 * 86400;
    EXPECT_EQ(CertTimeTo_time_t(pack(date)), date + (saving_now ? 3600 : 0));
    gmtime_r(&date, &utc);
    utc.tm_isdst = saving_now ? 0 : 1;
    EXPECT_EQ(mktime_utc_(&utc), date + (saving_now ? 3600 : -3600));
    EXPECT_EQ(utc.tm_isdst, saving_now ? 0 : 1);
  }
}

// mktime's -1 counts as a failure, also where it is the last second of 1969.
TEST(LocalTime, MinusOneIsAFailure) {
  const zone_t zone("EAST-3");
  EXPECT_EQ(CertTimeTo_time_t(pack(10799)), -1);
  EXPECT_EQ(local(pack(10799)), "=01.01.1970 02:59:59 GMT");
  EXPECT_EQ(CertTimeTo_time_t(pack(10800)), 10800);
}

TEST(LocalTime, EdgesOfTheTimeTypes) {
  const cert_time64_t last = CertTimeFromLogStringGMT("2038.01.19 03:14:07");
  const bool wide = sizeof(time_t) == 8;
  for (const char* tz : {"UTC0", "EAST-3"}) {
    const zone_t zone(tz);
    EXPECT_EQ(CertTimeTo_time_t(last), 2147483647) << tz;
    EXPECT_EQ(CertTimeTo_time_t(last + 1) == -1, !wide) << tz;
  }
  EXPECT_EQ(local(last + 1), wide ? "=19.01.2038 03:14:08" : "=19.01.2038 03:14:08 GMT");
  const long t = std::numeric_limits<long>::max();
  char buf[32];
  std::string text = "=";
  EXPECT_STREQ(i2s::LogTimeToString(t, buf), wide ? "0000.00.00 00:00:00" : "2038.01.19 03:14:07");
  EXPECT_EQ(TimeToString(t, text), wide ? "=Bad time" : "=Tue Jan 19 03:14:07 2038");
  EXPECT_STREQ(TimeToString(t), wide ? "Bad time" : "Tue Jan 19 03:14:07 2038");
}

}  // namespace
