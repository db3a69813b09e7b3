// PKCS#8 private keys: opening their files, describing them, and pairing them with certificates.

#ifndef PKIDER_TOOLS_PRIVATE_KEY_H
#define PKIDER_TOOLS_PRIVATE_KEY_H

#include <string>

#include <pkider/asn_helper.h>
#include <pkider/asn_reader.h>

#include "messages.h"
#include "password.h"

constexpr char key_label[] = "PRIVATE KEY";
constexpr char encrypted_key_label[] = "ENCRYPTED PRIVATE KEY";

// The content of a key file: a PrivateKeyInfo, and how it was protected.
struct key_file_t {
  std::string der;
  bool encrypted = false;
  unsigned iterations = 0;  // when encrypted
};

// Reads the first key of `file`, PEM or DER, and asks `source` for a password if it is encrypted.
// Throws input_error_t when it is no key.
key_file_t open_key_file(const std::string& file, const password_source_t& source,
                         const gost_pbe_options_t& options);

// Shows algorithm, parameter sets and size of the PrivateKeyInfo `der`, and with `reveal` the key's
// octets as they are stored: for GOST the least significant first.
void show_private_key(const std::string& where, const blob_t& der, bool reveal);

// Its algorithm and size in one line.
std::string private_key_summary(const std::string& where, const blob_t& der);

enum class pairing_t { same, different, unknown };

// Tells whether a GOST private key belongs to a public key, by computing its own. Unknown for other
// algorithms, for curves that libgcrypt does not have, and for keys stored with masks.
pairing_t pair_keys(const std::string& where, const blob_t& private_key,
                    const asn_pubkey_t& public_key);

#endif
