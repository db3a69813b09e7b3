// The cases of mbed TLS 2.28.

#include <mbedtls/asn1.h>
#include <mbedtls/asn1write.h>
#include <mbedtls/bignum.h>
#include <mbedtls/oid.h>
#include <mbedtls/platform.h>
#include <mbedtls/x509.h>

#include <algorithm>
#include <iterator>

#include "cases.h"
#include "samples.h"

namespace {

constexpr const char* who = "mbed TLS";

void require_ok(int result, const char* call) {
  require(result >= 0, call);
}

// Its readers take pointers to mutable bytes and change none.
unsigned char* mutable_bytes(const unsigned char* bytes) {
  return const_cast<unsigned char*>(bytes);
}

mbedtls_asn1_buf buffer_of(const bytes_t& oid) {
  return {oid[0], oid.size() - 2, mutable_bytes(oid.data() + 2)};
}

// ---- W1 ----

std::size_t walk(unsigned char* p, const unsigned char* end) {
  std::size_t elements = 0;
  while (p != end) {
    const unsigned char identifier = *p++;
    std::size_t size = 0;
    require_ok(mbedtls_asn1_get_len(&p, end, &size), "mbedtls_asn1_get_len");
    ++elements;
    if ((identifier & MBEDTLS_ASN1_CONSTRUCTED) != 0) {
      elements += walk(p, p + size);
    }
    p += size;
  }
  return elements;
}

// ---- W2 and W3 ----

void free_rest(mbedtls_x509_name& first) {
  mbedtls_x509_name* next = first.next;
  while (next != nullptr) {
    mbedtls_x509_name* used = next;
    next = next->next;
    mbedtls_free(used);
  }
}

std::size_t print(const bytes_t& der) {
  static std::vector<char> text(1 << 20);
  unsigned char* p = mutable_bytes(der.data());
  const unsigned char* end = p + der.size();
  std::size_t size = 0;
  mbedtls_x509_name name{};
  require_ok(mbedtls_asn1_get_tag(&p, end, &size, MBEDTLS_ASN1_CONSTRUCTED | MBEDTLS_ASN1_SEQUENCE),
             "mbedtls_asn1_get_tag");
  require_ok(mbedtls_x509_get_name(&p, p + size, &name), "mbedtls_x509_get_name");
  const int written = mbedtls_x509_dn_gets(text.data(), text.size(), &name);
  require_ok(written, "mbedtls_x509_dn_gets");
  free_rest(name);
  return static_cast<std::size_t>(written);
}

int parse(const std::string& text) {
  static unsigned char der[4096];
  unsigned char* p = der + sizeof(der);
  mbedtls_asn1_named_data* names = nullptr;
  int result = mbedtls_x509_string_to_names(&names, text.c_str());
  if (result == 0) {
    result = mbedtls_x509_write_names(&p, der, names);
  }
  mbedtls_asn1_free_named_data_list(&names);
  return result;
}

std::size_t parse_name(const std::string& text) {
  const int size = parse(text);
  require_ok(size, "mbedtls_x509_string_to_names");
  return static_cast<std::size_t>(size);
}

std::string escaped(const std::string& value) {
  std::string text;
  for (const char c : value) {
    text += c == ',' ? "\\," : std::string(1, c);
  }
  return text;
}

std::string text_of(const name_t& name) {
  std::string text;
  for (const attribute_t& attribute : name.attributes) {
    const mbedtls_asn1_buf oid = buffer_of(attribute.type);
    const char* type = "?";
    mbedtls_oid_get_attr_short_name(&oid, &type);
    text += (text.empty() ? "" : ",") + std::string(type) + "=" + escaped(attribute.value);
  }
  return text;
}

std::vector<std::string> accepted(const std::vector<name_t>& names) {
  std::vector<std::string> texts;
  for (const name_t& name : names) {
    if (parse(text_of(name)) >= 0) {
      texts.push_back(text_of(name));
    }
  }
  return texts;
}

void add_names(const samples_t& samples, cases_t& cases) {
  const char* print_note = "bytes from 80 up and control characters as '?', direct order only";
  add_each(cases, {"W2-direct", "names", samples.names.size()}, who, samples.names, print,
           print_note);
  for (const name_t& name : samples.generated_names) {
    const std::size_t rdns = name.attributes.size();
    add_one(cases, {"W2-direct", std::to_string(rdns), rdns}, who, name.der, print, print_note);
  }
  // Generated names are not input for it: it keeps one attribute of each type.
  static const std::vector<std::string> texts = accepted(samples.plain_names);
  add_each(cases, {"W3", "names", texts.size()}, who, texts, parse_name,
           "keeps one attribute of each type, RDNs in reverse; the names it accepts");
}

// ---- W4 and W7 ----

std::vector<mbedtls_asn1_buf> buffers_of(const std::vector<bytes_t>& oids) {
  std::vector<mbedtls_asn1_buf> buffers;
  std::transform(oids.begin(), oids.end(), std::back_inserter(buffers), buffer_of);
  return buffers;
}

std::size_t oid_to_text(const mbedtls_asn1_buf& oid) {
  char text[512];
  const int size = mbedtls_oid_get_numeric_string(text, sizeof(text), &oid);
  require_ok(size, "mbedtls_oid_get_numeric_string");
  return static_cast<std::size_t>(size);
}

std::size_t short_name(const mbedtls_asn1_buf& oid) {
  const char* name = nullptr;
  require_ok(mbedtls_oid_get_attr_short_name(&oid, &name), "mbedtls_oid_get_attr_short_name");
  return name != nullptr;
}

// ---- W6 ----

std::size_t read_rsa_key(const bytes_t& der) {
  constexpr int sequence = MBEDTLS_ASN1_CONSTRUCTED | MBEDTLS_ASN1_SEQUENCE;
  unsigned char* p = mutable_bytes(der.data());
  const unsigned char* end = p + der.size();
  std::size_t size = 0;
  mbedtls_asn1_buf algorithm;
  mbedtls_asn1_buf parameters;
  mbedtls_mpi modulus;
  mbedtls_mpi exponent;
  mbedtls_mpi_init(&modulus);
  mbedtls_mpi_init(&exponent);
  require_ok(mbedtls_asn1_get_tag(&p, end, &size, sequence), "mbedtls_asn1_get_tag");
  require_ok(mbedtls_asn1_get_alg(&p, end, &algorithm, &parameters), "mbedtls_asn1_get_alg");
  require_ok(mbedtls_asn1_get_bitstring_null(&p, end, &size), "mbedtls_asn1_get_bitstring_null");
  require_ok(mbedtls_asn1_get_tag(&p, end, &size, sequence), "mbedtls_asn1_get_tag");
  require_ok(mbedtls_asn1_get_mpi(&p, end, &modulus), "mbedtls_asn1_get_mpi");
  require_ok(mbedtls_asn1_get_mpi(&p, end, &exponent), "mbedtls_asn1_get_mpi");
  const std::size_t size_of_modulus = mbedtls_mpi_size(&modulus);
  mbedtls_mpi_free(&modulus);
  mbedtls_mpi_free(&exponent);
  return size_of_modulus;
}

}  // namespace

// ---- All cases ----

void add_mbedtls(const samples_t& samples, cases_t& cases) {
  add_each(cases, {"W1", "certificates", samples.elements}, who, samples.certificates,
           [](const bytes_t& der) {
             unsigned char* p = mutable_bytes(der.data());
             return walk(p, p + der.size());
           });
  add_names(samples, cases);
  static const auto oids = buffers_of(samples.oids);
  add_each(cases, {"W4-to-text", "oids", oids.size()}, who, oids, oid_to_text);
  add_each(cases, {"W6", "keys", samples.rsa_keys.size()}, who, samples.rsa_keys, read_rsa_key,
           "numbers copied into MPIs");
  static const auto types = buffers_of(samples.attribute_types);
  add_each(cases, {"W7", "types", types.size()}, who, types, short_name);
}
