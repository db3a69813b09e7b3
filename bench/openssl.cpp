// The cases of OpenSSL 3 (libcrypto).

#define OPENSSL_SUPPRESS_DEPRECATED

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/objects.h>
#include <openssl/pkcs12.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>

#include <pkider/asn_helper.h>

#include "cases.h"
#include "samples.h"

namespace {

constexpr const char* who = "OpenSSL";

template <auto Free>
struct freer_t {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};
template <class T, auto Free>
using owned_t = std::unique_ptr<T, freer_t<Free>>;

int size_of(const bytes_t& bytes) {
  return static_cast<int>(bytes.size());
}

// ---- W1 ----

std::size_t walk(const unsigned char* p, long n) {
  std::size_t elements = 0;
  const unsigned char* end = p + n;
  while (p != end) {
    const bool constructed = (*p & 0x20) != 0;
    long size = 0;
    int tag = 0;
    int cls = 0;
    require((ASN1_get_object(&p, &size, &tag, &cls, end - p) & 0x80) == 0, "ASN1_get_object");
    ++elements;
    if (constructed) {
      elements += walk(p, size);
    }
    p += size;
  }
  return elements;
}

// ---- W2 and W3 ----

using owned_name_t = owned_t<X509_NAME, X509_NAME_free>;

std::size_t print(const bytes_t& der, unsigned long flags) {
  static const owned_t<BIO, BIO_free> out(BIO_new(BIO_s_mem()));
  BIO_reset(out.get());
  const unsigned char* p = der.data();
  const owned_name_t name(d2i_X509_NAME(nullptr, &p, size_of(der)));
  require(name != nullptr, "d2i_X509_NAME");
  const int size = X509_NAME_print_ex(out.get(), name.get(), 0, flags);
  require(size > 0, "X509_NAME_print_ex");
  return static_cast<std::size_t>(size);
}

std::size_t build_name(const std::vector<attribute_t>& attributes) {
  static bytes_t der;
  const owned_name_t name(X509_NAME_new());
  for (const attribute_t& attribute : attributes) {
    const auto* value = reinterpret_cast<const unsigned char*>(attribute.value.data());
    require(X509_NAME_add_entry_by_txt(name.get(), attribute.type_text.c_str(), MBSTRING_UTF8,
                                       value, static_cast<int>(attribute.value.size()), -1, 0) == 1,
            "X509_NAME_add_entry_by_txt");
  }
  const int size = i2d_X509_NAME(name.get(), nullptr);
  require(size > 0, "i2d_X509_NAME");
  der.resize(static_cast<std::size_t>(size));
  unsigned char* p = der.data();
  i2d_X509_NAME(name.get(), &p);
  return der.size();
}

// The names with OpenSSL's own short names for their types.
std::vector<std::vector<attribute_t>> spelled(const std::vector<name_t>& names) {
  std::vector<std::vector<attribute_t>> result;
  for (const name_t& name : names) {
    result.push_back(name.attributes);
    for (attribute_t& attribute : result.back()) {
      const int nid = OBJ_txt2nid(attribute.type_text.c_str());
      attribute.type_text = nid == NID_undef ? attribute.type_text : OBJ_nid2sn(nid);
    }
  }
  return result;
}

void add_names(const samples_t& samples, cases_t& cases) {
  constexpr unsigned long reverse = XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB;
  constexpr unsigned long direct = reverse & ~XN_FLAG_DN_REV;
  const char* print_note = "RFC 2253: unknown types and their values in hexadecimal";
  const char* build_note = "gets attributes already taken apart and unescaped";
  const auto print_direct = [](const bytes_t& der) { return print(der, direct); };
  const auto print_reverse = [](const bytes_t& der) { return print(der, reverse); };
  add_each(cases, {"W2-direct", "names", samples.names.size()}, who, samples.names, print_direct,
           print_note);
  add_each(cases, {"W2-reverse", "names", samples.names.size()}, who, samples.names, print_reverse,
           print_note);
  static const auto plain = spelled(samples.plain_names);
  add_each(cases, {"W3", "names", plain.size()}, who, plain, build_name, build_note);
  static const auto generated = spelled(samples.generated_names);
  for (std::size_t i = 0; i < generated.size(); ++i) {
    const std::size_t rdns = generated[i].size();
    const std::string input = std::to_string(rdns);
    const bytes_t& der = samples.generated_names[i].der;
    add_one(cases, {"W2-direct", input, rdns}, who, der, print_direct, print_note);
    add_one(cases, {"W2-reverse", input, rdns}, who, der, print_reverse, print_note);
    add_one(cases, {"W3", input, rdns}, who, generated[i], build_name, build_note);
  }
}

// ---- W4 ----

std::size_t oid_to_der(const std::string& text) {
  unsigned char der[512];
  const int size = a2d_ASN1_OBJECT(der, sizeof(der), text.data(), static_cast<int>(text.size()));
  require(size > 0, "a2d_ASN1_OBJECT");
  return static_cast<std::size_t>(size);
}

using owned_object_t = owned_t<ASN1_OBJECT, ASN1_OBJECT_free>;

owned_object_t object_of(const bytes_t& element) {
  const unsigned char* p = element.data();
  owned_object_t object(d2i_ASN1_OBJECT(nullptr, &p, size_of(element)));
  require(object != nullptr, "d2i_ASN1_OBJECT");
  return object;
}

std::size_t oid_to_text(const bytes_t& element) {
  char text[512];
  const int size = OBJ_obj2txt(text, sizeof(text), object_of(element).get(), 1);
  require(size > 0, "OBJ_obj2txt");
  return static_cast<std::size_t>(size);
}

// ---- W5 ----

using owned_container_t = owned_t<PKCS12, PKCS12_free>;

void free_safes(STACK_OF(PKCS7) * safes) {
  sk_PKCS7_pop_free(safes, PKCS7_free);
}
using owned_safes_t = owned_t<STACK_OF(PKCS7), free_safes>;

void free_bags(STACK_OF(PKCS12_SAFEBAG) * bags) {
  sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
}
using owned_bags_t = owned_t<STACK_OF(PKCS12_SAFEBAG), free_bags>;

std::size_t attribute_size(const PKCS12_SAFEBAG* bag, int nid) {
  const ASN1_TYPE* value = PKCS12_SAFEBAG_get0_attr(bag, nid);
  require(value != nullptr, "PKCS12_SAFEBAG_get0_attr");
  return static_cast<std::size_t>(ASN1_STRING_length(value->value.asn1_string));
}

std::size_t read_container(const container_t& container) {
  const unsigned char* p = container.der.data();
  const owned_container_t pfx(d2i_PKCS12(nullptr, &p, size_of(container.der)));
  require(pfx != nullptr, "d2i_PKCS12");
  const owned_safes_t safes(PKCS12_unpack_authsafes(pfx.get()));
  require(safes != nullptr, "PKCS12_unpack_authsafes");
  std::size_t sum = 0;
  for (int i = 0; i < sk_PKCS7_num(safes.get()); ++i) {
    const owned_bags_t bags(PKCS12_unpack_p7data(sk_PKCS7_value(safes.get(), i)));
    require(bags != nullptr, "PKCS12_unpack_p7data");
    for (int j = 0; j < sk_PKCS12_SAFEBAG_num(bags.get()); ++j) {
      const PKCS12_SAFEBAG* bag = sk_PKCS12_SAFEBAG_value(bags.get(), j);
      sum += attribute_size(bag, NID_friendlyName) + attribute_size(bag, NID_localKeyID);
    }
  }
  return sum;
}

// The value goes in as an element of any kind, so that nothing parses it.
PKCS12_SAFEBAG* new_bag(const bag_t& from) {
  const owned_t<ASN1_TYPE, ASN1_TYPE_free> value(ASN1_TYPE_new());
  ASN1_STRING* bytes = ASN1_STRING_type_new(V_ASN1_SEQUENCE);
  ASN1_STRING_set(bytes, from.value.data(), size_of(from.value));
  ASN1_TYPE_set(value.get(), V_ASN1_SEQUENCE, bytes);
  PKCS12_SAFEBAG* bag = PKCS12_item_pack_safebag(value.get(), ASN1_ITEM_rptr(ASN1_ANY),
                                                 NID_x509Certificate, NID_certBag);
  require(bag != nullptr, "PKCS12_item_pack_safebag");
  require(
      PKCS12_add_friendlyname_uni(bag, from.friendly_name.data(), size_of(from.friendly_name)) == 1,
      "PKCS12_add_friendlyname_uni");
  bytes_t key_id = from.local_key_id;
  require(PKCS12_add_localkeyid(bag, key_id.data(), size_of(key_id)) == 1, "PKCS12_add_localkeyid");
  return bag;
}

std::size_t write_container(const container_t& container) {
  static bytes_t der;
  unsigned char salt[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  const owned_bags_t bags(sk_PKCS12_SAFEBAG_new_null());
  for (const bag_t& bag : container.bags) {
    sk_PKCS12_SAFEBAG_push(bags.get(), new_bag(bag));
  }
  const owned_safes_t safes(sk_PKCS7_new_null());
  sk_PKCS7_push(safes.get(), PKCS12_pack_p7data(bags.get()));
  const owned_container_t pfx(PKCS12_init(NID_pkcs7_data));
  require(PKCS12_pack_authsafes(pfx.get(), safes.get()) == 1, "PKCS12_pack_authsafes");
  require(PKCS12_setup_mac(pfx.get(), 1, salt, sizeof(salt), EVP_sha1()) == 1, "PKCS12_setup_mac");
  const int size = i2d_PKCS12(pfx.get(), nullptr);
  require(size > 0, "i2d_PKCS12");
  der.resize(static_cast<std::size_t>(size));
  unsigned char* p = der.data();
  i2d_PKCS12(pfx.get(), &p);
  return der.size();
}

void add_reading(const container_t& container, cases_t& cases) {
  const std::size_t bags = container.bags.size();
  add_one(cases, {"W5-read", std::to_string(bags), bags}, who, container, read_container);
}

void add_writing(const container_t& container, cases_t& cases) {
  const std::size_t bags = container.bags.size();
  add_one(cases, {"W5-write", std::to_string(bags), bags}, who, container, write_container,
          "the structure without cryptography; the MAC names SHA-1");
}

// ---- W6 ----

// d2i_RSA_PUBKEY does the same through the provider layer and takes several times as long.
owned_t<RSA, RSA_free> rsa_key(const bytes_t& der) {
  const unsigned char* p = der.data();
  const unsigned char* end = p + der.size();
  long size = 0;
  int tag = 0;
  int cls = 0;
  require(ASN1_get_object(&p, &size, &tag, &cls, end - p) == V_ASN1_CONSTRUCTED, "ASN1_get_object");
  require(ASN1_get_object(&p, &size, &tag, &cls, end - p) == V_ASN1_CONSTRUCTED, "ASN1_get_object");
  p += size;
  require(ASN1_get_object(&p, &size, &tag, &cls, end - p) == 0, "ASN1_get_object");
  ++p;  // the unused bits
  owned_t<RSA, RSA_free> rsa(d2i_RSAPublicKey(nullptr, &p, end - p));
  require(rsa != nullptr, "d2i_RSAPublicKey");
  return rsa;
}

std::size_t read_rsa_key(const bytes_t& der) {
  const owned_t<RSA, RSA_free> rsa = rsa_key(der);
  require(RSA_get0_e(rsa.get()) != nullptr, "RSA_get0_e");
  return static_cast<std::size_t>(BN_num_bytes(RSA_get0_n(rsa.get())));
}

bool same_number(const BIGNUM* number, const blob_t& bytes) {
  const owned_t<BIGNUM, BN_free> ours(BN_bin2bn(bytes.data, static_cast<int>(bytes.size), nullptr));
  return BN_cmp(number, ours.get()) == 0;
}

// The library finds the same numbers.
void check_keys(const std::vector<bytes_t>& keys) {
  for (const bytes_t& der : keys) {
    const owned_t<RSA, RSA_free> rsa = rsa_key(der);
    asn_pubkey_t key;
    asn_rsa_pubkey_t ours;
    require(asn_read_pubkey(der.data(), static_cast<long>(der.size()), key), "asn_read_pubkey");
    require(asn_read_rsa_pubkey(key, ours), "asn_read_rsa_pubkey");
    require(same_number(RSA_get0_n(rsa.get()), ours.modulus), "asn_read_rsa_pubkey");
    require(same_number(RSA_get0_e(rsa.get()), ours.exponent), "asn_read_rsa_pubkey");
  }
}

// ---- W7 ----

// Parsing the object already looks it up.
std::size_t short_name(const bytes_t& oid) {
  return OBJ_nid2sn(OBJ_obj2nid(object_of(oid).get())) != nullptr;
}

}  // namespace

// ---- All cases ----

void add_openssl(const samples_t& samples, cases_t& cases) {
  add_each(cases, {"W1", "certificates", samples.elements}, who, samples.certificates,
           [](const bytes_t& der) { return walk(der.data(), size_of(der)); });
  add_names(samples, cases);
  const std::size_t oids = samples.oids.size();
  add_each(cases, {"W4-to-der", "oids", oids}, who, samples.oid_text, oid_to_der);
  add_each(cases, {"W4-to-text", "oids", oids}, who, samples.oids, oid_to_text);
  for (const container_t& container : samples.containers) {
    add_reading(container, cases);
  }
  for (const container_t& container : samples.certificate_containers) {
    add_writing(container, cases);
  }
  check_keys(samples.rsa_keys);
  add_each(cases, {"W6", "keys", samples.rsa_keys.size()}, who, samples.rsa_keys, read_rsa_key,
           "numbers copied into BIGNUMs");
  add_each(cases, {"W7", "types", samples.attribute_types.size()}, who, samples.attribute_types,
           short_name);
}
