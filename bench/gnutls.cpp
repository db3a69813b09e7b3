// The cases of GnuTLS, and of libtasn1 underneath it for what GnuTLS does not export.

#include <gnutls/abstract.h>
#include <gnutls/gnutls.h>
#include <gnutls/pkcs12.h>
#include <gnutls/x509.h>
#include <libtasn1.h>

#include "cases.h"
#include "samples.h"

namespace {

constexpr const char* gnutls = "GnuTLS";
constexpr const char* libtasn1 = "libtasn1";

void require_ok(int result, const char* call) {
  require(result >= 0, call);
}

gnutls_datum_t datum(const bytes_t& bytes) {
  return {const_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

std::size_t freed_size(gnutls_datum_t& data) {
  gnutls_free(data.data);
  return data.size;
}

// ---- W1 ----

std::size_t walk(const unsigned char* p, int n) {
  std::size_t elements = 0;
  while (n != 0) {
    unsigned char cls = 0;
    int tag_size = 0;
    int length_size = 0;
    unsigned long tag = 0;
    require(asn1_get_tag_der(p, n, &cls, &tag_size, &tag) == ASN1_SUCCESS, "asn1_get_tag_der");
    const long size = asn1_get_length_der(p + tag_size, n - tag_size, &length_size);
    require(size >= 0, "asn1_get_length_der");
    const unsigned char* content = p + tag_size + length_size;
    ++elements;
    if ((cls & ASN1_CLASS_STRUCTURED) != 0) {
      elements += walk(content, static_cast<int>(size));
    }
    n -= tag_size + length_size + static_cast<int>(size);
    p = content + size;
  }
  return elements;
}

// ---- W2 and W3 ----

std::size_t print(const bytes_t& der, unsigned flags) {
  gnutls_x509_dn_t name = nullptr;
  const gnutls_datum_t data = datum(der);
  gnutls_datum_t text{};
  require_ok(gnutls_x509_dn_init(&name), "gnutls_x509_dn_init");
  require_ok(gnutls_x509_dn_import(name, &data), "gnutls_x509_dn_import");
  require_ok(gnutls_x509_dn_get_str2(name, &text, flags), "gnutls_x509_dn_get_str2");
  gnutls_x509_dn_deinit(name);
  return freed_size(text);
}

bool parse(const std::string& text, gnutls_datum_t& der) {
  gnutls_x509_dn_t name = nullptr;
  require_ok(gnutls_x509_dn_init(&name), "gnutls_x509_dn_init");
  const bool parsed = gnutls_x509_dn_set_str(name, text.c_str(), nullptr) >= 0 &&
                      gnutls_x509_dn_export2(name, GNUTLS_X509_FMT_DER, &der) >= 0;
  gnutls_x509_dn_deinit(name);
  return parsed;
}

std::size_t parse_name(const std::string& text) {
  gnutls_datum_t der{};
  require(parse(text, der), "gnutls_x509_dn_set_str");
  return freed_size(der);
}

std::size_t print_direct(const bytes_t& der) {
  return print(der, GNUTLS_X509_DN_FLAG_COMPAT);
}

std::size_t print_reverse(const bytes_t& der) {
  return print(der, 0);
}

// The text in the order that GnuTLS takes: last RDN first.
std::vector<std::string> accepted(const std::vector<name_t>& names) {
  std::vector<std::string> texts;
  for (const name_t& name : names) {
    gnutls_datum_t der{};
    if (parse(name.reverse_text, der)) {
      texts.push_back(name.reverse_text);
      gnutls_free(der.data);
    }
  }
  return texts;
}

void add_names(const samples_t& samples, cases_t& cases) {
  constexpr std::size_t most_rdns = 1000;  // beyond, one call takes seconds
  const char* print_note = "RFC 4514: unknown types and their values in hexadecimal";
  const char* parse_note = "UTF8String for every value; the names it accepts";
  const std::size_t names = samples.names.size();
  add_each(cases, {"W2-direct", "names", names}, gnutls, samples.names, print_direct, print_note);
  add_each(cases, {"W2-reverse", "names", names}, gnutls, samples.names, print_reverse, print_note);
  static const std::vector<std::string> plain = accepted(samples.plain_names);
  add_each(cases, {"W3", "names", plain.size()}, gnutls, plain, parse_name, parse_note);
  for (const name_t& name : samples.generated_names) {
    const std::size_t rdns = name.attributes.size();
    const std::string input = std::to_string(rdns);
    if (rdns > most_rdns) {
      break;
    }
    add_one(cases, {"W2-direct", input, rdns}, gnutls, name.der, print_direct, print_note);
    add_one(cases, {"W2-reverse", input, rdns}, gnutls, name.der, print_reverse, print_note);
    add_one(cases, {"W3", input, rdns}, gnutls, name.reverse_text, parse_name, parse_note);
  }
}

// ---- W4 ----

// The results of both are counted without the identifier and the length, one byte each.
std::size_t oid_to_der(const std::string& text) {
  unsigned char der[512];
  int size = sizeof(der);
  require(asn1_object_id_der(text.c_str(), der, &size, 0) == ASN1_SUCCESS, "asn1_object_id_der");
  return static_cast<std::size_t>(size - 2);
}

// libtasn1 takes the element from its length on.
std::size_t oid_to_text(const bytes_t& oid) {
  char text[512];
  int read = 0;
  require(asn1_get_object_id_der(oid.data() + 1, static_cast<int>(oid.size()) - 1, &read, text,
                                 sizeof(text)) == ASN1_SUCCESS,
          "asn1_get_object_id_der");
  return std::char_traits<char>::length(text);
}

// ---- W5 ----

std::size_t read_bag(gnutls_pkcs12_bag_t bag, unsigned index) {
  gnutls_datum_t value{};
  gnutls_datum_t key_id{};
  char* name = nullptr;
  require_ok(gnutls_pkcs12_bag_get_data(bag, index, &value), "gnutls_pkcs12_bag_get_data");
  require_ok(gnutls_pkcs12_bag_get_key_id(bag, index, &key_id), "gnutls_pkcs12_bag_get_key_id");
  require_ok(gnutls_pkcs12_bag_get_friendly_name(bag, index, &name),
             "gnutls_pkcs12_bag_get_friendly_name");
  return 2 * std::char_traits<char>::length(name) + key_id.size;
}

std::size_t read_container(const container_t& container) {
  gnutls_pkcs12_t pfx = nullptr;
  gnutls_pkcs12_bag_t bag = nullptr;
  const gnutls_datum_t data = datum(container.der);
  require_ok(gnutls_pkcs12_init(&pfx), "gnutls_pkcs12_init");
  require_ok(gnutls_pkcs12_bag_init(&bag), "gnutls_pkcs12_bag_init");
  require_ok(gnutls_pkcs12_import(pfx, &data, GNUTLS_X509_FMT_DER, 0), "gnutls_pkcs12_import");
  require_ok(gnutls_pkcs12_get_bag(pfx, 0, bag), "gnutls_pkcs12_get_bag");
  std::size_t sum = 0;
  const int bags = gnutls_pkcs12_bag_get_count(bag);
  for (int i = 0; i < bags; ++i) {
    sum += read_bag(bag, static_cast<unsigned>(i));
  }
  gnutls_pkcs12_bag_deinit(bag);
  gnutls_pkcs12_deinit(pfx);
  return sum;
}

// Reading only: it writes no container without computing the MAC.
void add_containers(const samples_t& samples, cases_t& cases) {
  constexpr std::size_t most_bags = 32;  // GnuTLS refuses more in one SafeContents
  for (const container_t& container : samples.containers) {
    const std::size_t bags = container.bags.size();
    if (bags > most_bags) {
      break;
    }
    add_one(cases, {"W5-read", std::to_string(bags), bags}, gnutls, container, read_container);
  }
}

// ---- W6 ----

std::size_t read_rsa_key(const bytes_t& der) {
  gnutls_pubkey_t key = nullptr;
  gnutls_datum_t modulus{};
  gnutls_datum_t exponent{};
  const gnutls_datum_t data = datum(der);
  require_ok(gnutls_pubkey_init(&key), "gnutls_pubkey_init");
  require_ok(gnutls_pubkey_import(key, &data, GNUTLS_X509_FMT_DER), "gnutls_pubkey_import");
  require_ok(gnutls_pubkey_export_rsa_raw2(key, &modulus, &exponent, GNUTLS_EXPORT_FLAG_NO_LZ),
             "gnutls_pubkey_export_rsa_raw2");
  gnutls_pubkey_deinit(key);
  require(freed_size(exponent) != 0, "gnutls_pubkey_export_rsa_raw2");
  return freed_size(modulus);
}

// ---- W7 ----

std::size_t short_name(const std::string& oid) {
  return gnutls_x509_dn_oid_name(oid.c_str(), GNUTLS_X509_DN_OID_RETURN_OID) != nullptr;
}

}  // namespace

// ---- All cases ----

void add_gnutls(const samples_t& samples, cases_t& cases) {
  add_each(cases, {"W1", "certificates", samples.elements}, libtasn1, samples.certificates,
           [](const bytes_t& der) { return walk(der.data(), static_cast<int>(der.size())); });
  add_names(samples, cases);
  const std::size_t oids = samples.oids.size();
  add_each(cases, {"W4-to-der", "oids", oids}, libtasn1, samples.oid_text, oid_to_der);
  add_each(cases, {"W4-to-text", "oids", oids}, libtasn1, samples.oids, oid_to_text);
  add_containers(samples, cases);
  add_each(cases, {"W6", "keys", samples.rsa_keys.size()}, gnutls, samples.rsa_keys, read_rsa_key);
  const std::size_t types = samples.attribute_types.size();
  add_each(cases, {"W7", "types", types}, gnutls, samples.attribute_type_text, short_name,
           "from dotted text, not from DER");
}
