// Digests, on libgcrypt.

#include "digest.h"

#include <gcrypt.h>

namespace {

std::string digest(int algorithm, const blob_t& data) {
  // Readies libgcrypt, unless protect_secrets has done so.
  static const char* const version = gcry_check_version(nullptr);
  static_cast<void>(version);
  std::string out(gcry_md_get_algo_dlen(algorithm), '\0');
  gcry_md_hash_buffer(algorithm, out.data(), data.data, data.size);
  return out;
}

}  // namespace

std::string sha1(const blob_t& data) {
  return digest(GCRY_MD_SHA1, data);
}

std::string sha256(const blob_t& data) {
  return digest(GCRY_MD_SHA256, data);
}

std::string streebog256(const blob_t& data) {
  return digest(GCRY_MD_STRIBOG256, data);
}
