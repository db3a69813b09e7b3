#include "asn_helper.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <vector>

#include "test_util.h"

namespace {

pki_alg_t code_of(const std::string& hex) {
  return static_cast<pki_alg_t>(std::stoul(hex, nullptr, 16));
}

std::vector<std::vector<std::string>> rows_of(const char* kind) {
  auto rows = data_rows(TEST_DATA "algorithms.txt");
  const auto other = [kind](const std::vector<std::string>& row) { return row[0] != kind; };
  rows.erase(std::remove_if(rows.begin(), rows.end(), other), rows.end());
  return rows;
}

TEST(Algorithms, Names) {
  const IntToString* next = I2S_PKI_ALG_T;
  for (const auto& row : rows_of("name")) {
    EXPECT_EQ(static_cast<pki_alg_t>(next->value), code_of(row.at(1)));
    EXPECT_STREQ((next++)->name, row.at(2).c_str());
  }
  EXPECT_EQ(next->name, nullptr);
}

void expect_map(const char* kind, const pki_oid_ref_t* (*to_oid)(pki_alg_t),
                pki_alg_t (*to_alg)(const void*, unsigned)) {
  std::map<pki_alg_t, std::string> oids;
  std::map<std::string, pki_alg_t> codes;
  for (const auto& row : rows_of(kind)) {
    const pki_alg_t code = code_of(row.at(1));
    const std::string der = oid_der(row.at(2));
    EXPECT_EQ(bytes_of(*to_oid(code)), oids.emplace(code, der).first->second) << row[1];
    EXPECT_EQ(to_oid(code | 0x88000000)->data, nullptr) << row[1];
    const exact_t longer(der + '\0');
    const pki_alg_t first = codes.emplace(der, code).first->second;
    EXPECT_EQ(to_alg(longer.data(), longer.size() - 1), first) << row[2];
    EXPECT_EQ(PKI_OID_TO_ALG(longer.data(), longer.size() - 1), first) << row[2];
    EXPECT_EQ(to_alg(longer.data(), longer.size()), 0u) << row[2];
    EXPECT_EQ(to_alg(longer.data(), longer.size() - 2), 0u) << row[2];
  }
  EXPECT_EQ(to_oid(0)->size, 0u);
  EXPECT_EQ(to_alg(nullptr, 0), 0u);
}

TEST(Algorithms, MapsToAndFromOids) {
  expect_map("digest", PKI_HASH_ALG_TO_OID, PKI_OID_TO_HASH_ALG);
  expect_map("key", PKI_KEY_ALG_TO_OID, PKI_OID_TO_KEY_ALG);
  expect_map("signature", PKI_CERT_SIGN_ALG_TO_OID, PKI_OID_TO_CERT_SIGN_ALG);
}

TEST(Algorithms, SignatureIdentifiers) {
  std::map<pki_alg_t, std::string> identifiers;
  for (const auto& row : rows_of("signature")) {
    const pki_alg_t code = code_of(row.at(1));
    const exact_t input(der(0x30, der(6, oid_der(row.at(2))) + from_hex(row.at(3))));
    const std::string& first = identifiers.emplace(code, input.bytes()).first->second;
    EXPECT_EQ(to_hex(bytes_of(*asn_form_ike_signalg(code))), to_hex(first)) << row[1];
    asn_ike_signalg_t read;
    EXPECT_TRUE(asn_read_ike_signalg(input.data(), input.size(), read)) << row[1];
    EXPECT_EQ(read.to_pki_alg(), code_of(row.at(4))) << row[1];
  }
  EXPECT_EQ(asn_form_ike_signalg(0x00010001)->data, nullptr);
}

TEST(Algorithms, DigestInfo) {
  for (const auto& row : rows_of("DigestInfo")) {
    std::string digest(std::stoul(row.at(2)), '\xD5');
    const std::string expected = from_hex(row.at(3)) + digest;
    asn_add_alg_to_digest(digest, code_of(row.at(1)));
    EXPECT_EQ(to_hex(digest), to_hex(expected)) << row[1];
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

// The code of RSASSA-PSS with these parameters.
std::string read_pss(const exact_t& in) {
  const exact_t oid(oid_der("1.2.840.113549.1.1.10"));
  const asn_ike_signalg_t alg{{oid.size(), oid.data()}, {in.size(), in.data()}};
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
