// The GOST cryptography of the containers that the command writes, on libgcrypt: PBES2 with PBKDF2
// (HMAC on GOST R 34.11-94) and GOST 28147-89 in CFB mode (RFC 9337), and the MAC of PKCS#12, its
// key made as in RFC 9548.

#ifndef PKIDER_TOOLS_GOST_PBE_H
#define PKIDER_TOOLS_GOST_PBE_H

#include <string>

#include <pkider/pkcs12_helper.h>

#include "derivation.h"
#include "secure_memory.h"

struct gost_pbe_options_t {
  // Rounds of key derivation. The library writes no count that has a zero byte below its leading
  // byte; 600,000 (09 27 C0) has none.
  unsigned iterations = 600000;
  // Other programs encrypt a bare SafeContents, the library an OCTET STRING element around it. The
  // element's header is taken off before encrypting, unless this is set.
  bool native = false;
};

// The first iteration count from `iterations` on that the library writes as it is.
unsigned writable_iterations(unsigned iterations);

// Writes for one password. The views that encrypt and compute_mac set are valid until the next call
// of the same operation.
class gost_pbe_t : public pbe_crypto_t {
 public:
  // `deriver` must outlive the object. The options' iterations must be writable.
  gost_pbe_t(secret_t password, deriver_t& deriver, const gost_pbe_options_t& options);

  bool compute_mac(const unsigned char* data, unsigned size, pkcs12_mac_t& mac) override;
  // Encrypts with CryptoPro-A, a new salt and a new vector. Always true.
  bool encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
               std::string& ciphertext) override;

  // Nothing is read with this object.
  bool verify_mac(const pkcs12_mac_t&, const unsigned char*, unsigned) override { return false; }
  bool decrypt(const pkcs5_pbe_gost_t&, const unsigned char*, unsigned, std::string&) override {
    return false;
  }

 private:
  secret_t password_;
  deriver_t& deriver_;
  gost_pbe_options_t options_;
  std::string salt_;
  std::string iv_;
  std::string mac_salt_;
  std::string mac_;
};

#endif
