// Public keys, as private keys and certificates are compared by them; computed from private keys of
// every kind on libgcrypt.

#ifndef PKIDER_TOOLS_KEY_ID_H
#define PKIDER_TOOLS_KEY_ID_H

#include <string>

#include <pkider/asn_reader.h>

#include "pkcs8.h"

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
