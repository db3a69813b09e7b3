// Prints the names in a certificate, DER on standard input, walking it with asn1_read_tag alone.

#include <iostream>
#include <iterator>
#include <string>

#include <pkider/asn_printable.h>
#include <pkider/asn_reader.h>

// Takes the next element off `cursor`. The test that asn1_read_tag makes can wrap, so the length is
// compared with what remains before it is used.
bool next(asn_tag_t::Type type, asn_iter_t& cursor, asn_iter_t& content) {
  const unsigned char* end = cursor.ptr + cursor.len;
  content.ptr = asn1_read_tag(type, cursor.ptr, cursor.len, &content.len);
  if (content.ptr == nullptr || content.len > unsigned(end - content.ptr))
    return false;
  cursor.ptr = content.ptr + content.len;
  cursor.len = unsigned(end - cursor.ptr);
  return true;
}

// Takes a name off `cursor` and prints it, from its header on.
bool print_name(const char* title, asn_iter_t& cursor) {
  asn_iter_t name = cursor, content;
  std::string text;
  const bool good = next(asn_tag_t::SEQUENCE, cursor, content) &&
                    asn_dn_to_printable(name.ptr, name.len - cursor.len, text, DN_ORDER_DIRECT,
                                        OID_MAP_HANDLE_DEFAULT);
  std::cout << title << text << '\n';
  return good;
}

int main() {
  const std::string der(std::istreambuf_iterator<char>(std::cin), {});
  asn_iter_t file = {reinterpret_cast<const unsigned char*>(der.data()), unsigned(der.size())};
  asn_iter_t cert, tbs, any;
  return !(next(asn_tag_t::SEQUENCE, file, cert) && next(asn_tag_t::SEQUENCE, cert, tbs) &&
           (next(asn_tag_t::CONTEXT_0, tbs, any) || true) &&  // the version may be absent
           next(asn_tag_t::INTEGER, tbs, any) && next(asn_tag_t::SEQUENCE, tbs, any) &&
           print_name("issuer:  ", tbs) && next(asn_tag_t::SEQUENCE, tbs, any) &&
           print_name("subject: ", tbs));
}
