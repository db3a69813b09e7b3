// The cases of Botan 2.

#include <botan/asn1_obj.h>
#include <botan/ber_dec.h>
#include <botan/bigint.h>
#include <botan/der_enc.h>
#include <botan/oids.h>
#include <botan/x509_dn.h>

#include <sstream>

#include "cases.h"
#include "samples.h"

namespace {

constexpr const char* who = "Botan";

// ---- W1 ----

std::size_t walk(const unsigned char* p, std::size_t n) {
  std::size_t elements = 0;
  Botan::BER_Decoder decoder(p, n);
  while (decoder.more_items()) {
    const Botan::BER_Object object = decoder.get_next_object();
    ++elements;
    if ((object.get_class() & Botan::CONSTRUCTED) != 0) {
      elements += walk(object.bits(), object.length());
    }
  }
  return elements;
}

// ---- W2 and W3 ----

std::size_t print(const bytes_t& der) {
  Botan::X509_DN name;
  Botan::BER_Decoder(der).decode(name);
  return name.to_string().size();
}

bytes_t parse(const std::string& text) {
  std::istringstream in(text);
  Botan::X509_DN name;
  in >> name;
  bytes_t der;
  Botan::DER_Encoder(der).encode(name);
  return der;
}

std::size_t parse_name(const std::string& text) {
  return parse(text).size();
}

std::string quoted(const std::string& value) {
  std::string text;
  for (const char c : value) {
    text += c == '"' || c == '\\' ? "\\" : "";
    text += c;
  }
  return '"' + text + '"';
}

std::string text_of(const name_t& name) {
  std::string text;
  for (const attribute_t& attribute : name.attributes) {
    const std::string type = Botan::OIDS::oid2str_or_empty(Botan::OID(attribute.type_text));
    text += (text.empty() ? "" : ",") + type + "=" + quoted(attribute.value);
  }
  return text;
}

std::vector<std::string> accepted(const std::vector<name_t>& names) {
  std::vector<std::string> texts;
  for (const name_t& name : names) {
    try {
      parse(text_of(name));
      texts.push_back(text_of(name));
    } catch (const std::exception&) {
      continue;
    }
  }
  return texts;
}

void add_names(const samples_t& samples, cases_t& cases) {
  const char* print_note = "values in quotes, direct order only";
  const char* parse_note = "the names it accepts";
  add_each(cases, {"W2-direct", "names", samples.names.size()}, who, samples.names, print,
           print_note);
  static const std::vector<std::string> plain = accepted(samples.plain_names);
  add_each(cases, {"W3", "names", plain.size()}, who, plain, parse_name, parse_note);
  static const std::vector<std::string> generated = accepted(samples.generated_names);
  require(generated.size() == samples.generated_names.size(), "Botan::X509_DN");
  for (std::size_t i = 0; i < generated.size(); ++i) {
    const name_t& name = samples.generated_names[i];
    const std::size_t rdns = name.attributes.size();
    const std::string input = std::to_string(rdns);
    add_one(cases, {"W2-direct", input, rdns}, who, name.der, print, print_note);
    add_one(cases, {"W3", input, rdns}, who, generated[i], parse_name);
  }
}

// ---- W4 ----

// The results of both are counted without the identifier and the length, one byte each.
std::size_t oid_to_der(const std::string& text) {
  bytes_t der;
  Botan::DER_Encoder(der).encode(Botan::OID(text));
  return der.size() - 2;
}

Botan::OID oid_of(const bytes_t& element) {
  Botan::OID oid;
  Botan::BER_Decoder(element).decode(oid);
  return oid;
}

std::size_t oid_to_text(const bytes_t& element) {
  return oid_of(element).to_string().size();
}

// ---- W6 ----

std::size_t read_rsa_key(const bytes_t& der) {
  Botan::AlgorithmIdentifier algorithm;
  bytes_t bits;
  Botan::BigInt modulus;
  Botan::BigInt exponent;
  Botan::BER_Decoder(der)
      .start_cons(Botan::SEQUENCE)
      .decode(algorithm)
      .decode(bits, Botan::BIT_STRING)
      .end_cons();
  Botan::BER_Decoder(bits).start_cons(Botan::SEQUENCE).decode(modulus).decode(exponent).end_cons();
  require(exponent.bytes() != 0, "Botan::BigInt");
  return modulus.bytes();
}

// ---- W7 ----

std::size_t short_name(const bytes_t& element) {
  return Botan::OIDS::oid2str_or_empty(oid_of(element)).empty() ? 0 : 1;
}

}  // namespace

// ---- All cases ----

void add_botan(const samples_t& samples, cases_t& cases) {
  add_each(
      cases, {"W1", "certificates", samples.elements}, who, samples.certificates,
      [](const bytes_t& der) { return walk(der.data(), der.size()); }, "");
  add_names(samples, cases);
  const std::size_t oids = samples.oids.size();
  add_each(cases, {"W4-to-der", "oids", oids}, who, samples.oid_text, oid_to_der);
  add_each(cases, {"W4-to-text", "oids", oids}, who, samples.oids, oid_to_text);
  add_each(cases, {"W6", "keys", samples.rsa_keys.size()}, who, samples.rsa_keys, read_rsa_key,
           "numbers copied into BigInts");
  add_each(cases, {"W7", "types", samples.attribute_types.size()}, who, samples.attribute_types,
           short_name, "long names");
}
