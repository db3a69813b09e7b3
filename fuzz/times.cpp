// Times. The first eight bytes are a time, packed and as seconds; the rest is text.

#include <pkider/int2str.h>

#include "laws.h"

int harness_times(const std::uint8_t* data, std::size_t size) {
  std::string_view rest = text_of(data, size);
  const cert_time64_t high = take_number(rest);
  const cert_time64_t raw = high << 32 | take_number(rest);
  const std::string text(rest);
  for (const cert_time64_t t : {raw, CertTimeFromLogStringGMT(text)}) {
    std::string shown = "~", local = "~", log = "~";
    const bool bad = CertTimeToStringGMT(t, shown) == "~Error time";
    law((CertTimeToString(t, local) == "~Error time") == bad && shown[0] == '~');
    law((CertTimeToLogStringGMT(t, log) == "0000.00.00 00:00:00") == bad);
    law(!bad || CertTimeTo_time_t(t) == -1);
    // A day of 0 is shown but not read.
    const bool readable = !bad && (t >> 24 & 0xFF) != 0;
    law(CertTimeFromLogStringGMT(log) == (readable ? t : ~cert_time64_t{0}));
  }
  const long seconds = static_cast<long>(raw);
  char buf[32];
  std::string shown = "~";
  law(std::string(i2s::LogTimeToString(seconds, buf)).size() < sizeof buf);
  law(TimeToString(seconds, shown)[0] == '~');
  const unsigned level = I2S_LOG_LEVEL->getInt(text.c_str(), ~0U);
  law(level == ~0U || I2S_LOG_LEVEL->getString(level, nullptr) != nullptr);
  return 0;
}
