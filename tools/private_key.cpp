#include "private_key.h"

#include <gcrypt.h>

#include <algorithm>
#include <memory>

#include <pkider/asn_oidmap.h>
#include <pkider/pkcs8_helper.h>

#include "alg_codes.h"
#include "asn_cursor.h"
#include "asn_oids.h"
#include "bytes.h"
#include "input.h"
#include "known_oids.h"
#include "messages.h"
#include "prf_parameters.h"
#include "text.h"

namespace {

struct private_key_t {
  blob_t algorithm;   // content octets of the OID
  blob_t key_params;  // likewise; empty when there are none
  blob_t digest_params;
  blob_t octets;      // the raw key for GOST, else the content of privateKey
  unsigned bits = 0;  // 0 when unknown
};

// PrivateKeyInfo ::= SEQUENCE { version INTEGER, SEQUENCE { algorithm OID, parameters }, ... }
// GostR3410-PublicKeyParameters ::= SEQUENCE { publicKeyParamSet OID, digestParamSet OID OPTIONAL,
//   encryptionParamSet OID OPTIONAL }
void read_gost_params(const blob_t& der, private_key_t* key) {
  asn_iter_t cur = asn1_iter_(der);
  asn_iter_t info;
  asn_iter_t skipped;
  asn_iter_t algorithm;
  asn_iter_t params;
  asn_iter_t oid;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &info) ||
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &info, &skipped) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &info, &algorithm) ||
      !asn1_read_tag_i_(asn_tag_t::OID, &algorithm, &skipped) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &algorithm, &params) ||
      !asn1_read_tag_i_(asn_tag_t::OID, &params, &oid)) {
    return;
  }
  key->key_params = asn1_view_(oid);
  if (asn1_read_tag_i_(asn_tag_t::OID, &params, &oid)) {
    key->digest_params = asn1_view_(oid);
  }
}

struct mpi_releaser_t {
  void operator()(gcry_mpi_t mpi) const { gcry_mpi_release(mpi); }
};
using mpi_t = std::unique_ptr<gcry_mpi, mpi_releaser_t>;

mpi_t scan_number(const secret_t& big_endian) {
  gcry_mpi_t number = nullptr;
  gcry_mpi_scan(&number, GCRYMPI_FMT_USG, big_endian.data(), big_endian.size(), nullptr);
  return mpi_t(number);
}

// RSAPrivateKey ::= SEQUENCE { version INTEGER, modulus INTEGER, ... }
unsigned rsa_bits(const blob_t& octets) {
  asn_iter_t cur = asn1_iter_(octets);
  asn_iter_t key;
  asn_iter_t number;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &key) ||
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &key, &number) ||
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &key, &number)) {
    return 0;
  }
  return gcry_mpi_get_nbits(scan_number({number.ptr, number.ptr + number.len}).get());
}

// 0 when it is no GOST algorithm.
unsigned gost_bits(const blob_t& algorithm) {
  if (asn_oid_equal_(algorithm, g_oid_ALG_GOST_341012_512)) {
    return 512;
  }
  return asn_oid_equal_(algorithm, g_oid_ALG_GOST_341001) ||
                 asn_oid_equal_(algorithm, g_oid_ALG_GOST_341012_256)
             ? 256
             : 0;
}

bool is_rsa(const blob_t& algorithm) {
  return (PKI_OID_TO_KEY_ALG(algorithm.data, algorithm.size) & alg_codes::kind_mask) ==
         alg_codes::rsa;
}

private_key_t read_private_key(const std::string& where, const blob_t& der) {
  asn_pkcs8_priv_key_info_t info;
  if (!asn_read_pkcs8_priv_key_info(der.data, der.size, info)) {
    throw input_error_t(where, "not a PKCS#8 private key, or a damaged one");
  }
  private_key_t key;
  key.algorithm = info.algorithm;
  key.octets = info.private_key;
  key.bits = is_rsa(info.algorithm) ? rsa_bits(info.private_key) : gost_bits(info.algorithm);
  pkcs8_pki_gost_t gost;
  if (asn_read_pkcs8_pki_gost(der.data, der.size, gost)) {
    key.octets = gost.private_key;  // some programs leave the inner OCTET STRING out
  }
  if (gost_bits(info.algorithm) != 0) {
    read_gost_params(der, &key);
  }
  return key;
}

std::string size_text(unsigned bits) {
  return bits == 0 ? "unknown" : std::to_string(bits) + " bits";
}

// The first block that can be a key, whatever its label.
std::string first_key_block(const std::string& file) {
  for (const input_block_t& block : read_input(file)) {
    if (block.label.empty() || block.label == key_label || block.label == encrypted_key_label) {
      return block.der;
    }
  }
  throw input_error_t(file, "holds no PKCS#8 private key");
}

// EncryptedPrivateKeyInfo ::= SEQUENCE { SEQUENCE, OCTET STRING }, by any scheme
bool is_encrypted(const std::string& der) {
  asn_iter_t cur = asn1_iter_(view(der));
  asn_iter_t info;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &info) &&
         asn1_next_is_(asn_tag_t::SEQUENCE, info);
}

// ---- Public keys from private ones ----

struct point_releaser_t {
  void operator()(gcry_mpi_point_t point) const { gcry_mpi_point_release(point); }
};
using point_t = std::unique_ptr<gcry_mpi_point, point_releaser_t>;

struct context_releaser_t {
  void operator()(gcry_ctx_t context) const { gcry_ctx_release(context); }
};
using context_t = std::unique_ptr<gcry_context, context_releaser_t>;

context_t open_curve(const blob_t& oid) {
  std::string name;
  gcry_ctx_t context = nullptr;
  if (oid_asn_to_str_(oid.data, oid.data + oid.size, name)) {
    gcry_mpi_ec_new(&context, nullptr, name.c_str());
  }
  return context_t(context);
}

// Appends `count` bytes, the least significant first.
void append_number(gcry_mpi_t number, std::size_t count, std::string* out) {
  std::string little_endian(count, '\0');
  std::size_t written = 0;
  gcry_mpi_print(GCRYMPI_FMT_USG, reinterpret_cast<unsigned char*>(little_endian.data()), count,
                 &written, number);
  std::reverse(little_endian.begin(), little_endian.begin() + static_cast<std::ptrdiff_t>(written));
  *out += little_endian;
}

// X and Y of the public key, as a GOST public key stores them.
std::string public_octets(gcry_ctx_t curve, const blob_t& private_octets) {
  const std::reverse_iterator<const unsigned char*> begin(private_octets.data +
                                                          private_octets.size);
  const std::reverse_iterator<const unsigned char*> end(private_octets.data);
  const mpi_t secret = scan_number(secret_t(begin, end));
  const point_t generator(gcry_mpi_ec_get_point("g", curve, 1));
  const point_t product(gcry_mpi_point_new(0));
  const mpi_t x(gcry_mpi_new(0));
  const mpi_t y(gcry_mpi_new(0));
  gcry_mpi_ec_mul(product.get(), secret.get(), generator.get(), curve);
  std::string octets;
  if (gcry_mpi_ec_get_affine(x.get(), y.get(), product.get(), curve) == 0) {
    append_number(x.get(), private_octets.size, &octets);
    append_number(y.get(), private_octets.size, &octets);
  }
  return octets;
}

}  // namespace

key_file_t open_key_file(const std::string& file, const password_source_t& source,
                         const gost_pbe_options_t& options) {
  key_file_t key;
  key.der = first_key_block(file);
  if (!is_encrypted(key.der)) {
    read_private_key(file, view(key.der));
    return key;
  }
  key.der = with_prf_parameters(view(key.der));
  pkcs8_encrypted_pki_gost_t info;
  if (!asn_read_pkcs8_encrypted_pki_gost(bytes(key.der), size32(key.der), info)) {
    throw input_error_t(file, "encrypted with another scheme than PBES2 with GOST algorithms");
  }
  key.encrypted = true;
  key.iterations = info.pbe.iterations;
  gost_pbe_t crypto(read_password(source, "Password of " + printable(file)), options);
  std::string plaintext;
  try {
    if (!crypto.decrypt(info.pbe, info.encrypted_data.data, info.encrypted_data.size, plaintext)) {
      throw input_error_t(file, "wrong password, or a damaged file");
    }
  } catch (const pbe_error_t& e) {
    throw input_error_t(file, e.what());
  }
  key.der = plaintext;
  read_private_key(file, view(key.der));
  return key;
}

void show_private_key(const std::string& where, const blob_t& der, bool reveal) {
  const private_key_t key = read_private_key(where, der);
  print_field("algorithm", describe_oid(key.algorithm.data, key.algorithm.size));
  if (key.key_params.size != 0) {
    print_field("key parameters", describe_oid(key.key_params.data, key.key_params.size));
  }
  if (key.digest_params.size != 0) {
    print_field("digest parameters", describe_oid(key.digest_params.data, key.digest_params.size));
  }
  print_field("key size", size_text(key.bits));
  if (reveal) {
    print_field("key octets", hex(key.octets));
  }
}

std::string private_key_summary(const std::string& where, const blob_t& der) {
  const private_key_t key = read_private_key(where, der);
  return describe_oid(key.algorithm.data, key.algorithm.size) + ", " + size_text(key.bits);
}

pairing_t pair_keys(const std::string& where, const blob_t& private_key,
                    const asn_pubkey_t& public_key) {
  const private_key_t key = read_private_key(where, private_key);
  const context_t curve = open_curve(key.key_params);
  if (gost_bits(key.algorithm) != key.octets.size * 8 || curve == nullptr) {
    return pairing_t::unknown;
  }
  asn_gost_pubkey_t other;
  return asn_read_gost_pubkey(public_key, other) &&
                 public_octets(curve.get(), key.octets) == to_string(other.key)
             ? pairing_t::same
             : pairing_t::different;
}
