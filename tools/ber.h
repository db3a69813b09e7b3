// BER, which some programs write: turned into DER before anything reads it.

#ifndef PKIDER_TOOLS_BER_H
#define PKIDER_TOOLS_BER_H

#include <string>

#include <pkider/asn_reader.h>

// Tells whether `ber` is one SEQUENCE or OCTET STRING and nothing else.
bool ber_is_one_element(const blob_t& ber);

// Replaces `der` with the first element of `ber`: lengths definite and minimal, OCTET STRINGs in
// one piece. A constructed element whose content cannot be read keeps its content as it is. False
// when there is no such element.
bool ber_to_der(const blob_t& ber, std::string& der);

// The element `tag` around `content`.
std::string der_element(unsigned char tag, const std::string& content);

// Takes the OCTET STRING with the identifier `primitive` off `cur`, whether in one piece or
// constructed of pieces, and replaces `octets` with its content.
bool read_octets(unsigned char primitive, asn_iter_t& cur, std::string& octets);

#endif
