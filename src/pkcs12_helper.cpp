#include <utility>

#include <pkider/asn_tag.h>
#include <pkider/pkcs12_helper.h>

#include "asn_cursor.h"
#include "asn_oids.h"
#include "der_writer.h"
#include "out_string.h"
#include "secret.h"

// ---- The model ----

pkcs12_easy_t::pkcs12_easy_t() = default;

pkcs12_easy_t::~pkcs12_easy_t() {
  for (std::string& plaintext : decrypted_data) {
    wipe_string_(plaintext);
  }
}

pkcs12_easy_t::pkcs12_easy_t(pkcs12_easy_t&& other) noexcept = default;

pkcs12_easy_t& pkcs12_easy_t::operator=(pkcs12_easy_t&& other) noexcept {
  const pkcs12_easy_t replaced(std::move(*this));  // wiped at its end
  plain_bags = std::move(other.plain_bags);
  encrypted_bags = std::move(other.encrypted_bags);
  mac = other.mac;
  decrypted_data = std::move(other.decrypted_data);
  return *this;
}

namespace {

// A plaintext on its way into a model; wiped unless it gets there.
class plaintext_t {
 public:
  plaintext_t() = default;
  plaintext_t(const plaintext_t&) = delete;
  plaintext_t& operator=(const plaintext_t&) = delete;
  ~plaintext_t() {
    for (std::string& text : node_) {
      wipe_string_(text);
    }
  }

  std::string& text() { return node_.front(); }
  blob_t view() const {
    const std::string& text = node_.front();
    return {static_cast<unsigned>(text.size()),
            reinterpret_cast<const unsigned char*>(text.data())};
  }
  // Hands it over without moving its bytes.
  void keep_in(pkcs12_easy_t& model) {
    model.decrypted_data.splice(model.decrypted_data.end(), node_);
  }

 private:
  std::list<std::string> node_ = std::list<std::string>(1);
};

template <unsigned N, unsigned M>
void append_oid(asn_tag_t_<N>& parent, const unsigned char (&oid)[M]) {
  parent.append_element(asn_tag_t::OID, oid, M);
}

// ---- PKCS#7 ContentInfo ----

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY }
struct pkcs7_content_info_t {
  blob_t content_type;
  blob_t content;  // the complete element that [0] wraps
};

// Reads the content of the SEQUENCE.
bool asn_read_pkcs7_ContentInfo(const unsigned char* der, unsigned len, pkcs7_content_info_t& out) {
  asn_iter_t input = {der, len};
  return asn1_read_view_(asn_tag_t::OID, &input, &out.content_type) &&
         asn1_read_view_(asn_tag_t::CONTEXT_0, &input, &out.content);
}

// Reads the content of type data: the octets of its OCTET STRING.
bool asn_read_pkcs7_data(const unsigned char* der, unsigned len, blob_t& out) {
  asn_iter_t input = {der, len};
  return asn1_read_view_(asn_tag_t::OCTET_STRING, &input, &out);
}

void asn_write_pkcs7_ContentInfo(const unsigned char (&type)[9], const asn_tag_t_<0>& content,
                                 asn_tag_t_<0>& out) {
  asn_tag_t_<0> info(asn_tag_t::SEQUENCE);
  append_oid(info, type);
  info.append_element(asn_tag_t::CONTEXT_0, content.encoded(), content.encoded_size());
  out.append_tag(info);
}

}  // namespace

// ---- MacData ----

// MacData    ::= SEQUENCE { mac DigestInfo, macSalt OCTET STRING, iterations INTEGER DEFAULT 1 }
// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
bool asn_read_pkcs12_MacData(const unsigned char* der, unsigned len, pkcs12_mac_t& out) {
  asn_iter_t input = {der, len};
  asn_iter_t digest_info;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &digest_info) ||
      !asn1_read_view_(asn_tag_t::SEQUENCE, &digest_info, &out.digest_alg) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &digest_info, &out.digest) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &input, &out.mac_salt)) {
    return false;
  }
  if (!asn1_next_is_(asn_tag_t::INTEGER, input)) {
    out.mac_iterations = 1;
    return true;
  }
  asn_iter_t iterations;
  if (!asn1_read_tag_i_(asn_tag_t::INTEGER, &input, &iterations)) {
    return false;
  }
  if (iterations.len == 0) {  // Q5
    out.mac_iterations = 1;
    return true;
  }
  return asn_read_INTEGER(iterations.ptr, iterations.len, out.mac_iterations, 0xFFFFFFFF);
}

namespace {

void append_mac_data(const pkcs12_mac_t& mac, asn_tag_t_<0>& out) {
  asn_tag_t_<32> algorithm(asn_tag_t::SEQUENCE);  // Q50: whatever mac.digest_alg says
  append_oid(algorithm, g_oid_GOSTR3411);
  algorithm.append_element(asn_tag_t::NULL_TAG, nullptr, 0);

  asn_tag_t_<128> digest_info(asn_tag_t::SEQUENCE);
  digest_info.append_tag(algorithm);
  digest_info.append_element(asn_tag_t::OCTET_STRING, mac.digest.data, mac.digest.size);

  asn_tag_t_<256> mac_data(asn_tag_t::SEQUENCE);
  mac_data.append_tag(digest_info);
  mac_data.append_element(asn_tag_t::OCTET_STRING, mac.mac_salt.data, mac.mac_salt.size);
  append_INTEGER_(mac_data, mac.mac_iterations);
  out.append_tag(mac_data);
}

// ---- SafeContents ----

struct pkcs12_easy_wrap_t {
  pkcs12_easy_t* easy;
  pbe_crypto_t* crypto;
};

// Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF ANY }
bool read_attributes(asn_iter_t attributes, pkcs12_bag_t& bag) {
  while (attributes.len != 0) {
    asn_iter_t attribute;
    blob_t type;
    asn_iter_t values;
    if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &attributes, &attribute) ||
        !asn1_read_view_(asn_tag_t::OID, &attribute, &type) ||
        !asn1_read_tag_i_(asn_tag_t::SET, &attribute, &values)) {
      return false;
    }
    // Q52: of equal types the last wins, of values the first.
    if (asn_oid_equal_(type, g_oid_pkcs9_at_friendlyName) &&
        !asn1_read_view_(asn_tag_t::BMP_STRING, &values, &bag.friendly_name)) {
      return false;
    }
    if (asn_oid_equal_(type, g_oid_pkcs9_at_localKeyId) &&
        !asn1_read_view_(asn_tag_t::OCTET_STRING, &values, &bag.local_key_id)) {
      return false;
    }
  }
  return true;
}

// Q51: a key that cannot be read or decrypted is left out. Q54: the others become plain keys.
void read_shrouded_key(const asn_iter_t& value, pkcs12_easy_wrap_t& wrap, pkcs12_bag_t& bag) {
  pkcs8_encrypted_pki_gost_t key;
  plaintext_t plaintext;
  if (!asn_read_pkcs8_encrypted_pki_gost(value.ptr, value.len, key) ||
      !wrap.crypto->decrypt(key.pbe, key.encrypted_data.data, key.encrypted_data.size,
                            plaintext.text())) {
    return;
  }
  bag.type = PKCS12_BAG_KEY;
  bag.value = plaintext.view();
  wrap.easy->encrypted_bags.push_back(bag);
  plaintext.keep_in(*wrap.easy);
}

// CertBag ::= SEQUENCE { certId OBJECT IDENTIFIER, certValue [0] EXPLICIT OCTET STRING }
bool read_certificate(asn_iter_t value, blob_t& certificate) {
  asn_iter_t cert_bag;
  asn_iter_t cert_id;  // Q52: any is accepted
  asn_iter_t wrapper;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &value, &cert_bag) &&
         asn1_read_tag_i_(asn_tag_t::OID, &cert_bag, &cert_id) &&
         asn1_read_tag_i_(asn_tag::CONTEXT, 0, &cert_bag, &wrapper) &&
         asn1_read_view_(asn_tag_t::OCTET_STRING, &wrapper, &certificate);
}

// SafeBag ::= SEQUENCE { bagId OBJECT IDENTIFIER, bagValue [0] EXPLICIT ANY,
//   bagAttributes SET OF Attribute OPTIONAL }
bool read_bag(asn_iter_t safe_bag, bool encrypted, pkcs12_easy_wrap_t& wrap) {
  blob_t kind;
  asn_iter_t value;
  asn_iter_t attributes;
  if (!asn1_read_view_(asn_tag_t::OID, &safe_bag, &kind) ||
      !asn1_read_tag_i_(asn_tag::CONTEXT, 0, &safe_bag, &value)) {
    return false;
  }
  if (asn1_next_is_(asn_tag_t::SET, safe_bag) &&
      !asn1_read_tag_i_(asn_tag_t::SET, &safe_bag, &attributes)) {
    return false;
  }
  // Q51: a malformed attribute is refused on a bag that would be skipped, too.
  pkcs12_bag_t bag;
  if (!read_attributes(attributes, bag)) {
    return false;
  }
  std::list<pkcs12_bag_t>& bags = encrypted ? wrap.easy->encrypted_bags : wrap.easy->plain_bags;
  if (asn_oid_equal_(kind, g_oid_pkcs12_id_keyBag)) {
    bag.type = PKCS12_BAG_KEY;
    bag.value = asn1_view_(value);
    bags.push_back(bag);
  } else if (asn_oid_equal_(kind, g_oid_pkcs12_id_shroudedKeyBag)) {
    read_shrouded_key(value, wrap, bag);
  } else if (asn_oid_equal_(kind, g_oid_pkcs12_id_certBag)) {
    bag.type = PKCS12_BAG_CERT;
    if (!read_certificate(value, bag.value)) {
      return false;
    }
    bags.push_back(bag);
  }
  return true;
}

// SafeContents ::= SEQUENCE OF SafeBag
bool asn_read_pkcs12_bags(const unsigned char* der, unsigned len, bool encrypted,
                          pkcs12_easy_wrap_t& wrap) {
  asn_iter_t input = {der, len};
  asn_iter_t contents;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &contents)) {
    return false;
  }
  while (contents.len != 0) {
    asn_iter_t safe_bag;
    if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &contents, &safe_bag) ||
        !read_bag(safe_bag, encrypted, wrap)) {
      return false;
    }
  }
  return true;
}

// At least the encoded size of a bag: its parts, and all headers and OIDs at their longest. What is
// in a bag may be secret: its builders get all their room before it, so that they outgrow no
// buffer that holds it.
std::uint64_t bag_room(const pkcs12_bag_t& bag) {
  constexpr unsigned headers_and_oids = 128;
  return std::uint64_t{bag.value.size} + bag.friendly_name.size + bag.local_key_id.size +
         headers_and_oids;
}

template <unsigned N>
void append_attribute(asn_tag_t_<N>& attributes, const unsigned char (&type)[9],
                      unsigned char value_tag, const blob_t& value) {
  if (value.size == 0) {
    return;
  }
  secret_tag_t_<128> values(asn_tag_t::SET);
  values.append_element(value_tag, value.data, value.size);
  secret_tag_t_<128> attribute(asn_tag_t::SEQUENCE);
  append_oid(attribute, type);
  attribute.append_tag(values);
  attributes.append_tag(attribute);
}

void append_certificate(const blob_t& certificate, asn_tag_t_<256>& safe_bag) {
  secret_tag_t_<256> value(asn_tag_t::CONTEXT_0);
  value.append_element(asn_tag_t::OCTET_STRING, certificate.data, certificate.size);
  secret_tag_t_<256> cert_bag(asn_tag_t::SEQUENCE);
  append_oid(cert_bag, g_oid_pkcs9_ct_x509Certificate);
  cert_bag.append_tag(value);
  safe_bag.append_element(asn_tag_t::CONTEXT_0, cert_bag.encoded(), cert_bag.encoded_size());
}

void asn_write_pkcs12_bag(const pkcs12_bag_t& bag, asn_tag_t_<0>& out) {
  secret_tag_t_<256> safe_bag(asn_tag_t::SEQUENCE);
  const unsigned room = size32_(bag_room(bag));
  safe_bag.reserve(room);
  if (bag.type == PKCS12_BAG_KEY) {
    append_oid(safe_bag, g_oid_pkcs12_id_keyBag);
    safe_bag.append_element(asn_tag_t::CONTEXT_0, bag.value.data, bag.value.size);
  } else if (bag.type == PKCS12_BAG_CERT) {
    append_oid(safe_bag, g_oid_pkcs12_id_certBag);
    append_certificate(bag.value, safe_bag);
  }
  // Q53: nothing but the attributes for any other type.
  secret_tag_t_<256> attributes(asn_tag_t::SET);
  attributes.reserve(room - bag.value.size);
  append_attribute(attributes, g_oid_pkcs9_at_friendlyName, asn_tag_t::BMP_STRING,
                   bag.friendly_name);
  append_attribute(attributes, g_oid_pkcs9_at_localKeyId, asn_tag_t::OCTET_STRING,
                   bag.local_key_id);
  if (attributes.len != 0) {
    safe_bag.append_tag(attributes);
  }
  out.append_tag(safe_bag);
}

void asn_write_pkcs12_bags(const std::list<pkcs12_bag_t>& bags, asn_tag_t_<0>& out) {
  std::uint64_t room = 0;
  for (const pkcs12_bag_t& bag : bags) {
    room += bag_room(bag);
  }
  secret_tag_t_<0> contents(asn_tag_t::SEQUENCE);
  contents.reserve(size32_(room));
  for (const pkcs12_bag_t& bag : bags) {
    asn_write_pkcs12_bag(bag, contents);
  }
  out.append_tag(contents);
}

// ---- The easy API ----

// Q46: a version is taken for `wanted` when it is one byte long, whatever that is, or begins with
// it.
bool accepts_version(const asn_iter_t& version, unsigned char wanted) {
  return version.len == 1 || (version.len != 0 && *version.ptr == wanted);
}

// EncryptedData ::= SEQUENCE { version INTEGER, encryptedContentInfo SEQUENCE {
//   contentType OBJECT IDENTIFIER, contentEncryptionAlgorithm AlgorithmIdentifier,
//   encryptedContent [0] IMPLICIT OCTET STRING }, unprotectedAttrs ANY OPTIONAL }
// Q51: what is not ours to decrypt is skipped, without a failure.
bool read_encrypted_data(const blob_t& content, pkcs12_easy_wrap_t& wrap) {
  asn_iter_t input = asn1_iter_(content);
  asn_iter_t data;
  asn_iter_t version;
  asn_iter_t info;
  blob_t type;
  asn_iter_t algorithm;
  asn_iter_t ciphertext;
  asn_iter_t attributes;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &data) ||
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &data, &version) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &data, &info) ||
      !asn1_read_view_(asn_tag_t::OID, &info, &type) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &info, &algorithm) ||
      !asn1_read_tag_i_(asn_tag::CONTEXT_PRIMITIVE, 0, &info, &ciphertext) ||
      (data.len != 0 && !asn1_read_tag_i_(asn_tag_t::ANY, &data, &attributes)) ||
      !accepts_version(version, 0)) {
    return false;
  }
  pkcs5_pbe_gost_t pbe;
  plaintext_t plaintext;
  if (!asn_oid_equal_(type, g_oid_pkcs7_id_data) ||
      !asn_read_pkcs5_pbe_gost(algorithm.ptr, algorithm.len, pbe) ||
      !wrap.crypto->decrypt(pbe, ciphertext.ptr, ciphertext.len, plaintext.text())) {
    return true;
  }
  const blob_t element = plaintext.view();  // Q48: not the SafeContents itself
  blob_t contents;
  if (!asn_read_pkcs7_data(element.data, element.size, contents) ||
      !asn_read_pkcs12_bags(contents.data, contents.size, true, wrap)) {
    return false;
  }
  plaintext.keep_in(*wrap.easy);
  return true;
}

bool read_safe(const asn_iter_t& safe, pkcs12_easy_wrap_t& wrap) {
  pkcs7_content_info_t info;
  if (!asn_read_pkcs7_ContentInfo(safe.ptr, safe.len, info)) {
    return false;
  }
  if (asn_oid_equal_(info.content_type, g_oid_pkcs7_id_data)) {
    blob_t contents;
    return asn_read_pkcs7_data(info.content.data, info.content.size, contents) &&
           asn_read_pkcs12_bags(contents.data, contents.size, false, wrap);
  }
  if (asn_oid_equal_(info.content_type, g_oid_pkcs7_id_encrypted_data)) {
    return read_encrypted_data(info.content, wrap);
  }
  return true;
}

// AuthenticatedSafe ::= SEQUENCE OF ContentInfo
bool read_authenticated_safe(const blob_t& octets, pkcs12_easy_wrap_t& wrap) {
  asn_iter_t input = asn1_iter_(octets);
  asn_iter_t safes;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &safes)) {
    return false;
  }
  while (safes.len != 0) {
    asn_iter_t safe;
    if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &safes, &safe) || !read_safe(safe, wrap)) {
      return false;
    }
  }
  return true;
}

}  // namespace

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }
bool asn_read_pkcs12_easy(const unsigned char* der, unsigned len, pbe_crypto_t* crypto,
                          pkcs12_easy_t& out) {
  asn_iter_t input = {der, len};
  asn_iter_t pfx;
  asn_iter_t version;
  asn_iter_t auth_safe;
  asn_iter_t mac_data;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &pfx) ||
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &pfx, &version) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &pfx, &auth_safe)) {
    return false;
  }
  if (asn1_next_is_(asn_tag_t::SEQUENCE, pfx) &&
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &pfx, &mac_data)) {
    return false;
  }
  pkcs7_content_info_t info;
  if (!accepts_version(version, 3) ||
      !asn_read_pkcs7_ContentInfo(auth_safe.ptr, auth_safe.len, info) ||
      !asn_oid_equal_(info.content_type, g_oid_pkcs7_id_data) ||
      !asn_read_pkcs12_MacData(mac_data.ptr, mac_data.len, out.mac) ||       // Q47: not optional
      !crypto->verify_mac(out.mac, info.content.data, info.content.size)) {  // Q49
    return false;
  }
  blob_t safes;
  pkcs12_easy_wrap_t wrap = {&out, crypto};
  return asn_read_pkcs7_data(info.content.data, info.content.size, safes) &&
         read_authenticated_safe(safes, wrap);
}

namespace {

void append_plain_safe(const std::list<pkcs12_bag_t>& bags, asn_tag_t_<0>& safes) {
  asn_tag_t_<0> contents(asn_tag_t::OCTET_STRING);
  asn_write_pkcs12_bags(bags, contents);
  asn_write_pkcs7_ContentInfo(g_oid_pkcs7_id_data, contents, safes);
}

void append_encrypted_safe(const std::list<pkcs12_bag_t>& bags, pbe_crypto_t* crypto,
                           asn_tag_t_<0>& safes) {
  pkcs5_pbe_gost_t pbe;
  std::string ciphertext;
  secret_tag_t_<0> contents(asn_tag_t::OCTET_STRING);
  asn_write_pkcs12_bags(bags, contents);
  crypto->encrypt(contents.encoded(), contents.encoded_size(), pbe, ciphertext);  // Q55
  std::string algorithm;
  asn_write_pkcs5_pbe_gost(pbe, algorithm);
  asn_tag_t_<0> info(asn_tag_t::SEQUENCE);
  append_oid(info, g_oid_pkcs7_id_data);
  info.append_bytes(algorithm.data(), size32_(algorithm));
  info.append_element(0x80, ciphertext.data(), size32_(ciphertext));

  asn_tag_t_<0> data(asn_tag_t::SEQUENCE);
  append_INTEGER_(data, 0);
  data.append_tag(info);
  asn_write_pkcs7_ContentInfo(g_oid_pkcs7_id_encrypted_data, data, safes);
}

}  // namespace

void asn_write_pkcs12_easy(const pkcs12_easy_t& in, pbe_crypto_t* crypto, std::string& out) {
  asn_tag_t_<0> safes(asn_tag_t::SEQUENCE);
  if (!in.plain_bags.empty()) {
    append_plain_safe(in.plain_bags, safes);
  }
  if (!in.encrypted_bags.empty()) {
    append_encrypted_safe(in.encrypted_bags, crypto, safes);
  }
  asn_tag_t_<0> octets(asn_tag_t::OCTET_STRING);
  octets.append_tag(safes);

  pkcs12_mac_t computed;
  const bool has_mac = crypto->compute_mac(octets.encoded(), octets.encoded_size(), computed);

  asn_tag_t_<0> pfx(asn_tag_t::SEQUENCE);
  append_INTEGER_(pfx, 3);
  asn_write_pkcs7_ContentInfo(g_oid_pkcs7_id_data, octets, pfx);
  append_mac_data(has_mac ? computed : in.mac, pfx);  // Q55
  assign_tag_(out, pfx);
}
