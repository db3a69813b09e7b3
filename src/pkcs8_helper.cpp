#include <pkider/asn_tag.h>
#include <pkider/pkcs8_helper.h>

#include "asn_cursor.h"
#include "asn_oids.h"
#include "der_writer.h"
#include "out_string.h"
#include "secret.h"

namespace {

template <unsigned N, unsigned M>
void append_oid(asn_tag_t_<N>& parent, const unsigned char (&oid)[M]) {
  parent.append_element(asn_tag_t::OID, oid, M);
}

// ---- PBES2 ----

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
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &params, &ignored)) {
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

}  // namespace

bool asn_read_pkcs5_pbe_gost(const unsigned char* der, unsigned len, pkcs5_pbe_gost_t& out) {
  return asn_read_pkcs5_PBES2(der, len, out);
}

void asn_write_pkcs5_pbe_gost(const pkcs5_pbe_gost_t& in, std::string& out) {
  asn_tag_t_<32> prf(asn_tag_t::SEQUENCE);
  append_oid(prf, g_oid_HMAC_GOSTR3411);
  prf.append_element(asn_tag_t::NULL_TAG, nullptr, 0);

  asn_tag_t_<64> kdf_params(asn_tag_t::SEQUENCE);
  kdf_params.append_element(asn_tag_t::OCTET_STRING, in.salt.data, in.salt.size);
  append_INTEGER_(kdf_params, in.iterations);
  kdf_params.append_tag(prf);

  asn_tag_t_<96> kdf(asn_tag_t::SEQUENCE);
  append_oid(kdf, g_oid_PBKDF2);
  kdf.append_tag(kdf_params);

  asn_tag_t_<40> cipher_params(asn_tag_t::SEQUENCE);
  cipher_params.append_element(asn_tag_t::OCTET_STRING, in.iv.data, in.iv.size);
  append_oid(cipher_params, g_oid_encryptionParamSet);

  asn_tag_t_<64> cipher(asn_tag_t::SEQUENCE);
  append_oid(cipher, g_oid_gost28147_89);
  cipher.append_tag(cipher_params);

  asn_tag_t_<128> params(asn_tag_t::SEQUENCE);
  params.append_tag(kdf);
  params.append_tag(cipher);

  asn_tag_t_<256> algorithm(asn_tag_t::SEQUENCE);
  append_oid(algorithm, g_oid_PBES2);
  algorithm.append_tag(params);
  assign_tag_(out, algorithm);
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

// The kind to write; for an unknown one both OIDs are empty.
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

void asn_write_pkcs8_pki_gost(const pkcs8_pki_gost_t& in, std::string& out) {
  const gost_kind_t kind = find_kind(in.key_alg);
  asn_tag_t_<32> params(asn_tag_t::SEQUENCE);
  params.append_element(asn_tag_t::OID, kind.param_set.data, kind.param_set.size);
  append_oid(params, g_id_GostR3411_94_CryptoProParamSet);  // Q45: for every kind

  asn_tag_t_<64> algorithm(asn_tag_t::SEQUENCE);
  algorithm.append_element(asn_tag_t::OID, kind.algorithm.data, kind.algorithm.size);
  algorithm.append_tag(params);

  secret_tag_t_<64> octets(asn_tag_t::OCTET_STRING);
  octets.append_bytes(in.private_key.data, in.private_key.size);

  secret_tag_t_<128> info(asn_tag_t::SEQUENCE);
  append_INTEGER_(info, 0);
  info.append_tag(algorithm);
  info.append_element(asn_tag_t::OCTET_STRING, octets.encoded(), octets.encoded_size());
  assign_tag_(out, info);
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
  std::string algorithm;
  asn_write_pkcs5_pbe_gost(in.pbe, algorithm);
  asn_tag_t_<512> info(asn_tag_t::SEQUENCE);
  info.append_bytes(algorithm.data(), size32_(algorithm));
  info.append_element(asn_tag_t::OCTET_STRING, in.encrypted_data.data, in.encrypted_data.size);
  assign_tag_(out, info);
}
