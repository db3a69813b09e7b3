#include "asn_reader.h"

#include <cstdint>

#include "asn_cursor.h"
#include "rows.h"

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

std::string read(const row_t& row) {
  const exact_t in(from_hex(row.input));
  const auto type = static_cast<asn_tag_t::Type>(std::stoul(row.argument, nullptr, 16));
  const auto [size, len] = read_header(type, in.data(), in.size());
  std::string text = len == untouched ? "no" : std::to_string(size) + "/" + std::to_string(len);
  asn_iter_t cursor{in.data(), in.size()}, content;
  while (asn1_read_tag_i_(type, &cursor, &content)) {
    text += "[" + to_hex(content.ptr, content.len) + "]";
  }
  EXPECT_EQ(content.ptr, nullptr) << row.input;
  return text + "(" + to_hex(cursor.ptr, cursor.len) + ")";
}

std::string write(const row_t& row) {
  std::string out = "\xEE";
  asn_write_INTEGER(static_cast<unsigned>(std::stoul(row.input)), out);
  return to_hex(out);
}

std::string integer(const row_t& row) {
  const exact_t in(from_hex(row.input));
  unsigned value = untouched;
  const auto limit = static_cast<unsigned>(std::stoul(row.argument));
  const bool ok = asn_read_INTEGER(in.data(), in.size(), value, limit);
  return (ok ? "" : "!") + (value == untouched ? "" : std::to_string(value));
}

TEST(Elements, Rows) {
  run_rows(rows_t("elements.txt"), {{"read", read}, {"write", write}, {"integer", integer}});
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

}  // namespace
