// The table of curves.

#include "curves.h"

#include <algorithm>
#include <iterator>

namespace {

// clang-format off
constexpr curve_t curves[] = {
    {"1.2.840.10045.3.1.1",    "NIST P-192",              192},
    {"1.3.132.0.33",           "NIST P-224",              224},
    {"1.2.840.10045.3.1.7",    "NIST P-256",              256},
    {"1.3.132.0.34",           "NIST P-384",              384},
    {"1.3.132.0.35",           "NIST P-521",              521},
    {"1.3.132.0.10",           "secp256k1",               256},
    {"1.3.36.3.3.2.8.1.1.1",   "brainpoolP160r1",         160},
    {"1.3.36.3.3.2.8.1.1.3",   "brainpoolP192r1",         192},
    {"1.3.36.3.3.2.8.1.1.5",   "brainpoolP224r1",         224},
    {"1.3.36.3.3.2.8.1.1.7",   "brainpoolP256r1",         256},
    {"1.3.36.3.3.2.8.1.1.9",   "brainpoolP320r1",         320},
    {"1.3.36.3.3.2.8.1.1.11",  "brainpoolP384r1",         384},
    {"1.3.36.3.3.2.8.1.1.13",  "brainpoolP512r1",         512},
    {"1.2.156.10197.1.301",    "sm2p256v1",               256},
    {"1.2.643.2.2.35.0",       "GOST2001-test",           256},
    {"1.2.643.2.2.35.1",       "GOST2001-CryptoPro-A",    256},
    {"1.2.643.2.2.35.2",       "GOST2001-CryptoPro-B",    256},
    {"1.2.643.2.2.35.3",       "GOST2001-CryptoPro-C",    256},
    {"1.2.643.2.2.36.0",       "GOST2001-CryptoPro-XchA", 256},
    {"1.2.643.2.2.36.1",       "GOST2001-CryptoPro-XchB", 256},
    {"1.2.643.7.1.2.1.1.1",    "GOST2012-256-A",          256},
    {"1.2.643.7.1.2.1.1.2",    "GOST2001-CryptoPro-A",    256},
    {"1.2.643.7.1.2.1.1.3",    "GOST2001-CryptoPro-B",    256},
    {"1.2.643.7.1.2.1.1.4",    "GOST2001-CryptoPro-C",    256},
    {"1.2.643.7.1.2.1.2.0",    "GOST2012-512-test",       512},
    {"1.2.643.7.1.2.1.2.1",    "GOST2012-512-tc26-A",     512},
    {"1.2.643.7.1.2.1.2.2",    "GOST2012-512-tc26-B",     512},
    {"1.2.643.7.1.2.1.2.3",    "GOST2012-512-tc26-C",     512},
    {"1.2.840.10045.3.1.2",    nullptr,                   192},  // prime192v2
    {"1.2.840.10045.3.1.3",    nullptr,                   192},  // prime192v3
    {"1.2.840.10045.3.1.4",    nullptr,                   239},  // prime239v1
    {"1.2.840.10045.3.1.5",    nullptr,                   239},  // prime239v2
    {"1.2.840.10045.3.1.6",    nullptr,                   239},  // prime239v3
    {"1.3.132.0.6",            nullptr,                   112},  // secp112r1
    {"1.3.132.0.7",            nullptr,                   112},  // secp112r2
    {"1.3.132.0.28",           nullptr,                   128},  // secp128r1
    {"1.3.132.0.29",           nullptr,                   128},  // secp128r2
    {"1.3.132.0.9",            nullptr,                   160},  // secp160k1
    {"1.3.132.0.8",            nullptr,                   160},  // secp160r1
    {"1.3.132.0.30",           nullptr,                   160},  // secp160r2
    {"1.3.132.0.31",           nullptr,                   192},  // secp192k1
    {"1.3.132.0.32",           nullptr,                   224},  // secp224k1
    {"1.3.132.0.4",            nullptr,                   113},  // sect113r1
    {"1.3.132.0.5",            nullptr,                   113},  // sect113r2
    {"1.3.132.0.22",           nullptr,                   131},  // sect131r1
    {"1.3.132.0.23",           nullptr,                   131},  // sect131r2
    {"1.3.132.0.1",            nullptr,                   163},  // sect163k1
    {"1.3.132.0.2",            nullptr,                   163},  // sect163r1
    {"1.3.132.0.15",           nullptr,                   163},  // sect163r2
    {"1.3.132.0.24",           nullptr,                   193},  // sect193r1
    {"1.3.132.0.25",           nullptr,                   193},  // sect193r2
    {"1.3.132.0.26",           nullptr,                   233},  // sect233k1
    {"1.3.132.0.27",           nullptr,                   233},  // sect233r1
    {"1.3.132.0.3",            nullptr,                   239},  // sect239k1
    {"1.3.132.0.16",           nullptr,                   283},  // sect283k1
    {"1.3.132.0.17",           nullptr,                   283},  // sect283r1
    {"1.3.132.0.36",           nullptr,                   409},  // sect409k1
    {"1.3.132.0.37",           nullptr,                   409},  // sect409r1
    {"1.3.132.0.38",           nullptr,                   571},  // sect571k1
    {"1.3.132.0.39",           nullptr,                   571},  // sect571r1
    {"1.3.36.3.3.2.8.1.1.2",   nullptr,                   160},  // brainpoolP160t1
    {"1.3.36.3.3.2.8.1.1.4",   nullptr,                   192},  // brainpoolP192t1
    {"1.3.36.3.3.2.8.1.1.6",   nullptr,                   224},  // brainpoolP224t1
    {"1.3.36.3.3.2.8.1.1.8",   nullptr,                   256},  // brainpoolP256t1
    {"1.3.36.3.3.2.8.1.1.10",  nullptr,                   320},  // brainpoolP320t1
    {"1.3.36.3.3.2.8.1.1.12",  nullptr,                   384},  // brainpoolP384t1
    {"1.3.36.3.3.2.8.1.1.14",  nullptr,                   512},  // brainpoolP512t1
};
// clang-format on

}  // namespace

const curve_t* find_curve(std::string_view oid) {
  const auto* const found = std::find_if(std::begin(curves), std::end(curves),
                                         [&](const curve_t& curve) { return curve.oid == oid; });
  return found == std::end(curves) ? nullptr : found;
}
