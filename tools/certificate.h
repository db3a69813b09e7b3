// Certificates: the fields that are shown, and the files that hold them.

#ifndef PKIDER_TOOLS_CERTIFICATE_H
#define PKIDER_TOOLS_CERTIFICATE_H

#include <functional>
#include <string>

#include <pkider/asn_printable.h>
#include <pkider/asn_reader.h>

// Steps `cur` over one element of `type` and gives the whole of it, header included, in `element`.
bool read_element(asn_tag_t::Type type, asn_iter_t& cur, blob_t& element);

// A certificate (RFC 5280, 4.1), split into whole elements, which are views into the DER it was
// read from. Their types are not looked at: an unreadable field does not hide the others. Fields
// that are missing are empty.
struct certificate_t {
  blob_t serial;
  blob_t issuer;
  blob_t not_before;
  blob_t not_after;
  blob_t subject;
  blob_t public_key;
  blob_t extensions;     // the SEQUENCE OF Extension
  blob_t signature_alg;  // AlgorithmIdentifier of the signature
};

bool read_certificate(const std::string& der, certificate_t& out);

// Attempts `handle` with every certificate of `file`, and reports those that are malformed; it
// notes what else is passed over. `where` names the certificate in messages. Throws input_error_t
// when there is none.
void for_each_certificate(
    const std::string& file,
    const std::function<void(const std::string& where, const certificate_t&)>& handle);

// The text of a Name, made printable. Throws input_error_t when it is malformed; `what` says which
// name it is ("subject").
std::string dn_text(const std::string& where, const char* what, const blob_t& name,
                    PrintableDnOrder order = DN_ORDER_DIRECT);

#endif
