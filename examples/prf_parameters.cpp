// For containers whose PBKDF2 PRF has no parameters: RFC 8018 allows it, the library does not read
// their encrypted parts. Copies a container (PKCS#12 or PKCS#8) and adds the NULL parameters.
//
// A program reads the copy. Two things are left to its pbe_crypto_t object: verify_mac computes the
// MAC over the container as it came (keep that element; the copy's MAC is wrong), and decrypt
// passes its plaintext through with_parameters, too, where shrouded keys may be. Wipe what passed
// through.
#include <iostream>
#include <iterator>

#include <pkider/asn_tag.h>

using bytes = const unsigned char*;

// The elements of `der`, those inside OCTET STRINGs too, with NULL after each HMAC_GOSTR3411 that
// stands alone in its SEQUENCE.
std::string with_parameters(const std::string& der, int depth = 20) {
  bytes p = reinterpret_cast<bytes>(der.data()), end = p + der.size(), content;
  std::string out;
  for (unsigned len = 0; p != end; p = content + len) {
    content = asn1_read_tag(asn_tag_t::ANY, p, unsigned(end - p), &len);
    if (content == nullptr || len > unsigned(end - content))
      return out.append(p, end);  // not DER: stays as it is
    std::string inner(content, content + len);
    if (*p == asn_tag_t::SEQUENCE && inner == "\x06\x06\x2A\x85\x03\x02\x02\x0A")
      inner.append("\x05\x00", 2);
    else if (depth != 0 && ((*p & 0x20) != 0 || *p == asn_tag_t::OCTET_STRING))
      inner = with_parameters(inner, depth - 1);
    const asn_tag_t_<0> changed(*p, inner.data(), unsigned(inner.size()));
    if (inner.size() == len)
      out.append(p, content + len);
    else
      out.append(changed.encoded(), changed.encoded() + changed.encoded_size());
  }
  return out;
}

int main() {
  std::cout << with_parameters(std::string(std::istreambuf_iterator<char>(std::cin), {}));
}
