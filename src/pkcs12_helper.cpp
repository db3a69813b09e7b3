// PKCS#12 containers (RFC 7292) and the PKCS#7 ContentInfo (RFC 2315) that they are made of.

#include <cstdint>
#include <list>
#include <string>
#include <utility>

#include <pkider/asn_tag.h>
#include <pkider/pkcs12_helper.h>

#include "asn_cursor.h"
#include "asn_oids.h"
#include "der_writer.h"
#include "digest_info.h"
#include "out_string.h"
#include "pkcs12_writer.h"
#include "secret.h"

using namespace asn1;

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

}  // namespace

// ---- PKCS#7 ContentInfo ----

namespace {

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

using content_type = oid<table_t<9>>;

template <class Content>
struct content_info : sequence<content_type, context_0<Content>> {};
template <class Content>
content_info(content_type, context_0<Content>) -> content_info<Content>;

}  // namespace

void asn_write_pkcs7_ContentInfo(const unsigned char (&type)[9], const asn_tag_t_<0>& content,
                                 asn_tag_t_<0>& out) {
  append(out,
         content_info{oid{type}, context_0{encoded{{content.encoded_size(), content.encoded()}}}});
}

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

// Q50: the algorithm is written whatever mac.digest_alg says, and the count also where it is 1.
auto mac_data(const pkcs12_mac_t& mac) {
  return sequence{digest_info(oid{g_oid_GOSTR3411}, mac.digest), octet_string{mac.mac_salt},
                  integer{mac.mac_iterations}};
}

}  // namespace

// ---- SafeContents ----

namespace {

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

// Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF ANY }
auto attribute(const unsigned char (&type)[9], unsigned char value_tag, const blob_t& value) {
  return optional{value.size != 0, sequence{oid{type}, set{primitive{value_tag, value}}}};
}

// CertBag ::= SEQUENCE { certId OBJECT IDENTIFIER, certValue [0] EXPLICIT OCTET STRING }
auto cert_bag(const blob_t& certificate) {
  return sequence{oid{g_oid_pkcs9_ct_x509Certificate}, context_0{octet_string{certificate}}};
}

// SafeBag ::= SEQUENCE { bagId OBJECT IDENTIFIER, bagValue [0] EXPLICIT ANY,
//   bagAttributes SET OF Attribute OPTIONAL }
// Q53: of any other type there are only the attributes.
auto safe_bag(const pkcs12_bag_t& bag) {
  return sequence{
      optional{bag.type == PKCS12_BAG_KEY,
               row{oid{g_oid_pkcs12_id_keyBag}, context_0{encoded{bag.value}}}},
      optional{bag.type == PKCS12_BAG_CERT,
               row{oid{g_oid_pkcs12_id_certBag}, context_0{cert_bag(bag.value)}}},
      optional{
          bag.friendly_name.size != 0 || bag.local_key_id.size != 0,
          set{attribute(g_oid_pkcs9_at_friendlyName, asn_tag_t::BMP_STRING, bag.friendly_name),
              attribute(g_oid_pkcs9_at_localKeyId, asn_tag_t::OCTET_STRING, bag.local_key_id)}}};
}

// SafeContents ::= SEQUENCE OF SafeBag
auto safe_contents(const std::list<pkcs12_bag_t>& bags) {
  return sequence{each{bags, safe_bag}};
}

}  // namespace

void asn_write_pkcs12_bag(const pkcs12_bag_t& bag, asn_tag_t_<0>& out) {
  append(out, safe_bag(bag));
}

void asn_write_pkcs12_bags(const std::list<pkcs12_bag_t>& bags, asn_tag_t_<0>& out) {
  append(out, safe_contents(bags));
}

// ---- The easy API ----

namespace {

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
      !asn1_read_tag_i_(asn_tag::CONTEXT_PRIMITIVE, 0, &info, &ciphertext) ||  // Q47
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
  return true;  // Q51
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

// Empty where nothing is encrypted.
struct ciphertext_t {
  std::string algorithm;  // the AlgorithmIdentifier
  std::string octets;
};

void encrypt(const std::list<pkcs12_bag_t>& bags, pbe_crypto_t* crypto, ciphertext_t& out) {
  secret_tag_t_ contents(asn_tag_t::OCTET_STRING);  // Q48
  asn_write_pkcs12_bags(bags, contents);
  pkcs5_pbe_gost_t pbe;
  crypto->encrypt(contents.encoded(), contents.encoded_size(), pbe, out.octets);  // Q55
  asn_write_pkcs5_pbe_gost(pbe, out.algorithm);
}

// EncryptedData ::= SEQUENCE { version INTEGER, encryptedContentInfo SEQUENCE {
//   contentType OBJECT IDENTIFIER, contentEncryptionAlgorithm AlgorithmIdentifier,
//   encryptedContent [0] IMPLICIT OCTET STRING } }
auto encrypted_data(const ciphertext_t& ciphertext) {
  return sequence{integer{0},
                  sequence{oid{g_oid_pkcs7_id_data}, encoded{view(ciphertext.algorithm)},
                           primitive{0x80, view(ciphertext.octets)}}};
}

}  // namespace

void asn_write_pkcs12_easy(const pkcs12_easy_t& in, pbe_crypto_t* crypto, std::string& out) {
  const bool has_plain = !in.plain_bags.empty();
  const bool has_encrypted = !in.encrypted_bags.empty();
  ciphertext_t ciphertext;
  if (has_encrypted) {
    encrypt(in.encrypted_bags, crypto, ciphertext);
  }
  // AuthenticatedSafe ::= SEQUENCE OF ContentInfo
  const auto safes = octet_string{sequence{
      optional{has_plain, content_info{oid{g_oid_pkcs7_id_data},
                                       context_0{octet_string{safe_contents(in.plain_bags)}}}},
      optional{has_encrypted, content_info{oid{g_oid_pkcs7_id_encrypted_data},
                                           context_0{encrypted_data(ciphertext)}}}}};
  // PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData }
  const auto version = integer{3};
  const auto auth_safe = content_info{oid{g_oid_pkcs7_id_data}, context_0{named{safes}}};

  // The MAC is computed over the safes where they stand, and its size is in the header before them:
  // this is written for a usual MAC first, and for the real one at the end.
  constexpr std::uint64_t usual_mac = 128;
  const std::uint64_t before_mac = version.size() + auth_safe.size();
  const header expected = {asn_tag_t::SEQUENCE, before_mac + usual_mac};
  secret_string_t_ der(room_for(out));
  der.reserve(expected.size() + before_mac + 2 * usual_mac);
  append(der.text, row{expected, version, named{auth_safe}});
  const auto* end = reinterpret_cast<const unsigned char*>(der.text.data()) + der.text.size();
  const auto safes_size = static_cast<unsigned>(safes.size());
  pkcs12_mac_t computed;
  const bool has_mac = crypto->compute_mac(end - safes_size, safes_size, computed);  // Q49
  const auto mac = mac_data(has_mac ? computed : in.mac);                            // Q55

  const header actual = {asn_tag_t::SEQUENCE, size32_(before_mac + mac.size())};
  der.reserve(mac.size() + actual.size());
  append(der.text, mac);
  der.text.replace(0, size32_(expected.size()), size32_(actual.size()), '\0');
  actual.write(reinterpret_cast<unsigned char*>(der.text.data()));
  out = std::move(der.text);
}
