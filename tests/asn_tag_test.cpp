// The builder: its encoding, its growth, its limits.

#include <gtest/gtest.h>

#include <type_traits>

#include <pkider/asn_tag.h>

#include "test_util.h"

namespace {

static_assert(!std::is_copy_constructible_v<asn_tag_t_<16>>);

template <unsigned N>
std::string encoding(const asn_tag_t_<N>& element) {
  return std::string(element.encoded(), element.encoded() + element.encoded_size());
}

// The form of five length bytes (84) begins with the last of these and one byte more.
TEST(Builder, LengthFormsAtTheirBoundaries) {
  for (const unsigned n : {0u, 126u, 127u, 254u, 255u, 65534u, 65535u, 0xFFFFFEu, 0xFFFFFFu}) {
    std::string content(n, 'x');
    asn_tag_t_<64> element(0x30, content.data(), n);
    ASSERT_TRUE(encoding(element) == der(0x30, content)) << n;
    element.append_bytes("y", 1);
    ASSERT_TRUE(encoding(element) == der(0x30, content += 'y')) << n;
    element.reset(0x31);
    element.append_element(4, content.data(), n + 1);
    element.append_tag(asn_tag_t_<0>(5));
    ASSERT_TRUE(encoding(element) == der(0x31, der(4, content) + der(5, ""))) << n;
  }
}

// Also before the first append, which would write the header once more.
TEST(Builder, GrowthKeepsHeaderAndContent) {
  for (const unsigned n : {0u, 1u, 10u, 11u, 200u, 300u}) {
    const std::string content(n, 'x');
    asn_tag_t_<16> element(0x04, content.data(), n);
    element.reserve(1000);
    EXPECT_EQ(encoding(element), der(0x04, content));
  }
}

TEST(Builder, CapacityIsAsNeededAnd16More) {
  EXPECT_EQ(asn_tag_t_<0>(4).capacity, 22u);
  EXPECT_EQ(asn_tag_t_<5>(4).capacity, 22u);
  EXPECT_EQ(asn_tag_t_<6>(4).capacity, 6u);
  asn_tag_t_<16> element(4, "0123456789", 10);
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
  for (const unsigned extra : {0xFFFFFFFFu, 0xFFFFFFFFu - 49}) {  // the sums pass 32 bits
    EXPECT_THROW(element.append_bytes("", extra), std::bad_alloc);
    EXPECT_THROW(element.append_element(4, "", extra), std::bad_alloc);
    EXPECT_EQ(encoding(element), der(4, "0123456789a0123456789ABCDEFG"));
  }
  element.reset(0x31);
  EXPECT_TRUE(encoding(element) == der(0x31, "") && element.buf == kept && element.capacity == 50);
}

}  // namespace
