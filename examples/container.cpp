// Opens a PKCS#12 container with a toy of a cryptographic object; tools/gost_pbe.h is a real one.
#include <pkider/pkcs12_helper.h>

#include <iostream>

using bytes = const unsigned char*;
struct toy_crypto : pbe_crypto_t {
  unsigned char password = 42, check = 0;
  bool verify_mac(const pkcs12_mac_t& mac, bytes data, unsigned size) override {
    return mac.digest.size == 1 && *mac.digest.data == (data[size - 1] ^ password);
  }
  bool compute_mac(bytes data, unsigned size, pkcs12_mac_t& mac) override {
    check = data[size - 1] ^ password;  // a member: views must outlast this call
    mac = {{}, {1, &check}, {1, &check}, 1};
    return true;
  }
  bool decrypt(const pkcs5_pbe_gost_t&, bytes data, unsigned size, std::string& out) override {
    for (; size != 0; --size)
      out += static_cast<char>(*data++ ^ password);
    return true;
  }
  bool encrypt(bytes data, unsigned size, pkcs5_pbe_gost_t& pbe, std::string& out) override {
    pbe = {{1, &check}, 1, {1, &check}};
    return decrypt(pbe, data, size, out);
  }
} crypto;

int main() {
  const unsigned char key[] = "in earnest, the DER of a PrivateKeyInfo";
  pkcs12_easy_t model, opened, refused;
  model.encrypted_bags.push_back({PKCS12_BAG_KEY, {sizeof key, key}, {}, {}});
  std::string pfx;
  asn_write_pkcs12_easy(model, &crypto, pfx);
  const auto* der = reinterpret_cast<bytes>(pfx.data());
  if (asn_read_pkcs12_easy(der, unsigned(pfx.size()), &crypto, opened))
    std::cout << "key: " << opened.encrypted_bags.front().value.data << '\n';
  crypto.password = 13;
  if (!asn_read_pkcs12_easy(der, unsigned(pfx.size()), &crypto, refused))
    std::cout << "another password: refused\n";
}
