// Keys derived from passwords, on libgcrypt: PBKDF2 and PBKDF1 (RFC 8018) and PKCS#12's own
// derivation (RFC 7292, appendix B). One object derives all keys of a run, bounds what files ask
// for, and tells a person who waits how far it is.

#ifndef PKIDER_TOOLS_DERIVATION_H
#define PKIDER_TOOLS_DERIVATION_H

#include <gcrypt.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <pkider/asn_reader.h>

#include "secure_memory.h"

// What a file asks for and does not get. The message says why.
class pbe_error_t : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws std::runtime_error when a call of libgcrypt failed.
void check_gcrypt(gcry_error_t error);

struct hash_closer_t {
  void operator()(gcry_md_hd_t hash) const { gcry_md_close(hash); }
};
using hash_handle_t = std::unique_ptr<gcry_md_handle, hash_closer_t>;

struct hash_t {
  std::string_view oid;       // of the hash
  std::string_view hmac_oid;  // of HMAC with it
  const char* name;
  gcry_md_algos algorithm;
  unsigned block_size;  // in bytes
  bool is_gost;
};

// Null when the dotted OID is of another algorithm.
const hash_t* find_hash(std::string_view oid);
const hash_t* find_hmac(std::string_view oid);

// HMAC of `data`, or its hash alone when `key` is null.
secret_t digest_of(const hash_t& hash, const secret_t* key, const blob_t& data);

enum class kdf_t { pbkdf1, pbkdf2, pkcs12 };

struct derivation_t {
  kdf_t kdf = kdf_t::pbkdf2;
  const hash_t* hash = nullptr;
  blob_t salt;
  unsigned iterations = 0;
  unsigned size = 0;            // bytes that are wanted
  unsigned char purpose = 0;    // PKCS#12's: 1 key, 2 vector, 3 MAC
  unsigned skipped_blocks = 0;  // of PBKDF2's output, and then
  unsigned skipped_bytes = 0;   // bytes of it, before those that are wanted
};

// The forms of a password that a derivation may have been given: UTF-8, or for PKCS#12's own UTF-16
// with a zero at its end, an empty one without that zero too.
std::vector<secret_t> password_forms(kdf_t kdf, const secret_t& password);

class deriver_t {
 public:
  // `progress` is called now and then with the rounds done and the rounds known of.
  using progress_t = std::function<void(std::uint64_t done, std::uint64_t total)>;

  explicit deriver_t(std::uint64_t round_limit, progress_t progress = {});
  deriver_t(const deriver_t&) = delete;
  deriver_t& operator=(const deriver_t&) = delete;

  // Counts what a file asks for. Throws pbe_error_t when that is more than the limit, all files of
  // the run together, or no derivation at all.
  void admit(const derivation_t& asked);
  // Counts what is to be derived by the command's own choice.
  void expect(std::uint64_t iterations) { expected_ += iterations; }

  secret_t derive(const secret_t& password, const derivation_t& asked);

 private:
  secret_t pbkdf2(const secret_t& password, const derivation_t& asked);
  secret_t pkcs12(const secret_t& password, const derivation_t& asked);
  secret_t pbkdf1(const secret_t& password, const derivation_t& asked);
  void tell(std::uint64_t done);

  std::uint64_t round_limit_;
  progress_t progress_;
  std::uint64_t admitted_ = 0;
  std::uint64_t expected_ = 0;
  std::uint64_t done_ = 0;
};

// A progress for a person who waits: a line on standard error, once the run takes noticeable time.
// Empty when standard error is not a terminal.
deriver_t::progress_t terminal_progress();

#endif
