// HMAC, its key from PKCS#12's own derivation, from RFC 9548's or from PBMAC1 (RFC 9579).

#include "mac.h"

#include <string_view>

#include "asn_cursor.h"
#include "encryption.h"
#include "known_oids.h"

namespace {

constexpr char pbmac1_oid[] = "1.2.840.113549.1.5.14";

bool equal_in_constant_time(const secret_t& a, const blob_t& b) {
  if (a.size() != b.size) {
    return false;
  }
  unsigned difference = 0;
  for (unsigned i = 0; i < b.size; ++i) {
    difference |= static_cast<unsigned>(a[i] ^ b.data[i]);
  }
  return difference == 0;
}

// PBMAC1-params ::= SEQUENCE { keyDerivationFunc, messageAuthScheme } (RFC 9579)
void read_pbmac1(asn_iter_t parameters, mac_t& out) {
  asn_iter_t content;
  blob_t kdf;
  blob_t scheme;
  derivation_t key;
  std::string oid;
  out.text = "PBMAC1";
  out.why_not = "its parameters are malformed";
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &parameters, &content) ||
      !asn1_read_view_(asn_tag_t::SEQUENCE, &content, &kdf) ||
      !asn1_read_view_(asn_tag_t::SEQUENCE, &content, &scheme) || !read_pbkdf2(kdf, key) ||
      !read_algorithm(scheme, oid, parameters)) {
    return;
  }
  constexpr unsigned max_key = 512;
  out.hash = find_hmac(oid);
  if (key.hash == nullptr || out.hash == nullptr || key.size == 0 || key.size > max_key) {
    out.why_not = "this command does not have its algorithms";
    return;
  }
  out.text += std::string(": PBKDF2 with HMAC-") + key.hash->name + ", HMAC-" + out.hash->name +
              ", " + std::to_string(key.iterations) + " iterations";
  out.why_not.clear();
  out.keys = {key};
}

}  // namespace

derivation_t gost_mac_key(const hash_t& hash, const blob_t& salt, unsigned iterations) {
  constexpr unsigned key_size = 32;
  constexpr unsigned all = 96;
  const unsigned block = gcry_md_get_algo_dlen(hash.algorithm);
  derivation_t key = {kdf_t::pbkdf2, &hash, salt, iterations, key_size};
  key.skipped_bytes = all - key_size;
  // Blocks are independent of each other: those before the key need not be made.
  key.skipped_blocks = key.skipped_bytes / block;
  key.skipped_bytes %= block;
  return key;
}

mac_t read_mac(const pkcs12_mac_t& data) {
  mac_t out;
  std::string oid;
  asn_iter_t parameters;
  out.digest = data.digest;
  if (!read_algorithm(data.digest_alg, oid, parameters)) {
    out.text = "malformed";
    out.why_not = "its algorithm is malformed";
    return out;
  }
  if (oid == pbmac1_oid) {
    read_pbmac1(parameters, out);
    return out;
  }
  const unsigned rounds = data.mac_iterations;
  out.hash = find_hash(oid);
  if (out.hash == nullptr) {
    const std::string_view known = known_oid_name(oid);
    out.text = known.empty() ? oid : std::string(known);
    out.why_not = "it is made with " + out.text + ", which this command does not have";
    return out;
  }
  out.text = std::string("HMAC-") + out.hash->name + ", " + std::to_string(rounds) + " iterations";
  if (out.hash->is_gost) {
    out.keys.push_back(gost_mac_key(*out.hash, data.mac_salt, rounds));
  }
  constexpr unsigned char mac_purpose = 3;
  out.keys.push_back({kdf_t::pkcs12, out.hash, data.mac_salt, rounds,
                      gcry_md_get_algo_dlen(out.hash->algorithm), mac_purpose});
  return out;
}

void admit(const mac_t& mac, deriver_t& deriver) {
  deriver.admit(mac.keys.front());
}

bool verify(const mac_t& mac, const secret_t& password, deriver_t& deriver, const blob_t& safe) {
  for (const derivation_t& asked : mac.keys) {
    for (const secret_t& form : password_forms(asked.kdf, password)) {
      const secret_t key = deriver.derive(form, asked);
      if (equal_in_constant_time(digest_of(*mac.hash, &key, safe), mac.digest)) {
        return true;
      }
    }
  }
  return false;
}
