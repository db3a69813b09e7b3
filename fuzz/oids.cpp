// OIDs and map text. Every input is tried as DER content octets, as dotted text and as a map.

#include <pkider/asn_oidmap.h>

#include "model.h"

namespace {

// As text, and the OID of these octets as text.
void check_codec(const exact_t& input) {
  unsigned char out[512];
  const unsigned size = oid_str_to_asn_(input.text(), input.text() + input.size(), out);
  law(std::string(out, out + size) == model::encode_oid(input.bytes()));
  std::string text = "~";
  bool whole = false;
  const std::string expected = model::print_oid(input.bytes(), whole);
  law(oid_asn_to_str_(input.data(), input.data() + input.size(), text) == whole);
  law(text == '~' + expected);
}

// What is found is the first entry with this key.
void check_found(const OIDdescr_t* found, const std::list<model::entry_t>& entries,
                 std::string model::entry_t::*key, const std::string& wanted) {
  const auto first = std::find_if(entries.begin(), entries.end(),
                                  [&](const auto& entry) { return entry.*key == wanted; });
  law((found == nullptr) == (first == entries.end()));
  // The strings with the zero bytes at their ends.
  law(found == nullptr ||
      (std::string(found->oid_asn, found->oid_asn + found->oid_asn_size) == first->oid &&
       std::string(found->oid_str, found->oid_str_size + 1) == first->dotted + '\0' &&
       std::string(found->oid_sn, found->oid_sn_size + 1) == first->short_name + '\0' &&
       std::string(found->oid_ln, found->oid_ln_size + 1) == first->long_name + '\0'));
}

void check_lookups(oid_map_handle_t map, const std::list<model::entry_t>& entries,
                   const std::string& key) {
  using entry_t = model::entry_t;
  const exact_t input(key);
  check_found(oid_map_find_asn(map, input.data(), input.size()), entries, &entry_t::oid, key);
  check_found(oid_map_find_str(map, input.text(), input.size()), entries, &entry_t::dotted, key);
  if (key.find('\0') == key.npos) {  // nothing is compared after a zero byte
    check_found(oid_map_find_sn(map, input.text(), input.size()), entries, &entry_t::short_name,
                model::upper(key));
  }
}

// Looks up every key that is there, each a little changed, and every word of the text.
void check_map(const exact_t& input) {
  const oid_map_handle_t map = oid_map_parse(input.text(), input.size());
  const std::list<model::entry_t> entries = model::parse_map(input.bytes());
  for (const model::entry_t& entry : entries) {
    for (const std::string& key : {entry.oid, entry.dotted, entry.short_name}) {
      check_lookups(map, entries, key);
      check_lookups(map, entries, key.substr(0, key.size() / 2) + 'q');
    }
  }
  const std::string text = input.bytes();
  for (std::string_view rest = text; !rest.empty();) {
    check_lookups(map, entries, std::string(take(rest, rest.find_first_of(" \r\n=,"))));
    take(rest, rest.find_first_not_of(" \r\n=,"));
  }
  oid_map_release(map);
}

}  // namespace

int harness_oids(const std::uint8_t* data, std::size_t size) {
  const exact_t input(text_of(data, size));
  check_codec(input);
  check_map(input);
  return 0;
}
