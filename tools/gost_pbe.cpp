// GOST encryption and MAC for the container that the library is writing.

#include "gost_pbe.h"

#include <sys/random.h>

#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include "asn_cursor.h"
#include "bytes.h"
#include "mac.h"

namespace {

constexpr unsigned key_size = 32;
constexpr unsigned iv_size = 8;
constexpr unsigned salt_size = 16;
constexpr char crypto_pro_a[] = "1.2.643.2.2.31.1";

const hash_t& gost_94() {
  static const hash_t* const hash = find_hash("1.2.643.2.2.9");
  return *hash;
}

struct cipher_closer_t {
  void operator()(gcry_cipher_hd_t cipher) const { gcry_cipher_close(cipher); }
};

std::string random_bytes(unsigned count) {
  std::string bytes(count, '\0');
  if (getentropy(bytes.data(), count) != 0) {
    throw std::system_error(errno, std::generic_category(), "no random bytes");
  }
  return bytes;
}

std::string encrypt_gost(const secret_t& key, const std::string& iv, const blob_t& plaintext) {
  gcry_cipher_hd_t handle = nullptr;
  check_gcrypt(gcry_cipher_open(&handle, GCRY_CIPHER_GOST28147_MESH, GCRY_CIPHER_MODE_CFB,
                                GCRY_CIPHER_SECURE));
  const std::unique_ptr<gcry_cipher_handle, cipher_closer_t> cipher(handle);
  std::string set = crypto_pro_a;
  check_gcrypt(gcry_cipher_ctl(handle, GCRYCTL_SET_SBOX, set.data(), 0));
  check_gcrypt(gcry_cipher_setkey(handle, key.data(), key.size()));
  check_gcrypt(gcry_cipher_setiv(handle, iv.data(), iv.size()));
  std::string ciphertext(plaintext.size, '\0');
  check_gcrypt(gcry_cipher_encrypt(handle, ciphertext.data(), ciphertext.size(), plaintext.data,
                                   plaintext.size));
  return ciphertext;
}

}  // namespace

unsigned writable_iterations(unsigned iterations) {
  // Every zero byte below the leading one becomes 1, and what is below that 0; from the top down.
  for (unsigned shift = 24; shift < 32; shift -= 8) {
    const bool leading = iterations >> shift == 0;
    if (!leading && (iterations >> shift & 0xFF) == 0) {
      const unsigned below = (1U << shift) - 1;
      iterations = (iterations & ~below) | 1U << shift;
    }
  }
  return iterations == 0 ? 1 : iterations;
}

gost_pbe_t::gost_pbe_t(secret_t password, deriver_t& deriver, const gost_pbe_options_t& options)
    : password_(std::move(password)), deriver_(deriver), options_(options) {}

bool gost_pbe_t::compute_mac(const unsigned char* data, unsigned size, pkcs12_mac_t& mac) {
  asn_iter_t cur = {data, size};
  asn_iter_t safe;
  asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &cur, &safe);
  mac_salt_ = random_bytes(salt_size);
  mac.mac_salt = view(mac_salt_);
  mac.mac_iterations = options_.iterations;
  const secret_t key =
      deriver_.derive(password_, gost_mac_key(gost_94(), mac.mac_salt, mac.mac_iterations));
  const secret_t digest = digest_of(gost_94(), &key, asn1_view_(safe));
  mac_.assign(digest.begin(), digest.end());
  mac.digest = view(mac_);
  return true;
}

bool gost_pbe_t::encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
                         std::string& ciphertext) {
  blob_t plaintext = {size, data};
  asn_iter_t cur = asn1_iter_(plaintext);
  asn_iter_t content;
  if (!options_.native && asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &cur, &content)) {
    plaintext = asn1_view_(content);
  }
  salt_ = random_bytes(salt_size);
  iv_ = random_bytes(iv_size);
  pbe.salt = view(salt_);
  pbe.iterations = options_.iterations;
  pbe.iv = view(iv_);
  const derivation_t derivation = {kdf_t::pbkdf2, &gost_94(), pbe.salt, pbe.iterations, key_size};
  ciphertext = encrypt_gost(deriver_.derive(password_, derivation), iv_, plaintext);
  return true;
}
