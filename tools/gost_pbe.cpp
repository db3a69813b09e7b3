#include "gost_pbe.h"

#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include <pkider/asn_tag.h>

#include "asn_cursor.h"
#include "asn_oids.h"
#include "bytes.h"
#include "prf_parameters.h"

namespace {

constexpr unsigned key_size = 32;
constexpr unsigned iv_size = 8;
constexpr unsigned salt_size = 16;
constexpr unsigned encryption_block = 1;
// The MAC key is the last third of 96 bytes. Blocks are independent: the others need not be made.
constexpr unsigned mac_block = 3;

constexpr const char* sboxes[] = {
    "1.2.643.2.2.31.1", "1.2.643.2.2.31.2",    "1.2.643.2.2.31.3",
    "1.2.643.2.2.31.4", "1.2.643.7.1.2.5.1.1",
};

void check(gcry_error_t error) {
  if (error != 0) {
    throw std::runtime_error(std::string("libgcrypt: ") + gcry_strerror(error));
  }
}

struct hmac_closer_t {
  void operator()(gcry_md_hd_t hmac) const { gcry_md_close(hmac); }
};
using hmac_t = std::unique_ptr<gcry_md_handle, hmac_closer_t>;

struct cipher_closer_t {
  void operator()(gcry_cipher_hd_t cipher) const { gcry_cipher_close(cipher); }
};
using cipher_t = std::unique_ptr<gcry_cipher_handle, cipher_closer_t>;

hmac_t open_hmac(const secret_t& key) {
  gcry_md_hd_t handle = nullptr;
  check(gcry_md_open(&handle, GCRY_MD_GOSTR3411_CP, GCRY_MD_FLAG_HMAC | GCRY_MD_FLAG_SECURE));
  hmac_t hmac(handle);
  check(gcry_md_setkey(handle, key.data(), key.size()));
  return hmac;
}

cipher_t open_cipher(const char* sbox, const secret_t& key, const blob_t& iv) {
  gcry_cipher_hd_t handle = nullptr;
  check(gcry_cipher_open(&handle, GCRY_CIPHER_GOST28147_MESH, GCRY_CIPHER_MODE_CFB,
                         GCRY_CIPHER_SECURE));
  cipher_t cipher(handle);
  std::string oid(sbox);
  check(gcry_cipher_ctl(handle, GCRYCTL_SET_SBOX, oid.data(), 0));
  check(gcry_cipher_setkey(handle, key.data(), key.size()));
  check(gcry_cipher_setiv(handle, iv.data, iv.size));
  return cipher;
}

std::string random_bytes(unsigned count) {
  std::string bytes(count, '\0');
  if (getentropy(bytes.data(), count) != 0) {
    throw std::system_error(errno, std::generic_category(), "no random bytes");
  }
  return bytes;
}

bool equal_in_constant_time(const secret_t& a, const blob_t& b) {
  if (a.size() != b.size) {
    return false;
  }
  unsigned difference = 0;
  for (unsigned i = 0; i < b.size; ++i) {
    difference |= static_cast<unsigned>(a[i] ^ b.data[i]);
  }
  return difference == 0;
}

// Tells whether `data` is exactly one element of `type`.
bool is_one(asn_tag_t::Type type, const blob_t& data, asn_iter_t* content) {
  asn_iter_t cur = asn1_iter_(data);
  return asn1_read_tag_i_(type, &cur, content) && cur.len == 0;
}

// SafeContents ::= SEQUENCE OF SafeBag, while a PrivateKeyInfo begins with its version.
bool is_safe_contents(const blob_t& data) {
  asn_iter_t content;
  return is_one(asn_tag_t::SEQUENCE, data, &content) &&
         (content.len == 0 || asn1_next_is_(asn_tag_t::SEQUENCE, content));
}

bool is_well_formed(const blob_t& data) {
  asn_iter_t content;
  return is_one(asn_tag_t::SEQUENCE, data, &content) ||
         is_one(asn_tag_t::OCTET_STRING, data, &content);
}

std::string in_octet_string(const std::string& data) {
  const asn_tag_t_<0> octets(asn_tag_t::OCTET_STRING, data.data(),
                             static_cast<unsigned>(data.size()));
  return std::string(reinterpret_cast<const char*>(octets.encoded()), octets.encoded_size());
}

// The MAC of the authenticated safe, whose whole OCTET STRING element `data` is.
secret_t mac_of(const blob_t& data, const secret_t& key) {
  asn_iter_t cur = asn1_iter_(data);
  asn_iter_t safe;
  if (!asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &cur, &safe)) {
    throw pbe_error_t("the authenticated safe is malformed");
  }
  const hmac_t hmac = open_hmac(key);
  gcry_md_write(hmac.get(), safe.ptr, safe.len);
  const unsigned char* mac = gcry_md_read(hmac.get(), GCRY_MD_GOSTR3411_CP);
  return secret_t(mac, mac + key_size);
}

}  // namespace

bool can_write_iterations(unsigned iterations) {
  bool good = iterations != 0;
  for (unsigned rest = iterations; rest != 0; rest >>= 8) {
    good = good && (rest & 0xFF) != 0;
  }
  return good;
}

gost_pbe_t::gost_pbe_t(secret_t password, gost_pbe_options_t options)
    : password_(std::move(password)), options_(std::move(options)) {
  if (!can_write_iterations(options_.iterations)) {
    throw pbe_error_t(std::to_string(options_.iterations) +
                      " rounds cannot be written: the number has a zero byte");
  }
}

secret_t gost_pbe_t::derive(const blob_t& salt, unsigned iterations, unsigned block) {
  constexpr unsigned rounds_per_report = 4096;
  const hmac_t hmac = open_hmac(password_);
  const unsigned char index[] = {0, 0, 0, static_cast<unsigned char>(block)};
  gcry_md_write(hmac.get(), salt.data, salt.size);
  gcry_md_write(hmac.get(), index, sizeof index);
  secret_t u(key_size);
  secret_t key(key_size);
  for (unsigned round = 0; round < iterations; ++round) {
    if (round != 0) {
      gcry_md_reset(hmac.get());
      gcry_md_write(hmac.get(), u.data(), key_size);
    }
    std::memcpy(u.data(), gcry_md_read(hmac.get(), GCRY_MD_GOSTR3411_CP), key_size);
    for (unsigned i = 0; i < key_size; ++i) {
      key[i] ^= u[i];
    }
    if (options_.progress && round % rounds_per_report == 0) {
      options_.progress(round, iterations);
    }
  }
  if (options_.progress) {
    options_.progress(iterations, iterations);
  }
  return key;
}

void gost_pbe_t::spend(unsigned iterations) {
  if (iterations == 0) {
    throw pbe_error_t("asks for key derivation in 0 rounds");
  }
  rounds_spent_ += iterations;
  if (rounds_spent_ > options_.round_limit) {
    throw pbe_error_t("asks for at least " + std::to_string(rounds_spent_) +
                      " rounds of key derivation; --max-iterations allows " +
                      std::to_string(options_.round_limit));
  }
}

bool gost_pbe_t::verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) {
  asn_iter_t cur = asn1_iter_(mac.digest_alg);
  asn_iter_t oid;
  if (!asn1_read_tag_i_(asn_tag_t::OID, &cur, &oid) ||
      !asn_oid_equal_(asn1_view_(oid), g_oid_GOSTR3411)) {
    throw pbe_error_t("the MAC is not made with GOST R 34.11-94");
  }
  spend(mac.mac_iterations);
  const secret_t key = derive(mac.mac_salt, mac.mac_iterations, mac_block);
  const blob_t covered = mac_data_.size == 0 ? blob_t{size, data} : mac_data_;
  mac_refused_ = !equal_in_constant_time(mac_of(covered, key), mac.digest);
  return !mac_refused_;
}

bool gost_pbe_t::compute_mac(const unsigned char* data, unsigned size, pkcs12_mac_t& mac) {
  mac_salt_ = random_bytes(salt_size);
  mac.mac_salt = view(mac_salt_);
  mac.mac_iterations = options_.iterations;
  const secret_t key = derive(mac.mac_salt, mac.mac_iterations, mac_block);
  const secret_t digest = mac_of({size, data}, key);
  mac_.assign(digest.begin(), digest.end());
  mac.digest = view(mac_);
  return true;
}

bool gost_pbe_t::decrypt(const pkcs5_pbe_gost_t& pbe, const unsigned char* data, unsigned size,
                         std::string& plaintext) {
  if (pbe.iv.size != iv_size) {
    return false;
  }
  spend(pbe.iterations);
  const secret_t key = derive(pbe.salt, pbe.iterations, encryption_block);
  plaintext.resize(size);
  // The record does not say which parameter set.
  for (const char* sbox : sboxes) {
    const cipher_t cipher = open_cipher(sbox, key, pbe.iv);
    check(gcry_cipher_decrypt(cipher.get(), plaintext.data(), size, data, size));
    if (!is_well_formed(view(plaintext))) {
      continue;
    }
    if (is_safe_contents(view(plaintext))) {
      plaintext = with_prf_parameters(view(in_octet_string(plaintext)));
    }
    ++opened_parts_;
    return true;
  }
  return false;
}

bool gost_pbe_t::encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
                         std::string& ciphertext) {
  blob_t plaintext = {size, data};
  asn_iter_t content;
  if (!options_.native && is_one(asn_tag_t::OCTET_STRING, plaintext, &content)) {
    plaintext = asn1_view_(content);
  }
  salt_ = random_bytes(salt_size);
  iv_ = random_bytes(iv_size);
  pbe.salt = view(salt_);
  pbe.iterations = options_.iterations;
  pbe.iv = view(iv_);
  const secret_t key = derive(pbe.salt, pbe.iterations, encryption_block);
  const cipher_t cipher = open_cipher(sboxes[0], key, pbe.iv);
  ciphertext.resize(plaintext.size);
  check(gcry_cipher_encrypt(cipher.get(), ciphertext.data(), ciphertext.size(), plaintext.data,
                            plaintext.size));
  return true;
}
