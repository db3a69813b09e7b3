// Names from DER to text, in both orders, and on to DER again; the same bytes as an OID element.

#include <pkider/asn_printable.h>

#include "laws.h"

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

}  // namespace

int harness_name_to_text(const std::uint8_t* data, std::size_t size) {
  const exact_t der(text_of(data, size));
  check(der, OID_MAP_HANDLE_DEFAULT);
  check(der, nullptr);
  return 0;
}
