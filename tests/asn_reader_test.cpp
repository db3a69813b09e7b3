#include "asn_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "asn_cursor.h"
#include "test_util.h"

namespace {

constexpr unsigned untouched = 0xDEADBEEF;
static_assert(sizeof(void*) != 4 || (sizeof(blob_t) == 8 && sizeof(asn_iter_t) == 8));

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

TEST(ReadTag, Examples) {
  const struct {
    unsigned type;
    const char* bytes;
    header_t header;
  } cases[] = {
      {asn_tag_t::ANY, "", {0, untouched}},
      {asn_tag_t::ANY, "30", {0, untouched}},
      {asn_tag_t::SEQUENCE, "30 00", {2, 0}},
      {asn_tag_t::SET, "30 00", {0, untouched}},
      {asn_tag_t::ANY, "04 80 00 00", {0, untouched}},
      {asn_tag_t::ANY, "04 85 00 00 00 00 01 AA", {0, untouched}},
      {asn_tag_t::ANY, "04 84 00 00 00 01 AA", {6, 1}},
      {asn_tag_t::ANY, "04 81 05 01 02 03 04 05", {3, 5}},
      {asn_tag_t::ANY, "04 05 01 02 03 04", {0, 5}},
      {asn_tag_t::ANY, "30 03 02 01 05 FF", {2, 3}},
      {asn_tag_t::ANY, "30 84 FF FF FF FA", {6, 0xFFFFFFFA}},  // the fit test wraps
  };
  for (const auto& c : cases) {
    const exact_t input(from_hex(c.bytes));
    EXPECT_EQ(read_header(c.type, input.data(), input.size()), c.header) << c.bytes;
  }
}

// All pairs of identifier and first length byte, before several tails and in several sizes.
TEST(ReadTag, EveryTwoByteHeader) {
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

TEST(Cursor, StepsThroughSiblings) {
  const exact_t input(from_hex("02 01 05 04 00"));
  asn_iter_t cursor{input.data(), input.size()};
  asn_iter_t out;
  EXPECT_TRUE(asn1_read_tag_i_(asn_tag_t::INTEGER, &cursor, &out));
  EXPECT_TRUE(out.ptr == input.data() + 2 && out.len == 1);
  EXPECT_TRUE(asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &cursor, &out) && out.len == 0);
  EXPECT_FALSE(asn1_read_tag_i_(asn_tag_t::ANY, &cursor, &out));
  EXPECT_TRUE(out.ptr == nullptr && cursor.ptr == input.data() + 5 && cursor.len == 0);
}

TEST(Cursor, RefusesLengthsThatFitOnlyByWrapping) {
  for (const char* text : {"30 84 FF FF FF FA", "30 84 FF FF FF FB 00", "30 84 FF FF FF FF 00"}) {
    const exact_t input(from_hex(text));
    asn_iter_t cursor{input.data(), input.size()};
    asn_iter_t out{input.data(), 0};
    EXPECT_EQ(read_header(asn_tag_t::SEQUENCE, input.data(), input.size()).first, 6u) << text;
    EXPECT_FALSE(asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cursor, &out) || out.ptr) << text;
    EXPECT_TRUE(cursor.ptr == input.data() && cursor.len == input.size()) << text;
  }
}

TEST(Cursor, IdentifierOfEachClass) {
  const unsigned identifiers[] = {0x20, 0x60, 0xA0, 0xE0, 0x80};
  for (unsigned i = 0; i < 5 * 256; ++i) {
    const unsigned char input[] = {static_cast<unsigned char>(i % 256), 0};
    asn_iter_t cursor{input, 2};
    asn_iter_t out;
    EXPECT_EQ(asn1_read_tag_i_(static_cast<asn_tag::Class>(i / 256), 0, &cursor, &out),
              input[0] == identifiers[i / 256]);
  }
}

TEST(OidEqual, ComparesSizeAndBytes) {
  const unsigned char table[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const unsigned char other[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  EXPECT_TRUE(asn_oid_equal_(blob_t{9, other}, table));
  EXPECT_FALSE(asn_oid_equal_(blob_t{10, other}, table));
  EXPECT_FALSE(asn_oid_equal_(blob_t{9, other + 1}, table));
}

// All contents of one to six bytes out of seven: refused exactly when negative, or when all bytes
// but the last are a number above the limit. So 00 FF passes a limit of 10, 0B 00 does not, and
// 01 00 00 00 00 reads as 0.
TEST(ReadInteger, SmallContents) {
  const unsigned char bytes[] = {0x00, 0x01, 0x0A, 0x0B, 0x7F, 0x80, 0xFF};
  for (unsigned n = 1, count = 7; n <= 6; ++n, count *= 7) {
    for (unsigned which = 0; which < count; ++which) {
      unsigned char content[6];
      std::uint64_t number = 0;
      for (unsigned i = 0, rest = which; i < n; ++i, rest /= 7) {
        content[i] = bytes[rest % 7];
        number = number * 256 + content[i];
      }
      for (const unsigned limit : {0u, 10u, 0xFFFFFFFFu}) {
        const bool ok = content[0] < 0x80 && number / 256 <= limit;
        unsigned value = untouched;
        ASSERT_EQ(asn_read_INTEGER(content, n, value, limit), ok) << to_hex(content, n);
        ASSERT_EQ(value, ok ? static_cast<unsigned>(number) : untouched) << to_hex(content, n);
      }
    }
  }
  unsigned value = untouched;
  EXPECT_TRUE(asn_read_INTEGER(nullptr, 0, value, 0) && value == untouched);
  EXPECT_TRUE(asn_read_INTEGER("\0\0\0\0\0\0\0\0\0\0\0\x05", 12, value, 0) && value == 5);
}

}  // namespace
