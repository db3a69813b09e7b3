// Private keys of every algorithm, taken apart: PKCS#8 (RFC 5208, RFC 5958) and what is in it.

#ifndef PKIDER_TOOLS_PKCS8_H
#define PKIDER_TOOLS_PKCS8_H

#include <cstddef>
#include <string>
#include <string_view>

#include <pkider/asn_reader.h>

#include "asn_cursor.h"
#include "secure_memory.h"

enum class key_kind_t { other, rsa, dsa, ec, edwards, montgomery, gost };

struct key_algorithm_t {
  std::string_view oid;
  key_kind_t kind;
  unsigned bits;  // 0 when it depends on the key
};

// Kind `other` when the dotted OID is not known.
key_algorithm_t find_key_algorithm(const std::string& oid);

// PrivateKeyInfo, parameters or not. Views into the DER.
struct private_key_t {
  std::string oid;   // dotted
  blob_t algorithm;  // the OID's content octets
  blob_t params;     // whole elements; empty when there are none
  blob_t octets;     // content of privateKey
};

bool read_private_key(const blob_t& der, private_key_t& out);

// Bits of the modulus, the curve or the like; 0 when unknown.
unsigned key_bits(const private_key_t& key);

// A number's octets, the most significant first, without leading zeros.
blob_t without_leading_zeros(blob_t number);
unsigned bit_count(const blob_t& number);

// Steps over an INTEGER.
bool read_number(asn_iter_t& cur, blob_t& number);

bool read_rsa(const blob_t& octets, blob_t& modulus, blob_t& exponent);
bool read_dsa_parameters(const blob_t& params, blob_t& p, blob_t& q, blob_t& g);

struct ec_key_t {
  blob_t secret;
  blob_t params;      // which curve it is
  std::string point;  // as stored; empty when it is not
};

bool read_ec(const private_key_t& key, ec_key_t& out);

// The curve that the parameters of an EC key name, dotted; empty when they name none.
std::string named_curve(const blob_t& params);

// Bits of the coordinates on the curve of these parameters. Where that is not known, a point tells:
// a first byte that says its form, and X and Y, or X alone.
unsigned curve_bits(const blob_t& params, const blob_t& point);

// Of Ed25519 and its like; false unless it has so many bytes.
bool read_curve_key(const private_key_t& key, std::size_t size, secret_t& secret);

// The octets of a GOST private key, least significant first; with masks after it if it has any.
struct gost_octets_t {
  secret_t octets;
  unsigned masks = 0;
};

// Reads all forms: bare, in an OCTET STRING, which may lack zeros, as an INTEGER, with masks, with
// the public key. False when the sizes are not those of the algorithm.
bool read_gost_octets(const private_key_t& key, gost_octets_t& out);

secret_t secret_of(const blob_t& octets);
secret_t reversed(const secret_t& octets);

#endif
