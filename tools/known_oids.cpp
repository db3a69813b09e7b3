#include "known_oids.h"

#include <strings.h>

#include <pkider/asn_helper.h>
#include <pkider/asn_oidmap.h>

namespace {

struct known_oid_t {
  std::string_view dotted;
  std::string_view name;
};

constexpr known_oid_t known_oids[] = {
    {"1.2.643.2.2.30.0", "GOST R 34.11-94 test parameters"},
    {"1.2.643.2.2.30.1", "GOST R 34.11-94 CryptoPro parameters"},
    {"1.2.643.2.2.31.0", "GOST 28147-89 test parameters"},
    {"1.2.643.2.2.31.1", "GOST 28147-89 CryptoPro-A"},
    {"1.2.643.2.2.31.2", "GOST 28147-89 CryptoPro-B"},
    {"1.2.643.2.2.31.3", "GOST 28147-89 CryptoPro-C"},
    {"1.2.643.2.2.31.4", "GOST 28147-89 CryptoPro-D"},
    {"1.2.643.2.2.35.0", "GOST R 34.10-2001 test parameters"},
    {"1.2.643.2.2.35.1", "GOST R 34.10-2001 CryptoPro-A"},
    {"1.2.643.2.2.35.2", "GOST R 34.10-2001 CryptoPro-B"},
    {"1.2.643.2.2.35.3", "GOST R 34.10-2001 CryptoPro-C"},
    {"1.2.643.2.2.36.0", "GOST R 34.10-2001 CryptoPro-XchA"},
    {"1.2.643.2.2.36.1", "GOST R 34.10-2001 CryptoPro-XchB"},
    {"1.2.643.7.1.2.1.1.1", "GOST R 34.10-2012 256 TC26-A"},
    {"1.2.643.7.1.2.1.1.2", "GOST R 34.10-2012 256 TC26-B"},
    {"1.2.643.7.1.2.1.1.3", "GOST R 34.10-2012 256 TC26-C"},
    {"1.2.643.7.1.2.1.1.4", "GOST R 34.10-2012 256 TC26-D"},
    {"1.2.643.7.1.2.1.2.0", "GOST R 34.10-2012 512 test parameters"},
    {"1.2.643.7.1.2.1.2.1", "GOST R 34.10-2012 512 TC26-A"},
    {"1.2.643.7.1.2.1.2.2", "GOST R 34.10-2012 512 TC26-B"},
    {"1.2.643.7.1.2.1.2.3", "GOST R 34.10-2012 512 TC26-C"},
    {"1.2.643.7.1.2.5.1.1", "GOST 28147-89 TC26-Z"},
    {"1.2.840.10040.4.1", "DSA"},
    {"1.2.840.10045.2.1", "EC"},
    {"1.2.840.10045.3.1.7", "P-256"},
    {"1.3.132.0.34", "P-384"},
    {"1.3.132.0.35", "P-521"},
    {"1.2.840.10045.4.1", "sha1ECDSA"},
    {"1.2.840.10045.4.3.1", "sha224ECDSA"},
    {"1.2.840.10045.4.3.2", "sha256ECDSA"},
    {"1.2.840.10045.4.3.3", "sha384ECDSA"},
    {"1.2.840.10045.4.3.4", "sha512ECDSA"},
    {"1.3.101.110", "X25519"},
    {"1.3.101.111", "X448"},
    {"1.3.101.112", "Ed25519"},
    {"1.3.101.113", "Ed448"},
    {"2.16.840.1.101.3.4.3.1", "sha224DSA"},
    {"2.16.840.1.101.3.4.3.2", "sha256DSA"},
};

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::string_view known_oid_name(std::string_view dotted) {
  for (const known_oid_t& known : known_oids) {
    if (known.dotted == dotted) {
      return known.name;
    }
  }
  return {};
}

std::string_view known_oid_by_name(std::string_view name) {
  for (const known_oid_t& known : known_oids) {
    if (equal_ignoring_case(known.name, name)) {
      return known.dotted;
    }
  }
  return {};
}

std::string describe_oid(const unsigned char* oid, unsigned size) {
  const pki_alg_t alg = PKI_OID_TO_ALG(oid, size);
  if (alg != 0) {
    return I2S_PKI_ALG_T->getString(alg, "unknown");
  }
  std::string text;
  if (!oid_asn_to_str_(oid, oid + size, text)) {
    return "a malformed object identifier";
  }
  const std::string_view name = known_oid_name(text);
  return name.empty() ? text : text.append(" (").append(name) + ')';
}
