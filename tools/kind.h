// What a DER input is, told by its structure: so that a message can say it, and what to do.

#ifndef PKIDER_TOOLS_KIND_H
#define PKIDER_TOOLS_KIND_H

#include <string>

#include <pkider/asn_reader.h>

#include "input.h"

enum class kind_t {
  unknown,
  certificate,           // RFC 5280, 4.1
  crl,                   // RFC 5280, 5.1
  request,               // PKCS#10, RFC 2986
  pkcs7,                 // RFC 2315; CMS, RFC 5652
  pkcs12,                // RFC 7292
  pkcs8,                 // PrivateKeyInfo, RFC 5208
  encrypted_pkcs8,       // EncryptedPrivateKeyInfo
  pkcs1,                 // RSAPrivateKey, RFC 8017
  dsa_key,               // six INTEGERs, as openssl once wrote them
  sec1,                  // ECPrivateKey, RFC 5915
  public_key,            // SubjectPublicKeyInfo
  rsa_public_key,        // RSAPublicKey
  legacy_encrypted_key,  // PEM with RFC 1421's headers
};

kind_t kind_of(const blob_t& der);
kind_t kind_of(const input_block_t& block);

// "certificate", "request", "CRL"
const char* short_name(kind_t kind);

// What it is and what to do with it: "a certificate request: openssl req -in FILE -noout -text
// shows it"; or what is known of an input of no kind: "cut off after 100 of 1391 bytes".
std::string what_it_is(const input_block_t& block);

#endif
