// How parts of containers and private keys are encrypted, and how they are opened: PBES2 (RFC 8018,
// RFC 9337), PBES1, and PKCS#12's own schemes (RFC 7292, appendix C), on libgcrypt.

#ifndef PKIDER_TOOLS_ENCRYPTION_H
#define PKIDER_TOOLS_ENCRYPTION_H

#include <string>

#include <pkider/asn_reader.h>

#include "derivation.h"

struct cipher_t;

struct encryption_t {
  std::string text;     // the scheme in words, with its rounds
  std::string why_not;  // why it cannot be opened ("with Kuznyechik, which ..."); empty if it can
  // The rest is for decrypt, and set if why_not is empty.
  const cipher_t* cipher = nullptr;
  derivation_t key;
  derivation_t iv;  // of size 0 when the vector is given
  blob_t given_iv;
  std::string parameter_set;  // of GOST 28147-89, dotted
};

// Reads the content of an AlgorithmIdentifier. The views point into it.
encryption_t read_encryption(const blob_t& algorithm);

// Reads PBKDF2-params with the AlgorithmIdentifier around them. Its size stays 0 if not stated.
bool read_pbkdf2(const blob_t& algorithm, derivation_t& out);

// Has the deriver admit what decrypt will derive. Throws pbe_error_t.
void admit(const encryption_t& encryption, deriver_t& deriver);

// Decrypts `data` to one element, DER or BER; bytes of padding are taken off. False when that is
// not what it gives: the password is wrong, or the data are damaged.
bool decrypt(const encryption_t& encryption, const secret_t& password, deriver_t& deriver,
             const blob_t& data, std::string& plaintext);

// EncryptedPrivateKeyInfo ::= SEQUENCE { AlgorithmIdentifier, OCTET STRING }
struct encrypted_key_t {
  encryption_t encryption;
  blob_t data;
};

bool read_encrypted_key(const blob_t& der, encrypted_key_t& out);

// Takes an AlgorithmIdentifier apart: its OID, dotted, and what follows that.
bool read_algorithm(const blob_t& content, std::string& oid, asn_iter_t& parameters);

#endif
