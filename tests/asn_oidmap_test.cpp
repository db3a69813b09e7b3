// OIDs as text and DER, and maps.

#include <pkider/asn_oidmap.h>

#include "oid_map.h"
#include "rows.h"

namespace {

// The content octets in hex; "!" when the text is refused.
std::string encode(const std::string& text) {
  const exact_t input(text);
  unsigned char out[512];
  const unsigned size = oid_str_to_asn_(input.text(), input.text() + input.size(), out);
  return size == 0 ? "!" : to_hex(out, size);
}

// The text of the content octets, after a '!' when they are refused.
std::string decode(const std::string& hex) {
  const exact_t input(from_hex(hex));
  std::string text = "=";
  const bool ok = oid_asn_to_str_(input.data(), input.data() + input.size(), text);
  return (ok ? "" : "!") + text;
}

// %XX is a byte.
std::string unescaped(std::string text) {
  for (std::size_t at = 0; (at = text.find('%', at)) != std::string::npos; ++at) {
    text.replace(at, 3, from_hex(text.substr(at + 1, 2)));
  }
  return text;
}
std::string escaped(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    text += c < 0x20 || c > 0x7E ? "%" + to_hex(&c, 1) : std::string(1, c);
  }
  return text;
}

// The places of the entries that an OID, as DER and as text, and a short name find; none is the
// place past the end.
std::string places(oid_map_handle_t map, const std::string& dotted, const std::string& name) {
  const exact_t der(from_hex(encode(dotted))), str(dotted), sn(name);
  std::string found;
  for (const OIDdescr_t* entry : {oid_map_find_asn(map, der.data(), der.size()),
                                  oid_map_find_str(map, str.text(), str.size()),
                                  oid_map_find_sn(map, sn.text(), sn.size())}) {
    const auto at = std::find_if(map->entries.begin(), map->entries.end(),
                                 [entry](const OIDdescr_t& e) { return &e == entry; });
    found += " " + std::to_string(std::distance(map->entries.begin(), at));
  }
  return found;
}

std::string show(oid_map_handle_t map, const OIDdescr_t& e) {
  const std::string sn(e.oid_sn, e.oid_sn_size), ln(e.oid_ln, e.oid_ln_size);
  return std::string(e.oid_str) + "|" + escaped(sn) + "|" + escaped(ln) +
         places(map, e.oid_str, sn) + ";";
}

std::string built_in(const row_t& row) {
  const auto& entries = OID_MAP_HANDLE_DEFAULT->entries;
  EXPECT_EQ(entries.size(), 23u);
  return show(OID_MAP_HANDLE_DEFAULT, *std::next(entries.begin(), std::stol(row.input)));
}

std::string show_map(std::string text) {
  std::replace(text.begin(), text.end(), ';', '\n');
  const exact_t in(unescaped(text));
  const oid_map_handle_t map = oid_map_parse(in.text(), in.size());
  std::string shown;
  for (const OIDdescr_t& entry : map->entries) {
    shown += show(map, entry);
  }
  oid_map_release(map);
  return shown.empty() ? "-" : shown;
}

TEST(Oids, Rows) {
  run_rows(rows_t("oids.txt"), {{"encode", [](auto& row) { return encode(row.input); }},
                                {"decode", [](auto& row) { return decode(row.input); }},
                                {"map", [](auto& row) { return show_map(row.input); }},
                                {"built-in", built_in}});
  oid_map_release(nullptr);
}

// Keys that share beginnings of up to 600 bytes, among many, and all of them once more: each finds
// its own first entry and no other.
TEST(OidMap, FindsEachOfMany) {
  std::vector<std::pair<std::string, std::string>> keys;
  std::string arcs, text;
  for (unsigned i = 0; i < 600; ++i) {
    arcs += i % 3 == 0 ? ".200" : "";
    const auto tail = std::to_string(i % 3);
    keys.emplace_back("0.5" + arcs + "." + tail, std::string(i / 3 * 3, 'X') + "Y" + tail);
    text += keys.back().first + "=" + keys.back().second + "\n";
  }
  const exact_t in(text + text);
  const oid_map_handle_t map = oid_map_parse(in.text(), in.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const auto& [dotted, name] = keys[i];
    const std::string at = " " + std::to_string(i);
    ASSERT_EQ(places(map, dotted, name), at + at + at);
    ASSERT_EQ(places(map, dotted + ".1", name + "0"), " 1200 1200 1200");
    const std::string head = name.substr(0, std::max<std::size_t>(name.size(), 16) - 16);
    ASSERT_EQ(places(map, dotted + ".1", head), " 1200 1200 1200");
  }
  oid_map_release(map);
}

}  // namespace
