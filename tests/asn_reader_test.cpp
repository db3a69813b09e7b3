#include "asn_reader.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "asn_cursor.h"
#include "test_util.h"

namespace {

constexpr unsigned untouched = 0xDEADBEEF;

// How a header reads: its size (0: refused) and the length left in the caller's variable.
using header_t = std::pair<unsigned, unsigned>;

header_t read_header(unsigned type, const unsigned char* p, unsigned n) {
  unsigned len = untouched;
  const unsigned char* content = asn1_read_tag(static_cast<asn_tag_t::Type>(type), p, n, &len);
  return {content == nullptr ? 0 : static_cast<unsigned>(content - p), len};
}

// The rules once more: which headers can be read, and which of their elements fit modulo 2^32.
header_t expected_header(unsigned type, const std::vector<unsigned char>& b) {
  const unsigned k = b[1] < 0x80 ? 0 : b[1] - 0x80u;
  if ((type != 0 && type != b[0]) || b[1] == 0x80 || k > 4 || b.size() < k + 2) {
    return {0, untouched};
  }
  std::uint64_t len = k == 0 ? b[1] : 0;
  for (unsigned i = 0; i < k; ++i) {
    len += std::uint64_t{b[2 + i]} << (8 * (k - 1 - i));
  }
  const std::uint64_t end = (len + k + 2) % (std::uint64_t{1} << 32);
  return {end <= b.size() ? k + 2 : 0, static_cast<unsigned>(len)};
}

// All pairs of identifier and first length byte, before several tails and in several sizes.
TEST(Elements, EveryTwoByteHeader) {
  for (const char* tail : {"00 00 00 05", "05 00 00 00", "FF FF FF FA", "01 00 FF FF"}) {
    const std::string pattern = "??" + from_hex(tail) + std::string(300, '\0');
    for (const std::ptrdiff_t n : {2, 3, 4, 5, 6, 7, 11, 129, 300}) {
      std::vector<unsigned char> input(pattern.begin(), pattern.begin() + n);
      for (unsigned pair = 0; pair < 0x10000; ++pair) {
        input[0] = static_cast<unsigned char>(pair >> 8);
        input[1] = static_cast<unsigned char>(pair);
        for (const unsigned type : {0x00u, 0x30u, pair >> 8}) {
          ASSERT_EQ(read_header(type, input.data(), static_cast<unsigned>(n)),
                    expected_header(type, input))
              << to_hex(input.data(), input.size()) << " as " << type;
        }
      }
    }
  }
}

std::string read(const std::string& row) {
  const exact_t in(from_hex(row).substr(1));
  const auto type = static_cast<asn_tag_t::Type>(std::stoul(row, nullptr, 16));
  const auto [size, len] = read_header(type, in.data(), in.size());
  std::string text = len == untouched ? "no" : std::to_string(size) + "/" + std::to_string(len);
  asn_iter_t cursor{in.data(), in.size()}, content;
  while (asn1_read_tag_i_(type, &cursor, &content)) {
    text += "[" + to_hex(content.ptr, content.len) + "]";
  }
  EXPECT_EQ(content.ptr, nullptr) << row;
  return text + "(" + to_hex(cursor.ptr, cursor.len) + ")";
}

std::string write(const std::string& number) {
  std::string out = "\xEE";
  asn_write_INTEGER(static_cast<unsigned>(std::stoul(number)), out);
  return to_hex(out);
}

TEST(Elements, Rows) {
  EXPECT_EQ(wrong_rows(TEST_DATA "elements.txt", {{"read", read}, {"write", write}}), "");
}

TEST(Elements, IdentifierOfEachClass) {
  const unsigned char identifiers[] = {0x20, 0x60, 0xA0, 0xE0, 0x80};
  for (unsigned i = 0; i < 5 * 256; ++i) {
    const unsigned char input[] = {static_cast<unsigned char>(i % 256), 0};
    asn_iter_t cursor{input, 2}, out;
    EXPECT_EQ(asn1_read_tag_i_(asn_tag::Class{i / 256}, 3, &cursor, &out),
              input[0] == identifiers[i / 256] + 3);
  }
}

// All contents of one to six bytes out of seven: refused exactly when negative, or when all bytes
// but the last are a number above the limit (D6). So 00 FF passes a limit of 10, 0B 00 does not,
// and 01 00 00 00 00 reads as 0.
TEST(ReadInteger, SmallContents) {
  for (unsigned n = 1, count = 7; n <= 6; ++n, count *= 7) {
    for (unsigned which = 0; which < count; ++which) {
      std::string content;
      std::uint64_t number = 0;
      for (unsigned rest = which; content.size() < n; rest /= 7) {
        content += "\0\x01\x0A\x0B\x7F\x80\xFF"[rest % 7];
        number = number << 8 | static_cast<unsigned char>(content.back());
      }
      for (const unsigned limit : {0u, 10u, 0xFFFFFFFFu}) {
        const bool ok = static_cast<signed char>(content[0]) >= 0 && number / 256 <= limit;
        unsigned value = untouched;
        ASSERT_EQ(asn_read_INTEGER(content.data(), n, value, limit), ok) << to_hex(content);
        ASSERT_EQ(value, ok ? static_cast<unsigned>(number) : untouched) << to_hex(content);
      }
    }
  }
  unsigned value = untouched;
  EXPECT_TRUE(asn_read_INTEGER(nullptr, 0, value, 0) && value == untouched);  // D5
  EXPECT_TRUE(asn_read_INTEGER("\0\0\0\0\0\0\0\0\0\0\0\x05", 12, value, 0) && value == 5);
}

}  // namespace
