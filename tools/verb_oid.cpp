// pkider oid: an object identifier in every form, from any of them.

#include <cctype>
#include <iostream>
#include <memory>

#include <pkider/asn_helper.h>
#include <pkider/asn_tag.h>

#include "asn_cursor.h"
#include "bytes.h"
#include "known_oids.h"
#include "messages.h"
#include "oid_names.h"
#include "text.h"
#include "verbs.h"

namespace {

// Content octets; empty stands for none.
using oid_t = std::string;

oid_t from_view(const unsigned char* data, unsigned count) {
  return to_string({count, data});
}

oid_t from_dotted(const std::string& text) {
  unsigned char buffer[512];
  return from_view(buffer, oid_str_to_asn_(text.data(), text.data() + text.size(), buffer));
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

std::string dotted_text(const oid_t& oid) {
  std::string text;
  return oid_asn_to_str_(bytes(oid), bytes(oid) + oid.size(), text) ? text : "";
}

// An argument that is a name and hexadecimal too (DC) is the name.
oid_t parse(const std::string& text) {
  for (const auto form : {from_dotted, from_name, from_hex}) {
    oid_t oid = form(text);
    if (!dotted_text(oid).empty()) {
      return oid;
    }
  }
  throw input_error_t(text, "neither an object identifier nor a known name");
}

void show(const oid_t& oid) {
  const std::string dotted = dotted_text(oid);
  const asn_tag_t_<64> element(asn_tag_t::OID, oid.data(), size32(oid));
  print_field("oid", dotted);
  print_field("der", hex({element.encoded_size(), element.encoded()}, ' '));
  if (const OIDdescr_t* entry = oid_map_find_asn(oid_map(), bytes(oid), size32(oid))) {
    print_field("short name", entry->oid_sn);
    print_field("long name", entry->oid_ln);
  }
  for (const IntToString* row = I2S_PKI_ALG_T; row->name != nullptr; ++row) {
    const pki_oid_ref_t found = oid_of(static_cast<pki_alg_t>(row->value));
    if (from_view(found.data, found.size) == oid) {
      print_field("algorithm", row->name);
    }
  }
  if (const std::string_view name = known_oid_name(dotted); !name.empty()) {
    print_field("known as", std::string(name));
  }
}

}  // namespace

void add_oid_verb(CLI::App& app) {
  const auto oids = std::make_shared<std::vector<std::string>>();
  CLI::App* verb = app.add_subcommand("oid", "Show object identifiers as text, DER and names");
  verb->add_option("OID", *oids,
                   "Dotted text, hexadecimal DER, or a name (quote those with blanks)")
      ->required();
  verb->callback([oids] {
    bool first = true;
    for (const std::string& text : *oids) {
      attempt([&] {
        const oid_t oid = parse(text);
        std::cout << (first ? "" : "\n");
        first = false;
        show(oid);
      });
    }
  });
}
