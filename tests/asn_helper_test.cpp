#include "asn_helper.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <sstream>
#include <vector>

#include "asn_oids.h"
#include "test_util.h"

namespace {

static_assert(sizeof(void*) != 4 || (sizeof(pki_oid_ref_t) == 8 && sizeof(asn_pubkey_t) == 24 &&
                                     sizeof(asn_gost_pubkey_t) == 32));

using rows_t = std::vector<std::pair<pki_alg_t, std::string>>;

// Rows of a code in hex and a dotted OID.
rows_t parse_rows(const char* text) {
  std::istringstream in(text);
  rows_t rows;
  std::string oid;
  for (pki_alg_t code = 0; in >> std::hex >> code >> oid;) {
    rows.emplace_back(code, oid_der(oid));
  }
  return rows;
}

const rows_t digests = parse_rows(
    "70000 1.2.840.113549.2.2 80000 1.2.840.113549.2.5 10000 1.3.14.3.2.18 20000 1.3.14.3.2.26 "
    "30000 2.16.840.1.101.3.4.2.4 40000 2.16.840.1.101.3.4.2.1 50000 2.16.840.1.101.3.4.2.2 "
    "60000 2.16.840.1.101.3.4.2.3 90000 1.2.643.2.2.9 2090000 1.2.643.2.2.9 "
    "1090000 1.3.6.1.4.1.4729.1.5 A0000 1.2.643.7.1.1.2.2 B0000 1.2.643.7.1.1.2.3");
const rows_t keys = parse_rows(
    "1 1.2.840.113549.1.1.1 3 1.2.840.10040.4.1 E 1.2.643.2.2.20 200000E 1.2.643.2.2.20 "
    "100000E 1.3.6.1.4.1.4729.1.10 400000E 1.3.6.1.4.1.5849.1.1.5 10E 1.2.643.2.2.19 "
    "200010E 1.2.643.2.2.19 400010E 1.3.6.1.4.1.5849.1.6.2 10F 1.2.643.7.1.1.1.1 "
    "110 1.2.643.7.1.1.1.2");
const rows_t signatures = parse_rows(
    "20001 1.2.840.113549.1.1.5 20001 1.3.14.3.2.29 30001 1.2.840.113549.1.1.14 "
    "40001 1.2.840.113549.1.1.11 50001 1.2.840.113549.1.1.12 60001 1.2.840.113549.1.1.13 "
    "70001 1.2.840.113549.1.1.2 80001 1.2.840.113549.1.1.4 20003 1.2.840.10040.4.3 "
    "2 1.2.840.113549.1.1.10 20002 1.2.840.113549.1.1.10 30002 1.2.840.113549.1.1.10 "
    "40002 1.2.840.113549.1.1.10 50002 1.2.840.113549.1.1.10 60002 1.2.840.113549.1.1.10 "
    "9000E 1.2.643.2.2.4 209000E 1.2.643.2.2.4 109000E 1.3.6.1.4.1.4729.1.6 "
    "409000E 1.3.6.1.4.1.5849.1.3.1 9010E 1.2.643.2.2.3 209010E 1.2.643.2.2.3 "
    "409010E 1.3.6.1.4.1.5849.1.3.2 A010F 1.2.643.7.1.1.3.2 B0110 1.2.643.7.1.1.3.3");

constexpr char names[] =
    "1 RSA,3 DSA,4 DHKA,5 OLD DSA,6 DHPN,7 RC2,8 RC4,9 RC5,A DES,B 2KEY 3DES,C 3KEY 3DES,"
    "E GOST R 34.10-94,10E GOST R 34.10-2001,10F GOST R 34.10-2012 256,110 GOST R 34.10-2012 512,"
    "100000E GOST R 34.10-94 (ZUL),200000E GOST R 34.10-94 (CPRO),"
    "200010E GOST R 34.10-2001 (CPRO),400000E GOST R 34.10-94 (SignalCOM),"
    "400010E GOST R 34.10-2001 (SignalCOM),10000 SHA,20000 SHA1,30000 SHA224,40000 SHA256,"
    "50000 SHA384,60000 SHA512,70000 MD2,80000 MD5,90000 GOST 34.11-94,A0000 GOST 34.11-2012 256,"
    "B0000 GOST 34.11-2012 512,1090000 GOST 34.11-94 (ZUL),2090000 GOST 34.11-94 (CPRO),"
    "4090000 GOST 34.11-94 (SignalCOM),10001 shaRSA,20001 sha1RSA,30001 sha224RSA,40001 sha256RSA,"
    "50001 sha384RSA,60001 sha512RSA,2 RSASSA-PSS,20002 sha1RSASSA-PSS,30002 sha224RSASSA-PSS,"
    "40002 sha256RSASSA-PSS,50002 sha384RSASSA-PSS,60002 sha512RSASSA-PSS,70001 md2RSA,"
    "80001 md5RSA,10003 shaDSA,20003 sha1DSA,2000B 2KEY 3DES SHA1,2000C 3KEY 3DES SHA1,"
    "2000D sha1HMAC,9000E GOST R 34.11/34.10-94,9010E GOST R 34.11/34.10-2001,"
    "A010F GOST R 34.11-2012/34.10-2012 256,B0110 GOST R 34.11-2012/34.10-2012 512,"
    "109000E GOST R 34.11/34.10-94 (ZUL),209000E GOST R 34.11/34.10-94 (CryptoPro),"
    "209010E GOST R 34.11/34.10-2001 (CryptoPro),409000E GOST R 34.11/34.10-94 (SignalCOM),"
    "409010E GOST R 34.11/34.10-2001 (SignalCOM),";

TEST(Algorithms, Names) {
  std::ostringstream rows;
  for (const IntToString* row = I2S_PKI_ALG_T; row->name != nullptr; ++row) {
    rows << std::hex << std::uppercase << row->value << ' ' << row->name << ',';
  }
  EXPECT_EQ(rows.str(), names);
  EXPECT_STREQ(I2S_PKI_ALG_T->getString(0x0109000E, "?"), "GOST R 34.11/34.10-94 (ZUL)");
  EXPECT_EQ(I2S_PKI_ALG_T->getInt("sha1rsa", 0), 0x00020001u);
}

// One map both ways; the first row of each code and of each OID wins.
void expect_map(const rows_t& rows, const pki_oid_ref_t* (*to_oid)(pki_alg_t),
                pki_alg_t (*to_alg)(const void*, unsigned)) {
  std::map<pki_alg_t, std::string> oids{{0, ""}};
  std::map<std::string, pki_alg_t> codes;
  for (const auto& [code, oid] : rows) {
    oids.emplace(code, oid);
    oids.emplace(code | 0x88000000, "");
    codes.emplace(oid, code);
  }
  for (const auto& [code, oid] : oids) {
    ASSERT_NE(to_oid(code), nullptr);
    EXPECT_EQ(to_hex(bytes_of(*to_oid(code))), to_hex(oid)) << std::hex << code;
  }
  for (const auto& [oid, code] : codes) {
    const exact_t longer(oid + '\0');
    EXPECT_EQ(to_alg(longer.data(), longer.size() - 1), code) << to_hex(oid);
    EXPECT_EQ(PKI_OID_TO_ALG(longer.data(), longer.size() - 1), code) << to_hex(oid);
    EXPECT_EQ(to_alg(longer.data(), longer.size()), 0u) << to_hex(oid);
    EXPECT_EQ(to_alg(longer.data(), longer.size() - 2), 0u) << to_hex(oid);
  }
  EXPECT_EQ(to_alg(nullptr, 0), 0u);
}

TEST(Algorithms, MapsToAndFromOids) {
  expect_map(digests, PKI_HASH_ALG_TO_OID, PKI_OID_TO_HASH_ALG);
  expect_map(keys, PKI_KEY_ALG_TO_OID, PKI_OID_TO_KEY_ALG);
  expect_map(signatures, PKI_CERT_SIGN_ALG_TO_OID, PKI_OID_TO_CERT_SIGN_ALG);
}

std::string algorithm(const std::string& oid, const std::string& params) {
  return der(0x30, der(6, oid) + params);
}

TEST(Algorithms, SignatureIdentifiers) {
  const std::map<pki_alg_t, std::string> hashes(digests.begin(), digests.end());
  std::map<pki_alg_t, std::string> identifiers;
  for (const auto& [code, oid] : signatures) {
    const pki_alg_t hash = code & 0xFF0000;
    std::string params = (code & 0xFF) == 1 ? der(5, "") : "";
    if ((code & 0xFF) == 2 && hash != 0) {
      params = hash == 0x20000 ? "" : der(0xA0, algorithm(hashes.at(hash), der(5, "")));
      params = der(0x30, params);
    }
    identifiers.emplace(code, algorithm(oid, params));
  }
  for (const auto& [code, identifier] : identifiers) {
    EXPECT_EQ(to_hex(bytes_of(*asn_form_ike_signalg(code))), to_hex(identifier));
    // Read back, CryptoPro's forms are the plain ones, and RSASSA-PSS without parameters is SHA1's.
    const exact_t input(identifier);
    asn_ike_signalg_t read;
    ASSERT_TRUE(asn_read_ike_signalg(input.data(), input.size(), read));
    EXPECT_EQ(read.to_pki_alg(), code == 2 ? 0x00020002 : code & ~0x02000000u) << std::hex << code;
  }
  EXPECT_EQ(asn_form_ike_signalg(0x00010001)->data, nullptr);
}

TEST(Algorithms, OtherOids) {
  const auto is = [](const auto& table, const char* oid) {
    EXPECT_EQ(to_hex(table, sizeof table), to_hex(oid_der(oid))) << oid;
  };
  is(g_oid_PBES2, "1.2.840.113549.1.5.13");
  is(g_oid_PBKDF2, "1.2.840.113549.1.5.12");
  is(g_oid_HMAC_GOSTR3411, "1.2.643.2.2.10");
  is(g_oid_gost28147_89, "1.2.643.2.2.21");
  is(g_oid_encryptionParamSet, "1.2.643.2.2.31.1");
  is(g_id_GostR3410_2001_CryptoPro_A_ParamSet, "1.2.643.2.2.35.1");
  is(g_oid_tc26_gost_3410_12_256_paramSetA, "1.2.643.7.1.2.1.1.1");
  is(g_oid_tc26_gost_3410_12_512_paramSetA, "1.2.643.7.1.2.1.2.1");
  is(g_id_GostR3411_94_CryptoProParamSet, "1.2.643.2.2.30.1");
  is(g_oid_pkcs7_id_data, "1.2.840.113549.1.7.1");
  is(g_oid_pkcs7_id_encrypted_data, "1.2.840.113549.1.7.6");
  is(g_oid_pkcs9_at_friendlyName, "1.2.840.113549.1.9.20");
  is(g_oid_pkcs9_at_localKeyId, "1.2.840.113549.1.9.21");
  is(g_oid_pkcs9_ct_x509Certificate, "1.2.840.113549.1.9.22.1");
  is(g_oid_pkcs12_id_keyBag, "1.2.840.113549.1.12.10.1.1");
  is(g_oid_pkcs12_id_shroudedKeyBag, "1.2.840.113549.1.12.10.1.2");
  is(g_oid_pkcs12_id_certBag, "1.2.840.113549.1.12.10.1.3");
}

TEST(DigestInfo, Written) {
  for (const auto& row : data_rows(TEST_DATA "digest_info.txt")) {
    std::string digest(std::stoul(row.at(1)), '\xD5');
    const std::string expected = from_hex(row.at(2)) + digest;
    asn_add_alg_to_digest(digest, static_cast<pki_alg_t>(std::stoul(row.at(0), nullptr, 16)));
    EXPECT_EQ(to_hex(digest), to_hex(expected)) << row[0];
  }
}

// What a reader gave: its views in hex, "!" when it refused. No view leaves the input.
std::string show(const exact_t& in, bool ok, std::initializer_list<blob_t> views) {
  std::string text = ok ? "" : "!";
  for (auto view = views.begin(); ok && view != views.end(); ++view) {
    EXPECT_TRUE(in.holds(*view)) << to_hex(in.data(), in.size());
    text += to_hex(view->data, view->size) + "|";
  }
  return text;
}

std::string read_pubkey(const exact_t& in) {
  asn_pubkey_t pk;
  const bool ok = asn_read_pubkey(in.data(), static_cast<long>(in.size()), pk);
  return show(in, ok, {pk.alg, pk.params, pk.key});
}

std::string read_rsa(const exact_t& in) {
  asn_rsa_pubkey_t key;
  const bool ok = asn_read_rsa_pubkey({{}, {}, {in.size(), in.data()}}, key);
  return show(in, ok, {key.modulus, key.exponent});
}

std::string read_gost(const exact_t& in) {
  asn_pubkey_t pk;
  asn_gost_pubkey_t key{{}, {}, {1, nullptr}, {}};
  const bool ok =
      asn_read_pubkey(in.data(), static_cast<long>(in.size()), pk) && asn_read_gost_pubkey(pk, key);
  return show(in, ok,
              {key.public_key_param_set, key.digest_param_set, key.encryption_param_set, key.key});
}

std::string read_dsa(const exact_t& in) {
  asn_dsa_certsign_t sign;
  const bool ok = asn_read_dsa_certsign(in.data(), in.size(), sign);
  return show(in, ok, {sign.r, sign.s});
}

std::string read_signalg(const exact_t& in) {
  asn_ike_signalg_t alg;
  const bool ok = asn_read_ike_signalg(in.data(), in.size(), alg);
  return show(in, ok, {alg.oid, alg.params});
}

// The OID is left in the result also when a later element is at fault.
std::string read_digest(const exact_t& in) {
  const std::string input = in.bytes();
  asn_algorid_t alg{blob_t{1, nullptr}};
  const bool ok = asn_read_alg_from_digest(&alg, input);
  return (ok ? "" : "!") + to_hex(bytes_of(alg.oid));
}

// The code of an RSASSA-PSS identifier with these parameters.
std::string read_pss(const exact_t& in) {
  const exact_t input(algorithm(oid_der("1.2.840.113549.1.1.10"), in.bytes()));
  asn_ike_signalg_t alg;
  EXPECT_TRUE(asn_read_ike_signalg(input.data(), input.size(), alg));
  return std::to_string(alg.to_pki_alg() >> 16);
}

TEST(Readers, Cases) {
  const std::map<std::string, std::string (*)(const exact_t&)> readers = {
      {"digest", read_digest}, {"pubkey", read_pubkey},   {"rsa", read_rsa}, {"gost", read_gost},
      {"dsa", read_dsa},       {"signalg", read_signalg}, {"pss", read_pss}};
  for (const auto& row : data_rows(TEST_DATA "readers.txt")) {
    const auto read = readers.at(row.at(0));
    EXPECT_EQ(read(exact_t(from_hex(row.at(1)))), row.at(2)) << row[0] << ": " << row[1];
    for_each_damaged(from_hex(row[1]), read);
  }
}

TEST(Readers, PublicKeySizeIsALong) {
  const std::string good = from_hex("30 08 30 03 06 01 2A 03 01 07");
  const auto* p = reinterpret_cast<const unsigned char*>(good.data());
  asn_pubkey_t pk;
  EXPECT_FALSE(asn_read_pubkey(p, -1, pk));
  EXPECT_FALSE(asn_read_pubkey(p, std::numeric_limits<long>::min(), pk));
  EXPECT_EQ(asn_read_pubkey(p, std::numeric_limits<long>::max(), pk), sizeof(long) == 4);
}

}  // namespace
