// Algorithm codes, DigestInfo, public keys and signature parameters.

#include <limits>

#include <pkider/asn_helper.h>

#include "oid_map.h"
#include "rows.h"

namespace {

pki_alg_t code_of(const std::string& hex) {
  return static_cast<pki_alg_t>(std::stoul(hex, nullptr, 16));
}

std::string name(const row_t& row) {
  const IntToString& at = I2S_PKI_ALG_T[std::stoul(row.input)];
  return at.name == nullptr ? "none" : hex_number(static_cast<pki_alg_t>(at.value)) + " " + at.name;
}

// The content octets of an OID in dotted text.
std::string encoded_oid(const std::string& dotted) {
  unsigned char out[512];
  return std::string(out, out + oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), out));
}

// Codes and OIDs that are almost listed are not.
template <const pki_oid_ref_t* (*to_oid)(pki_alg_t), pki_alg_t (*to_alg)(const void*, unsigned)>
std::string map(const row_t& row) {
  const std::string oid = encoded_oid(row.input);
  const exact_t longer(oid + '\0');
  const unsigned size = longer.size() - 1;
  const pki_alg_t code = to_alg(longer.data(), size);
  EXPECT_EQ(PKI_OID_TO_ALG(longer.data(), size), code);
  EXPECT_EQ(to_alg(longer.data(), size + 1) | to_alg(longer.data(), size - 1), 0u);
  EXPECT_EQ(to_oid(code_of(row.argument) | 0x80000000)->data, nullptr);
  const bool same = bytes_of(*to_oid(code_of(row.argument))) == oid;
  return hex_number(code) + (same ? "" : ", written as another");
}

// The form, and the code that it is read back as.
std::string form(const row_t& row) {
  const auto* const formed = asn_form_ike_signalg(code_of(row.input));
  const exact_t in(bytes_of(*formed));
  asn_ike_signalg_t alg;
  const bool ok = asn_read_ike_signalg(in.data(), in.size(), alg);
  return ok ? to_hex(in.bytes()) + " = " + hex_number(alg.to_pki_alg()) : "none";
}

std::string digest_info(const row_t& row) {
  const std::string digest(std::stoul(row.input), '\xD5');
  std::string out = digest;
  asn_add_alg_to_digest(out, code_of(row.argument));
  EXPECT_EQ(out.substr(out.size() - digest.size()), digest);
  return to_hex(out.substr(0, out.size() - digest.size()));
}

TEST(Algorithms, Rows) {
  run_rows(rows_t("algorithms.txt"),
           {{"name", name},
            {"form", form},
            {"DigestInfo", digest_info},
            {"digest", map<PKI_HASH_ALG_TO_OID, PKI_OID_TO_HASH_ALG>},
            {"key", map<PKI_KEY_ALG_TO_OID, PKI_OID_TO_KEY_ALG>},
            {"signature", map<PKI_CERT_SIGN_ALG_TO_OID, PKI_OID_TO_CERT_SIGN_ALG>}});
}

TEST(Algorithms, NoCodeAndNoOid) {
  EXPECT_EQ(PKI_HASH_ALG_TO_OID(0)->size + PKI_KEY_ALG_TO_OID(0)->size +
                PKI_CERT_SIGN_ALG_TO_OID(0)->size,
            0u);
  EXPECT_EQ(PKI_OID_TO_HASH_ALG(nullptr, 0) | PKI_OID_TO_KEY_ALG(nullptr, 0) |
                PKI_OID_TO_CERT_SIGN_ALG(nullptr, 0) | PKI_OID_TO_ALG(nullptr, 0),
            0u);
}

// What a reader gave: its fields, after "!" when it refused.
std::string outcome(bool ok, std::initializer_list<blob_t> views) {
  std::string text = ok ? "" : "!";
  for (const blob_t& one : views) {
    text += show(one) + "|";
  }
  return text;
}

std::string read_pubkey(const exact_t& in) {
  asn_pubkey_t pk{old, old, old};
  const bool ok = asn_read_pubkey(in.data(), static_cast<long>(in.size()), pk);
  return outcome(ok, {pk.alg, pk.params, pk.key});
}

std::string read_rsa(const exact_t& in) {
  asn_rsa_pubkey_t key{old, old};
  const bool ok = asn_read_rsa_pubkey({{}, {}, {in.size(), in.data()}}, key);
  return outcome(ok, {key.modulus, key.exponent});
}

std::string read_gost(const exact_t& in) {
  asn_pubkey_t pk;
  asn_gost_pubkey_t key{old, old, old, old};
  const bool ok =
      asn_read_pubkey(in.data(), static_cast<long>(in.size()), pk) && asn_read_gost_pubkey(pk, key);
  return outcome(
      ok, {key.public_key_param_set, key.digest_param_set, key.encryption_param_set, key.key});
}

std::string read_dsa(const exact_t& in) {
  asn_dsa_certsign_t sign{old, old};
  const bool ok = asn_read_dsa_certsign(in.data(), in.size(), sign);
  return outcome(ok, {sign.r, sign.s});
}

std::string read_signalg(const exact_t& in) {
  asn_ike_signalg_t alg;
  alg.oid = alg.params = old;
  const bool ok = asn_read_ike_signalg(in.data(), in.size(), alg);
  return outcome(ok, {alg.oid, alg.params}) + (ok ? hex_number(alg.to_pki_alg()) : "");
}

template <class Text, class = void>
constexpr bool reads_digest_from = false;
template <class Text>
constexpr bool reads_digest_from<
    Text, std::void_t<decltype(asn_read_alg_from_digest(nullptr, std::declval<Text>()))>> = true;
static_assert(reads_digest_from<const std::string&> && !reads_digest_from<std::string>);

std::string read_digest(const exact_t& in) {
  asn_algorid_t alg{old};
  const std::string input = in.bytes();
  const bool ok = asn_read_alg_from_digest(&alg, input);
  return (ok ? "" : "!") + to_hex(bytes_of(alg.oid)) + "|";
}

std::string pss(const row_t& row) {
  const exact_t params(from_hex(row.input));
  static const std::string oid = encoded_oid("1.2.840.113549.1.1.10");
  asn_ike_signalg_t alg;
  alg.oid = view(oid);
  alg.params = {params.size(), params.data()};
  return hex_number(alg.to_pki_alg());
}

const rows_t file("readers.txt");
const readers_t readers = {{"digest", read_digest}, {"pubkey", read_pubkey},
                           {"rsa", read_rsa},       {"gost", read_gost},
                           {"dsa", read_dsa},       {"signalg", read_signalg}};

std::string read(const row_t& row) {
  return read(readers, row.operation, exact_t(from_hex(row.input)));
}

TEST(Readers, Rows) {
  operations_t operations = {
      {"pss", pss}, {"tag", [](auto& row) { return with_other_tags(file, row, readers); }}};
  for (const auto& [name, reader] : readers) {
    operations[name] = read;
  }
  run_rows(file, operations);
}

TEST(Readers, PublicKeySizeIsALong) {
  const exact_t in(from_hex("30 08 30 03 06 01 2A 03 01 07"));
  asn_pubkey_t pk;
  EXPECT_FALSE(asn_read_pubkey(in.data(), -1, pk));
  EXPECT_FALSE(asn_read_pubkey(in.data(), std::numeric_limits<long>::min(), pk));
  EXPECT_EQ(asn_read_pubkey(in.data(), std::numeric_limits<long>::max(), pk), sizeof(long) == 4);
  EXPECT_EQ(asn_read_pubkey(in.data(), static_cast<long>(0xFFFFFFFFUL), pk), sizeof(long) == 8);
}

}  // namespace
