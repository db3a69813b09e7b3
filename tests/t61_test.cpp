// T.61, the UTF-8 encoder, and the code page converter.

#include <pkider/platform.h>
#include <pkider/t61.h>

#include "rows.h"

namespace {

std::string from_t61(const row_t& row) {
  const exact_t text(from_hex(row.input));
  std::string out;
  ldap_t61s_to_utf8s(text.text(), text.size() - 1, out);
  return to_hex(out);
}

// With one byte too little, nothing is written.
std::string from_code_point(const row_t& row) {
  const auto code_point = static_cast<unsigned>(std::stoul(row.input, nullptr, 16));
  const int size = ldap_x_wc_to_utf8(nullptr, code_point, 0);
  std::string out(8, '*');
  const auto room = static_cast<unsigned>(size);
  EXPECT_EQ(ldap_x_wc_to_utf8(out.data(), code_point, room - 1), size < 0 ? -1 : 0);
  EXPECT_EQ(out, "********");
  EXPECT_EQ(ldap_x_wc_to_utf8(out.data(), code_point, room), size);
  return size < 0 ? std::to_string(size) : to_hex(out.substr(0, out.find('*')));
}

std::string from_codepage(const row_t& row) {
  const exact_t text(from_hex(row.input));
  const auto page = [&](int i) { return static_cast<codepage_t>(row.argument[i] - '0'); };
  const CodepageConverter converter(page(0), page(1));
  std::string out(converter.output_size(text.data(), text.size()), '*');
  const auto size = static_cast<unsigned>(out.size());
  EXPECT_EQ(converter.convert(text.data(), text.size(), out.data(), size), size);
  return to_hex(out);
}

TEST(T61, Rows) {
  run_rows(rows_t("t61.txt"),
           {{"t61", from_t61}, {"code-point", from_code_point}, {"pages", from_codepage}});
}

}  // namespace
