// A SubjectPublicKeyInfo (RFC 5280, 4.1), described: RSA, DSA, elliptic curves, GOST.

#include "public_key.h"

#include <cstdint>
#include <string_view>

#include "alg_codes.h"
#include "asn_cursor.h"
#include "known_oids.h"
#include "messages.h"
#include "pkcs8.h"
#include "text.h"

namespace {

void add_size(record_t& record, unsigned bits) {
  record.add("key size", std::to_string(bits) + " bits", std::uint64_t{bits});
}

void add_rsa_key(record_t& record, const std::string& where, const asn_pubkey_t& key,
                 bool verbose) {
  asn_rsa_pubkey_t rsa;
  if (!asn_read_rsa_pubkey(key, rsa)) {
    throw input_error_t(where, "the RSA key is malformed");
  }
  add_size(record, bit_count(rsa.modulus));
  if (verbose) {
    record.add("modulus", hex(rsa.modulus));
    record.add("exponent", hex(rsa.exponent));
  }
}

// A GOST key is an OCTET STRING inside the BIT STRING: X and Y, the least significant byte first.
void add_gost_key(record_t& record, const std::string& where, const asn_pubkey_t& key,
                  bool verbose) {
  gost_param_sets_t sets;
  asn_iter_t cur = asn1_iter_(key.key);
  asn_iter_t octets;
  const bool has_sets = read_gost_param_sets(key.params, sets);
  add_param_set(record, "key parameters", sets.key);
  add_param_set(record, "digest parameters", sets.digest);
  add_param_set(record, "cipher parameters", sets.cipher);
  if (!has_sets || !asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &cur, &octets)) {
    throw input_error_t(where, "the GOST key is malformed");
  }
  add_size(record, octets.len * 4);
  if (verbose) {
    record.add("key", hex(asn1_view_(octets)));
  }
}

// The prime p of DSA or Diffie-Hellman parameters, SEQUENCE { p INTEGER, ... }; 0 for the explicit
// parameters of a curve, which have a version and a SEQUENCE in that place.
unsigned prime_bits(const blob_t& params) {
  asn_iter_t cur = asn1_iter_(params);
  asn_iter_t sequence;
  asn_iter_t prime;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &sequence) &&
                 asn1_read_tag_i_(asn_tag_t::INTEGER, &sequence, &prime) &&
                 asn1_next_is_(asn_tag_t::INTEGER, sequence)
             ? bit_count(asn1_view_(prime))
             : 0;
}

void add_other_key(record_t& record, const asn_pubkey_t& key, bool verbose) {
  asn_iter_t params = asn1_iter_(key.params);
  asn_iter_t curve;
  unsigned bits = prime_bits(key.params);
  if (asn1_read_tag_i_(asn_tag_t::OID, &params, &curve)) {
    add_param_set(record, "key parameters", asn1_view_(curve));
    bits = curve_bits(key.params, key.key);
  } else if (key.params.size == 0) {  // Ed25519 and its like
    bits = key.key.size * 8;
  } else if (find_key_algorithm(dotted_oid(key.alg)).kind ==
             key_kind_t::ec) {  // its curve spelled out
    bits = curve_bits(key.params, key.key);
  }
  if (bits != 0) {
    add_size(record, bits);
  }
  if (verbose) {
    record.add("key", hex(key.key));
  }
}

}  // namespace

void add_param_set(record_t& record, const char* name, const blob_t& oid) {
  if (oid.size != 0) {
    record.add(name, describe_param_set(oid));
  }
}

bool read_gost_param_sets(const blob_t& params, gost_param_sets_t& out) {
  asn_iter_t cur = asn1_iter_(params);
  asn_iter_t sets;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &sets) &&
         asn1_read_view_(asn_tag_t::OID, &sets, &out.key) &&
         (asn1_read_view_(asn_tag_t::OID, &sets, &out.digest), true) &&
         (asn1_read_view_(asn_tag_t::OID, &sets, &out.cipher), true);
}

void add_public_key(record_t& record, const std::string& where, const blob_t& element,
                    bool verbose) {
  asn_pubkey_t key;
  if (!asn_read_pubkey(element.data, static_cast<long>(element.size), key)) {
    throw input_error_t(where, "the public key is malformed");
  }
  record.add("public key", describe_oid(key.alg.data, key.alg.size));
  const pki_alg_t kind = PKI_OID_TO_ALG(key.alg.data, key.alg.size) & alg_codes::kind_mask;
  if (kind == alg_codes::rsa || kind == alg_codes::rsassa_pss) {
    add_rsa_key(record, where, key, verbose);
  } else if (kind >= alg_codes::gost_3410 && kind <= alg_codes::gost_3410_2012_512) {
    add_gost_key(record, where, key, verbose);
  } else {
    add_other_key(record, key, verbose);
  }
}
