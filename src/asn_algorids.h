// The signature AlgorithmIdentifiers (RFC 5280, 4.1.1.2), made of their OIDs at compile time.

#ifndef PKIDER_SRC_ASN_ALGORIDS_H
#define PKIDER_SRC_ASN_ALGORIDS_H

#include <array>
#include <cstddef>

#include <pkider/asn_reader.h>

#include "asn_oids.h"

namespace algorids {

// An element around its parts, all of which fit a length of one octet.
template <std::size_t... N>
constexpr auto element(unsigned char tag, const std::array<unsigned char, N>&... parts) {
  constexpr std::size_t size = (N + ... + 0);
  static_assert(size < 0x80);
  std::array<unsigned char, 2 + size> der = {tag, size};
  [[maybe_unused]] std::size_t at = 2;
  [[maybe_unused]] const auto put = [&](const auto& part) {
    for (const unsigned char byte : part) {
      der[at++] = byte;
    }
  };
  (put(parts), ...);
  return der;
}

template <std::size_t... N>
constexpr auto sequence(const std::array<unsigned char, N>&... parts) {
  return element(asn_tag_t::SEQUENCE, parts...);
}

template <std::size_t N>
constexpr auto oid(const unsigned char (&content)[N]) {
  std::array<unsigned char, N> octets = {};
  for (std::size_t i = 0; i < N; ++i) {
    octets[i] = content[i];
  }
  return element(asn_tag_t::OID, octets);
}

inline constexpr auto null = element(asn_tag_t::NULL_TAG);

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
template <std::size_t N, std::size_t... M>
constexpr auto algorid(const unsigned char (&algorithm)[N],
                       const std::array<unsigned char, M>&... parameters) {
  return sequence(oid(algorithm), parameters...);
}

// RSASSA-PSS-params (RFC 4055, 3.1) with the hash alone: the other fields keep their defaults.
template <std::size_t N>
constexpr auto pss_algorid(const unsigned char (&hash)[N]) {
  return algorid(asn_oid_ALG_RSASSA_PSS,
                 sequence(element(asn_tag_t::CONTEXT_0, algorid(hash, null))));
}

}  // namespace algorids

// clang-format off

// RSA: NULL parameters (RFC 3279, 2.2.1; RFC 4055, 5)
inline constexpr auto asn_algorid_ALG_sha1RSA     = algorids::algorid(asn_oid_ALG_sha1RSA, algorids::null);
inline constexpr auto asn_algorid_ALG_sha1RSA_oiw = algorids::algorid(asn_oid_ALG_sha1RSA_oiw, algorids::null);
inline constexpr auto asn_algorid_ALG_sha224RSA   = algorids::algorid(asn_oid_ALG_sha224RSA, algorids::null);
inline constexpr auto asn_algorid_ALG_sha256RSA   = algorids::algorid(asn_oid_ALG_sha256RSA, algorids::null);
inline constexpr auto asn_algorid_ALG_sha384RSA   = algorids::algorid(asn_oid_ALG_sha384RSA, algorids::null);
inline constexpr auto asn_algorid_ALG_sha512RSA   = algorids::algorid(asn_oid_ALG_sha512RSA, algorids::null);
inline constexpr auto asn_algorid_ALG_md2RSA      = algorids::algorid(asn_oid_ALG_md2RSA, algorids::null);
inline constexpr auto asn_algorid_ALG_md5RSA      = algorids::algorid(asn_oid_ALG_md5RSA, algorids::null);

// DSA: no parameters (RFC 3279, 2.2.2)
inline constexpr auto asn_algorid_ALG_sha1DSA = algorids::algorid(asn_oid_ALG_sha1DSA);

// RSASSA-PSS: no parameters for no hash, all defaults for SHA1
inline constexpr auto asn_algorid_ALG_RSASSA_PSS       = algorids::algorid(asn_oid_ALG_RSASSA_PSS);
inline constexpr auto asn_algorid_ALG_sha1RSASSA_PSS   = algorids::algorid(asn_oid_ALG_RSASSA_PSS, algorids::sequence());
inline constexpr auto asn_algorid_ALG_sha224RSASSA_PSS = algorids::pss_algorid(asn_oid_ALG_SHA224);
inline constexpr auto asn_algorid_ALG_sha256RSASSA_PSS = algorids::pss_algorid(asn_oid_ALG_SHA256);
inline constexpr auto asn_algorid_ALG_sha384RSASSA_PSS = algorids::pss_algorid(asn_oid_ALG_SHA384);
inline constexpr auto asn_algorid_ALG_sha512RSASSA_PSS = algorids::pss_algorid(asn_oid_ALG_SHA512);

// GOST: no parameters (RFC 4491, RFC 9215)
inline constexpr auto asn_algorid_ALG_GOST_3411_341094       = algorids::algorid(asn_oid_ALG_GOST_3411_341094);
inline constexpr auto asn_algorid_ALG_GOST_3411_341094_ZUL   = algorids::algorid(asn_oid_ALG_GOST_3411_341094_ZUL);
inline constexpr auto asn_algorid_ALG_GOST_3411_341094_SCOM  = algorids::algorid(asn_oid_ALG_GOST_3411_341094_SCOM);
inline constexpr auto asn_algorid_ALG_GOST_3411_341001       = algorids::algorid(asn_oid_ALG_GOST_3411_341001);
inline constexpr auto asn_algorid_ALG_GOST_3411_341001_SCOM  = algorids::algorid(asn_oid_ALG_GOST_3411_341001_SCOM);
inline constexpr auto asn_algorid_ALG_GOST_341112_341012_256 = algorids::algorid(asn_oid_ALG_GOST_341112_341012_256);
inline constexpr auto asn_algorid_ALG_GOST_341112_341012_512 = algorids::algorid(asn_oid_ALG_GOST_341112_341012_512);

// clang-format on

#endif
