// The GOST cryptography of key containers, on libgcrypt: PBES2 with PBKDF2 (HMAC on GOST
// R 34.11-94) and GOST 28147-89 in CFB mode (RFC 9337), and the MAC of PKCS#12, its key made as in
// RFC 9548.

#ifndef PKIDER_TOOLS_GOST_PBE_H
#define PKIDER_TOOLS_GOST_PBE_H

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include <pkider/pkcs12_helper.h>

#include "secure_memory.h"

// What a container asks for and does not get. The message says why.
class pbe_error_t : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct gost_pbe_options_t {
  // Rounds of key derivation in what is written. The library writes no count that has a zero byte
  // below its leading byte; 600,000 (09 27 C0) has none.
  unsigned iterations = 600000;
  // Rounds that reading may take, all derivations of one object together: a file can ask for
  // billions.
  std::uint64_t round_limit = 10'000'000;
  // Other programs encrypt a bare SafeContents, the library an OCTET STRING element around it. The
  // element's header is taken off before encrypting, unless this is set.
  bool native = false;
  // Called now and then while a key is being derived, and at its end.
  std::function<void(unsigned done, unsigned total)> progress;
};

// Tells whether the library writes this iteration count as it is.
bool can_write_iterations(unsigned iterations);

// One password, for one container after the other. The views that encrypt and compute_mac set are
// valid until the next call of the same operation. Throws pbe_error_t, passing through the library,
// when a container's MAC is of another algorithm or it asks for too many rounds.
class gost_pbe_t : public pbe_crypto_t {
 public:
  // Throws pbe_error_t when options.iterations cannot be written.
  explicit gost_pbe_t(secret_t password, gost_pbe_options_t options = {});

  // Has verify_mac check this OCTET STRING element instead of the one it will be handed: for a
  // container that was changed, as in prf_parameters.h, after its MAC was made.
  void set_mac_data(const blob_t& element) { mac_data_ = element; }

  bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) override;
  bool compute_mac(const unsigned char* data, unsigned size, pkcs12_mac_t& mac) override;

  // Decrypts with whichever of the parameter sets CryptoPro-A to D and TC26-Z gives one well-formed
  // element; a SafeContents gets what the library expects, header and PRF parameters. False when
  // none does: the password is wrong, or the data is damaged.
  bool decrypt(const pkcs5_pbe_gost_t& pbe, const unsigned char* data, unsigned size,
               std::string& plaintext) override;
  // Encrypts with CryptoPro-A, a new salt and a new vector. Always true.
  bool encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
               std::string& ciphertext) override;

  bool mac_refused() const { return mac_refused_; }
  // How many parts decrypt has opened.
  unsigned opened_parts() const { return opened_parts_; }

 protected:
  // Block `block`, counted from 1, of PBKDF2's output (RFC 8018, 5.2): 32 bytes.
  virtual secret_t derive(const blob_t& salt, unsigned iterations, unsigned block);

 private:
  void spend(unsigned iterations);

  secret_t password_;
  gost_pbe_options_t options_;
  std::uint64_t rounds_spent_ = 0;
  blob_t mac_data_;
  bool mac_refused_ = false;
  unsigned opened_parts_ = 0;
  std::string salt_;
  std::string iv_;
  std::string mac_salt_;
  std::string mac_;
};

#endif
