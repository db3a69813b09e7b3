// Digests of what is shown.

#ifndef PKIDER_TOOLS_DIGEST_H
#define PKIDER_TOOLS_DIGEST_H

#include <string>

#include <pkider/asn_reader.h>

std::string sha1(const blob_t& data);
std::string sha256(const blob_t& data);
std::string streebog256(const blob_t& data);  // GOST R 34.11-2012 with 256 bits

#endif
