// Names from DER to text, in both orders, and on to DER again; the same bytes as an OID element,
// and as pieces of a name.

#include <pkider/asn_printable.h>

#include "laws.h"
#include "model.h"

namespace {

bool print(const exact_t& der, PrintableDnOrder order, oid_map_handle_t map, std::string& text) {
  text = "~";
  const bool printed = asn_dn_to_printable(der.data(), der.size(), text, order, map);
  law(text[0] == '~');
  text.erase(0, 1);
  return printed;
}

void check(const exact_t& der, oid_map_handle_t map) {
  std::string direct, reverse, once, twice;
  asn_oid_to_printable(der.data(), der.size(), once, true, map);
  const bool printed = print(der, DN_ORDER_DIRECT, map, direct);
  law(printed == print(der, DN_ORDER_REVERSE, map, reverse));
  // Text ends at a zero byte, but a value may hold one.
  if (!printed || direct.find('\0') != std::string::npos) {
    return;
  }
  // OIDs with a first arc above 2 and broken #hex values cannot be encoded again.
  if (printable_dn_normalize(direct, once, nullptr, map)) {
    law(printable_dn_normalize(once, twice, nullptr, map) && once == twice);
  }
  law(printable_dn_reverse(direct.data()) != nullptr && direct == reverse);
}

// "#" and two digits for each byte.
std::string hex_value(const std::string& element) {
  std::string hex = '#' + to_hex(element);
  hex.erase(std::remove(hex.begin(), hex.end(), ' '), hex.end());
  return hex;
}

// The text of a name made of pieces is what the rules say, and leads to the same values.
void check_known(model::pieces_t pieces) {
  constexpr unsigned char tags[] = {0x0C, 0x12, 0x13, 0x14, 0x16, 0x1C, 0x1E, 0x1A};
  model::name_t name;
  bool valid = true, whole = true;
  while (pieces.more()) {
    model::attribute_t& a = model::add_attribute(name, pieces);
    a.tag = tags[pieces.number() % 8];
    a.octets = pieces.piece() + (a.tag == 0x14 ? " " : "");  // for a prefix at the end
    const model::text_t value = model::to_utf8(a.tag, a.octets);
    valid = valid && value;
    whole = whole && value && value->find('\0') == std::string::npos;
    a.text = a.tag == 0x1A ? hex_value(der(a.tag, a.octets)) : model::escape(value.value_or(""));
  }
  const exact_t encoded(model::encode_name(name));
  for (const bool reverse : {false, true}) {
    std::string text;
    law(print(encoded, reverse ? DN_ORDER_REVERSE : DN_ORDER_DIRECT, OID_MAP_HANDLE_DEFAULT,
              text) == valid);
    law(!valid || text == model::print_name(name, reverse));
  }
  if (!valid || !whole) {
    return;
  }
  for (auto& rdn : name) {
    for (model::attribute_t& a : rdn) {
      if (a.tag != 0x1A) {
        a.octets = *model::to_utf8(a.tag, a.octets);
        a.tag = model::string_tag(a.octets);
      }
    }
  }
  std::string again = "~";
  law(printable_to_asn_dn(model::print_name(name, false).c_str(), again, OID_MAP_HANDLE_DEFAULT));
  law(again == model::encode_name(name));
}

}  // namespace

int harness_name_to_text(const std::uint8_t* data, std::size_t size) {
  const exact_t der(text_of(data, size));
  check(der, OID_MAP_HANDLE_DEFAULT);
  check(der, nullptr);
  check_known(model::pieces_t(text_of(data, size)));
  return 0;
}
