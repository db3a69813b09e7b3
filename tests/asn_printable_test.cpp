// Distinguished names: the syntax of the text, DER to text, text to DER, and the normal form.

#include <cstring>

#include <pkider/asn_printable.h>

#include "dn_splitter.h"
#include "rows.h"

namespace {

const oid_map_handle_t default_map = OID_MAP_HANDLE_DEFAULT;

std::string answer(bool ok, const std::string& text) {
  return (ok ? "" : "!") + text;
}

// The map that a row asks for.
oid_map_handle_t map_of(const std::string& name) {
  static const std::string text =
      "1.2.643.2.2.9 = HASH\n1.2.3.4 = 1.2.4\n1.2.5 =\n1.2.6 = " + std::string(600, 'n');
  static const oid_map_handle_t own = oid_map_parse(text.data(), view(text).size);
  return name[0] == 'n' ? nullptr : name[0] == 'o' ? own : default_map;
}

std::string common_name(const std::string& value) {
  return der(0x30, der(0x31, der(0x30, from_hex("06 03 55 04 03") + value)));
}

std::string decode(const std::string& der, PrintableDnOrder order = DN_ORDER_DIRECT,
                   oid_map_handle_t names = default_map) {
  const exact_t name(der);
  std::string out = ">";
  return answer(asn_dn_to_printable(name.data(), name.size(), out, order, names), out);
}

std::string encode(const std::string& dn, oid_map_handle_t names = default_map) {
  std::string name = "old";
  const bool ok = printable_to_asn_dn(dn.c_str(), name, names);
  EXPECT_TRUE(ok || name == "old") << dn;
  return ok ? to_hex(name) : "!";
}

std::string split(const row_t& row) {
  std::vector<RDNdescr_t> found;
  const bool ok = printable_dn_parse(row.input.c_str(), found);
  std::string text;
  for (const RDNdescr_t& one : found) {
    text += (one.plus_joined ? "+" : "/") + std::string(one.name_begin, one.name_end) + ":" +
            std::string(one.value_begin, one.value_end);
  }
  return ok ? text : "!";
}

std::string get(const row_t& row) {
  std::string out = ">";
  const auto mode = static_cast<PrintableDnGetAttr>(row.argument[0] - '0');
  return answer(printable_dn_get_attr(row.input.c_str(), row.argument.substr(2).c_str(), out, mode),
                out);
}

std::string reverse(std::string text) {
  const char* reversed = printable_dn_reverse(text.data());
  return answer(reversed == text.data(), text);
}

std::string oid(const row_t& row) {
  const exact_t input(from_hex(row.input));
  std::string out = ">";
  const bool with_oid = !row.argument.empty() && row.argument.back() == ')';
  return answer(
      asn_oid_to_printable(input.data(), input.size(), out, with_oid, map_of(row.argument)), out);
}

// The result may replace the text, and normalising it again changes nothing.
std::string normalize(const std::string& dn) {
  std::string out = "old", in_place = dn;
  const bool ok = printable_dn_normalize(dn, out, nullptr, default_map);
  EXPECT_EQ(printable_dn_normalize(in_place, in_place, nullptr, default_map), ok);
  EXPECT_EQ(in_place, out == "old" ? dn : out);
  EXPECT_TRUE(!ok ||
              (printable_dn_normalize(out, in_place, nullptr, default_map) && in_place == out));
  return answer(ok, out);
}

template <PrintableDnOrder Order>
std::string decode(const row_t& row) {
  return decode(from_hex(row.input), Order, map_of(row.argument));
}

TEST(Names, Rows) {
  run_rows(rows_t("names.txt"),
           {{"split", split},
            {"get", get},
            {"oid", oid},
            {"reverse", [](auto& row) { return reverse(row.input); }},
            {"normalize", [](auto& row) { return normalize(row.input); }},
            {"direct", decode<DN_ORDER_DIRECT>},
            {"last-first", decode<DN_ORDER_REVERSE>},
            {"other", decode<PrintableDnOrder{2}>},
            {"encode",
             [](auto& row) {
               const std::string got = encode(row.input, map_of(row.argument));
               const bool right = got != "!" && got == to_hex(from_hex(row.expected));
               return right ? row.expected : got;
             }},
            {"before",
             [](auto& row) { return answer(printable_dn_C_before_CN(row.input.c_str()), ""); }},
            {"contain", [](auto& row) {
               return answer(printable_dn_contain_attrs(row.input.c_str(), row.argument.c_str()),
                             "");
             }}});
}

// A value's identifier says whether it is text. Empty wide strings are refused (Q31).
TEST(Names, EveryIdentifierOfAnEmptyValue) {
  constexpr unsigned char strings[] = {0x0C, 0x12, 0x13, 0x14, 0x16, 0x1C, 0x1E};
  for (unsigned tag = 0; tag < 0x100; ++tag) {
    const std::string value = der(static_cast<unsigned char>(tag), "");
    const bool is_string = std::count(std::begin(strings), std::end(strings), tag) != 0;
    const std::string shown = is_string ? "" : "#" + to_hex(value).erase(2, 1);
    EXPECT_EQ(decode(common_name(value)), (is_string && tag >= 0x1C ? "!>CN=" : ">CN=") + shown);
  }
}

// As two digits after a backslash, and back from DER (Q27, Q29, Q37).
TEST(Names, EveryByteOfAValue) {
  for (unsigned byte = 1; byte < 0x100; ++byte) {
    const std::string c(1, static_cast<char>(byte));
    const bool special = std::strchr("\"#+,;<=>\\", c[0]) != nullptr;
    const bool printable = byte < 0x80 && (std::isalnum(static_cast<int>(byte)) != 0 ||
                                           std::strchr(" '()+,-./:=?", c[0]) != nullptr);
    const std::string name = common_name(der(printable ? 0x13 : byte < 0x80 ? 0x16 : 0x0C, c));
    EXPECT_EQ(encode("CN=\\" + to_hex(c)), to_hex(name));
    EXPECT_EQ(decode(name), ">CN=" + (special ? "\\" + c : c));
  }
}

}  // namespace
