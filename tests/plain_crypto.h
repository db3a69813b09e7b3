// The cryptography that a container needs, without any: what is tested or measured is the
// structure.

#ifndef PKIDER_TESTS_PLAIN_CRYPTO_H
#define PKIDER_TESTS_PLAIN_CRYPTO_H

#include <pkider/pkcs12_helper.h>

// Accepts every MAC, leaves the model's own on writing, and "encrypts" by copying.
class plain_crypto_t : public pbe_crypto_t {
 public:
  bool verify_mac(const pkcs12_mac_t&, const unsigned char*, unsigned) override { return true; }
  bool compute_mac(const unsigned char*, unsigned, pkcs12_mac_t&) override { return false; }
  bool decrypt(const pkcs5_pbe_gost_t&, const unsigned char* data, unsigned size,
               std::string& plaintext) override {
    plaintext.assign(reinterpret_cast<const char*>(data), size);
    return true;
  }
  bool encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
               std::string& ciphertext) override {
    pbe.salt = {sizeof(constant_), constant_};
    pbe.iv = {sizeof(constant_), constant_};
    pbe.iterations = 1;
    ciphertext.assign(reinterpret_cast<const char*>(data), size);
    return true;
  }

 private:
  static constexpr unsigned char constant_[8] = {1, 2, 3, 4, 5, 6, 7, 8};
};

#endif
