// Some programs name PBKDF2's PRF without parameters (RFC 9337 allows it), which the library
// refuses.

#ifndef PKIDER_TOOLS_PRF_PARAMETERS_H
#define PKIDER_TOOLS_PRF_PARAMETERS_H

#include <string>

#include <pkider/asn_reader.h>

// The element or elements in `der` with NULL parameters added to every bare AlgorithmIdentifier of
// HMAC on GOST R 34.11-94, inside OCTET STRINGs too. All else stays as it is.
std::string with_prf_parameters(const blob_t& der);

#endif
