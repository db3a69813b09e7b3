// Certificates: the fields that are shown, and the files that hold them.

#ifndef PKIDER_TOOLS_CERTIFICATE_H
#define PKIDER_TOOLS_CERTIFICATE_H

#include <functional>
#include <string>

#include <pkider/asn_printable.h>
#include <pkider/asn_reader.h>

// Steps `cur` over one element of `type` and gives the whole of it, header included, in `element`.
bool read_element(asn_tag_t::Type type, asn_iter_t& cur, blob_t& element);

// A certificate (RFC 5280, 4.1), split. Views into the DER it was read from.
struct certificate_t {
  blob_t serial;      // content octets of the INTEGER
  blob_t issuer;      // whole elements from here on
  blob_t not_before;  // UTCTime or GeneralizedTime
  blob_t not_after;
  blob_t subject;
  blob_t public_key;     // SubjectPublicKeyInfo
  blob_t signature_alg;  // AlgorithmIdentifier of the signature
};

bool read_certificate(const std::string& der, certificate_t& out);

// Attempts `handle` with every certificate of `file`, and reports those that are malformed; PEM
// blocks that are something else are passed over. `where` names the certificate in messages.
// Throws input_error_t when there is none.
void for_each_certificate(
    const std::string& file,
    const std::function<void(const std::string& where, const certificate_t&)>& handle);

// The text of a Name, made printable. Throws input_error_t when it is malformed; `what` says which
// name it is ("subject").
std::string dn_text(const std::string& where, const char* what, const blob_t& name,
                    PrintableDnOrder order = DN_ORDER_DIRECT);

#endif
