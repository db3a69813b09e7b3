#include "asn_tag.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "test_util.h"

namespace {

using small_t = asn_tag_t_<16>;
static_assert(std::is_standard_layout_v<small_t> && !std::is_copy_constructible_v<small_t>);
static_assert(offsetof(small_t, tag) == 0 && offsetof(small_t, size) == 4 &&
              offsetof(small_t, buf) == 8 && offsetof(small_t, capacity) == 8 + sizeof(void*) &&
              offsetof(small_t, len) == 12 + sizeof(void*) &&
              offsetof(small_t, inline_buf) == 16 + sizeof(void*));
static_assert(sizeof(void*) != 4 || (sizeof(asn_tag_t_<0>) == 20 && sizeof(small_t) == 36));

template <unsigned N>
std::string encoding(const asn_tag_t_<N>& element) {
  return std::string(element.encoded(), element.encoded() + element.encoded_size());
}

TEST(Builder, LengthFormsAtTheirBoundaries) {
  for (const unsigned n : {0u, 1u, 126u, 127u, 128u, 254u, 255u, 256u, 65534u, 65535u, 65536u,
                           0xFFFFFEu, 0xFFFFFFu, 0x1000000u, 0x1000001u}) {
    std::string content(n, 'x');
    asn_tag_t_<64> element(0x30, content.data(), n);
    ASSERT_TRUE(encoding(element) == der(0x30, content)) << n;
    element.append_bytes("y", 1);
    ASSERT_TRUE(encoding(element) == der(0x30, content += 'y')) << n;
  }
}

TEST(Builder, CapacityIsAsNeededAnd16More) {
  EXPECT_EQ(asn_tag_t_<0>(4).capacity, 22u);
  EXPECT_EQ(asn_tag_t_<5>(4).capacity, 22u);
  EXPECT_EQ(asn_tag_t_<6>(4).capacity, 6u);
  small_t element(4, "0123456789", 10);
  EXPECT_TRUE(element.buf == element.inline_buf && element.capacity == 16);
  element.append_bytes("a", 1);
  EXPECT_TRUE(element.buf != element.inline_buf && element.capacity == 33);
  element.reserve(16);
  EXPECT_EQ(element.capacity, 33u);
  element.reserve(17);
  EXPECT_EQ(element.capacity, 50u);
  const unsigned char* kept = element.buf;
  element.append_bytes("0123456789ABCDEFG", 17);
  EXPECT_EQ(encoding(element), der(4, "0123456789a0123456789ABCDEFG"));
  element.reset(0x31);
  EXPECT_TRUE(encoding(element) == der(0x31, "") && element.buf == kept && element.capacity == 50);
}

TEST(Builder, Nests) {
  asn_tag_t_<0> parent(asn_tag_t::SEQUENCE);
  parent.append_tag(asn_tag_t_<8>(asn_tag_t::OID, "\x2A\x03\x04", 3));
  asn_tag_t_<3> grandparent(asn_tag_t::CONTEXT_0);
  for (int children = 1; children < 100; ++children) {
    grandparent.append_tag(parent);
    std::string content;
    for (int i = 0; i < children; ++i) {
      content += from_hex("30 05 06 03 2A 03 04");
    }
    ASSERT_EQ(to_hex(encoding(grandparent)), to_hex(der(0xA0, content)));
  }
}

TEST(Builder, SizesPast32BitsLeaveTheElementAsItWas) {
  small_t element(4, "abc", 3);
  for (const unsigned extra : {0xFFFFFFFFu, 0xFFFFFFFFu - 24}) {
    EXPECT_THROW(element.append_bytes("", extra), std::bad_alloc);
    EXPECT_EQ(encoding(element), der(4, "abc"));
  }
}

TEST(WriteInteger, DropsZeroBytes) {
  const std::pair<unsigned, const char*> cases[] = {{0, "00"},
                                                    {5, "05"},
                                                    {127, "7F"},
                                                    {128, "00 80"},
                                                    {255, "00 FF"},
                                                    {256, "01"},
                                                    {2048, "08"},
                                                    {0x8000, "00 80"},
                                                    {65537, "01 01"},
                                                    {0x01000000, "01"},
                                                    {0x01800000, "01 80"},
                                                    {0x80000001, "00 80 01"},
                                                    {0x12345678, "12 34 56 78"},
                                                    {0xFFFFFFFF, "00 FF FF FF FF"}};
  for (const auto& [value, content] : cases) {
    std::string out = "before";
    asn_write_INTEGER(value, out);
    EXPECT_EQ(out, "before" + from_hex(content)) << value;
  }
}

}  // namespace
