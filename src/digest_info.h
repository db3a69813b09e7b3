// DigestInfo (RFC 8017, A.2.4), which stands in signatures and in the MacData of a container.

#ifndef PKIDER_SRC_DIGEST_INFO_H
#define PKIDER_SRC_DIGEST_INFO_H

#include "der_writer.h"

namespace asn1 {

// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
template <class Oid>
auto digest_info(const Oid& algorithm, const blob_t& digest) {
  return sequence{sequence{algorithm, null{}}, octet_string{digest}};
}

}  // namespace asn1

#endif
