// What the hostile tests share: a cryptographic object that copies, and containers for it.

#ifndef PKIDER_TESTS_HOSTILE_SAMPLES_H
#define PKIDER_TESTS_HOSTILE_SAMPLES_H

#include "pkcs12_helper.h"
#include "test_util.h"

inline const unsigned char* data_of(const std::string& s) {
  return reinterpret_cast<const unsigned char*>(s.data());
}
inline unsigned size_of(const std::string& s) {
  return static_cast<unsigned>(s.size());
}
inline blob_t blob_of(const std::string& s) {
  return {size_of(s), data_of(s)};
}

class copying_crypto_t : public pbe_crypto_t {
 public:
  bool verify_mac(const pkcs12_mac_t&, const unsigned char*, unsigned) override { return true; }
  bool compute_mac(const unsigned char*, unsigned, pkcs12_mac_t&) override { return false; }
  bool decrypt(const pkcs5_pbe_gost_t&, const unsigned char* data, unsigned size,
               std::string& plaintext) override {
    plaintext.assign(data, data + size);
    return true;
  }
  bool encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
               std::string& ciphertext) override {
    return decrypt(pbe, data, size, ciphertext);
  }
};

// A container with `bags` certificates and shrouded keys in the clear, and as many encrypted. The
// library writes no shrouded keys: plain ones are renamed.
inline std::string make_pfx(std::size_t bags, const std::string& content) {
  static const std::string name = "AB";
  std::string key;
  asn_write_pkcs8_encrypted_pki_gost({{}, blob_of(content)}, key);
  pkcs12_easy_t model;
  for (auto* list : {&model.plain_bags, &model.encrypted_bags}) {
    list->assign(bags, {PKCS12_BAG_CERT, blob_of(content), blob_of(name), {}});
    list->insert(list->end(), bags, {PKCS12_BAG_KEY, blob_of(key), {}, blob_of(name)});
  }
  copying_crypto_t crypto;
  std::string pfx;
  asn_write_pkcs12_easy(model, &crypto, pfx);
  const std::string key_bag = from_hex("06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01");
  for (std::size_t at = 0; (at = pfx.find(key_bag, at)) != std::string::npos; ++at) {
    pfx[at + key_bag.size() - 1] = '\2';
  }
  return pfx;
}

#endif
