// pkider oid: an object identifier in every form, from any of them.

#include <cctype>
#include <string>
#include <string_view>

#include <pkider/asn_helper.h>
#include <pkider/asn_tag.h>

#include "asn_cursor.h"
#include "bytes.h"
#include "known_oids.h"
#include "messages.h"
#include "oid_map.h"
#include "oid_names.h"
#include "record.h"
#include "text.h"
#include "verbs.h"

namespace {

// Content octets; empty stands for none.
using oid_t = std::string;

oid_t from_view(const unsigned char* data, unsigned count) {
  return to_string({count, data});
}

// The library takes any second arc, and so would read 0.40 as 1.0.
void check_second_arc(const std::string& text) {
  constexpr unsigned max_after_2 = 0xFFFFFFFF - 80;
  unsigned second = 0;
  const char* at = text.data() + text.find('.') + 1;
  str_to_uint32_(at, text.data() + text.size(), '.', second);
  if (second > (text.substr(0, text.find('.')).back() == '2' ? max_after_2 : 39)) {
    throw input_error_t(text, "the second number is at most 39 after 0 or 1, and " +
                                  std::to_string(max_after_2) + " after 2");
  }
}

oid_t from_dotted(const std::string& text) {
  unsigned char buffer[512];
  const unsigned size = oid_str_to_asn_(text.data(), text.data() + text.size(), buffer);
  if (size != 0) {
    check_second_arc(text);
  }
  return from_view(buffer, size);
}

oid_t from_map(const OIDdescr_t* entry) {
  return entry == nullptr ? oid_t() : from_view(entry->oid_asn, entry->oid_asn_size);
}

// The OID of an algorithm code; {null, 0} when it has none.
pki_oid_ref_t oid_of(pki_alg_t alg) {
  for (const auto lookup : {PKI_HASH_ALG_TO_OID, PKI_KEY_ALG_TO_OID, PKI_CERT_SIGN_ALG_TO_OID}) {
    const pki_oid_ref_t* oid = lookup(alg);
    if (oid->size != 0) {
      return *oid;
    }
  }
  return {nullptr, 0};
}

oid_t from_name(const std::string& text) {
  oid_t oid = from_map(oid_map_find_sn(oid_map(), text.data(), size32(text)));
  if (oid.empty()) {
    oid = from_map(find_long_name(text));
  }
  if (oid.empty()) {
    const pki_oid_ref_t found = oid_of(I2S_PKI_ALG_T->getInt(text.c_str(), 0));
    oid = from_view(found.data, found.size);
  }
  return oid.empty() ? from_dotted(std::string(known_oid_by_name(text))) : oid;
}

// Hexadecimal digits, in pairs that blanks or colons may separate, give a whole OBJECT IDENTIFIER
// element or else its content octets.
oid_t from_hex(const std::string& text) {
  const auto is_digit = [&](std::size_t i) {
    return i < text.size() && std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
  };
  oid_t der;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    while (!der.empty() && (text[i] == ' ' || text[i] == ':')) {
      ++i;
    }
    if (!is_digit(i) || !is_digit(i + 1)) {
      return {};
    }
    der += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
  }
  asn_iter_t cur = asn1_iter_(view(der));
  asn_iter_t content;
  const bool element = asn1_read_tag_i_(asn_tag_t::OID, &cur, &content) && cur.len == 0;
  return element ? from_view(content.ptr, content.len) : der;
}

// An argument that is a name and hexadecimal too (DC) is the name.
oid_t parse(const std::string& text) {
  for (const auto form : {from_dotted, from_name, from_hex}) {
    oid_t oid = form(text);
    if (!dotted_oid(view(oid)).empty()) {
      return oid;
    }
  }
  throw input_error_t(text, "neither an object identifier nor a known name");
}

record_t show(const oid_t& oid) {
  record_t record;
  const std::string dotted = dotted_oid(view(oid));
  const asn_tag_t_<64> element(asn_tag_t::OID, oid.data(), size32(oid));
  record.add("oid", dotted);
  std::string in_names;
  oid_asn_to_str_(bytes(oid), bytes(oid) + oid.size(), in_names);
  if (in_names != dotted) {
    record.add("in names", in_names);
  }
  record.add("der", hex({element.encoded_size(), element.encoded()}, ' '),
             hex({element.encoded_size(), element.encoded()}));
  if (const OIDdescr_t* entry = oid_map_find_asn(oid_map(), bytes(oid), size32(oid))) {
    record.add("short name", entry->oid_sn);
    record.add("long name", entry->oid_ln);
  }
  record_t::list_t algorithms;
  for (const IntToString* row = I2S_PKI_ALG_T; row->name != nullptr; ++row) {
    const pki_oid_ref_t found = oid_of(static_cast<pki_alg_t>(row->value));
    if (from_view(found.data, found.size) == oid) {
      algorithms.emplace_back(row->name);
    }
  }
  record.add_lines("algorithm", algorithms);
  if (const std::string_view name = known_oid_name(dotted); !name.empty()) {
    record.add("known as", std::string(name));
  }
  return record;
}

}  // namespace

void show_oids(const oid_options_t& options) {
  for (const std::string& text : options.oids) {
    attempt([&] { print(show(parse(text))); });
  }
}
