// Public keys computed from private ones: RSA, DSA, elliptic curves, GOST.

#include "key_id.h"

#include <gcrypt.h>

#include <algorithm>
#include <memory>

#include <pkider/asn_helper.h>

#include "asn_cursor.h"
#include "ber.h"
#include "bytes.h"
#include "curves.h"
#include "derivation.h"
#include "known_oids.h"
#include "public_key.h"

namespace {

// ---- libgcrypt's objects ----

struct releaser_t {
  void operator()(gcry_mpi_t mpi) const { gcry_mpi_release(mpi); }
  void operator()(gcry_mpi_point_t point) const { gcry_mpi_point_release(point); }
  void operator()(gcry_ctx_t context) const { gcry_ctx_release(context); }
};
using mpi_t = std::unique_ptr<gcry_mpi, releaser_t>;
using point_t = std::unique_ptr<gcry_mpi_point, releaser_t>;
using context_t = std::unique_ptr<gcry_context, releaser_t>;

// The number is in secure memory if its octets are.
template <class Bytes>
mpi_t scan_number(const Bytes& big_endian) {
  gcry_mpi_t number = nullptr;
  check_gcrypt(
      gcry_mpi_scan(&number, GCRYMPI_FMT_USG, big_endian.data(), big_endian.size(), nullptr));
  return mpi_t(number);
}

mpi_t scan_number(const blob_t& big_endian) {
  return scan_number(to_string(big_endian));
}

// `count` bytes, the most significant first; without leading zeros when `count` is 0.
std::string number_octets(gcry_mpi_t number, std::size_t count = 0) {
  std::size_t size = 0;
  check_gcrypt(gcry_mpi_print(GCRYMPI_FMT_USG, nullptr, 0, &size, number));
  std::string octets(size, '\0');
  check_gcrypt(gcry_mpi_print(GCRYMPI_FMT_USG, reinterpret_cast<unsigned char*>(octets.data()),
                              size, &size, number));
  return size < count ? std::string(count - size, '\0') + octets : octets;
}

// The coordinates of the private number's public point; empty at infinity.
struct coordinates_t {
  std::string x;
  std::string y;
};

coordinates_t multiply(gcry_ctx_t curve, gcry_mpi_t secret, std::size_t octets) {
  const point_t generator(gcry_mpi_ec_get_point("g", curve, 1));
  const point_t product(gcry_mpi_point_new(0));
  const mpi_t x(gcry_mpi_new(0));
  const mpi_t y(gcry_mpi_new(0));
  gcry_mpi_ec_mul(product.get(), secret, generator.get(), curve);
  if (gcry_mpi_ec_get_affine(x.get(), y.get(), product.get(), curve) != 0) {
    return {};
  }
  return {number_octets(x.get(), octets), number_octets(y.get(), octets)};
}

context_t open_curve(const char* name) {
  gcry_ctx_t context = nullptr;
  check_gcrypt(gcry_mpi_ec_new(&context, nullptr, name));
  return context_t(context);
}

// A point of a Weierstrass curve, compressed; empty when it is not one.
std::string compressed(const std::string& point) {
  constexpr char even = 2;
  constexpr char whole = 4;
  const std::size_t half = (point.size() - 1) / 2;
  if (point.empty() || point[0] != whole) {
    return point.size() > 1 && (point[0] == even || point[0] == even + 1) ? point : std::string();
  }
  if (half == 0 || point.size() != 2 * half + 1) {
    return {};
  }
  return static_cast<char>(even + (point.back() & 1)) + point.substr(1, half);
}

// ---- Public keys of private ones ----

std::string rsa_value(const blob_t& modulus, const blob_t& exponent) {
  return der_element(asn_tag_t::INTEGER, to_string(modulus)) + to_string(exponent);
}

key_id_t rsa_id(const private_key_t& key) {
  blob_t modulus;
  blob_t exponent;
  if (!read_rsa(key.octets, modulus, exponent)) {
    return {key_kind_t::rsa, "", "", malformed_key};
  }
  return {key_kind_t::rsa, "", rsa_value(modulus, exponent), ""};
}

key_id_t dsa_id(const private_key_t& key) {
  constexpr unsigned max_bits = 16384;
  key_id_t id = {key_kind_t::dsa, "", "", malformed_key};
  asn_iter_t cur = asn1_iter_(key.octets);
  blob_t p;
  blob_t q;
  blob_t g;
  blob_t x;
  if (!read_dsa_parameters(key.params, p, q, g) || !read_number(cur, x) || p.size == 0) {
    return id;
  }
  if (bit_count(p) > max_bits || x.size > p.size || g.size > p.size) {
    id.why_not = "its numbers are too large";
    return id;
  }
  const mpi_t y(gcry_mpi_new(0));
  gcry_mpi_powm(y.get(), scan_number(g).get(), scan_number(secret_of(x)).get(),
                scan_number(p).get());
  id.value = number_octets(y.get());
  return id;
}

key_id_t ec_id(const private_key_t& key) {
  key_id_t id = {key_kind_t::ec, "", "", malformed_key};
  ec_key_t ec;
  if (!read_ec(key, ec)) {
    return id;
  }
  id.algorithm = named_curve(ec.params);
  const curve_t* curve = find_curve(id.algorithm);
  if (curve == nullptr || curve->name == nullptr) {
    id.value = compressed(ec.point);
    id.why_not =
        "its curve is not one that this command computes with, and the public key is not "
        "stored with it";
    return id;
  }
  const std::size_t octets = (curve->bits + 7) / 8;
  if (ec.secret.size > octets) {
    return id;
  }
  const coordinates_t point =
      multiply(open_curve(curve->name).get(), scan_number(secret_of(ec.secret)).get(), octets);
  id.value = point.x.empty() ? "" : compressed('\x04' + point.x + point.y);
  return id;
}

// The private number of Ed25519 or Ed448 (RFC 8032, 5.1.5 and 5.2.5), least significant first.
secret_t edwards_number(const secret_t& seed, bool is_448) {
  gcry_md_hd_t handle = nullptr;
  check_gcrypt(
      gcry_md_open(&handle, is_448 ? GCRY_MD_SHAKE256 : GCRY_MD_SHA512, GCRY_MD_FLAG_SECURE));
  const hash_handle_t hash(handle);
  gcry_md_write(handle, seed.data(), seed.size());
  secret_t number(seed.size());
  if (is_448) {
    check_gcrypt(gcry_md_extract(handle, GCRY_MD_SHAKE256, number.data(), number.size()));
    number[0] &= 0xFC;
    number[55] |= 0x80;
    number[56] = 0;
    return number;
  }
  std::copy_n(gcry_md_read(handle, GCRY_MD_SHA512), number.size(), number.begin());
  number[0] &= 0xF8;
  number[31] = static_cast<unsigned char>((number[31] & 0x7F) | 0x40);
  return number;
}

key_id_t edwards_id(const private_key_t& key, unsigned bits) {
  key_id_t id = {key_kind_t::edwards, "", "", malformed_key};
  const bool is_448 = bits > 256;
  const std::size_t size = bits / 8;
  secret_t seed;
  if (!read_curve_key(key, size, seed)) {
    return id;
  }
  const mpi_t number = scan_number(reversed(edwards_number(seed, is_448)));
  const context_t curve = open_curve(is_448 ? "Ed448" : "Ed25519");
  const coordinates_t point = multiply(curve.get(), number.get(), size);
  if (point.x.empty()) {
    return id;
  }
  id.value.assign(point.y.rbegin(), point.y.rend());
  id.value.back() = static_cast<char>(id.value.back() | (point.x.back() & 1) << 7);
  return id;
}

key_id_t montgomery_id(const private_key_t& key, unsigned bits) {
  key_id_t id = {key_kind_t::montgomery, "", "", malformed_key};
  const std::size_t size = bits / 8;
  secret_t scalar;
  if (read_curve_key(key, size, scalar)) {
    std::string point(size, '\0');
    check_gcrypt(gcry_ecc_mul_point(bits == 256 ? GCRY_ECC_CURVE25519 : GCRY_ECC_CURVE448,
                                    reinterpret_cast<unsigned char*>(point.data()), scalar.data(),
                                    nullptr));
    id.value = point;
  }
  return id;
}

key_id_t gost_id(const private_key_t& key, unsigned bits) {
  key_id_t id = {key_kind_t::gost, "", "", malformed_key};
  gost_param_sets_t sets;
  gost_octets_t octets;
  if (!read_gost_param_sets(key.params, sets) || !read_gost_octets(key, octets)) {
    return id;
  }
  const curve_t* curve = find_curve(dotted_oid(sets.key));
  if (curve == nullptr || curve->bits != bits) {
    id.why_not = "its parameter set is not one that this command computes with";
    return id;
  }
  const std::size_t size = bits / 8;
  const context_t context = open_curve(curve->name);
  const mpi_t order(gcry_mpi_ec_get_mpi("n", context.get(), 1));
  const mpi_t number(gcry_mpi_snew(bits));
  gcry_mpi_set_ui(number.get(), 1);
  // A masked key is the key divided by its masks.
  for (auto at = octets.octets.begin(); at != octets.octets.end();
       at += static_cast<std::ptrdiff_t>(size)) {
    const secret_t factor(at, at + static_cast<std::ptrdiff_t>(size));
    gcry_mpi_mulm(number.get(), number.get(), scan_number(reversed(factor)).get(), order.get());
  }
  const coordinates_t point = multiply(context.get(), number.get(), size);
  id.value.assign(point.x.rbegin(), point.x.rend());
  id.value.append(point.y.rbegin(), point.y.rend());
  return id;
}

}  // namespace

// ---- What the header declares ----

key_id_t public_id_of(const private_key_t& key) {
  const key_algorithm_t algorithm = find_key_algorithm(key.oid);
  switch (algorithm.kind) {
    case key_kind_t::rsa:
      return rsa_id(key);
    case key_kind_t::dsa:
      return dsa_id(key);
    case key_kind_t::ec:
      return ec_id(key);
    case key_kind_t::edwards:
      return edwards_id(key, algorithm.bits);
    case key_kind_t::montgomery:
      return montgomery_id(key, algorithm.bits);
    case key_kind_t::gost:
      return gost_id(key, algorithm.bits);
    case key_kind_t::other:
      break;
  }
  return {key_kind_t::other, key.oid, "",
          "its algorithm is not one that this command computes with"};
}

key_id_t id_of_public_key(const blob_t& element) {
  asn_pubkey_t key;
  if (!asn_read_pubkey(element.data, static_cast<long>(element.size), key)) {
    return {key_kind_t::other, "", "", "the public key is malformed"};
  }
  key_id_t id = {find_key_algorithm(dotted_oid(key.alg)).kind, "", "",
                 "the public key is malformed"};
  asn_iter_t cur = asn1_iter_(key.key);
  asn_rsa_pubkey_t rsa;
  blob_t content;
  switch (id.kind) {
    case key_kind_t::rsa:
      if (asn_read_rsa_pubkey(key, rsa)) {
        id.value = rsa_value(rsa.modulus, without_leading_zeros(rsa.exponent));
      }
      break;
    case key_kind_t::dsa:
      id.value = read_number(cur, content) ? to_string(content) : "";
      break;
    case key_kind_t::ec:
      id.algorithm = named_curve(key.params);
      id.value = compressed(to_string(key.key));
      break;
    case key_kind_t::gost:
      id.value = asn1_read_view_(asn_tag_t::OCTET_STRING, &cur, &content) ? to_string(content) : "";
      break;
    default:
      id.algorithm = dotted_oid(key.alg);
      id.value = to_string(key.key);
      break;
  }
  return id;
}

match_t compare(const key_id_t& a, const key_id_t& b) {
  const bool both_named = !a.algorithm.empty() && !b.algorithm.empty();
  if (a.kind != b.kind || (both_named && a.algorithm != b.algorithm)) {
    return match_t::different;
  }
  if (a.value.empty() || b.value.empty()) {
    return match_t::unknown;
  }
  return a.value == b.value ? match_t::same : match_t::different;
}
