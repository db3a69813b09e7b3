// Printable names: queries, reversal, encoding, the normal form. Up to its first zero byte the
// input is a name; what follows is looked for in it. It is pieces of a name, too.

#include <pkider/asn_printable.h>

#include "model.h"

namespace {

// All of the DER is replaced or none of it; its text is a fixed point.
void check_encoding(const char* dn, oid_map_handle_t map) {
  std::string der = "~", by_product = "~", text = "~", again;
  const bool encoded = printable_to_asn_dn(dn, der, map);
  const bool decoded = printable_dn_normalize(dn, text, &by_product, map);
  law(by_product == der && (encoded || (der == "~" && text == "~" && !decoded)));
  if (decoded && text.find('\0') == std::string::npos &&
      printable_to_asn_dn(text.c_str(), der, map)) {
    law(printable_dn_normalize(text, again, nullptr, map) && again == text);
  }
}

void check_queries(const char* text, const char* other) {
  law(printable_dn_contain_attrs(text, text));
  printable_dn_contain_attrs(text, other);
  const std::string dn = text;
  std::string rdn, value;
  const bool found = printable_dn_get_attr(text, other, rdn, DN_GET_ATTR_RDN);
  law(found == printable_dn_get_attr(text, other, value, DN_GET_ATTR_VALUE));
  law(found ? dn.find(rdn) != std::string::npos : rdn.empty() && value.empty());

  std::string turned = dn;
  const bool well_formed = printable_dn_reverse(turned.data()) != nullptr;
  law(well_formed || (turned == dn && !printable_dn_C_before_CN(text)));
  // A backslash that ends the text escapes the comma that comes to stand after it.
  if (well_formed && (dn.empty() || dn.back() != '\\')) {
    law(printable_dn_reverse(turned.data()) != nullptr && turned == dn);
  }
}

// A value as text, in one of the notations that it can have.
std::string spell(const std::string& value, unsigned notation) {
  const bool plain = value.find('\0') == value.npos;
  std::string text;
  if (plain && notation % 3 == 0) {
    return model::escape(value);
  }
  if (plain && notation % 3 == 1 && value.find('\\') == value.npos) {
    return '"' + model::escape(value, "\"") + '"';
  }
  for (const char c : value) {
    text += '\\' + to_hex(&c, 1);
  }
  return text;
}

// Text made of pieces leads to the name that our own encoder makes of them.
void check_known(model::pieces_t pieces) {
  model::name_t name;
  std::string first_cn, types = ",";
  while (pieces.more()) {
    model::attribute_t& a = model::add_attribute(name, pieces);
    const unsigned notation = pieces.number();
    const std::string value = pieces.piece();
    a.value = model::encode_text(value);
    a.text = spell(value, notation);
    if (a.name == std::string("CN") && types.find(",CN,") == types.npos) {
      first_cn = a.text;
    }
    types += std::string(a.name) + ',';
  }
  std::string text = model::print_name(name, false), encoded, value = "~";
  law(printable_to_asn_dn(text.c_str(), encoded, OID_MAP_HANDLE_DEFAULT));
  law(encoded == model::encode_name(name, &model::attribute_t::value));
  const std::size_t cn = types.find(",CN,"), c = types.find(",C,");
  law(printable_dn_get_attr(text.c_str(), "CN", value, DN_GET_ATTR_VALUE) == (cn != types.npos));
  law(cn == types.npos || value == '~' + first_cn);
  law(printable_dn_C_before_CN(text.c_str()) == (c == types.npos || c < cn));
  law(printable_dn_reverse(text.data()) == text.data());
  law(text == model::print_name(name, true));
}

}  // namespace

int harness_text_to_name(const std::uint8_t* data, std::size_t size) {
  const std::string input(text_of(data, size));
  const std::string_view name = input.c_str();
  const exact_t dn({name.data(), name.size() + 1});
  const exact_t other(input.substr(std::min(name.size() + 1, size)) + '\0');
  check_queries(dn.text(), other.text());
  check_encoding(dn.text(), OID_MAP_HANDLE_DEFAULT);
  check_encoding(dn.text(), nullptr);
  check_known(model::pieces_t(text_of(data, size)));
  return 0;
}
