// Public keys: what is shown of them.

#ifndef PKIDER_TOOLS_PUBLIC_KEY_H
#define PKIDER_TOOLS_PUBLIC_KEY_H

#include <string>

#include <pkider/asn_helper.h>

#include "record.h"

// The parameter sets of a GOST key, as OID content octets; those that are absent are empty.
struct gost_param_sets_t {
  blob_t key;
  blob_t digest;
  blob_t cipher;
};

// GostR3410-PublicKeyParameters ::= SEQUENCE { publicKeyParamSet OID, digestParamSet OID OPTIONAL,
//   encryptionParamSet OID OPTIONAL }
//
// Unlike asn_read_gost_pubkey, it reads the parameters of keys with the newer sets too, which name
// no digest (RFC 9215, 4.2). False when there is no first set.
bool read_gost_param_sets(const blob_t& params, gost_param_sets_t& out);

// Adds what a parameter set or a curve is called, unless the OID is empty.
void add_param_set(record_t& record, const char* name, const blob_t& oid);

// Adds algorithm, parameter sets or curve, and size of the SubjectPublicKeyInfo `element`; with
// `verbose` the key itself too. Throws input_error_t after the last field that can be read.
void add_public_key(record_t& record, const std::string& where, const blob_t& element,
                    bool verbose);

#endif
