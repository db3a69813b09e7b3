// OIDs and map text. Every input is tried as DER content octets, as dotted text and as a map.

#include <sstream>

#include <pkider/asn_oidmap.h>

#include "laws.h"

namespace {

std::string encode(const std::string& text) {
  unsigned char der[512];
  const unsigned size = oid_str_to_asn_(text.data(), text.data() + text.size(), der);
  law(size <= 506);
  return std::string(der, der + size);
}

// Text that encodes is printed from its DER as text that encodes to the same, unless the printer
// gives it a first arc above 2.
void check_text(const std::string& text) {
  const exact_t der(encode(text));
  std::string printed;
  law(der.size() == 0 || (oid_asn_to_str_(der.data(), der.data() + der.size(), printed) &&
                          (std::stoul(printed) > 2 || encode(printed) == der.bytes())));
}

void check_entry(oid_map_handle_t map, const OIDdescr_t* entry) {
  if (entry == nullptr) {
    return;
  }
  const std::string der(entry->oid_asn, entry->oid_asn + entry->oid_asn_size);
  const std::string names(entry->oid_sn, entry->oid_sn_size);
  law(!der.empty() && der == encode(std::string(entry->oid_str, entry->oid_str_size)));
  law(entry->oid_str[entry->oid_str_size] == 0 && entry->oid_sn[entry->oid_sn_size] == 0 &&
      entry->oid_ln[entry->oid_ln_size] == 0);
  law(std::none_of(names.begin(), names.end(), [](char c) { return c >= 'a' && c <= 'z'; }));
  law(oid_map_find_asn(map, entry->oid_asn, entry->oid_asn_size) != nullptr &&
      oid_map_find_str(map, entry->oid_str, entry->oid_str_size) != nullptr &&
      oid_map_find_sn(map, entry->oid_sn, entry->oid_sn_size) != nullptr);
}

// Looks every word of the map's own text up.
void check_map(const exact_t& input) {
  const oid_map_handle_t map = oid_map_parse(input.text(), input.size());
  std::string text = input.bytes();
  std::replace(text.begin(), text.end(), '=', ' ');
  std::replace(text.begin(), text.end(), ',', ' ');
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const exact_t key(word);
    check_entry(map, oid_map_find_str(map, key.text(), key.size()));
    check_entry(map, oid_map_find_sn(map, key.text(), key.size()));
  }
  oid_map_release(map);
}

}  // namespace

int harness_oids(const std::uint8_t* data, std::size_t size) {
  const exact_t input(text_of(data, size));
  std::string text = "~";
  const bool printed = oid_asn_to_str_(input.data(), input.data() + input.size(), text);
  law(text[0] == '~' && (printed || text.size() == 1 || text.back() == '.'));
  check_text(text.substr(1));
  check_text(std::string(text_of(data, size)));
  check_map(input);
  return 0;
}
