// Element headers, the cursor, INTEGERs.

#include <pkider/asn_reader.h>

#include "asn_cursor.h"
#include "rows.h"

namespace {

constexpr unsigned untouched = 0xDEADBEEF;

template <class Step>
std::string elements(const row_t& row, asn_tag_t::Type type, const Step& step) {
  const exact_t in(from_hex(row.input));
  unsigned len = untouched;
  const unsigned char* const content_at = asn1_read_tag(type, in.data(), in.size(), &len);
  const auto size = content_at == nullptr ? 0 : content_at - in.data();
  std::string text = len == untouched ? "no" : std::to_string(size) + "/" + std::to_string(len);
  asn_iter_t cursor{in.data(), in.size()}, content;
  while (step(&cursor, &content)) {
    text += "[" + to_hex(content.ptr, content.len) + "]";
  }
  EXPECT_EQ(content.ptr, nullptr);
  return text + "(" + to_hex(cursor.ptr, cursor.len) + ")";
}

std::string read(const row_t& row) {
  const auto type = static_cast<asn_tag_t::Type>(std::stoul(row.argument, nullptr, 16));
  return elements(row, type, [type](auto* cursor, auto* content) {
    return asn1_read_tag_i_(type, cursor, content);
  });
}

std::string of_class(const row_t& row) {
  constexpr unsigned char identifiers[] = {0x20, 0x60, 0xA0, 0xE0, 0x80};
  const auto cls = static_cast<asn_tag::Class>(row.argument[0] - '0');
  return elements(row, asn_tag_t::Type{identifiers[cls]}, [cls](auto* cursor, auto* content) {
    return asn1_read_tag_i_(cls, 0, cursor, content);
  });
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
  run_rows(rows_t("elements.txt"),
           {{"read", read}, {"class", of_class}, {"write", write}, {"integer", integer}});
}

}  // namespace
