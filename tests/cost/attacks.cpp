#include "attacks.h"

#include <pkider/asn_helper.h>
#include <pkider/asn_printable.h>
#include <pkider/int2str.h>
#include <pkider/t61.h>

#include "plain_crypto.h"
#include "test_util.h"

hostile_t build(const attack_t& attack, std::size_t size) {
  std::string units;
  const std::size_t number = attack.unit.find("%u");
  unsigned count = 0;
  while (units.size() < size) {
    ++count;
    units += attack.unit;
    if (number != std::string::npos) {
      units.replace(units.size() - attack.unit.size() + number, 2,
                    std::to_string(count * 2654435761U >> 15));
    }
  }
  return {attack.wrap(units), count};
}

namespace {

const unsigned char* data_of(text_t s) {
  return reinterpret_cast<const unsigned char*>(s.data());
}
unsigned size_of(text_t s) {
  return static_cast<unsigned>(s.size());
}

std::string bare(text_t units) {
  return units;
}
std::string sequence(text_t units) {
  return der(0x30, units);
}
std::string one_rdn(text_t units) {
  return der(0x30, der(0x31, units));
}
std::string attribute(const char* type, unsigned char tag, text_t value) {
  return der(0x30, der(0x06, from_hex(type)) + der(tag, value));
}
std::string rdn(const char* type, unsigned char tag, text_t value) {
  return der(0x31, attribute(type, tag, value));
}
template <unsigned char Tag>
std::string value(text_t units) {
  return one_rdn(attribute("550403", Tag, units));
}
std::string long_type(text_t units) {
  return one_rdn(der(0x30, der(0x06, units) + der(0x13, "")));
}
std::string list(text_t units) {
  return units + "O=x";
}
std::string quoted(text_t units) {
  return "O=\"" + units + '"';
}
std::string plain(text_t units) {
  return "O=" + units;
}
std::string arc(text_t units) {
  return "1." + units;
}

std::string oid(const char* content) {
  return der(0x06, from_hex(content));
}
std::string data_info(text_t content) {
  return der(0x30, oid("2A864886F70D010701") + der(0xA0, der(0x04, der(0x30, content))));
}
std::string infos(text_t units) {
  const std::string mac = der(0x30, der(0x30, der(0x30, "") + der(0x04, "")) + der(0x04, ""));
  return der(0x30, from_hex("02 01 03") + data_info(units) + mac);
}
std::string bags(text_t units) {
  return infos(data_info(units));
}
std::string bag(const char* kind, text_t content, text_t attributes) {
  return der(0x30, der(0x06, from_hex("2A864886F70D010C0A01") + from_hex(kind)) +
                       der(0xA0, content) + der(0x31, attributes));
}
std::string attributes(text_t units) {
  return bags(bag("04", "", units));
}
std::string certificate_bag(text_t content) {
  return bag("03", der(0x30, oid("2A864886F70D01091601") + der(0xA0, der(0x04, content))), "");
}
std::string rsa_key(text_t modulus) {
  const std::string numbers = der(0x30, der(0x02, modulus) + der(0x02, "\3"));
  return der(0x30, der(0x30, oid("2A864886F70D010101")) + der(0x03, '~' + numbers));
}

template <PrintableDnOrder Order>
void print(text_t in) {
  std::string out;
  asn_dn_to_printable(data_of(in), size_of(in), out, Order, OID_MAP_HANDLE_DEFAULT);
}
template <bool Write>
void container(text_t in) {
  PlainCrypto crypto;
  pkcs12_easy_t model;
  std::string out;
  asn_read_pkcs12_easy(data_of(in), size_of(in), &crypto, model);
  if (Write) {
    asn_write_pkcs12_easy(model, &crypto, out);
  }
}
void encode(text_t in) {
  std::string out;
  printable_to_asn_dn(in.c_str(), out, OID_MAP_HANDLE_DEFAULT);
}
void normalize(text_t in) {
  std::string out;
  printable_dn_normalize(in, out, nullptr, OID_MAP_HANDLE_DEFAULT);
}
void get_attr(text_t in) {
  std::string out;
  printable_dn_get_attr(in.c_str(), "none", out, DN_GET_ATTR_RDN);
}
void contain_attrs(text_t in) {
  printable_dn_contain_attrs(in.c_str(), in.c_str());
}
void reverse(text_t in) {
  printable_dn_reverse(const_cast<char*>(in.c_str()));
}
void parse_map(text_t in) {
  oid_map_release(oid_map_parse(in.data(), size_of(in)));
}
void oid_to_text(text_t in) {
  std::string out;
  oid_asn_to_str_(data_of(in), data_of(in) + in.size(), out);
}
void oid_to_der(text_t in) {
  unsigned char out[512];
  oid_str_to_asn_(in.data(), in.data() + in.size(), out);
}
void t61(text_t in) {
  std::string out;
  ldap_t61s_to_utf8s(in.data(), size_of(in), out);
}
void read_key(text_t in) {
  asn_pubkey_t key;
  asn_rsa_pubkey_t rsa;
  asn_read_pubkey(data_of(in), static_cast<long>(in.size()), key);
  asn_read_rsa_pubkey(key, rsa);
}
void read_integer(text_t in) {
  unsigned number = 0;
  asn_read_INTEGER(in.data(), size_of(in), number, ~0U);
}
void wrap_digest(text_t in) {
  std::string digest = in;
  asn_add_alg_to_digest(digest, 0x00040000);
}
void read_time(text_t in) {
  CertTimeFromLogStringGMT(in);
}

const std::string usual_name =
    der(0x30, rdn("550406", 0x13, "RU") + rdn("55040A", 0x0C, "Example Organization") +
                  rdn("550403", 0x0C, "www.example.org"));
const std::string usual_text = "C=RU,O=Example Organization,CN=www.example.org";
const std::string usual_container = bags(certificate_bag(std::string(800, 'c')));
const std::string german = "D\xC8usseldorf, am Rhein gelegen";

const std::vector<attack_t> texts = {
    {"many RDNs", "O=,", list},     {"one RDN", "O=+", list},   {"dotted types", "1.2.3=x,", list},
    {"hex escapes", "\\c3", plain}, {"quotes", "\\\"", quoted}, {"commas", ",", quoted},
    {"#hex", "O=#1a0141,", list},
};
const std::vector<attack_t> containers = {
    {"certificates", certificate_bag("x"), bags},
    {"skipped bags", bag("04", "", ""), bags},
    {"attributes", attribute("2A864886F70D010914", 0x31, der(0x1E, "")), attributes},
    {"ContentInfos", data_info(""), infos},
};

}  // namespace

const std::vector<operation_t> operations = {
    {"asn_dn_to_printable",
     print<DN_ORDER_DIRECT>,
     usual_name,
     {{"many RDNs", rdn("550403", 0x13, ""), sequence},
      {"one RDN", attribute("550403", 0x13, ""), one_rdn},
      {"dotted types", rdn("2A030405", 0x13, "x"), sequence},
      {"a long type", "\1", long_type},
      {"escapes", ",", value<0x0C>},
      {"hex", "A", value<0x1A>}}},
    {"- in reverse",
     print<DN_ORDER_REVERSE>,
     usual_name,
     {{"many RDNs", rdn("550403", 0x13, ""), sequence}}},
    {"- T.61", print<DN_ORDER_DIRECT>, value<0x14>(german), {{"diacritics", "\xC2x", value<0x14>}}},
    {"- BMP",
     print<DN_ORDER_DIRECT>,
     value<0x1E>(from_hex("0411 0443 043A 0432 044B")),
     {{"three bytes each", "\x20\xAC", value<0x1E>}}},
    {"printable_to_asn_dn", encode, usual_text, texts, 3},
    {"printable_dn_normalize", normalize, usual_text, texts, 3},
    {"printable_dn_get_attr", get_attr, usual_text, texts, 3},
    {"printable_dn_contain_attrs", contain_attrs, usual_text, texts, 3},
    {"printable_dn_reverse", reverse, usual_text, texts, 3},
    {"oid_map_parse",
     parse_map,
     "2.5.4.3 = CN, commonName\n2.5.4.10 = O, organizationName\n",
     {{"many entries", "1.2.%u=\n", bare},
      {"many long entries", "1.0.0.0.0.0.0.%u=\n", bare},
      {"long common prefix", build({"", "1.", bare}, 900).text + "%u=N\n", bare},
      {"short lines", "1.2=\n", bare},
      {"junk", "1.2\n", bare},
      {"a long OID", "1.", bare}},
     2,
     true},
    {"oid_asn_to_str_",
     oid_to_text,
     from_hex("2A864886F70D01010B"),
     {{"short arcs", "\1", bare}, {"a long arc", "\x81", bare}}},
    {"oid_str_to_asn_", oid_to_der, "1.2.840.113549.1.1.11", {{"zeros", "0", arc}}},
    {"ldap_t61s_to_utf8s", t61, german, {{"letters", "\xC2y", bare}, {"marks", "\xC2x", bare}}},
    {"asn_read_pkcs12_easy", container<false>, usual_container, containers},
    {"- and write", container<true>, usual_container, containers},
    {"asn_read_rsa_pubkey",
     read_key,
     rsa_key(std::string(256, '\x7F')),
     {{"zeros", std::string(1, '\0'), rsa_key}}},
    {"asn_read_INTEGER", read_integer, from_hex("010001"), {{"zeros", std::string(1, '\0'), bare}}},
    {"asn_add_alg_to_digest", wrap_digest, std::string(32, 'd'), {{"a long digest", "d", bare}}},
    {"CertTimeFromLogStringGMT", read_time, "2024.03.05 07:08:09 GMT", {{"digits", "0", bare}}},
};
