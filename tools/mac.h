// The MAC of a PKCS#12 container, made in any of the ways that are in use.

#ifndef PKIDER_TOOLS_MAC_H
#define PKIDER_TOOLS_MAC_H

#include <string>
#include <vector>

#include <pkider/pkcs12_helper.h>

#include "derivation.h"

struct mac_t {
  std::string text;     // the algorithm in words, with its rounds
  std::string why_not;  // why it cannot be verified; empty if it can
  // The rest is for verify, and set if why_not is empty.
  const hash_t* hash = nullptr;
  std::vector<derivation_t> keys;  // the key is one of these
  blob_t digest;
};

// Describes a MacData. The views stay those of `data`.
mac_t read_mac(const pkcs12_mac_t& data);

// Has the deriver admit what verify will derive. Throws pbe_error_t.
void admit(const mac_t& mac, deriver_t& deriver);

// Tells whether the MAC is right for `safe`, the content of the authenticated safe.
bool verify(const mac_t& mac, const secret_t& password, deriver_t& deriver, const blob_t& safe);

// The MAC key of RFC 9548: the last 32 of 96 bytes that PBKDF2 gives.
derivation_t gost_mac_key(const hash_t& hash, const blob_t& salt, unsigned iterations);

#endif
