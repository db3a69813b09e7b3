// Algorithm codes, their OIDs and names; DigestInfo, public keys and signature parameters.

#include <array>
#include <cstring>
#include <limits>
#include <string>

#include <pkider/asn_helper.h>

#include "alg_codes.h"
#include "asn_algorids.h"
#include "asn_cursor.h"
#include "asn_oids.h"
#include "der_writer.h"
#include "digest_info.h"

using namespace alg_codes;

// ---- Algorithm codes ----

// clang-format off

// getInt finds the first of equal names: the order matters.
const IntToString I2S_PKI_ALG_T[] = {
    {rsa, "RSA"},
    {dsa, "DSA"},
    {dhka, "DHKA"},
    {old_dsa, "OLD DSA"},
    {dhpn, "DHPN"},
    {rc2, "RC2"},
    {rc4, "RC4"},
    {rc5, "RC5"},
    {des, "DES"},
    {des3_2key, "2KEY 3DES"},
    {des3_3key, "3KEY 3DES"},
    {gost_341094, "GOST R 34.10-94"},
    {gost_341001, "GOST R 34.10-2001"},
    {gost_341012_256, "GOST R 34.10-2012 256"},
    {gost_341012_512, "GOST R 34.10-2012 512"},
    {gost_341094 | zul, "GOST R 34.10-94 (ZUL)"},
    {gost_341094 | cryptopro, "GOST R 34.10-94 (CPRO)"},
    {gost_341001 | cryptopro, "GOST R 34.10-2001 (CPRO)"},
    {gost_341094 | signalcom, "GOST R 34.10-94 (SignalCOM)"},
    {gost_341001 | signalcom, "GOST R 34.10-2001 (SignalCOM)"},
    {sha, "SHA"},
    {sha1, "SHA1"},
    {sha224, "SHA224"},
    {sha256, "SHA256"},
    {sha384, "SHA384"},
    {sha512, "SHA512"},
    {md2, "MD2"},
    {md5, "MD5"},
    {gost_341194, "GOST 34.11-94"},
    {gost_341112_256, "GOST 34.11-2012 256"},
    {gost_341112_512, "GOST 34.11-2012 512"},
    {gost_341194 | zul, "GOST 34.11-94 (ZUL)"},
    {gost_341194 | cryptopro, "GOST 34.11-94 (CPRO)"},
    {gost_341194 | signalcom, "GOST 34.11-94 (SignalCOM)"},
    {sha | rsa, "shaRSA"},
    {sha1 | rsa, "sha1RSA"},
    {sha224 | rsa, "sha224RSA"},
    {sha256 | rsa, "sha256RSA"},
    {sha384 | rsa, "sha384RSA"},
    {sha512 | rsa, "sha512RSA"},
    {rsassa_pss, "RSASSA-PSS"},
    {sha1 | rsassa_pss, "sha1RSASSA-PSS"},
    {sha224 | rsassa_pss, "sha224RSASSA-PSS"},
    {sha256 | rsassa_pss, "sha256RSASSA-PSS"},
    {sha384 | rsassa_pss, "sha384RSASSA-PSS"},
    {sha512 | rsassa_pss, "sha512RSASSA-PSS"},
    {md2 | rsa, "md2RSA"},
    {md5 | rsa, "md5RSA"},
    {sha | dsa, "shaDSA"},
    {sha1 | dsa, "sha1DSA"},
    {sha1 | des3_2key, "2KEY 3DES SHA1"},
    {sha1 | des3_3key, "3KEY 3DES SHA1"},
    {sha1 | hmac, "sha1HMAC"},
    {gost_341194 | gost_341094, "GOST R 34.11/34.10-94"},
    {gost_341194 | gost_341001, "GOST R 34.11/34.10-2001"},
    {gost_341112_256 | gost_341012_256, "GOST R 34.11-2012/34.10-2012 256"},
    {gost_341112_512 | gost_341012_512, "GOST R 34.11-2012/34.10-2012 512"},
    {gost_341194 | gost_341094 | zul, "GOST R 34.11/34.10-94 (ZUL)"},
    {gost_341194 | gost_341094 | cryptopro, "GOST R 34.11/34.10-94 (CryptoPro)"},
    {gost_341194 | gost_341001 | cryptopro, "GOST R 34.11/34.10-2001 (CryptoPro)"},
    {gost_341194 | gost_341094 | signalcom, "GOST R 34.11/34.10-94 (SignalCOM)"},
    {gost_341194 | gost_341001 | signalcom, "GOST R 34.11/34.10-2001 (SignalCOM)"},
    {0, nullptr},
};

// clang-format on

namespace {

struct alg_oid_t {
  pki_alg_t alg;
  pki_oid_ref_t oid;
};

struct signature_t {
  pki_alg_t alg;
  pki_oid_ref_t oid;
  pki_oid_ref_t algorid;  // the whole AlgorithmIdentifier
};

template <unsigned N>
constexpr pki_oid_ref_t ref(const unsigned char (&bytes)[N]) {
  return {bytes, N};
}
template <std::size_t N>
constexpr pki_oid_ref_t ref(const std::array<unsigned char, N>& bytes) {
  return {bytes.data(), N};
}

// Q14: in each of these the first row that matches counts. Plain forms stand before CryptoPro's,
// which share their OIDs.
// clang-format off

constexpr alg_oid_t digest_map[] = {
    {md2,                     ref(asn_oid_ALG_MD2)},
    {md5,                     ref(asn_oid_ALG_MD5)},
    {sha,                     ref(asn_oid_ALG_SHA)},
    {sha1,                    ref(asn_oid_ALG_SHA1)},
    {sha224,                  ref(asn_oid_ALG_SHA224)},
    {sha256,                  ref(asn_oid_ALG_SHA256)},
    {sha384,                  ref(asn_oid_ALG_SHA384)},
    {sha512,                  ref(asn_oid_ALG_SHA512)},
    {gost_341194,             ref(g_oid_GOSTR3411)},
    {gost_341194 | cryptopro, ref(g_oid_GOSTR3411)},
    {gost_341194 | zul,       ref(asn_oid_ALG_GOST_3411_ZUL)},
    {gost_341112_256,         ref(asn_oid_ALG_GOST_341112_256)},
    {gost_341112_512,         ref(asn_oid_ALG_GOST_341112_512)},
};

constexpr alg_oid_t key_map[] = {
    {rsa,                     ref(asn_oid_ALG_RSA)},
    {dsa,                     ref(asn_oid_ALG_DSA)},
    {gost_341094,             ref(asn_oid_ALG_GOST_341094)},
    {gost_341094 | cryptopro, ref(asn_oid_ALG_GOST_341094)},
    {gost_341094 | zul,       ref(asn_oid_ALG_GOST_341094_ZUL)},
    {gost_341094 | signalcom, ref(asn_oid_ALG_GOST_341094_SCOM)},
    {gost_341001,             ref(g_oid_ALG_GOST_341001)},
    {gost_341001 | cryptopro, ref(g_oid_ALG_GOST_341001)},
    {gost_341001 | signalcom, ref(asn_oid_ALG_GOST_341001_SCOM)},
    {gost_341012_256,         ref(g_oid_ALG_GOST_341012_256)},
    {gost_341012_512,         ref(g_oid_ALG_GOST_341012_512)},
};

constexpr signature_t signature_map[] = {
    {sha1 | rsa,                            ref(asn_oid_ALG_sha1RSA),                ref(asn_algorid_ALG_sha1RSA)},
    {sha1 | rsa,                            ref(asn_oid_ALG_sha1RSA_oiw),            ref(asn_algorid_ALG_sha1RSA_oiw)},
    {sha224 | rsa,                          ref(asn_oid_ALG_sha224RSA),              ref(asn_algorid_ALG_sha224RSA)},
    {sha256 | rsa,                          ref(asn_oid_ALG_sha256RSA),              ref(asn_algorid_ALG_sha256RSA)},
    {sha384 | rsa,                          ref(asn_oid_ALG_sha384RSA),              ref(asn_algorid_ALG_sha384RSA)},
    {sha512 | rsa,                          ref(asn_oid_ALG_sha512RSA),              ref(asn_algorid_ALG_sha512RSA)},
    {md2 | rsa,                             ref(asn_oid_ALG_md2RSA),                 ref(asn_algorid_ALG_md2RSA)},
    {md5 | rsa,                             ref(asn_oid_ALG_md5RSA),                 ref(asn_algorid_ALG_md5RSA)},
    {sha1 | dsa,                            ref(asn_oid_ALG_sha1DSA),                ref(asn_algorid_ALG_sha1DSA)},
    {rsassa_pss,                            ref(asn_oid_ALG_RSASSA_PSS),             ref(asn_algorid_ALG_RSASSA_PSS)},
    {sha1 | rsassa_pss,                     ref(asn_oid_ALG_RSASSA_PSS),             ref(asn_algorid_ALG_sha1RSASSA_PSS)},
    {sha224 | rsassa_pss,                   ref(asn_oid_ALG_RSASSA_PSS),             ref(asn_algorid_ALG_sha224RSASSA_PSS)},
    {sha256 | rsassa_pss,                   ref(asn_oid_ALG_RSASSA_PSS),             ref(asn_algorid_ALG_sha256RSASSA_PSS)},
    {sha384 | rsassa_pss,                   ref(asn_oid_ALG_RSASSA_PSS),             ref(asn_algorid_ALG_sha384RSASSA_PSS)},
    {sha512 | rsassa_pss,                   ref(asn_oid_ALG_RSASSA_PSS),             ref(asn_algorid_ALG_sha512RSASSA_PSS)},
    {gost_341194 | gost_341094,             ref(asn_oid_ALG_GOST_3411_341094),       ref(asn_algorid_ALG_GOST_3411_341094)},
    {gost_341194 | gost_341094 | cryptopro, ref(asn_oid_ALG_GOST_3411_341094),       ref(asn_algorid_ALG_GOST_3411_341094)},
    {gost_341194 | gost_341094 | zul,       ref(asn_oid_ALG_GOST_3411_341094_ZUL),   ref(asn_algorid_ALG_GOST_3411_341094_ZUL)},
    {gost_341194 | gost_341094 | signalcom, ref(asn_oid_ALG_GOST_3411_341094_SCOM),  ref(asn_algorid_ALG_GOST_3411_341094_SCOM)},
    {gost_341194 | gost_341001,             ref(asn_oid_ALG_GOST_3411_341001),       ref(asn_algorid_ALG_GOST_3411_341001)},
    {gost_341194 | gost_341001 | cryptopro, ref(asn_oid_ALG_GOST_3411_341001),       ref(asn_algorid_ALG_GOST_3411_341001)},
    {gost_341194 | gost_341001 | signalcom, ref(asn_oid_ALG_GOST_3411_341001_SCOM),  ref(asn_algorid_ALG_GOST_3411_341001_SCOM)},
    {gost_341112_256 | gost_341012_256,     ref(asn_oid_ALG_GOST_341112_341012_256), ref(asn_algorid_ALG_GOST_341112_341012_256)},
    {gost_341112_512 | gost_341012_512,     ref(asn_oid_ALG_GOST_341112_341012_512), ref(asn_algorid_ALG_GOST_341112_341012_512)},
};

// clang-format on

constexpr pki_oid_ref_t no_oid = {nullptr, 0};

template <class Row, unsigned N>
const pki_oid_ref_t* find_oid(const Row (&map)[N], pki_alg_t alg,
                              pki_oid_ref_t Row::*column = &Row::oid) {
  for (const Row& row : map) {
    if (row.alg == alg) {
      return &(row.*column);
    }
  }
  return &no_oid;
}

// Q14: the first row.
template <class Row, unsigned N>
pki_alg_t find_alg(const Row (&map)[N], const void* oid, unsigned len) {
  for (const Row& row : map) {
    if (row.oid.size == len && std::memcmp(row.oid.data, oid, len) == 0) {
      return row.alg;
    }
  }
  return 0;
}

}  // namespace

const pki_oid_ref_t* PKI_HASH_ALG_TO_OID(pki_alg_t alg) {
  return find_oid(digest_map, alg);
}

const pki_oid_ref_t* PKI_KEY_ALG_TO_OID(pki_alg_t alg) {
  return find_oid(key_map, alg);
}

const pki_oid_ref_t* PKI_CERT_SIGN_ALG_TO_OID(pki_alg_t alg) {
  return find_oid(signature_map, alg);
}

const pki_oid_ref_t* asn_form_ike_signalg(pki_alg_t alg) {
  return find_oid(signature_map, alg, &signature_t::algorid);
}

pki_alg_t PKI_OID_TO_HASH_ALG(const void* oid, unsigned len) {
  return find_alg(digest_map, oid, len);
}

pki_alg_t PKI_OID_TO_KEY_ALG(const void* oid, unsigned len) {
  return find_alg(key_map, oid, len);
}

pki_alg_t PKI_OID_TO_CERT_SIGN_ALG(const void* oid, unsigned len) {
  return find_alg(signature_map, oid, len);
}

pki_alg_t PKI_OID_TO_ALG(const void* oid, unsigned len) {
  if (const pki_alg_t alg = PKI_OID_TO_HASH_ALG(oid, len)) {
    return alg;
  }
  if (const pki_alg_t alg = PKI_OID_TO_KEY_ALG(oid, len)) {
    return alg;
  }
  return PKI_OID_TO_CERT_SIGN_ALG(oid, len);
}

// ---- DigestInfo ----

// Q15: NULL parameters for every digest, and an empty OID for a code that is no digest's.
void asn_add_alg_to_digest(std::string& digest, pki_alg_t alg) {
  const pki_oid_ref_t* algorithm = PKI_HASH_ALG_TO_OID(alg);
  asn1::assign_public(digest, asn1::digest_info(asn1::oid{blob_t{algorithm->size, algorithm->data}},
                                                asn1::view(digest)));
}

bool asn_read_alg_from_digest(asn_algorid_t* alg, const std::string& digest_info) {
  alg->oid = {};
  asn_iter_t input = {reinterpret_cast<const unsigned char*>(digest_info.data()),
                      static_cast<unsigned>(digest_info.size())};
  asn_iter_t info;
  asn_iter_t algorithm;
  asn_iter_t element;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &info) &&
         asn1_read_tag_i_(asn_tag_t::SEQUENCE, &info, &algorithm) &&
         asn1_read_view_(asn_tag_t::OID, &algorithm, &alg->oid) &&
         asn1_read_tag_i_(asn_tag_t::ANY, &algorithm, &element) &&  // Q16: not optional
         asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &info, &element);
}

// ---- Public keys ----

// SubjectPublicKeyInfo (RFC 5280, 4.1) ::= SEQUENCE { algorithm AlgorithmIdentifier,
//   subjectPublicKey BIT STRING }
// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
bool asn_read_pubkey(const unsigned char* p, long n, asn_pubkey_t& out) {
  if (n < 0 || static_cast<unsigned long>(n) > std::numeric_limits<unsigned>::max()) {
    return false;
  }
  asn_iter_t input = {p, static_cast<unsigned>(n)};
  asn_iter_t info;
  asn_iter_t algorithm;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &info) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &info, &algorithm) ||
      !asn1_read_view_(asn_tag_t::OID, &algorithm, &out.alg)) {
    return false;
  }
  out.params = asn1_view_(algorithm);
  // Q17: not bounded by the SEQUENCE.
  asn_iter_t rest = asn1_rest_({static_cast<unsigned>(n), p}, info.ptr);
  asn_iter_t bits;
  if (!asn1_read_tag_i_(asn_tag_t::BIT_STRING, &rest, &bits) || bits.len == 0) {
    return false;
  }
  out.key = {bits.len - 1, bits.ptr + 1};  // Q18: whatever the first byte says
  return true;
}

// Drops leading zeros, except the last byte. Many at a time, so that a modulus of zeros alone costs
// little more than one that is not looked into.
static void drop_zeros(blob_t& number) {
  static constexpr unsigned char zeros[32] = {};
  while (number.size > sizeof zeros && std::memcmp(number.data, zeros, sizeof zeros) == 0) {
    number.data += sizeof zeros;
    number.size -= static_cast<unsigned>(sizeof zeros);
  }
  while (number.size > 1 && *number.data == 0) {
    ++number.data;
    --number.size;
  }
}

// RSAPublicKey (RFC 8017, A.1.1) ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }
bool asn_read_rsa_pubkey(const asn_pubkey_t& pk, asn_rsa_pubkey_t& out) {
  asn_iter_t input = asn1_iter_(pk.key);
  asn_iter_t key;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &key) ||
      !asn1_read_view_(asn_tag_t::INTEGER, &key, &out.modulus)) {
    return false;
  }
  asn_iter_t rest = asn1_rest_(pk.key, key.ptr);  // Q17
  if (!asn1_read_view_(asn_tag_t::INTEGER, &rest, &out.exponent)) {
    return false;
  }
  drop_zeros(out.modulus);
  return true;
}

// Takes an OBJECT IDENTIFIER off `cur`, as the whole element.
static bool read_oid_element(asn_iter_t* cur, blob_t& element) {
  const unsigned char* begin = cur->ptr;
  asn_iter_t oid;
  if (!asn1_read_tag_i_(asn_tag_t::OID, cur, &oid)) {
    return false;
  }
  element = asn1_view_(asn1_range_(begin, cur->ptr));
  return true;
}

// GostR3410-PublicKeyParameters (RFC 4491, 2.3) ::= SEQUENCE { publicKeyParamSet OBJECT IDENTIFIER,
//   digestParamSet OBJECT IDENTIFIER, encryptionParamSet OBJECT IDENTIFIER OPTIONAL }
// GostR3410-PublicKey ::= OCTET STRING
bool asn_read_gost_pubkey(const asn_pubkey_t& pk, asn_gost_pubkey_t& out) {
  asn_iter_t input = asn1_iter_(pk.params);
  asn_iter_t params;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &params) ||
      !read_oid_element(&params, out.public_key_param_set) ||
      !read_oid_element(&params, out.digest_param_set)) {
    return false;
  }
  if (!read_oid_element(&params, out.encryption_param_set)) {  // Q19
    out.encryption_param_set = {};
  }
  asn_iter_t bits = asn1_iter_(pk.key);
  return asn1_read_view_(asn_tag_t::OCTET_STRING, &bits, &out.key);
}

// ---- Signatures ----

// Dss-Sig-Value (RFC 3279, 2.2.2) ::= SEQUENCE { r INTEGER, s INTEGER }
bool asn_read_dsa_certsign(const unsigned char* p, unsigned n, asn_dsa_certsign_t& out) {
  asn_iter_t input = {p, n};
  asn_iter_t value;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &value) ||
      !asn1_read_view_(asn_tag_t::INTEGER, &value, &out.r)) {
    return false;
  }
  asn_iter_t rest = asn1_rest_({n, p}, value.ptr);  // Q17
  return asn1_read_view_(asn_tag_t::INTEGER, &rest, &out.s);
}

// AlgorithmIdentifier, as certificates and IKE (RFC 7427, A) carry it
bool asn_read_ike_signalg(const unsigned char* p, unsigned n, asn_ike_signalg_t& out) {
  asn_iter_t input = {p, n};
  asn_iter_t algorithm;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &algorithm) ||
      !asn1_read_view_(asn_tag_t::OID, &algorithm, &out.oid)) {
    return false;
  }
  out.params = asn1_view_(asn1_rest_({n, p}, algorithm.ptr));  // Q17
  return true;
}

namespace {

// Takes the field [number] EXPLICIT off `params`, if it comes next, and reads the element of `type`
// in it. False only where the field is there but malformed; `field` is null where it is absent.
bool read_optional_field(unsigned char number, asn_tag_t::Type type, asn_iter_t* params,
                         asn_iter_t* field) {
  *field = {};
  if (!asn1_next_is_(static_cast<asn_tag_t::Type>(asn_tag_t::CONTEXT_0 + number), *params)) {
    return true;
  }
  asn_iter_t wrapper;
  return asn1_read_tag_i_(asn_tag::CONTEXT, number, params, &wrapper) &&
         asn1_read_tag_i_(type, &wrapper, field);
}

// RSASSA-PSS-params (RFC 4055, 3.1) ::= SEQUENCE {
//   hashAlgorithm [0] AlgorithmIdentifier DEFAULT sha1,
//   maskGenAlgorithm [1] AlgorithmIdentifier DEFAULT mgf1SHA1, saltLength [2] INTEGER DEFAULT 20,
//   trailerField [3] INTEGER DEFAULT 1 }
// Yields the hash's OID, left as it was where it is the default. Q20: a field that comes too late
// is not seen.
bool read_pss_hash(const blob_t& der, blob_t& hash) {
  asn_iter_t input = asn1_iter_(der);
  asn_iter_t params;
  asn_iter_t algorithm;
  asn_iter_t ignored;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &params) ||
      !read_optional_field(0, asn_tag_t::SEQUENCE, &params, &algorithm)) {
    return false;
  }
  if (algorithm.ptr != nullptr) {
    if (!asn1_read_view_(asn_tag_t::OID, &algorithm, &hash) ||
        (algorithm.len != 0 && !asn1_read_tag_i_(asn_tag_t::ANY, &algorithm, &ignored))) {
      return false;
    }
  }
  return read_optional_field(1, asn_tag_t::SEQUENCE, &params, &ignored) &&
         read_optional_field(2, asn_tag_t::INTEGER, &params, &ignored) &&
         read_optional_field(3, asn_tag_t::INTEGER, &params, &ignored);
}

}  // namespace

pki_alg_t asn_ike_signalg_t::to_pki_alg() const {
  const pki_alg_t code = PKI_OID_TO_CERT_SIGN_ALG(oid.data, oid.size);
  if (code != rsassa_pss) {
    return code;
  }
  if (params.size == 0) {
    return sha1 | rsassa_pss;
  }
  blob_t hash;
  if (!read_pss_hash(params, hash)) {
    return 0;
  }
  if (hash.data == nullptr) {
    return sha1 | rsassa_pss;
  }
  const pki_alg_t digest = PKI_OID_TO_HASH_ALG(hash.data, hash.size);
  return digest == 0 ? 0 : (digest & hash_mask) | rsassa_pss;  // Q20: named or not
}
