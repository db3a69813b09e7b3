#include <pkider/asn_reader.h>

#include "asn_cursor.h"
#include "rows.h"

namespace {

constexpr unsigned untouched = 0xDEADBEEF;

std::string read(const row_t& row) {
  const exact_t in(from_hex(row.input));
  const auto type = static_cast<asn_tag_t::Type>(std::stoul(row.argument, nullptr, 16));
  unsigned len = untouched;
  const unsigned char* const content_at = asn1_read_tag(type, in.data(), in.size(), &len);
  const auto size = content_at == nullptr ? 0 : content_at - in.data();
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

}  // namespace
