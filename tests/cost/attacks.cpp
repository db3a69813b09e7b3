#include "attacks.h"

#include <pkider/asn_helper.h>
#include <pkider/asn_printable.h>
#include <pkider/int2str.h>
#include <pkider/t61.h>

#include "plain_crypto.h"
#include "test_util.h"

hostile_t build(const operation_t& operation, const attack_t& attack, std::size_t size) {
  const std::string unit = operation.is_text ? attack.unit : from_hex(attack.unit);
  const std::size_t number = unit.find("%u");
  std::string units;
  unsigned count = 0;
  while (units.size() < size) {
    ++count;
    units += unit;
    if (number != std::string::npos) {
      units.replace(units.size() - unit.size() + number, 2,
                    std::to_string(count * 2654435761U >> 15));
    }
  }
  std::string whole = attack.whole;
  whole.replace(whole.find('@'), 1, operation.is_text ? units : to_hex(units));
  return {operation.is_text ? whole : from_hex(whole), count};
}

std::string ordinary(const operation_t& operation) {
  return operation.is_text ? operation.ordinary : from_hex(operation.ordinary);
}

namespace {

const unsigned char* data_of(text_t s) {
  return reinterpret_cast<const unsigned char*>(s.data());
}
unsigned size_of(text_t s) {
  return static_cast<unsigned>(s.size());
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

const std::string usual_text = "C=RU,O=Example Organization,CN=www.example.org";
const std::string usual_name = "30(31(30(06(550406) 13(5255))) 31(30(06(55040A) 0C(" +
                               to_hex("Example Organization") + "))) 31(30(06(550403) 0C(" +
                               to_hex("www.example.org") + "))))";
const std::string german = to_hex("D\xC8usseldorf, am Rhein gelegen");

std::string common_name(const std::string& value) {
  return "30(31(30(06(550403) " + value + ")))";
}
std::string infos(const std::string& content) {
  return "30(020103 30(06(2A864886F70D010701) A0(04(30(" + content + ")))) 30(30(30() 04()) 04()))";
}
const std::string data = "06(2A864886F70D010701) ";
const std::string bags = infos("30(" + data + "A0(04(30(@))))");
const std::string crl_bag = "30(06(2A864886F70D010C0A0104) A0() 31(@))";
std::string certificate_bag(const std::string& content) {
  return "30(06(2A864886F70D010C0A0103) A0(30(06(2A864886F70D01091601) A0(04(" + content +
         ")))) 31())";
}
std::string repeated(text_t text, unsigned times) {
  return times == 0 ? "" : text + repeated(text, times - 1);
}
std::string with(std::string whole, const std::string& content) {
  return whole.replace(whole.find('@'), 1, content);
}
const std::string usual_container = with(bags, certificate_bag(to_hex(std::string(800, 'c'))));

const std::vector<attack_t> texts = {
    {"many RDNs", "O=,", "@O=x"},         {"one RDN", "O=+", "@O=x"},
    {"dotted types", "1.2.3=x,", "@O=x"}, {"hex escapes", "\\c3", "O=@"},
    {"quotes", "\\\"", "O=\"@\""},        {"commas", ",", "O=\"@\""},
    {"#hex", "O=#1a0141,", "@O=x"},
};
const std::vector<attack_t> containers = {
    {"certificates", certificate_bag("78"), bags},
    {"skipped bags", with(crl_bag, ""), bags},
    {"attributes", "30(06(2A864886F70D010914) 31(1E()))", with(bags, crl_bag)},
    {"ContentInfos", "30(" + data + "A0(04(30())))", infos("@")},
};
const std::string rsa = "30(30(06(2A864886F70D010101)) 03(00 30(02(@) 02(03))))";

}  // namespace

const std::vector<operation_t> operations = {
    {"asn_dn_to_printable",
     print<DN_ORDER_DIRECT>,
     false,
     usual_name,
     {{"many RDNs", "31(30(06(550403) 13()))", "30(@)"},
      {"one RDN", "30(06(550403) 13())", "30(31(@))"},
      {"dotted types", "31(30(06(2A030405) 13(78)))", "30(@)"},
      {"a long type", "01", "30(31(30(06(@) 13())))"},
      {"escapes", "2C", common_name("0C(@)")},
      {"hex", "41", common_name("1A(@)")}}},
    {"- in reverse",
     print<DN_ORDER_REVERSE>,
     false,
     usual_name,
     {{"many RDNs", "31(30(06(550403) 13()))", "30(@)"}}},
    {"- T.61",
     print<DN_ORDER_DIRECT>,
     false,
     common_name("14(" + german + ")"),
     {{"diacritics", "C278", common_name("14(@)")}}},
    {"- BMP",
     print<DN_ORDER_DIRECT>,
     false,
     common_name("1E(0411 0443 043A 0432 044B)"),
     {{"three bytes each", "20AC", common_name("1E(@)")}}},
    {"printable_to_asn_dn", encode, true, usual_text, texts, 3},
    {"printable_dn_normalize", normalize, true, usual_text, texts, 3},
    {"printable_dn_get_attr", get_attr, true, usual_text, texts, 3},
    {"printable_dn_contain_attrs", contain_attrs, true, usual_text, texts, 3},
    {"printable_dn_reverse", reverse, true, usual_text, texts, 3},
    {"oid_map_parse",
     parse_map,
     true,
     "2.5.4.3 = CN, commonName\n2.5.4.10 = O, organizationName\n",
     {{"many entries", "1.2.%u=\n"},
      {"many long entries", "1.0.0.0.0.0.0.%u=\n"},
      {"long common prefix", repeated("1.", 450) + "%u=N\n"},
      {"short lines", "1.2=\n"},
      {"junk", "1.2\n"},
      {"a long OID", "1."}},
     2,
     true},
    {"oid_asn_to_str_",
     oid_to_text,
     false,
     "2A864886F70D01010B",
     {{"short arcs", "01"}, {"a long arc", "81"}}},
    {"oid_str_to_asn_", oid_to_der, true, "1.2.840.113549.1.1.11", {{"zeros", "0", "1.@"}}},
    {"ldap_t61s_to_utf8s", t61, false, german, {{"letters", "C279"}, {"marks", "C278"}}},
    {"asn_read_pkcs12_easy", container<false>, false, usual_container, containers},
    {"- and write", container<true>, false, usual_container, containers},
    {"asn_read_rsa_pubkey",
     read_key,
     false,
     with(rsa, to_hex(std::string(256, '\x7F'))),
     {{"zeros", "00", rsa}}},
    {"asn_read_INTEGER", read_integer, false, "010001", {{"zeros", "00"}}},
    {"asn_add_alg_to_digest", wrap_digest, true, std::string(32, 'd'), {{"a long digest", "d"}}},
    {"CertTimeFromLogStringGMT", read_time, true, "2024.03.05 07:08:09 GMT", {{"digits", "0"}}},
};
