// Public keys, as private keys and certificates are compared by them; computed from private keys of
// every kind on libgcrypt.

#ifndef PKIDER_TOOLS_KEY_ID_H
#define PKIDER_TOOLS_KEY_ID_H

#include <string>
#include <string_view>

#include <pkider/asn_reader.h>

#include "secure_memory.h"

enum class key_kind_t { other, rsa, dsa, ec, edwards, montgomery, gost };

struct key_algorithm_t {
  std::string_view oid;
  key_kind_t kind;
  unsigned bits;  // 0 when it depends on the key
};

// Kind `other` when the dotted OID is not known.
key_algorithm_t find_key_algorithm(const std::string& oid);

// PrivateKeyInfo (RFC 5208, 5; RFC 5958), of any algorithm, parameters or not. Views into the DER.
struct private_key_t {
  std::string oid;   // dotted
  blob_t algorithm;  // the OID's content octets
  blob_t params;     // whole elements; empty when there are none
  blob_t octets;     // content of privateKey
};

bool read_private_key(const blob_t& der, private_key_t& out);

// The octets of a GOST private key, least significant first; with masks after it if it has any.
struct gost_octets_t {
  secret_t octets;
  unsigned masks = 0;
};

// Reads all forms: bare, in an OCTET STRING, as an INTEGER, with masks, with the public key. False
// when the sizes are not those of the algorithm.
bool read_gost_octets(const private_key_t& key, gost_octets_t& out);

// Bits of the modulus, the curve or the like; 0 when unknown.
unsigned key_bits(const private_key_t& key);

// What keys are compared by: equal kinds, algorithms and values are the same key.
struct key_id_t {
  key_kind_t kind = key_kind_t::other;
  std::string algorithm;  // of the kind `ec` its curve, of `other` itself; empty when not named
  std::string value;      // empty when it cannot be told
  std::string why_not;    // then
};

// Why a private key goes with no certificate, whatever was asked for.
constexpr char malformed_key[] = "the key is malformed";

key_id_t public_id_of(const private_key_t& key);

// Of a SubjectPublicKeyInfo element.
key_id_t id_of_public_key(const blob_t& element);

enum class match_t { same, different, unknown };

match_t compare(const key_id_t& a, const key_id_t& b);

#endif
