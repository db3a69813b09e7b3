// Algorithm identifiers: the library's algorithm codes, their OIDs and names, DigestInfo, public
// keys and signature parameters.
//
// Readers return views into the caller's bytes, which must outlive them, and own nothing. On
// failure a reader returns false; fields read before the fault keep their new values and the others
// what they held: discard the record. A record must not lie in the bytes it is read from. Nothing
// outside the input is read, and bytes after the last element of a structure are ignored.
// Everything here is pure and may be called from any thread.

#ifndef PKIDER_ASN_HELPER_H
#define PKIDER_ASN_HELPER_H

#include <string>

#include "asn_reader.h"
#include "int2str.h"
#include "pkider_api.h"

// ---- Algorithm codes ----

// An algorithm, as a number of four fields. A key or cipher has a kind, a digest a hash, a
// signature both (or a kind alone, RSASSA-PSS whose hash is in its parameters). 0 is no algorithm.
//
//   Bits 0 to 7: kind                  Bits 16 to 23: hash
//     01  RSA                            01  SHA
//     02  RSASSA-PSS                     02  SHA1
//     03  DSA                            03  SHA224
//     04  DHKA                           04  SHA256
//     05  OLD DSA                        05  SHA384
//     06  DHPN                           06  SHA512
//     07  RC2                            07  MD2
//     08  RC4                            08  MD5
//     09  RC5                            09  GOST R 34.11-94
//     0A  DES                            0A  GOST R 34.11-2012, 256 bits
//     0B  two-key 3DES                   0B  GOST R 34.11-2012, 512 bits
//     0C  three-key 3DES                 0C  the next free number
//     0D  HMAC
//     0E  GOST R 34.10-94 or -2001     Bits 24 to 31: vendor flavour
//     0F  GOST R 34.10-2012, 256 bits    01  ZUL
//     10  GOST R 34.10-2012, 512 bits    02  CryptoPro
//     11  the next free number           04  SignalCOM
//                                        08  the next free bit
//   Bits 8 to 15: key variant
//     01  GOST on elliptic curves: 0E is of 2001 with it and of 1994 without; 0F and 10 have it
//     02  the next free number
//
// So SHA256 with RSA is 00040001, and CryptoPro's GOST R 34.11-94 with GOST R 34.10-2001 0209010E.
// I2S_PKI_ALG_T lists all that have a name.
typedef unsigned pki_alg_t;

// Bytes of a constant table: the content octets of an OID (no tag, no length), or a whole
// AlgorithmIdentifier. They live as long as the library is loaded.
struct pki_oid_ref_t {
  const unsigned char* data;
  unsigned size;
};

// Display names of the codes: I2S_PKI_ALG_T->getString(alg, "unknown").
extern PKIDER_API const IntToString I2S_PKI_ALG_T[];

// Code to OID. Each returns the OID of exactly this code, all 32 bits; the reference {null, 0},
// never a null pointer, when there is none.
PKIDER_API const pki_oid_ref_t* PKI_HASH_ALG_TO_OID(pki_alg_t alg);
PKIDER_API const pki_oid_ref_t* PKI_KEY_ALG_TO_OID(pki_alg_t alg);
PKIDER_API const pki_oid_ref_t* PKI_CERT_SIGN_ALG_TO_OID(pki_alg_t alg);

// asn_form_ike_signalg returns the complete DER AlgorithmIdentifier of a signature algorithm
// (RFC 7427, appendix A), RSASSA-PSS parameters included; {null, 0} when there is none. These
// parameters name the hash alone: the mask generation is then MGF1 with SHA-1, the salt 20 octets
// (RFC 4055, 3.1). A program that signs with another mask or salt writes its own.
PKIDER_API const pki_oid_ref_t* asn_form_ike_signalg(pki_alg_t alg);

// OID content octets to code; 0 when unknown. Where several codes share an OID it is the plain
// form: never a CryptoPro flavour, and RSASSA-PSS without its hash (asn_ike_signalg_t::to_pki_alg
// refines it). `oid` may be null when `len` is 0.
PKIDER_API pki_alg_t PKI_OID_TO_HASH_ALG(const void* oid, unsigned len);
PKIDER_API pki_alg_t PKI_OID_TO_KEY_ALG(const void* oid, unsigned len);
PKIDER_API pki_alg_t PKI_OID_TO_CERT_SIGN_ALG(const void* oid, unsigned len);
// PKI_OID_TO_ALG tries digest, key and signature algorithms, in this order.
PKIDER_API pki_alg_t PKI_OID_TO_ALG(const void* oid, unsigned len);

// ---- DigestInfo (RFC 8017, appendix A.2.4) ----

// The content octets of a digest algorithm's OID.
struct asn_algorid_t {
  blob_t oid;
};

// asn_add_alg_to_digest replaces the raw digest in `digest` by the DigestInfo around it, with NULL
// parameters whatever the digest.
//
// `alg` must be a code for which PKI_HASH_ALG_TO_OID has an OID: one of a hash, without SignalCOM's
// flavour. For any other the OID is written empty (06 00): there is no failure result. Throws
// std::bad_alloc only, and then leaves `digest` as it was.
PKIDER_API void asn_add_alg_to_digest(std::string& digest, pki_alg_t alg);

// asn_read_alg_from_digest reads the algorithm of the DigestInfo at the start of `digest_info` as a
// view into that string.
//
// Returns false when an element is missing or malformed; algorithm parameters must be present.
// `alg` is cleared first and stays so when the OID is not reached, but keeps the OID when a later
// element is at fault. The OID may be any: PKI_OID_TO_HASH_ALG tells whether it is known.
PKIDER_API bool asn_read_alg_from_digest(asn_algorid_t* alg, const std::string& digest_info);
// Not for a temporary string: the view would outlive it.
bool asn_read_alg_from_digest(asn_algorid_t* alg, const std::string&& digest_info) = delete;

// ---- Public keys ----

// A SubjectPublicKeyInfo (RFC 5280, 4.1).
struct asn_pubkey_t {
  blob_t alg;     // content octets of the algorithm's OID
  blob_t params;  // all that follows the OID in the AlgorithmIdentifier; may be empty
  blob_t key;     // the BIT STRING's content without its unused-bits byte
};

// An RSAPublicKey (RFC 8017, appendix A.1.1).
struct asn_rsa_pubkey_t {
  blob_t modulus;   // big-endian, without leading zero bytes (a zero keeps one)
  blob_t exponent;  // INTEGER content as encoded
};

// A GOST public key (RFC 4491, 2.3; RFC 9215). The parameter sets are whole OBJECT IDENTIFIER
// elements, tag and length included.
struct asn_gost_pubkey_t {
  blob_t public_key_param_set;
  blob_t digest_param_set;
  blob_t encryption_param_set;  // empty when absent
  blob_t key;                   // the OCTET STRING's content
};

// asn_read_pubkey splits the SubjectPublicKeyInfo at `p`, of which `n` bytes may be read. A BIT
// STRING without content is refused, and so is an `n` that is negative or does not fit 32 bits. The
// unused-bits byte is not checked, whatever it is.
PKIDER_API bool asn_read_pubkey(const unsigned char* p, long n, asn_pubkey_t& out);

// asn_read_rsa_pubkey reads modulus and exponent from `pk.key`, whatever `pk.alg` says. `out`
// shows the bytes that `pk` shows.
PKIDER_API bool asn_read_rsa_pubkey(const asn_pubkey_t& pk, asn_rsa_pubkey_t& out);

// asn_read_gost_pubkey reads the parameter sets from `pk.params` (the first two are mandatory, a
// third that is malformed counts as absent) and the key from `pk.key`. No set is compared with any
// list.
//
// Without a third set `out.encryption_param_set` is emptied once the first two are read, also where
// the key is then malformed and the result false.
PKIDER_API bool asn_read_gost_pubkey(const asn_pubkey_t& pk, asn_gost_pubkey_t& out);

// ---- Signatures ----

// A Dss-Sig-Value (RFC 3279, 2.2.2): INTEGER contents as encoded.
struct asn_dsa_certsign_t {
  blob_t r;
  blob_t s;
};

// asn_read_dsa_certsign reads a DSA signature value.
PKIDER_API bool asn_read_dsa_certsign(const unsigned char* p, unsigned n, asn_dsa_certsign_t& out);

// A signature AlgorithmIdentifier, as certificates and IKE (RFC 7427) carry it.
struct asn_ike_signalg_t {
  blob_t oid;     // content octets
  blob_t params;  // all that follows the OID up to the end of the input, the SEQUENCE's end or not

  // The algorithm's code; 0 when the OID is unknown. RSASSA-PSS is refined by the hash that its
  // parameters (RFC 4055, 3.1) name, SHA1 by default; 0 when they are malformed or name an unknown
  // hash. A known hash that has no signature name (MD5, GOST) still gives a code.
  PKIDER_API pki_alg_t to_pki_alg() const;
};

// asn_read_ike_signalg reads a signature AlgorithmIdentifier.
PKIDER_API bool asn_read_ike_signalg(const unsigned char* p, unsigned n, asn_ike_signalg_t& out);

#endif
