// GOST private keys: PKCS#5 PBES2 parameters, PKCS#8 PrivateKeyInfo and EncryptedPrivateKeyInfo.
//
// Only the framing is done here: nothing is derived, encrypted or decrypted. Readers return views
// into the caller's bytes, which must outlive them. On failure a reader returns false; fields read
// before the fault keep their new values and the others what they held: discard the record. Nothing
// outside the input is read, and bytes after the last element of a structure are ignored.
//
// Writers replace `out` with one complete element; the views that they write may show `out` itself.
// They check nothing and throw std::bad_alloc only, leaving `out` as it was. Buffers of the library
// that held key octets are wiped. Everything here is pure and may be called from any thread.

#ifndef PKIDER_PKCS8_HELPER_H
#define PKIDER_PKCS8_HELPER_H

#include <string>

#include "asn_reader.h"
#include "pkider_api.h"

// ---- PBES2 with GOST algorithms (RFC 8018, appendix A.4; RFC 9337) ----

// What varies in the one scheme supported: PBKDF2 with HMAC on GOST R 34.11-94, and GOST 28147-89.
struct pkcs5_pbe_gost_t {
  blob_t salt;
  unsigned iterations = 0;
  blob_t iv;
};

// asn_read_pkcs5_pbe_gost reads the *content* of a PBES2 AlgorithmIdentifier: `der` begins with its
// OID, not with its SEQUENCE.
//
// Returns false when the scheme, the KDF, the PRF or the cipher is another, the structure is
// malformed, or asn_read_INTEGER refuses the iteration count, with FFFFFFFF as limit. The PRF's
// AlgorithmIdentifier must have parameters (any; usually NULL): without them the result is false,
// although some programs leave them out. examples/prf_parameters.cpp adds them. Any cipher
// parameter set is accepted and not kept. A keyLength is accepted and ignored. An empty iteration
// count leaves `out.iterations` as it was.
PKIDER_API bool asn_read_pkcs5_pbe_gost(const unsigned char* der, unsigned len,
                                        pkcs5_pbe_gost_t& out);

// asn_write_pkcs5_pbe_gost writes the complete AlgorithmIdentifier, its SEQUENCE included, with
// CryptoPro parameter set A for the cipher and without keyLength.
//
// The iteration count is written by asn_write_INTEGER: one with a zero byte below its leading byte
// becomes another number (2048 is written as 8). Choose counts without.
PKIDER_API void asn_write_pkcs5_pbe_gost(const pkcs5_pbe_gost_t& in, std::string& out);

// ---- PrivateKeyInfo (RFC 5208, 5) ----

// Any PrivateKeyInfo, split.
struct asn_pkcs8_priv_key_info_t {
  blob_t algorithm;    // content octets of the algorithm's OID
  blob_t private_key;  // content of the privateKey OCTET STRING
};

// asn_read_pkcs8_priv_key_info splits a PrivateKeyInfo of any algorithm and version. Algorithm
// parameters must be present; neither they nor any attributes are looked at.
PKIDER_API bool asn_read_pkcs8_priv_key_info(const unsigned char* der, unsigned len,
                                             asn_pkcs8_priv_key_info_t& out);

// The kinds of GOST key that are read and written.
enum pkcs8_gost_alg_t : unsigned {
  PKCS8_GOST_2001 = 0,      // GOST R 34.10-2001
  PKCS8_GOST_2012_256 = 1,  // GOST R 34.10-2012, 256 bits
  PKCS8_GOST_2012_512 = 2,  // GOST R 34.10-2012, 512 bits
};

// A GOST private key: its kind and the raw octets of the OCTET STRING inside privateKey.
struct pkcs8_pki_gost_t {
  pkcs8_gost_alg_t key_alg = PKCS8_GOST_2001;
  blob_t private_key;
};

// asn_read_pkcs8_pki_gost reads a PrivateKeyInfo of one of the three kinds, with any parameter
// sets. Returns false for other algorithms and where privateKey does not hold an OCTET STRING.
PKIDER_API bool asn_read_pkcs8_pki_gost(const unsigned char* der, unsigned len,
                                        pkcs8_pki_gost_t& out);

// asn_write_pkcs8_pki_gost writes a PrivateKeyInfo of version 0 without attributes. The parameter
// sets follow from the kind (CryptoPro-A for 2001, TC26 paramSetA for 2012) and the digest set is
// 1.2.643.2.2.30.1 for all. A `key_alg` that is none of the three is written as empty OIDs.
PKIDER_API void asn_write_pkcs8_pki_gost(const pkcs8_pki_gost_t& in, std::string& out);

// ---- EncryptedPrivateKeyInfo (RFC 5208, 6) ----

// An EncryptedPrivateKeyInfo, split.
struct pkcs8_encrypted_pki_gost_t {
  pkcs5_pbe_gost_t pbe;
  blob_t encrypted_data;  // content of the encryptedData OCTET STRING
};

// asn_read_pkcs8_encrypted_pki_gost reads an EncryptedPrivateKeyInfo whose scheme is that of
// asn_read_pkcs5_pbe_gost. The decrypted octets are a PrivateKeyInfo.
PKIDER_API bool asn_read_pkcs8_encrypted_pki_gost(const unsigned char* der, unsigned len,
                                                  pkcs8_encrypted_pki_gost_t& out);

// asn_write_pkcs8_encrypted_pki_gost writes the parameters as asn_write_pkcs5_pbe_gost does and the
// encrypted octets as they are.
PKIDER_API void asn_write_pkcs8_encrypted_pki_gost(const pkcs8_encrypted_pki_gost_t& in,
                                                   std::string& out);

#endif
