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

// The text of a name made of pieces is what the rules say, and leads to the same values.
void check_known(model::pieces_t pieces) {
  constexpr unsigned char tags[] = {0x0C, 0x12, 0x13, 0x14, 0x16, 0x1C, 0x1E, 0x1A};
  std::list<model::attribute_t> attributes, written;
  std::list<std::string> texts;
  bool valid = true, whole = true;
  while (pieces.more()) {
    model::attribute_t a = model::take_type(pieces);
    a.tag = tags[pieces.number() % 8];
    a.octets = pieces.piece() + (a.tag == 0x14 ? " " : "");  // for a prefix at the end
    attributes.push_back(a);
    const model::text_t value = model::to_utf8(a.tag, a.octets);
    valid = valid && value;
    whole = whole && value && value->find('\0') == std::string::npos;
    const std::string hex = to_hex(der(a.tag, a.octets)).append(" ");
    texts.push_back(a.tag == 0x1A ? "#" : model::escape(value.value_or("")));
    for (std::size_t i = 0; a.tag == 0x1A && i < hex.size(); i += 3) {
      texts.back() += hex.substr(i, 2);
    }
    if (a.tag != 0x1A && value) {
      a.octets = *value;
      a.tag = model::string_tag(*value);
    }
    written.push_back(a);
  }
  const exact_t encoded(model::encode_name(attributes));
  for (const PrintableDnOrder order : {DN_ORDER_DIRECT, DN_ORDER_REVERSE}) {
    std::string text, again = "~";
    law(print(encoded, order, OID_MAP_HANDLE_DEFAULT, text) == valid);
    law(!valid || text == model::join_names(attributes, texts, order == DN_ORDER_REVERSE));
    if (order == DN_ORDER_DIRECT && valid && whole) {
      law(printable_to_asn_dn(text.c_str(), again, OID_MAP_HANDLE_DEFAULT));
      law(again == model::encode_name(written));
    }
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
