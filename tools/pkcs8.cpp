// The table of key algorithms, and a reader for each form of private key.

#include "pkcs8.h"

#include <algorithm>

#include "asn_cursor.h"
#include "bytes.h"
#include "curves.h"
#include "known_oids.h"

namespace {

// clang-format off
constexpr key_algorithm_t algorithms[] = {
    {"1.2.840.113549.1.1.1",  key_kind_t::rsa,        0},
    {"1.2.840.113549.1.1.7",  key_kind_t::rsa,        0},    // RSAES-OAEP
    {"1.2.840.113549.1.1.10", key_kind_t::rsa,        0},    // RSASSA-PSS
    {"1.2.840.10040.4.1",     key_kind_t::dsa,        0},
    {"1.2.840.10045.2.1",     key_kind_t::ec,         0},
    {"1.3.132.1.12",          key_kind_t::ec,         0},    // for ECDH alone
    {"1.3.101.110",           key_kind_t::montgomery, 256},  // X25519
    {"1.3.101.111",           key_kind_t::montgomery, 448},  // X448
    {"1.3.101.112",           key_kind_t::edwards,    256},  // Ed25519
    {"1.3.101.113",           key_kind_t::edwards,    456},  // Ed448
    {"1.2.643.2.2.19",        key_kind_t::gost,       256},  // GOST R 34.10-2001
    {"1.2.643.7.1.1.1.1",     key_kind_t::gost,       256},  // GOST R 34.10-2012
    {"1.2.643.7.1.1.1.2",     key_kind_t::gost,       512},
};
// clang-format on

}  // namespace

key_algorithm_t find_key_algorithm(const std::string& oid) {
  for (const key_algorithm_t& algorithm : algorithms) {
    if (algorithm.oid == oid) {
      return algorithm;
    }
  }
  return {"", key_kind_t::other, 0};
}

// PrivateKeyInfo ::= SEQUENCE { version INTEGER, SEQUENCE { algorithm OID, parameters OPTIONAL },
//   privateKey OCTET STRING, ... }
bool read_private_key(const blob_t& der, private_key_t& out) {
  asn_iter_t cur = asn1_iter_(der);
  asn_iter_t info;
  asn_iter_t version;
  asn_iter_t algorithm;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &info) ||
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &info, &version) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &info, &algorithm) ||
      !asn1_read_view_(asn_tag_t::OID, &algorithm, &out.algorithm) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &info, &out.octets)) {
    return false;
  }
  out.oid = dotted_oid(out.algorithm);
  out.params = asn1_view_(algorithm);
  return true;
}

unsigned key_bits(const private_key_t& key) {
  const key_algorithm_t algorithm = find_key_algorithm(key.oid);
  blob_t modulus;
  blob_t second;
  blob_t third;
  ec_key_t ec;
  switch (algorithm.kind) {
    case key_kind_t::rsa:
      return read_rsa(key.octets, modulus, second) ? bit_count(modulus) : 0;
    case key_kind_t::dsa:
      return read_dsa_parameters(key.params, modulus, second, third) ? bit_count(modulus) : 0;
    case key_kind_t::ec:
      return read_ec(key, ec) ? curve_bits(ec.params, view(ec.point)) : 0;
    default:
      return algorithm.bits;
  }
}

// ---- Numbers ----

blob_t without_leading_zeros(blob_t number) {
  while (number.size != 0 && number.data[0] == 0) {
    number = {number.size - 1, number.data + 1};
  }
  return number;
}

bool read_number(asn_iter_t& cur, blob_t& number) {
  if (!asn1_read_view_(asn_tag_t::INTEGER, &cur, &number)) {
    return false;
  }
  number = without_leading_zeros(number);
  return true;
}

unsigned bit_count(const blob_t& number) {
  const blob_t octets = without_leading_zeros(number);
  unsigned bits = octets.size == 0 ? 0 : (octets.size - 1) * 8;
  for (unsigned top = octets.size == 0 ? 0 : octets.data[0]; top != 0; top >>= 1) {
    ++bits;
  }
  return bits;
}

secret_t reversed(const secret_t& octets) {
  return {octets.rbegin(), octets.rend()};
}

secret_t secret_of(const blob_t& octets) {
  return {octets.data, octets.data + octets.size};
}

// ---- Keys ----

// RSAPrivateKey ::= SEQUENCE { version INTEGER, modulus INTEGER, publicExponent INTEGER, ... }
bool read_rsa(const blob_t& octets, blob_t& modulus, blob_t& exponent) {
  asn_iter_t cur = asn1_iter_(octets);
  asn_iter_t key;
  blob_t version;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &key) && read_number(key, version) &&
         read_number(key, modulus) && read_number(key, exponent);
}

// Dss-Parms ::= SEQUENCE { p INTEGER, q INTEGER, g INTEGER }; the private key is an INTEGER.
bool read_dsa_parameters(const blob_t& params, blob_t& p, blob_t& q, blob_t& g) {
  asn_iter_t cur = asn1_iter_(params);
  asn_iter_t content;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &content) && read_number(content, p) &&
         read_number(content, q) && read_number(content, g);
}

std::string named_curve(const blob_t& params) {
  asn_iter_t cur = asn1_iter_(params);
  blob_t oid;
  return asn1_read_view_(asn_tag_t::OID, &cur, &oid) ? dotted_oid(oid) : std::string();
}

// The prime of a curve that is spelled out (RFC 3279, 2.3.5): SEQUENCE { version INTEGER,
//   fieldID SEQUENCE { fieldType OID, prime INTEGER }, ... }
static bool read_prime(const blob_t& params, blob_t& prime) {
  asn_iter_t cur = asn1_iter_(params);
  asn_iter_t curve;
  asn_iter_t field;
  asn_iter_t type;
  blob_t version;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &curve) && read_number(curve, version) &&
         asn1_read_tag_i_(asn_tag_t::SEQUENCE, &curve, &field) &&
         asn1_read_tag_i_(asn_tag_t::OID, &field, &type) && read_number(field, prime);
}

unsigned curve_bits(const blob_t& params, const blob_t& point) {
  blob_t prime;
  if (const curve_t* known = find_curve(named_curve(params))) {
    return known->bits;
  }
  if (read_prime(params, prime)) {
    return bit_count(prime);
  }
  constexpr unsigned uncompressed = 4;
  const bool both = point.size != 0 && point.data[0] == uncompressed;
  return point.size == 0 ? 0 : (point.size - 1) * 8 / (both ? 2 : 1);
}

// ECPrivateKey ::= SEQUENCE { version INTEGER, privateKey OCTET STRING, [0] parameters OPTIONAL,
//   [1] publicKey BIT STRING OPTIONAL } (RFC 5915)
bool read_ec(const private_key_t& key, ec_key_t& out) {
  constexpr auto public_key = static_cast<asn_tag_t::Type>(asn_tag_t::CONTEXT_0 + 1);
  asn_iter_t cur = asn1_iter_(key.octets);
  asn_iter_t content;
  asn_iter_t element;
  blob_t version;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &content) || !read_number(content, version) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &content, &out.secret)) {
    return false;
  }
  out.params = key.params;
  if (asn1_next_is_(asn_tag_t::CONTEXT_0, content) &&
      asn1_read_tag_i_(asn_tag_t::CONTEXT_0, &content, &element) && key.params.size == 0) {
    out.params = asn1_view_(element);
  }
  asn_iter_t bits;
  if (asn1_read_tag_i_(public_key, &content, &element) &&
      asn1_read_tag_i_(asn_tag_t::BIT_STRING, &element, &bits) && bits.len > 1) {
    out.point = to_string({bits.len - 1, bits.ptr + 1});
  }
  return true;
}

// CurvePrivateKey ::= OCTET STRING (RFC 8410)
bool read_curve_key(const private_key_t& key, std::size_t size, secret_t& secret) {
  asn_iter_t cur = asn1_iter_(key.octets);
  blob_t octets;
  if (!asn1_read_view_(asn_tag_t::OCTET_STRING, &cur, &octets) || octets.size != size) {
    return false;
  }
  secret = secret_of(octets);
  return true;
}

bool read_gost_octets(const private_key_t& key, gost_octets_t& out) {
  constexpr unsigned max_masks = 16;
  const unsigned size = find_key_algorithm(key.oid).bits / 8;
  asn_iter_t cur = asn1_iter_(key.octets);
  blob_t octets = key.octets;
  if (octets.size % size != 0 || octets.size == 0) {
    if (asn1_next_is_(asn_tag_t::INTEGER, cur)) {
      blob_t number;
      if (!read_number(cur, number) || number.size > size) {
        return false;
      }
      out.octets = reversed(secret_of(number));
      out.octets.resize(size);
      return true;
    }
    asn_iter_t pair;
    if (asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &pair)) {  // with the public key after it
      cur = pair;
    }
    if (!asn1_read_view_(asn_tag_t::OCTET_STRING, &cur, &octets)) {
      return false;
    }
  }
  // Some writers leave out the zeros at the most significant end.
  const unsigned whole = std::max(octets.size, size);
  if (octets.size == 0 || whole % size != 0 || whole / size > max_masks + 1) {
    return false;
  }
  out.octets = secret_of(octets);
  out.octets.resize(whole);
  out.masks = whole / size - 1;
  return true;
}
