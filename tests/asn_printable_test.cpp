// Distinguished names: the syntax of the text, DER to text, text to DER, and the normal form.

#include "asn_printable.h"

#include <cstring>
#include <functional>
#include <map>

#include "asn_printable_i.h"
#include "der_text.h"

namespace {

const oid_map_handle_t default_map = OID_MAP_HANDLE_DEFAULT;

std::string answer(bool ok, const std::string& text) {
  return (ok ? "" : "!") + text;
}

// The map that a row asks for.
oid_map_handle_t map_of(const std::string& name) {
  static const std::string lines = "1.2.643.2.2.9 = HASH";
  static const oid_map_handle_t own =
      oid_map_parse(lines.data(), static_cast<unsigned>(lines.size()));
  return name[0] == 'n' ? nullptr : name[0] == 'o' ? own : default_map;
}

std::string common_name(const std::string& value) {
  return der(0x30, der(0x31, der(0x30, from_hex("06 03 55 04 03") + value)));
}

std::string decode(const exact_t& name, PrintableDnOrder order = DN_ORDER_DIRECT,
                   oid_map_handle_t names = default_map) {
  std::string out = ">";
  return answer(asn_dn_to_printable(name.data(), name.size(), out, order, names), out);
}

std::string encode(const std::string& dn, oid_map_handle_t names = default_map) {
  std::string name = "old";
  const bool ok = printable_to_asn_dn(dn.c_str(), name, names);
  EXPECT_TRUE(ok || name == "old") << dn;
  return ok ? to_hex(name) : "!";
}

std::string split(const std::string&, const std::string& dn) {
  std::vector<RDNdescr_t> found;
  const bool ok = printable_dn_parse(dn.c_str(), found);
  std::string text;
  for (const RDNdescr_t& one : found) {
    text += (one.plus_joined ? "+" : "/") + std::string(one.name_begin, one.name_end) + ":" +
            std::string(one.value_begin, one.value_end);
  }
  return ok ? text : "!";
}

std::string get(const std::string& what, const std::string& dn) {
  std::string out = ">";
  const auto mode = static_cast<PrintableDnGetAttr>(what[0] - '0');
  return answer(printable_dn_get_attr(dn.c_str(), what.substr(2).c_str(), out, mode), out);
}

std::string reverse(const std::string&, const std::string& dn) {
  std::string text = dn;
  const char* reversed = printable_dn_reverse(text.data());
  EXPECT_TRUE(reversed == text.data() || reversed == nullptr);
  return answer(reversed != nullptr, text);
}

std::string direct(const std::string& names, const std::string& name) {
  const exact_t input(der_text(name));
  const std::string text = decode(input, DN_ORDER_DIRECT, map_of(names));
  EXPECT_EQ(decode(input, static_cast<PrintableDnOrder>(2), map_of(names)), text);
  return text;
}

std::string last_first(const std::string&, const std::string& name) {
  return decode(exact_t(der_text(name)), DN_ORDER_REVERSE);
}

std::string oid(const std::string& how, const std::string& element) {
  const exact_t input(der_text(element));
  const bool with_oid = how.back() == ')';
  std::string out = ">";
  return answer(asn_oid_to_printable(input.data(), input.size(), out, with_oid, map_of(how)), out);
}

// The DER is that of the text, the result may replace the text, and normalising it again changes
// nothing.
std::string normalize(const std::string&, const std::string& dn) {
  std::string out = "old", name = "old", in_place = dn;
  const bool ok = printable_dn_normalize(dn, out, &name, default_map);
  EXPECT_EQ(name == "old" ? "!" : to_hex(name), encode(dn));
  EXPECT_EQ(printable_dn_normalize(in_place, in_place, nullptr, default_map), ok);
  EXPECT_EQ(in_place, out == "old" ? dn : out);
  EXPECT_TRUE(!ok ||
              (printable_dn_normalize(out, in_place, nullptr, default_map) && in_place == out));
  return answer(ok, out);
}

using operation_t = std::function<std::string(const std::string& argument, const std::string& in)>;

const std::map<std::string, operation_t> operations = {
    {"split", split},
    {"get", get},
    {"reverse", reverse},
    {"oid", oid},
    {"normalize", normalize},
    {"direct", direct},
    {"last-first", last_first},
    {"encode", [](auto& names, auto& dn) { return encode(dn, map_of(names)); }},
    {"before", [](auto&, auto& dn) { return answer(printable_dn_C_before_CN(dn.c_str()), ""); }},
    {"contain", [](auto& what, auto& dn) {
       return answer(printable_dn_contain_attrs(dn.c_str(), what.c_str()), "");
     }}};

TEST(Names, Rows) {
  const rows_t table("names.txt");
  ASSERT_GT(table.rows.size(), 150U);
  for (const auto& [operation, reason, input, expected] : table.rows) {
    const std::size_t blank = std::min(operation.find(' '), operation.size());
    const std::string name = operation.substr(0, blank);
    const std::string argument = operation.substr(blank).erase(0, 1);
    const bool is_der = name == "encode" && expected != "!";
    EXPECT_EQ(operations.at(name)(argument, input), is_der ? to_hex(der_text(expected)) : expected)
        << operation << ": " << reason;
  }
}

// The scan of printable_dn_contain_attrs, one decision a character, as plainly as it can be put.
bool contains(const std::string& dn, const std::string& attrs) {
  bool quoted = false, armed = true;
  std::size_t at = 0, component = 0;
  for (std::size_t i = 0; i < dn.size(); ++i) {
    const char c = dn[i];
    const bool escaped = i > 0 && dn[i - 1] == '\\';
    const bool quote = c == '"' && !escaped;
    quoted ^= quote;
    if (!armed) {
      armed = c == ',' && !escaped && !quoted;
    } else if (at == attrs.size() && !quote) {
      return c == ',' && !quoted;
    } else if (at < attrs.size() && attrs[at] == c) {
      ++at;
      component = c == ',' && !quoted ? at : component;
    } else {
      at = component;
      armed = false;
    }
  }
  return at == attrs.size();
}

TEST(Names, ContainAttrsInEveryShortText) {
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; texts[i].size() < 6; ++i) {
    for (const char c : {'a', ',', '"', '\\'}) {
      texts.push_back(texts[i] + c);
    }
  }
  int contained = 0;
  for (const std::string& dn : texts) {
    for (std::size_t i = 0; texts[i].size() < 4; ++i) {
      const bool expected = contains(dn, texts[i]);
      ASSERT_EQ(printable_dn_contain_attrs(dn.c_str(), texts[i].c_str()), expected)
          << texts[i] << " in " << dn;
      contained += expected;
    }
  }
  EXPECT_GT(contained, 1000);
}

TEST(Names, ReverseTwice) {
  const char* rdns[] = {"C=R", " O=b ", "\t CN= a+SN=b", R"(L="x,y"+ ST=\")", R"(OU=a\,b)", "T="};
  for (int i = 0; i < 6 * 6 * 6; ++i) {
    const std::string a = rdns[i % 6], b = rdns[i / 6 % 6], c = rdns[i / 36];
    EXPECT_EQ(reverse("", a + "," + b), b + "," + a);
    EXPECT_EQ(reverse("", a + "," + b + "," + c), c + "," + b + "," + a);
  }
}

// Whether a value is text follows from its identifier alone; empty wide strings are refused (D31).
TEST(Names, EveryIdentifier) {
  const std::string strings = from_hex("0C 12 13 14 16 1C 1E");
  for (unsigned tag = 0; tag < 0x100; ++tag) {
    const std::string value = der(static_cast<unsigned char>(tag), "");
    const bool is_string = strings.find(value[0]) != std::string::npos;
    const bool converted = tag == 0x1C || tag == 0x1E;
    EXPECT_EQ(decode(exact_t(common_name(value))),
              converted   ? "!>CN="
              : is_string ? ">CN="
                          : ">CN=#" + to_hex(value.substr(0, 1)) + "00");
  }
}

// As it stands, behind a backslash, as two digits behind one, and back from DER (D27, D29, D37).
TEST(Names, EveryByteOfAValue) {
  for (unsigned byte = 1; byte < 0x100; ++byte) {
    const std::string c(1, static_cast<char>(byte));
    const bool special = std::strchr("\"#+,;<=>\\", c[0]) != nullptr;
    const bool printable = byte < 0x80 && (std::isalnum(static_cast<int>(byte)) != 0 ||
                                           std::strchr(" '()+,-./:=?", c[0]) != nullptr);
    const std::string value = der(printable ? 0x13 : byte < 0x80 ? 0x16 : 0x0C, "a" + c + "b");
    const std::string expected = to_hex(common_name(value));
    EXPECT_EQ(encode("CN=a\\" + to_hex(c) + "b"), expected);
    EXPECT_EQ(encode("CN=a" + c + "b"), special ? "!" : expected);
    EXPECT_EQ(encode("CN=a\\" + c + " b") != "!", special);
    EXPECT_EQ(decode(exact_t(common_name(value))), ">CN=a" + (special ? "\\" + c : c) + "b");
  }
}

// Through every room that a builder has, and 10,000 RDNs in both orders.
TEST(Names, Long) {
  for (const unsigned size : {127, 128, 240, 255, 256, 257, 320, 512, 1024, 0xFFFF, 0x10000}) {
    const std::string value(size, 'a');
    EXPECT_EQ(encode("CN=" + value), to_hex(common_name(der(0x13, value)))) << size;
  }
  std::string text, rdns;
  for (unsigned i = 0; i < 10000; ++i) {
    const std::string value = std::to_string(i);
    text += (i == 0 ? "CN=" : ",CN=") + value;
    rdns += common_name(der(0x13, value)).substr(2);
  }
  const std::string name = der(0x30, rdns);
  EXPECT_EQ(encode(text), to_hex(name));
  EXPECT_EQ(decode(exact_t(name)), ">" + text);
  EXPECT_EQ(decode(exact_t(name), DN_ORDER_REVERSE), ">" + reverse("", text));
}

// What still reads gives a text that is stable from its first normal form on (up to a zero byte,
// which ends a text).
TEST(Names, Damaged) {
  int stable = 0;
  const auto check = [&stable](const exact_t& name) {
    const std::string text = decode(name);
    ASSERT_LE(text.size(), 4 * name.size() + 2);
    ASSERT_EQ(decode(name, DN_ORDER_REVERSE)[0], text[0]);
    std::string normal, again;
    if (text[0] == '>' && text.find('\0') == std::string::npos &&
        printable_dn_normalize(text.substr(1), normal, nullptr, default_map)) {
      ASSERT_TRUE(printable_dn_normalize(normal, again, nullptr, default_map)) << text;
      ASSERT_EQ(again, normal) << text;
      ++stable;
    }
  };
  for_each_damaged(
      der_text("30(31(30(06(550406) 13(5255))) 31(30(06(55040A) 14(01C2)) 30(06(2A03) 1A(41))))"),
      check);
  for_each_damaged(der_text("30(31(30(06(550403) 1E(04100031))) 31(30(06(55040B) 12(31))))"),
                   check);
  for_each_damaged(der_text("30(31(30(06(550403) 1C(00000410)) 30(06(550408) 0C(23C3A9))))"),
                   check);
  EXPECT_GT(stable, 1000);
}

}  // namespace
