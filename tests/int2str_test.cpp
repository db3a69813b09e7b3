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

std::string from_text(const std::string& text) {
  const cert_time64_t packed = CertTimeFromLogStringGMT(text);
  char hex[20];
  std::snprintf(hex, sizeof hex, "%llX, ", static_cast<unsigned long long>(packed));
  return hex + shown(CertTimeToStringGMT, packed).substr(1);
}

void set_zone(const std::string& tz) {
  setenv("TZ", tz.c_str(), 1);
  tzset();
}

std::string local(const std::string& zone_and_time) {
  const std::size_t blank = zone_and_time.find(' ');
  set_zone(zone_and_time.substr(0, blank));
  const cert_time64_t packed = CertTimeFromLogStringGMT(zone_and_time.substr(blank));
  const time_t t = CertTimeTo_time_t(packed);
  char buf[32];
  std::string text = std::to_string(t) + ", ";
  CertTimeToString(packed, text) += std::string(", ") + i2s::LogTimeToString(t, buf) + ", ";
  const std::size_t before = text.size();
  EXPECT_EQ(TimeToString(t, text).substr(before), TimeToString(t));
  return text;
}

TEST(Times, Rows) {
  EXPECT_EQ(wrong_rows(TEST_DATA "times.txt", {{"text", from_text}, {"local", local}}), "");
}

TEST(Times, Invalid) {
  // D22: the log text replaces
  EXPECT_EQ(shown(CertTimeToLogStringGMT, 0x7E80205070809), "2024.03.05 07:08:09 GMT");
  for (const cert_time64_t t : {invalid, cert_time64_t{1899} << 40, cert_time64_t{0}}) {
    EXPECT_EQ(shown(CertTimeToStringGMT, t), "=Error time");
    EXPECT_EQ(shown(CertTimeToString, t), "=Error time");
    EXPECT_EQ(shown(CertTimeToLogStringGMT, t), "0000.00.00 00:00:00");
    EXPECT_EQ(CertTimeTo_time_t(t), -1);
  }
  // one half alone is valid
  EXPECT_EQ(shown(CertTimeToStringGMT, invalid << 32), "=00.256.16777215 00:00:00 GMT");
}

// D23: a result is off by the difference between the zone's offset now and the offset of the date,
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
    EXPECT_EQ(mktime_utc_(&utc), date + (saving_now ? 3600 : -3600));
    EXPECT_EQ(utc.tm_isdst, saving_now ? 0 : 1);
  }
}

// What follows the last second of a 32-bit time_t.
TEST(Times, Edges) {
  const cert_time64_t after = CertTimeFromLogStringGMT("2038.01.19 03:14:08");
  const bool wide = sizeof(time_t) == 8;
  set_zone("UTC0");
  EXPECT_EQ(CertTimeTo_time_t(after) == -1, !wide);
  EXPECT_EQ(shown(CertTimeToString, after),
            wide ? "=19.01.2038 03:14:08" : "=19.01.2038 03:14:08 GMT");
  const long t = std::numeric_limits<long>::max();
  char buf[32];
  std::string text = "=";
  EXPECT_STREQ(i2s::LogTimeToString(t, buf), wide ? "0000.00.00 00:00:00" : "2038.01.19 03:14:07");
  EXPECT_EQ(TimeToString(t, text), wide ? "=Bad time" : "=Tue Jan 19 03:14:07 2038");
  EXPECT_EQ("=" + std::string(TimeToString(t)), text);
}

}  // namespace
