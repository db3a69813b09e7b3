// Certificates: the fields that are shown, and the files that hold them.

#ifndef PKIDER_TOOLS_CERTIFICATE_H
#define PKIDER_TOOLS_CERTIFICATE_H

#include <functional>
#include <string>
#include <vector>

#include <pkider/asn_printable.h>
#include <pkider/asn_reader.h>

#include "bytes.h"
#include "input.h"
#include "kind.h"

// Steps `cur` over one element of `type` and gives the whole of it, header included, in `element`.
bool read_element(asn_tag_t::Type type, asn_iter_t& cur, blob_t& element);

// A certificate (RFC 5280, 4.1), split into whole elements, which are views into the DER it was
// read from. Their types are not looked at: an unreadable field does not hide the others. Fields
// that are missing are empty.
struct certificate_t {
  blob_t whole;
  blob_t serial;
  blob_t issuer;
  blob_t not_before;
  blob_t not_after;
  blob_t subject;
  blob_t public_key;
  blob_t extensions;     // the SEQUENCE OF Extension
  blob_t signature_alg;  // AlgorithmIdentifier of the signature
};

bool read_certificate(const blob_t& der, certificate_t& out);
inline bool read_certificate(const std::string& der, certificate_t& out) {
  return read_certificate(view(der), out);
}

// read_certificate, of one that is in `where`. Throws input_error_t when it is none.
certificate_t certificate_in(const std::string& where, const std::string& der);

// The names in a certificate, a request (RFC 2986, 4.1) or a CRL (RFC 5280, 5.1): elements as
// above, empty where the object has no such name.
struct names_t {
  blob_t subject;
  blob_t issuer;
};

bool read_names(const std::string& der, names_t& out);

// Attempts `handle` with everything in `file` that is of one of `kinds`, with the certificates in
// PKCS#7 bundles if certificates are wanted. `where` names the object in messages. Reports what may
// be a damaged one, and notes what else is passed over. Throws input_error_t when there is nothing
// of `kinds`, the first of which is then named.
using handle_object_t = std::function<void(const std::string& where, const input_block_t&)>;
void for_each_object(const std::string& file, const std::vector<kind_t>& kinds,
                     const handle_object_t& handle);

// for_each_object with certificates.
void for_each_certificate(
    const std::string& file,
    const std::function<void(const std::string& where, const certificate_t&)>& handle);

// The text of a Name, made printable. Throws input_error_t when it is malformed; `what` says which
// name it is ("subject").
std::string dn_text(const std::string& where, const char* what, const blob_t& name,
                    PrintableDnOrder order = DN_ORDER_DIRECT);

#endif
