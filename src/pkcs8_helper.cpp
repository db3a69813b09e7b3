// PKCS#5 PBES2 parameters (RFC 8018) and PKCS#8 private keys (RFC 5208), GOST flavours.

#include <cstring>
#include <string>

#include <pkider/pkcs8_helper.h>

#include "asn_cursor.h"
#include "asn_oids.h"
#include "der_writer.h"

using namespace asn1;

// ---- PBES2 ----

namespace {

// PBES2-params  ::= SEQUENCE { keyDerivationFunc SEQUENCE, encryptionScheme SEQUENCE }
// encryptionScheme: cipher OBJECT IDENTIFIER,
//   Gost28147-89-Parameters ::= SEQUENCE { iv OCTET STRING, encryptionParamSet OBJECT IDENTIFIER }
bool read_cipher(asn_iter_t* params, blob_t& cipher, blob_t& iv) {
  asn_iter_t scheme;
  asn_iter_t cipher_params;
  blob_t param_set;  // Q41: any is accepted
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, params, &scheme) &&
         asn1_read_view_(asn_tag_t::OID, &scheme, &cipher) &&
         asn1_read_tag_i_(asn_tag_t::SEQUENCE, &scheme, &cipher_params) &&
         asn1_read_view_(asn_tag_t::OCTET_STRING, &cipher_params, &iv) &&
         asn1_read_view_(asn_tag_t::OID, &cipher_params, &param_set);
}

// keyDerivationFunc: kdf OBJECT IDENTIFIER,
//   PBKDF2-params ::= SEQUENCE { salt OCTET STRING, iterationCount INTEGER,
//                                keyLength INTEGER OPTIONAL, prf AlgorithmIdentifier }
bool read_kdf(asn_iter_t kdf, pkcs5_pbe_gost_t& out) {
  blob_t kdf_oid;
  blob_t prf_oid;
  asn_iter_t params;
  asn_iter_t iterations;
  asn_iter_t prf;
  asn_iter_t ignored;
  if (!asn1_read_view_(asn_tag_t::OID, &kdf, &kdf_oid) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &kdf, &params) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &params, &out.salt) ||
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &params, &iterations)) {
    return false;
  }
  if (asn1_next_is_(asn_tag_t::INTEGER, params) &&
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &params, &ignored)) {  // Q41: the keyLength
    return false;
  }
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &params, &prf) ||
      !asn1_read_view_(asn_tag_t::OID, &prf, &prf_oid) ||
      !asn1_read_tag_i_(asn_tag_t::ANY, &prf, &ignored)) {  // Q42: not optional
    return false;
  }
  return asn_oid_equal_(kdf_oid, g_oid_PBKDF2) && asn_oid_equal_(prf_oid, g_oid_HMAC_GOSTR3411) &&
         asn_read_INTEGER(iterations.ptr, iterations.len, out.iterations, 0xFFFFFFFF);
}

// Q43: the content of AlgorithmIdentifier ::= SEQUENCE { scheme OBJECT IDENTIFIER, PBES2-params }
bool asn_read_pkcs5_PBES2(const unsigned char* der, unsigned len, pkcs5_pbe_gost_t& out) {
  asn_iter_t input = {der, len};
  asn_iter_t params;
  asn_iter_t kdf;
  blob_t scheme;
  blob_t cipher;
  if (!asn1_read_view_(asn_tag_t::OID, &input, &scheme) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &params) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &params, &kdf) ||
      !read_cipher(&params, cipher, out.iv)) {
    return false;
  }
  if (!asn_oid_equal_(scheme, g_oid_PBES2) || !asn_oid_equal_(cipher, g_oid_gost28147_89)) {
    return false;
  }
  return read_kdf(kdf, out);
}

auto kdf(const pkcs5_pbe_gost_t& in) {
  return sequence{oid{g_oid_PBKDF2}, sequence{octet_string{in.salt}, integer{in.iterations},
                                              sequence{oid{g_oid_HMAC_GOSTR3411}, null{}}}};
}

auto encryption_scheme(const pkcs5_pbe_gost_t& in) {
  return sequence{oid{g_oid_gost28147_89},
                  sequence{octet_string{in.iv}, oid{g_oid_encryptionParamSet}}};
}

// Q43: the whole AlgorithmIdentifier. Q41: always with parameter set A and without keyLength.
auto pbes2(const pkcs5_pbe_gost_t& in) {
  return sequence{oid{g_oid_PBES2}, sequence{kdf(in), encryption_scheme(in)}};
}

}  // namespace

bool asn_read_pkcs5_pbe_gost(const unsigned char* der, unsigned len, pkcs5_pbe_gost_t& out) {
  return asn_read_pkcs5_PBES2(der, len, out);
}

void asn_write_pkcs5_pbe_gost(const pkcs5_pbe_gost_t& in, std::string& out) {
  assign(out, pbes2(in));
}

// ---- PrivateKeyInfo ----

// PrivateKeyInfo ::= SEQUENCE { version INTEGER, privateKeyAlgorithm AlgorithmIdentifier,
//   privateKey OCTET STRING, attributes [0] Attributes OPTIONAL }
bool asn_read_pkcs8_priv_key_info(const unsigned char* der, unsigned len,
                                  asn_pkcs8_priv_key_info_t& out) {
  asn_iter_t input = {der, len};
  asn_iter_t info;
  asn_iter_t algorithm;
  asn_iter_t ignored;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &info) &&
         asn1_read_tag_i_(asn_tag_t::INTEGER, &info, &ignored) &&  // Q44: any version
         asn1_read_tag_i_(asn_tag_t::SEQUENCE, &info, &algorithm) &&
         asn1_read_view_(asn_tag_t::OID, &algorithm, &out.algorithm) &&
         asn1_read_tag_i_(asn_tag_t::ANY, &algorithm, &ignored) &&  // Q42
         asn1_read_view_(asn_tag_t::OCTET_STRING, &info, &out.private_key);
}

namespace {

// A kind of GOST key: its algorithm, and the parameter set that is written for it.
struct gost_kind_t {
  pkcs8_gost_alg_t key_alg;
  blob_t algorithm;
  blob_t param_set;
};

template <unsigned N, unsigned M>
constexpr gost_kind_t kind(pkcs8_gost_alg_t key_alg, const unsigned char (&algorithm)[N],
                           const unsigned char (&param_set)[M]) {
  return {key_alg, {N, algorithm}, {M, param_set}};
}

constexpr gost_kind_t gost_kinds[] = {
    kind(PKCS8_GOST_2001, g_oid_ALG_GOST_341001, g_id_GostR3410_2001_CryptoPro_A_ParamSet),
    kind(PKCS8_GOST_2012_256, g_oid_ALG_GOST_341012_256, g_oid_tc26_gost_3410_12_256_paramSetA),
    kind(PKCS8_GOST_2012_512, g_oid_ALG_GOST_341012_512, g_oid_tc26_gost_3410_12_512_paramSetA),
};

// The kind to write. Q45: for an unknown one both OIDs are empty.
gost_kind_t find_kind(pkcs8_gost_alg_t key_alg) {
  for (const gost_kind_t& row : gost_kinds) {
    if (row.key_alg == key_alg) {
      return row;
    }
  }
  return {key_alg, {}, {}};
}

}  // namespace

// GostR3410-PrivateKey ::= OCTET STRING, in privateKey
bool asn_read_pkcs8_pki_gost(const unsigned char* der, unsigned len, pkcs8_pki_gost_t& out) {
  asn_pkcs8_priv_key_info_t info;
  if (!asn_read_pkcs8_priv_key_info(der, len, info)) {
    return false;
  }
  for (const gost_kind_t& row : gost_kinds) {
    if (row.algorithm.size == info.algorithm.size &&
        std::memcmp(row.algorithm.data, info.algorithm.data, row.algorithm.size) == 0) {
      out.key_alg = row.key_alg;
      asn_iter_t octets = asn1_iter_(info.private_key);
      return asn1_read_view_(asn_tag_t::OCTET_STRING, &octets, &out.private_key);
    }
  }
  return false;
}

// Q45: the same digest set for every kind, and the octets in a second OCTET STRING.
void asn_write_pkcs8_pki_gost(const pkcs8_pki_gost_t& in, std::string& out) {
  const gost_kind_t kind = find_kind(in.key_alg);
  assign(out,
         sequence{integer{0},
                  sequence{oid{kind.algorithm},
                           sequence{oid{kind.param_set}, oid{g_id_GostR3411_94_CryptoProParamSet}}},
                  octet_string{octet_string{in.private_key}}});
}

// ---- EncryptedPrivateKeyInfo ----

// EncryptedPrivateKeyInfo ::= SEQUENCE { encryptionAlgorithm AlgorithmIdentifier,
//   encryptedData OCTET STRING }
bool asn_read_pkcs8_encrypted_pki_gost(const unsigned char* der, unsigned len,
                                       pkcs8_encrypted_pki_gost_t& out) {
  asn_iter_t input = {der, len};
  asn_iter_t info;
  asn_iter_t algorithm;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &info) &&
         asn1_read_tag_i_(asn_tag_t::SEQUENCE, &info, &algorithm) &&
         asn1_read_view_(asn_tag_t::OCTET_STRING, &info, &out.encrypted_data) &&
         asn_read_pkcs5_PBES2(algorithm.ptr, algorithm.len, out.pbe);
}

void asn_write_pkcs8_encrypted_pki_gost(const pkcs8_encrypted_pki_gost_t& in, std::string& out) {
  assign(out, sequence{pbes2(in.pbe), octet_string{in.encrypted_data}});
}
