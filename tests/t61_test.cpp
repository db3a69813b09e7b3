// T.61 against Unicode's own data, the UTF-8 encoder, and the code page converter.

#include "t61.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "platform.h"
#include "test_util.h"

namespace {

TEST(T61, EveryPairAgreesWithUnicode) {
  FILE* expected = popen("/usr/bin/python3 " TEST_DATA "../t61_pairs.py", "r");
  ASSERT_NE(expected, nullptr);
  for (unsigned pair = 0; pair < 0x10000; ++pair) {
    char line[64];
    ASSERT_NE(std::fgets(line, sizeof line, expected), nullptr) << pair;
    const char text[] = {static_cast<char>(pair >> 8), static_cast<char>(pair), 0};
    std::string out = "x";
    ASSERT_EQ(ldap_t61s_to_utf8s(text, 2, out), line[0] != '-') << to_hex(text, 2);
    ASSERT_EQ(to_hex(out), to_hex("x" + from_hex(line))) << to_hex(text, 2);
  }
  EXPECT_EQ(pclose(expected), 0);
}

// The last byte of each text lies behind the input.
TEST(T61, Strings) {
  const char* cases[][2] = {{"41", ""},
                            {"C2 65", "C3 A9"},
                            {"61 C8 6F E1 C2 E1 C2 20", "61 C3 B6 C3 86 C7 BC C2 B4"},
                            {"C2 5C C2 C1 CC 00 41", "5C CC 81 C3 81 CC 81 00 CC B2"},
                            {"61 C2 65 5C 41", "-"}};
  for (const auto& [hex, utf8] : cases) {
    const exact_t text(from_hex(hex));
    std::string out;
    const auto* src = reinterpret_cast<const char*>(text.data());
    EXPECT_EQ(ldap_t61s_to_utf8s(src, text.size() - 1, out), utf8[0] != '-') << hex;
    EXPECT_EQ(out, from_hex(utf8)) << hex;
  }
}

// At both ends of every length, and a surrogate (D40): enough room, one byte too little, and none
// asked for.
TEST(Utf8, OneCodePoint) {
  const struct {
    unsigned code_point;
    const char* utf8;
  } cases[] = {{0, "00"},
               {0x7F, "7F"},
               {0x80, "C2 80"},
               {0x7FF, "DF BF"},
               {0x800, "E0 A0 80"},
               {0xD800, "ED A0 80"},
               {0xFFFF, "EF BF BF"},
               {0x10000, "F0 90 80 80"},
               {0x1FFFFF, "F7 BF BF BF"},
               {0x200000, "F8 88 80 80 80"},
               {0x3FFFFFF, "FB BF BF BF BF"},
               {0x4000000, "FC 84 80 80 80 80"},
               {0x7FFFFFFF, "FD BF BF BF BF BF"}};
  for (const auto& [code_point, hex] : cases) {
    const std::string utf8 = from_hex(hex);
    const auto size = static_cast<unsigned>(utf8.size());
    std::string out(size + 1, '*');
    EXPECT_EQ(ldap_x_wc_to_utf8(nullptr, code_point, 0), static_cast<int>(size));
    EXPECT_EQ(ldap_x_wc_to_utf8(out.data(), code_point, size - 1), 0);
    EXPECT_EQ(out, std::string(size + 1, '*'));
    EXPECT_EQ(ldap_x_wc_to_utf8(out.data(), code_point, size), static_cast<int>(size));
    EXPECT_EQ(to_hex(out), to_hex(utf8 + "*"));
  }
  for (const unsigned too_large : {0x80000000, 0xFFFFFFFF}) {
    char out = '*';
    EXPECT_EQ(ldap_x_wc_to_utf8(nullptr, too_large, 0), -1);
    EXPECT_EQ(ldap_x_wc_to_utf8(&out, too_large, 1), -1);
    EXPECT_EQ(out, '*');
  }
}

TEST(Codepage, Strings) {
  const struct {
    unsigned source, target;
    const char *text, *utf8;
  } cases[] = {{2, 6, "", ""},
               {2, 6, "00 00 04 10 D7 FF E0 00 FF FF", "00 D0 90 ED 9F BF EE 80 80 EF BF BF"},
               {2, 6, "00 41 04", ""},
               {2, 6, "D8 00 DC 00", ""},
               {2, 6, "00 41 DF FF", ""},
               {4, 6, "00 00 00 41 00 01 00 00 00 10 FF FF", "41 F0 90 80 80 F4 8F BF BF"},
               {4, 6, "00 00 00 41 00 00", ""},
               {4, 6, "00 00 D8 00", ""},
               {4, 6, "00 11 00 00", ""},
               {4, 6, "80 00 00 41", ""},
               {6, 6, "41 41 41 41 41 41", ""},
               {2, 2, "00 41", ""}};
  for (const auto& test : cases) {
    const exact_t text(from_hex(test.text));
    const std::string utf8 = from_hex(test.utf8);
    const auto size = static_cast<unsigned>(utf8.size());
    const CodepageConverter converter(codepage_t{test.source}, codepage_t{test.target});
    EXPECT_EQ(converter.output_size(text.data(), text.size()), size) << test.text;
    std::string out(16, '*');
    EXPECT_EQ(converter.convert(text.data(), text.size(), out.data(), std::max(size, 1U) - 1), 0U);
    EXPECT_EQ(out, std::string(16, '*')) << test.text;
    EXPECT_EQ(converter.convert(text.data(), text.size(), out.data(), 16), size) << test.text;
    EXPECT_EQ(out, utf8 + std::string(16 - size, '*')) << test.text;
  }
}

}  // namespace
