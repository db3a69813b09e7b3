// Digests, on libgcrypt.

#include "digest.h"

#include <gcrypt.h>

#include <string>

#include "derivation.h"

namespace {

std::string digest(int algorithm, const blob_t& data) {
  // Readies libgcrypt, unless protect_secrets has done so.
  static const char* const version = gcry_check_version(nullptr);
  static_cast<void>(version);
  // Not gcry_md_hash_buffer, which ends the process where it finds no memory.
  gcry_md_hd_t handle = nullptr;
  check_gcrypt(gcry_md_open(&handle, algorithm, 0));
  const hash_handle_t hash(handle);
  gcry_md_write(handle, data.data, data.size);
  const unsigned char* const octets = gcry_md_read(handle, algorithm);
  return std::string(octets, octets + gcry_md_get_algo_dlen(algorithm));
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
