// Names from DER to text, in both orders, and on to DER again; the same bytes as an OID element,
// and as pieces of a name.

#include <pkider/asn_printable.h>

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
  std::string direct, reverse;
  asn_oid_to_printable(der.data(), der.size(), direct, true, map);
  law(print(der, DN_ORDER_DIRECT, map, direct) == print(der, DN_ORDER_REVERSE, map, reverse));
}

// The text of a name made of pieces is what the rules say, and leads to the same values.
void check_known(model::pieces_t pieces) {
  constexpr unsigned char tags[] = {0x0C, 0x12, 0x13, 0x14, 0x16, 0x1C, 0x1E, 0x1A};
  model::name_t name;
  bool valid = true, whole = true;
  while (pieces.more()) {
    model::attribute_t& a = model::add_attribute(name, pieces);
    const unsigned char tag = tags[pieces.number() % 8];
    // For a prefix at the end.
    const std::string octets = pieces.piece() + (tag == 0x14 ? " " : "");
    const model::text_t value = model::to_utf8(tag, octets);
    valid = valid && value;
    whole = whole && value && value->find('\0') == std::string::npos;
    const std::string shown = value.value_or("");
    a.value = der(tag, octets);
    a.reread = tag == 0x1A ? a.value : model::encode_text(shown);
    a.text = tag == 0x1A ? "#" : model::escape(shown);
    for (const char c : tag == 0x1A ? a.value : "") {
      a.text += to_hex(&c, 1);
    }
  }
  const exact_t encoded(model::encode_name(name, &model::attribute_t::value));
  std::string direct, reverse, again;
  law(print(encoded, DN_ORDER_DIRECT, OID_MAP_HANDLE_DEFAULT, direct) == valid);
  law(print(encoded, DN_ORDER_REVERSE, OID_MAP_HANDLE_DEFAULT, reverse) == valid);
  if (valid) {
    law(direct == model::print_name(name, false) && reverse == model::print_name(name, true));
    law(!whole || printable_to_asn_dn(direct.c_str(), again, OID_MAP_HANDLE_DEFAULT));
    law(!whole || again == model::encode_name(name, &model::attribute_t::reread));
  }
}

}  // namespace

int harness_name_to_text(const std::uint8_t* data, std::size_t size) {
  const exact_t der(text_of(data, size));
  check(der, OID_MAP_HANDLE_DEFAULT);
  check(der, nullptr);
  check_known(model::pieces_t(text_of(data, size)));
  return 0;
}
