// The fields of an algorithm code (pki_alg_t) and their values: sha256 | rsa is 0x00040001.

#ifndef PKIDER_SRC_ALG_CODES_H
#define PKIDER_SRC_ALG_CODES_H

#include <pkider/asn_helper.h>

namespace alg_codes {

inline constexpr pki_alg_t kind_mask = 0x000000FF;
inline constexpr pki_alg_t variant_mask = 0x0000FF00;
inline constexpr pki_alg_t hash_mask = 0x00FF0000;
inline constexpr pki_alg_t vendor_mask = 0xFF000000;

// Kinds: keys, signature schemes and ciphers.
inline constexpr pki_alg_t rsa = 0x01;
inline constexpr pki_alg_t rsassa_pss = 0x02;
inline constexpr pki_alg_t dsa = 0x03;
inline constexpr pki_alg_t dhka = 0x04;
inline constexpr pki_alg_t old_dsa = 0x05;
inline constexpr pki_alg_t dhpn = 0x06;
inline constexpr pki_alg_t rc2 = 0x07;
inline constexpr pki_alg_t rc4 = 0x08;
inline constexpr pki_alg_t rc5 = 0x09;
inline constexpr pki_alg_t des = 0x0A;
inline constexpr pki_alg_t des3_2key = 0x0B;
inline constexpr pki_alg_t des3_3key = 0x0C;
inline constexpr pki_alg_t hmac = 0x0D;
inline constexpr pki_alg_t gost_3410 = 0x0E;
inline constexpr pki_alg_t gost_3410_2012_256 = 0x0F;
inline constexpr pki_alg_t gost_3410_2012_512 = 0x10;

// Key variant: the generation of GOST on elliptic curves.
inline constexpr pki_alg_t elliptic = 0x0100;

// Hashes
inline constexpr pki_alg_t sha = 0x00010000;
inline constexpr pki_alg_t sha1 = 0x00020000;
inline constexpr pki_alg_t sha224 = 0x00030000;
inline constexpr pki_alg_t sha256 = 0x00040000;
inline constexpr pki_alg_t sha384 = 0x00050000;
inline constexpr pki_alg_t sha512 = 0x00060000;
inline constexpr pki_alg_t md2 = 0x00070000;
inline constexpr pki_alg_t md5 = 0x00080000;
inline constexpr pki_alg_t gost_341194 = 0x00090000;
inline constexpr pki_alg_t gost_341112_256 = 0x000A0000;
inline constexpr pki_alg_t gost_341112_512 = 0x000B0000;

// Vendor flavours
inline constexpr pki_alg_t zul = 0x01000000;
inline constexpr pki_alg_t cryptopro = 0x02000000;
inline constexpr pki_alg_t signalcom = 0x04000000;

// Keys of GOST R 34.10, by year
inline constexpr pki_alg_t gost_341094 = gost_3410;
inline constexpr pki_alg_t gost_341001 = gost_3410 | elliptic;
inline constexpr pki_alg_t gost_341012_256 = gost_3410_2012_256 | elliptic;
inline constexpr pki_alg_t gost_341012_512 = gost_3410_2012_512 | elliptic;

}  // namespace alg_codes

#endif
