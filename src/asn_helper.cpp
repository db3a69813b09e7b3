#include <cstring>
#include <limits>

#include <pkider/asn_helper.h>
#include <pkider/asn_tag.h>

#include "asn_cursor.h"
#include "asn_oids.h"
#include "der_writer.h"
#include "out_string.h"

// ---- Algorithm codes ----

// clang-format off

// getInt finds the first of equal names: the order matters.
const IntToString I2S_PKI_ALG_T[] = {
    {0x00000001, "RSA"},
    {0x00000003, "DSA"},
    {0x00000004, "DHKA"},
    {0x00000005, "OLD DSA"},
    {0x00000006, "DHPN"},
    {0x00000007, "RC2"},
    {0x00000008, "RC4"},
    {0x00000009, "RC5"},
    {0x0000000A, "DES"},
    {0x0000000B, "2KEY 3DES"},
    {0x0000000C, "3KEY 3DES"},
    {0x0000000E, "GOST R 34.10-94"},
    {0x0000010E, "GOST R 34.10-2001"},
    {0x0000010F, "GOST R 34.10-2012 256"},
    {0x00000110, "GOST R 34.10-2012 512"},
    {0x0100000E, "GOST R 34.10-94 (ZUL)"},
    {0x0200000E, "GOST R 34.10-94 (CPRO)"},
    {0x0200010E, "GOST R 34.10-2001 (CPRO)"},
    {0x0400000E, "GOST R 34.10-94 (SignalCOM)"},
    {0x0400010E, "GOST R 34.10-2001 (SignalCOM)"},
    {0x00010000, "SHA"},
    {0x00020000, "SHA1"},
    {0x00030000, "SHA224"},
    {0x00040000, "SHA256"},
    {0x00050000, "SHA384"},
    {0x00060000, "SHA512"},
    {0x00070000, "MD2"},
    {0x00080000, "MD5"},
    {0x00090000, "GOST 34.11-94"},
    {0x000A0000, "GOST 34.11-2012 256"},
    {0x000B0000, "GOST 34.11-2012 512"},
    {0x01090000, "GOST 34.11-94 (ZUL)"},
    {0x02090000, "GOST 34.11-94 (CPRO)"},
    {0x04090000, "GOST 34.11-94 (SignalCOM)"},
    {0x00010001, "shaRSA"},
    {0x00020001, "sha1RSA"},
    {0x00030001, "sha224RSA"},
    {0x00040001, "sha256RSA"},
    {0x00050001, "sha384RSA"},
    {0x00060001, "sha512RSA"},
    {0x00000002, "RSASSA-PSS"},
    {0x00020002, "sha1RSASSA-PSS"},
    {0x00030002, "sha224RSASSA-PSS"},
    {0x00040002, "sha256RSASSA-PSS"},
    {0x00050002, "sha384RSASSA-PSS"},
    {0x00060002, "sha512RSASSA-PSS"},
    {0x00070001, "md2RSA"},
    {0x00080001, "md5RSA"},
    {0x00010003, "shaDSA"},
    {0x00020003, "sha1DSA"},
    {0x0002000B, "2KEY 3DES SHA1"},
    {0x0002000C, "3KEY 3DES SHA1"},
    {0x0002000D, "sha1HMAC"},
    {0x0009000E, "GOST R 34.11/34.10-94"},
    {0x0009010E, "GOST R 34.11/34.10-2001"},
    {0x000A010F, "GOST R 34.11-2012/34.10-2012 256"},
    {0x000B0110, "GOST R 34.11-2012/34.10-2012 512"},
    {0x0109000E, "GOST R 34.11/34.10-94 (ZUL)"},
    {0x0209000E, "GOST R 34.11/34.10-94 (CryptoPro)"},
    {0x0209010E, "GOST R 34.11/34.10-2001 (CryptoPro)"},
    {0x0409000E, "GOST R 34.11/34.10-94 (SignalCOM)"},
    {0x0409010E, "GOST R 34.11/34.10-2001 (SignalCOM)"},
    {0, nullptr},
};

// clang-format on

namespace {

struct alg_oid_t {
  pki_alg_t alg;
  pki_oid_ref_t oid;
};

template <unsigned N>
constexpr pki_oid_ref_t ref(const unsigned char (&bytes)[N]) {
  return {bytes, N};
}

// Q14: in every map the first match wins. Plain forms stand before CryptoPro's, which share their
// OIDs.
// clang-format off

constexpr alg_oid_t digest_map[] = {
    {0x00070000, ref(asn_oid_ALG_MD2)},              // MD2
    {0x00080000, ref(asn_oid_ALG_MD5)},              // MD5
    {0x00010000, ref(asn_oid_ALG_SHA)},              // SHA
    {0x00020000, ref(asn_oid_ALG_SHA1)},             // SHA1
    {0x00030000, ref(asn_oid_ALG_SHA224)},           // SHA224
    {0x00040000, ref(asn_oid_ALG_SHA256)},           // SHA256
    {0x00050000, ref(asn_oid_ALG_SHA384)},           // SHA384
    {0x00060000, ref(asn_oid_ALG_SHA512)},           // SHA512
    {0x00090000, ref(g_oid_GOSTR3411)},              // GOST 34.11-94
    {0x02090000, ref(g_oid_GOSTR3411)},              // GOST 34.11-94 (CPRO)
    {0x01090000, ref(asn_oid_ALG_GOST_3411_ZUL)},    // GOST 34.11-94 (ZUL)
    {0x000A0000, ref(asn_oid_ALG_GOST_341112_256)},  // GOST 34.11-2012 256
    {0x000B0000, ref(asn_oid_ALG_GOST_341112_512)},  // GOST 34.11-2012 512
};

constexpr alg_oid_t key_map[] = {
    {0x00000001, ref(asn_oid_ALG_RSA)},               // RSA
    {0x00000003, ref(asn_oid_ALG_DSA)},               // DSA
    {0x0000000E, ref(asn_oid_ALG_GOST_341094)},       // GOST R 34.10-94
    {0x0200000E, ref(asn_oid_ALG_GOST_341094)},       // GOST R 34.10-94 (CPRO)
    {0x0100000E, ref(asn_oid_ALG_GOST_341094_ZUL)},   // GOST R 34.10-94 (ZUL)
    {0x0400000E, ref(asn_oid_ALG_GOST_341094_SCOM)},  // GOST R 34.10-94 (SignalCOM)
    {0x0000010E, ref(g_oid_ALG_GOST_341001)},         // GOST R 34.10-2001
    {0x0200010E, ref(g_oid_ALG_GOST_341001)},         // GOST R 34.10-2001 (CPRO)
    {0x0400010E, ref(asn_oid_ALG_GOST_341001_SCOM)},  // GOST R 34.10-2001 (SignalCOM)
    {0x0000010F, ref(g_oid_ALG_GOST_341012_256)},     // GOST R 34.10-2012 256
    {0x00000110, ref(g_oid_ALG_GOST_341012_512)},     // GOST R 34.10-2012 512
};

constexpr alg_oid_t cert_sign_map[] = {
    {0x00020001, ref(asn_oid_ALG_sha1RSA)},                 // sha1RSA
    {0x00020001, ref(asn_oid_ALG_sha1RSA_oiw)},             // sha1RSA
    {0x00030001, ref(asn_oid_ALG_sha224RSA)},               // sha224RSA
    {0x00040001, ref(asn_oid_ALG_sha256RSA)},               // sha256RSA
    {0x00050001, ref(asn_oid_ALG_sha384RSA)},               // sha384RSA
    {0x00060001, ref(asn_oid_ALG_sha512RSA)},               // sha512RSA
    {0x00070001, ref(asn_oid_ALG_md2RSA)},                  // md2RSA
    {0x00080001, ref(asn_oid_ALG_md5RSA)},                  // md5RSA
    {0x00020003, ref(asn_oid_ALG_sha1DSA)},                 // sha1DSA
    {0x00000002, ref(asn_oid_ALG_RSASSA_PSS)},              // RSASSA-PSS
    {0x00020002, ref(asn_oid_ALG_RSASSA_PSS)},              // sha1RSASSA-PSS
    {0x00030002, ref(asn_oid_ALG_RSASSA_PSS)},              // sha224RSASSA-PSS
    {0x00040002, ref(asn_oid_ALG_RSASSA_PSS)},              // sha256RSASSA-PSS
    {0x00050002, ref(asn_oid_ALG_RSASSA_PSS)},              // sha384RSASSA-PSS
    {0x00060002, ref(asn_oid_ALG_RSASSA_PSS)},              // sha512RSASSA-PSS
    {0x0009000E, ref(asn_oid_ALG_GOST_3411_341094)},        // GOST R 34.11/34.10-94
    {0x0209000E, ref(asn_oid_ALG_GOST_3411_341094)},        // GOST R 34.11/34.10-94 (CryptoPro)
    {0x0109000E, ref(asn_oid_ALG_GOST_3411_341094_ZUL)},    // GOST R 34.11/34.10-94 (ZUL)
    {0x0409000E, ref(asn_oid_ALG_GOST_3411_341094_SCOM)},   // GOST R 34.11/34.10-94 (SignalCOM)
    {0x0009010E, ref(asn_oid_ALG_GOST_3411_341001)},        // GOST R 34.11/34.10-2001
    {0x0209010E, ref(asn_oid_ALG_GOST_3411_341001)},        // GOST R 34.11/34.10-2001 (CryptoPro)
    {0x0409010E, ref(asn_oid_ALG_GOST_3411_341001_SCOM)},   // GOST R 34.11/34.10-2001 (SignalCOM)
    {0x000A010F, ref(asn_oid_ALG_GOST_341112_341012_256)},  // GOST R 34.11-2012/34.10-2012 256
    {0x000B0110, ref(asn_oid_ALG_GOST_341112_341012_512)},  // GOST R 34.11-2012/34.10-2012 512
};

// Whole AlgorithmIdentifiers: NULL parameters for RSA, the hash alone for RSASSA-PSS, none for the
// others.
constexpr unsigned char asn_algorid_ALG_sha1RSA[] = {
    0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x05, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha1RSA_oiw[] = {
    0x30, 0x09, 0x06, 0x05, 0x2B, 0x0E, 0x03, 0x02, 0x1D, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha224RSA[] = {
    0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0E, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha256RSA[] = {
    0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0B, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha384RSA[] = {
    0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0C, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha512RSA[] = {
    0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0D, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_md2RSA[] = {
    0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x02, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_md5RSA[] = {
    0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x04, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha1DSA[] = {
    0x30, 0x09, 0x06, 0x07, 0x2A, 0x86, 0x48, 0xCE, 0x38, 0x04, 0x03};
constexpr unsigned char asn_algorid_ALG_RSASSA_PSS[] = {
    0x30, 0x0B, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A};
constexpr unsigned char asn_algorid_ALG_sha1RSASSA_PSS[] = {
    0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x00};
constexpr unsigned char asn_algorid_ALG_sha224RSASSA_PSS[] = {
    0x30, 0x1E, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x11, 0xA0,
    0x0F, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x04, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha256RSASSA_PSS[] = {
    0x30, 0x1E, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x11, 0xA0,
    0x0F, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha384RSASSA_PSS[] = {
    0x30, 0x1E, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x11, 0xA0,
    0x0F, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_sha512RSASSA_PSS[] = {
    0x30, 0x1E, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x11, 0xA0,
    0x0F, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03, 0x05, 0x00};
constexpr unsigned char asn_algorid_ALG_GOST_3411_341094[] = {
    0x30, 0x08, 0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x04};
constexpr unsigned char asn_algorid_ALG_GOST_3411_341094_ZUL[] = {
    0x30, 0x0B, 0x06, 0x09, 0x2B, 0x06, 0x01, 0x04, 0x01, 0xA4, 0x79, 0x01, 0x06};
constexpr unsigned char asn_algorid_ALG_GOST_3411_341094_SCOM[] = {
    0x30, 0x0C, 0x06, 0x0A, 0x2B, 0x06, 0x01, 0x04, 0x01, 0xAD, 0x59, 0x01, 0x03, 0x01};
constexpr unsigned char asn_algorid_ALG_GOST_3411_341001[] = {
    0x30, 0x08, 0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x03};
constexpr unsigned char asn_algorid_ALG_GOST_3411_341001_SCOM[] = {
    0x30, 0x0C, 0x06, 0x0A, 0x2B, 0x06, 0x01, 0x04, 0x01, 0xAD, 0x59, 0x01, 0x03, 0x02};
constexpr unsigned char asn_algorid_ALG_GOST_341112_341012_256[] = {
    0x30, 0x0A, 0x06, 0x08, 0x2A, 0x85, 0x03, 0x07, 0x01, 0x01, 0x03, 0x02};
constexpr unsigned char asn_algorid_ALG_GOST_341112_341012_512[] = {
    0x30, 0x0A, 0x06, 0x08, 0x2A, 0x85, 0x03, 0x07, 0x01, 0x01, 0x03, 0x03};

constexpr alg_oid_t ike_signalg_map[] = {
    {0x00020001, ref(asn_algorid_ALG_sha1RSA)},                 // sha1RSA
    {0x00020001, ref(asn_algorid_ALG_sha1RSA_oiw)},             // sha1RSA
    {0x00030001, ref(asn_algorid_ALG_sha224RSA)},               // sha224RSA
    {0x00040001, ref(asn_algorid_ALG_sha256RSA)},               // sha256RSA
    {0x00050001, ref(asn_algorid_ALG_sha384RSA)},               // sha384RSA
    {0x00060001, ref(asn_algorid_ALG_sha512RSA)},               // sha512RSA
    {0x00070001, ref(asn_algorid_ALG_md2RSA)},                  // md2RSA
    {0x00080001, ref(asn_algorid_ALG_md5RSA)},                  // md5RSA
    {0x00020003, ref(asn_algorid_ALG_sha1DSA)},                 // sha1DSA
    {0x00000002, ref(asn_algorid_ALG_RSASSA_PSS)},              // RSASSA-PSS
    {0x00020002, ref(asn_algorid_ALG_sha1RSASSA_PSS)},          // sha1RSASSA-PSS
    {0x00030002, ref(asn_algorid_ALG_sha224RSASSA_PSS)},        // sha224RSASSA-PSS
    {0x00040002, ref(asn_algorid_ALG_sha256RSASSA_PSS)},        // sha256RSASSA-PSS
    {0x00050002, ref(asn_algorid_ALG_sha384RSASSA_PSS)},        // sha384RSASSA-PSS
    {0x00060002, ref(asn_algorid_ALG_sha512RSASSA_PSS)},        // sha512RSASSA-PSS
    {0x0009000E, ref(asn_algorid_ALG_GOST_3411_341094)},        // GOST R 34.11/34.10-94
    {0x0209000E, ref(asn_algorid_ALG_GOST_3411_341094)},        // GOST R 34.11/34.10-94 (CryptoPro)
    {0x0109000E, ref(asn_algorid_ALG_GOST_3411_341094_ZUL)},    // GOST R 34.11/34.10-94 (ZUL)
    {0x0409000E, ref(asn_algorid_ALG_GOST_3411_341094_SCOM)},   // GOST R 34.11/34.10-94 (SignalCOM)
    {0x0009010E, ref(asn_algorid_ALG_GOST_3411_341001)},        // GOST R 34.11/34.10-2001
    {0x0209010E, ref(asn_algorid_ALG_GOST_3411_341001)},        // GOST R 34.11/34.10-2001 (CryptoPro)
    {0x0409010E, ref(asn_algorid_ALG_GOST_3411_341001_SCOM)},   // GOST R 34.11/34.10-2001 (SignalCOM)
    {0x000A010F, ref(asn_algorid_ALG_GOST_341112_341012_256)},  // GOST R 34.11-2012/34.10-2012 256
    {0x000B0110, ref(asn_algorid_ALG_GOST_341112_341012_512)},  // GOST R 34.11-2012/34.10-2012 512
};

// clang-format on

constexpr pki_oid_ref_t no_oid = {nullptr, 0};

template <unsigned N>
const pki_oid_ref_t* find_oid(const alg_oid_t (&map)[N], pki_alg_t alg) {
  for (const alg_oid_t& row : map) {
    if (row.alg == alg) {
      return &row.oid;
    }
  }
  return &no_oid;
}

template <unsigned N>
pki_alg_t find_alg(const alg_oid_t (&map)[N], const void* oid, unsigned len) {
  for (const alg_oid_t& row : map) {
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
  return find_oid(cert_sign_map, alg);
}

const pki_oid_ref_t* asn_form_ike_signalg(pki_alg_t alg) {
  return find_oid(ike_signalg_map, alg);
}

pki_alg_t PKI_OID_TO_HASH_ALG(const void* oid, unsigned len) {
  return find_alg(digest_map, oid, len);
}

pki_alg_t PKI_OID_TO_KEY_ALG(const void* oid, unsigned len) {
  return find_alg(key_map, oid, len);
}

pki_alg_t PKI_OID_TO_CERT_SIGN_ALG(const void* oid, unsigned len) {
  return find_alg(cert_sign_map, oid, len);
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

// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
void asn_add_alg_to_digest(std::string& digest, pki_alg_t alg) {
  const pki_oid_ref_t* oid = PKI_HASH_ALG_TO_OID(alg);
  asn_tag_t_<32> algorithm(asn_tag_t::SEQUENCE);
  algorithm.append_element(asn_tag_t::OID, oid->data, oid->size);  // Q15: empty for no digest
  algorithm.append_element(asn_tag_t::NULL_TAG, nullptr, 0);
  asn_tag_t_<128> digest_info(asn_tag_t::SEQUENCE);
  digest_info.append_tag(algorithm);
  digest_info.append_element(asn_tag_t::OCTET_STRING, digest.data(), size32_(digest));
  assign_tag_(digest, digest_info);
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

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
// AlgorithmIdentifier  ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
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

// Drops leading zeros, but for the last byte: many at a time, so that a modulus of nothing else
// costs little more than one that is not looked into.
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

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }
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

// GostR3410-PublicKeyParameters ::= SEQUENCE { publicKeyParamSet OBJECT IDENTIFIER,
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

// Dss-Sig-Value ::= SEQUENCE { r INTEGER, s INTEGER }
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

constexpr pki_alg_t rsassa_pss = 0x00000002;
constexpr pki_alg_t sha1_rsassa_pss = 0x00020002;

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

// RSASSA-PSS-params ::= SEQUENCE { hashAlgorithm [0] AlgorithmIdentifier DEFAULT sha1,
//   maskGenAlgorithm [1] AlgorithmIdentifier DEFAULT mgf1SHA1, saltLength [2] INTEGER DEFAULT 20,
//   trailerField [3] INTEGER DEFAULT 1 }
// Yields the hash's OID, left as it was where it is the default.
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
    return sha1_rsassa_pss;
  }
  blob_t hash;
  if (!read_pss_hash(params, hash)) {
    return 0;
  }
  if (hash.data == nullptr) {
    return sha1_rsassa_pss;
  }
  const pki_alg_t digest = PKI_OID_TO_HASH_ALG(hash.data, hash.size);
  return digest == 0 ? 0 : (digest & 0x00FFFFFD) | rsassa_pss;  // Q20: named or not
}
