// Makes a PKCS#12 container and opens it. The cryptography of the object is a toy, but its care is
// what every such object needs. tools/gost_pbe.cpp is a real one, for writing; what it would take
// to read is in tools/mac.cpp and tools/encryption.cpp.
#include <string.h>

#include <iostream>
#include <string>

#include <pkider/pkcs12_helper.h>

using bytes = const unsigned char*;

class toy_crypto : public pbe_crypto_t {
 public:
  explicit toy_crypto(unsigned char password) : password_(password) {}
  ~toy_crypto() override { explicit_bzero(&password_, sizeof password_); }

  // Nothing is checked yet: `data` may be anything, also nothing at all, and so may the numbers.
  bool verify_mac(const pkcs12_mac_t& mac, bytes data, unsigned size) override {
    return affordable(mac.mac_iterations) && mac.digest.size == 1 &&
           *mac.digest.data == mac_of(data, size);
  }

  bool compute_mac(bytes data, unsigned size, pkcs12_mac_t& mac) override {
    mac_ = mac_of(data, size);  // a member: the views outlast this call
    mac = {{}, {1, &mac_}, {1, &salt_}, 1};
    return true;
  }

  bool decrypt(const pkcs5_pbe_gost_t& pbe, bytes data, unsigned size, std::string& out) override {
    if (!affordable(pbe.iterations))
      return false;
    out.resize(size);  // once: a string that grows leaves copies of what it held
    for (char& c : out)
      c = static_cast<char>(*data++ ^ password_);
    return true;
  }

  bool encrypt(bytes data, unsigned size, pkcs5_pbe_gost_t& pbe, std::string& out) override {
    pbe = {{1, &salt_}, 1, {1, &salt_}};
    return decrypt(pbe, data, size, out);
  }

 private:
  // Whoever made the container chose the number of rounds.
  static bool affordable(unsigned rounds) { return rounds != 0 && rounds <= 2000000; }

  unsigned char mac_of(bytes data, unsigned size) const {
    unsigned mac = password_;
    for (bytes end = data + size; data != end; ++data)
      mac = mac * 31 + *data;
    return static_cast<unsigned char>(mac >> 3);
  }

  unsigned char password_, mac_ = 0, salt_ = 7;
};

int main() {
  unsigned char octets[32] = {1, 2, 3};  // the key: wiped below, like each string that holds it
  std::string key, pfx;
  asn_write_pkcs8_pki_gost({PKCS8_GOST_2012_256, {sizeof octets, octets}}, key);

  toy_crypto crypto(42), other_password(13);
  pkcs12_easy_t model, opened, refused;
  model.encrypted_bags.push_back(
      {PKCS12_BAG_KEY, {unsigned(key.size()), reinterpret_cast<bytes>(key.data())}, {}, {}});
  asn_write_pkcs12_easy(model, &crypto, pfx);
  std::cout << "container: " << pfx.size() << " bytes\n";

  const auto* der = reinterpret_cast<bytes>(pfx.data());
  if (asn_read_pkcs12_easy(der, unsigned(pfx.size()), &crypto, opened)) {
    for (const pkcs12_bag_t& bag : opened.encrypted_bags) {
      pkcs8_pki_gost_t found;
      if (asn_read_pkcs8_pki_gost(bag.value.data, bag.value.size, found))
        std::cout << "opened: a GOST key of " << found.private_key.size * 8 << " bits\n";
    }
  }
  if (!asn_read_pkcs12_easy(der, unsigned(pfx.size()), &other_password, refused))
    std::cout << "another password: refused\n";

  explicit_bzero(octets, sizeof octets);
  explicit_bzero(key.data(), key.size());
}
