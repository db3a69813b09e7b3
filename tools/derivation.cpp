// PBKDF1 and PBKDF2 (RFC 8018), and PKCS#12's own derivation (RFC 7292, appendix B).

#include "derivation.h"

#include <iconv.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "messages.h"

namespace {

// clang-format off
constexpr hash_t hashes[] = {
    {"1.2.840.113549.2.5",      "1.3.6.1.5.5.8.1.1",     "MD5",             GCRY_MD_MD5,           64, false},
    {"1.3.14.3.2.26",           "1.2.840.113549.2.7",    "SHA-1",           GCRY_MD_SHA1,          64, false},
    {"2.16.840.1.101.3.4.2.4",  "1.2.840.113549.2.8",    "SHA-224",         GCRY_MD_SHA224,        64, false},
    {"2.16.840.1.101.3.4.2.1",  "1.2.840.113549.2.9",    "SHA-256",         GCRY_MD_SHA256,        64, false},
    {"2.16.840.1.101.3.4.2.2",  "1.2.840.113549.2.10",   "SHA-384",         GCRY_MD_SHA384,       128, false},
    {"2.16.840.1.101.3.4.2.3",  "1.2.840.113549.2.11",   "SHA-512",         GCRY_MD_SHA512,       128, false},
    {"2.16.840.1.101.3.4.2.5",  "1.2.840.113549.2.12",   "SHA-512/224",     GCRY_MD_SHA512_224,   128, false},
    {"2.16.840.1.101.3.4.2.6",  "1.2.840.113549.2.13",   "SHA-512/256",     GCRY_MD_SHA512_256,   128, false},
    {"2.16.840.1.101.3.4.2.8",  "2.16.840.1.101.3.4.2.14", "SHA3-256",      GCRY_MD_SHA3_256,     136, false},
    {"2.16.840.1.101.3.4.2.9",  "2.16.840.1.101.3.4.2.15", "SHA3-384",      GCRY_MD_SHA3_384,     104, false},
    {"2.16.840.1.101.3.4.2.10", "2.16.840.1.101.3.4.2.16", "SHA3-512",      GCRY_MD_SHA3_512,      72, false},
    {"1.2.643.2.2.9",           "1.2.643.2.2.10",        "GOST R 34.11-94", GCRY_MD_GOSTR3411_CP,  32, true},
    {"1.2.643.7.1.1.2.2",       "1.2.643.7.1.1.4.1",     "Streebog-256",    GCRY_MD_STRIBOG256,    64, true},
    {"1.2.643.7.1.1.2.3",       "1.2.643.7.1.1.4.2",     "Streebog-512",    GCRY_MD_STRIBOG512,    64, true},
};
// clang-format on

hash_handle_t open_hash(const hash_t& hash, const secret_t* key) {
  const unsigned flags = GCRY_MD_FLAG_SECURE | (key != nullptr ? unsigned{GCRY_MD_FLAG_HMAC} : 0U);
  gcry_md_hd_t handle = nullptr;
  check_gcrypt(gcry_md_open(&handle, hash.algorithm, flags));
  hash_handle_t opened(handle);
  if (key != nullptr) {
    check_gcrypt(gcry_md_setkey(handle, key->data(), key->size()));
  }
  return opened;
}

unsigned size_of(const hash_t& hash) {
  return gcry_md_get_algo_dlen(hash.algorithm);
}

// Replaces `out` by the digest of what was written, and makes the handle ready for the next.
void finish(gcry_md_hd_t handle, const hash_t& hash, secret_t& out) {
  out.resize(size_of(hash));
  std::memcpy(out.data(), gcry_md_read(handle, hash.algorithm), out.size());
  gcry_md_reset(handle);
}

// `bytes` over and over, up to a multiple of `block`.
secret_t repeated(const unsigned char* bytes, std::size_t count, std::size_t block) {
  secret_t out((count + block - 1) / block * block);
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = bytes[i % count];
  }
  return out;
}

// I_j = (I_j + B + 1) mod 2^8v for each block I_j of `data`.
void add_to_blocks(const secret_t& b, secret_t& data) {
  for (std::size_t at = 0; at < data.size(); at += b.size()) {
    unsigned carry = 1;
    for (std::size_t i = b.size(); i-- > 0;) {
      carry += data[at + i];
      carry += b[i];
      data[at + i] = static_cast<unsigned char>(carry);
      carry >>= 8;
    }
  }
}

struct iconv_closer_t {
  void operator()(void* converter) const { iconv_close(converter); }
};

// What is not UTF-8 counts as Latin-1.
secret_t utf16(const secret_t& text) {
  for (const char* encoding : {"UTF-8", "LATIN1"}) {
    const std::unique_ptr<void, iconv_closer_t> converter(iconv_open("UTF-16BE", encoding));
    secret_t source = text;  // iconv wants it writable
    secret_t out(text.size() * 2);
    char* in_at = reinterpret_cast<char*>(source.data());
    char* out_at = reinterpret_cast<char*>(out.data());
    std::size_t in_left = source.size();
    std::size_t out_left = out.size();
    if (iconv(converter.get(), &in_at, &in_left, &out_at, &out_left) == 0) {
      out.resize(out.size() - out_left);
      return out;
    }
  }
  return {};
}

}  // namespace

void check_gcrypt(gcry_error_t error) {
  if (error != 0) {
    throw std::runtime_error(std::string("libgcrypt: ") + gcry_strerror(error));
  }
}

const hash_t* find_hash(std::string_view oid) {
  const auto* found = std::find_if(std::begin(hashes), std::end(hashes),
                                   [&](const hash_t& hash) { return hash.oid == oid; });
  return found == std::end(hashes) ? nullptr : found;
}

const hash_t* find_hmac(std::string_view oid) {
  const auto* found = std::find_if(std::begin(hashes), std::end(hashes),
                                   [&](const hash_t& hash) { return hash.hmac_oid == oid; });
  return found == std::end(hashes) ? nullptr : found;
}

secret_t digest_of(const hash_t& hash, const secret_t* key, const blob_t& data) {
  const hash_handle_t handle = open_hash(hash, key);
  gcry_md_write(handle.get(), data.data, data.size);
  secret_t out;
  finish(handle.get(), hash, out);
  return out;
}

std::vector<secret_t> password_forms(kdf_t kdf, const secret_t& password) {
  if (kdf != kdf_t::pkcs12) {
    return {password};
  }
  secret_t form = utf16(password);
  form.insert(form.end(), {0, 0});
  return password.empty() ? std::vector<secret_t>{form, {}} : std::vector<secret_t>{form};
}

deriver_t::deriver_t(std::uint64_t round_limit, progress_t progress)
    : round_limit_(round_limit), progress_(std::move(progress)) {}

void deriver_t::admit(const derivation_t& asked) {
  constexpr unsigned max_salt = 4096;
  if (asked.iterations == 0) {
    throw pbe_error_t("asks for key derivation in 0 rounds");
  }
  if (asked.salt.size > max_salt) {
    throw pbe_error_t("asks for key derivation with " + std::to_string(asked.salt.size) +
                      " bytes of salt");
  }
  admitted_ += asked.iterations;
  if (admitted_ > round_limit_) {
    throw pbe_error_t("asks for at least " + std::to_string(admitted_) +
                      " rounds of key derivation, and " + std::to_string(round_limit_) +
                      " are allowed; --max-iterations allows more");
  }
  expect(asked.iterations);
}

secret_t deriver_t::derive(const secret_t& password, const derivation_t& asked) {
  secret_t out;
  switch (asked.kdf) {
    case kdf_t::pbkdf1:
      out = pbkdf1(password, asked);
      break;
    case kdf_t::pbkdf2:
      out = pbkdf2(password, asked);
      break;
    case kdf_t::pkcs12:
      out = pkcs12(password, asked);
      break;
  }
  done_ += asked.iterations;
  tell(done_);
  return out;
}

secret_t deriver_t::pbkdf2(const secret_t& password, const derivation_t& asked) {
  const hash_handle_t hmac = open_hash(*asked.hash, &password);
  const unsigned block_size = size_of(*asked.hash);
  const unsigned end = asked.skipped_bytes + asked.size;
  const unsigned blocks = (end + block_size - 1) / block_size;
  secret_t out;
  secret_t u;
  for (unsigned block = 0; block < blocks; ++block) {
    const unsigned number = asked.skipped_blocks + block + 1;
    const unsigned char index[] = {0, 0, 0, static_cast<unsigned char>(number)};
    gcry_md_write(hmac.get(), asked.salt.data, asked.salt.size);
    gcry_md_write(hmac.get(), index, sizeof index);
    finish(hmac.get(), *asked.hash, u);
    secret_t sum = u;
    for (unsigned round = 1; round < asked.iterations; ++round) {
      gcry_md_write(hmac.get(), u.data(), u.size());
      finish(hmac.get(), *asked.hash, u);
      std::transform(sum.begin(), sum.end(), u.begin(), sum.begin(), std::bit_xor<>());
      tell(done_ + (std::uint64_t{block} * asked.iterations + round) / blocks);
    }
    out.insert(out.end(), sum.begin(), sum.end());
  }
  const auto begin = out.begin() + asked.skipped_bytes;
  return {begin, begin + asked.size};
}

secret_t deriver_t::pkcs12(const secret_t& password, const derivation_t& asked) {
  const hash_t& hash = *asked.hash;
  const hash_handle_t handle = open_hash(hash, nullptr);
  const secret_t diversifier(hash.block_size, asked.purpose);
  secret_t data = repeated(asked.salt.data, asked.salt.size, hash.block_size);
  const secret_t text = repeated(password.data(), password.size(), hash.block_size);
  data.insert(data.end(), text.begin(), text.end());
  secret_t out;
  secret_t a;
  while (out.size() < asked.size) {
    gcry_md_write(handle.get(), diversifier.data(), diversifier.size());
    gcry_md_write(handle.get(), data.data(), data.size());
    finish(handle.get(), hash, a);
    for (unsigned round = 1; round < asked.iterations; ++round) {
      gcry_md_write(handle.get(), a.data(), a.size());
      finish(handle.get(), hash, a);
      tell(done_ + round);
    }
    out.insert(out.end(), a.begin(), a.end());
    secret_t b = repeated(a.data(), a.size(), hash.block_size);
    b.resize(hash.block_size);
    add_to_blocks(b, data);
  }
  out.resize(asked.size);
  return out;
}

secret_t deriver_t::pbkdf1(const secret_t& password, const derivation_t& asked) {
  const hash_handle_t handle = open_hash(*asked.hash, nullptr);
  gcry_md_write(handle.get(), password.data(), password.size());
  gcry_md_write(handle.get(), asked.salt.data, asked.salt.size);
  secret_t out;
  finish(handle.get(), *asked.hash, out);
  for (unsigned round = 1; round < asked.iterations; ++round) {
    gcry_md_write(handle.get(), out.data(), out.size());
    finish(handle.get(), *asked.hash, out);
    tell(done_ + round);
  }
  out.resize(asked.size);
  return out;
}

void deriver_t::tell(std::uint64_t done) {
  constexpr std::uint64_t rounds_per_report = 4096;
  if (progress_ && (done % rounds_per_report == 0 || done >= expected_)) {
    progress_(std::min(done, expected_), expected_);
  }
}

deriver_t::progress_t terminal_progress() {
  using clock = std::chrono::steady_clock;
  constexpr auto noticeable = std::chrono::milliseconds(300);
  if (isatty(STDERR_FILENO) == 0) {
    return {};
  }
  return
      [noticeable, begin = clock::time_point()](std::uint64_t done, std::uint64_t total) mutable {
        if (begin == clock::time_point()) {
          begin = clock::now();
        }
        if (done == total) {
          show_progress("");
        } else if (clock::now() - begin > noticeable) {
          show_progress("Deriving keys ... " + std::to_string(100 * done / total) + " %");
        }
      };
}
