// What inputs built to be slow cost. As a test: eight times the input takes less than sixteen times
// the time. With --table: nanoseconds per byte of 1 MiB of each attack, beside ordinary input.

#include <malloc.h>

#include <cstdio>
#include <ctime>
#include <limits>
#include <vector>

#include "asn_helper.h"
#include "asn_printable.h"
#include "int2str.h"
#include "platform.h"
#include "samples.h"
#include "t61.h"

namespace {

using text_t = const std::string&;

struct attack_t {
  const char* name;
  std::string (*build)(std::size_t size);
};

struct operation_t {
  const char* name;
  void (*run)(text_t in);
  std::string ordinary;
  std::vector<attack_t> attacks;
};

std::string fill(std::size_t size, text_t unit) {
  std::string out;
  while (out.size() < size) {
    out += unit;
  }
  return out;
}

std::string oid(const char* content) {
  return der(0x06, from_hex(content));
}
std::string attribute(const char* type, unsigned char tag, text_t value) {
  return der(0x30, oid(type) + der(tag, value));
}
std::string rdn(const char* type, unsigned char tag, text_t value) {
  return der(0x31, attribute(type, tag, value));
}
std::string name_of_value(unsigned char tag, text_t value) {
  return der(0x30, rdn("550403", tag, value));
}
std::string data_info(text_t content) {
  return der(0x30, oid("2A864886F70D010701") + der(0xA0, der(0x04, der(0x30, content))));
}
std::string container(text_t infos) {
  const std::string mac = der(0x30, der(0x30, der(0x30, "") + der(0x04, "")) + der(0x04, ""));
  return der(0x30, from_hex("02 01 03") + data_info(infos) + mac);
}
std::string bag(const char* kind, text_t value, text_t attributes) {
  return der(0x30, oid(kind) + der(0xA0, value) + der(0x31, attributes));
}
std::string rsa_key(text_t modulus) {
  const std::string numbers = der(0x30, der(0x02, modulus) + der(0x02, "\3"));
  return der(0x30, der(0x30, oid("2A864886F70D010101")) + der(0x03, '~' + numbers));
}
// Lines in an order that is neither sorted nor the reverse.
std::string map_lines(std::size_t size, text_t prefix) {
  std::string out;
  for (unsigned i = 1; out.size() < size; ++i) {
    out += prefix + std::to_string(i * 2654435761U) + "=N" + std::to_string(i * 2654435761U) + '\n';
  }
  return out;
}
const char crl_bag[] = "2A864886F70D010C0A0104";
const char friendly_name[] = "2A864886F70D010914";

void print(text_t in, PrintableDnOrder order) {
  std::string out;
  asn_dn_to_printable(data_of(in), size_of(in), out, order, OID_MAP_HANDLE_DEFAULT);
}
void read_and_write(text_t in, bool write) {
  copying_crypto_t crypto;
  pkcs12_easy_t model;
  std::string out;
  asn_read_pkcs12_easy(data_of(in), size_of(in), &crypto, model);
  if (write) {
    asn_write_pkcs12_easy(model, &crypto, out);
  }
}

const attack_t many_rdns = {
    "many RDNs", [](std::size_t n) { return der(0x30, fill(n, rdn("550403", 0x13, "x"))); }};
const std::vector<attack_t> text_attacks = {
    {"many RDNs", [](std::size_t n) { return fill(n, "O=x,") + "O=x"; }},
    {"one RDN", [](std::size_t n) { return fill(n, "O=x+") + "O=x"; }},
    {"dotted types", [](std::size_t n) { return fill(n, "1.2.3.4.5=x,") + "O=x"; }},
    {"hex escapes", [](std::size_t n) { return "O=" + fill(n, "\\c3"); }},
    {"quotes", [](std::size_t n) { return "O=\"" + fill(n, "\\\"") + '"'; }},
    {"#hex", [](std::size_t n) { return fill(n, "O=#1a0141,") + "O=x"; }},
    {"commas", [](std::size_t n) { return "O=\"" + fill(n, ",") + '"'; }},
};

const operation_t operations[] = {
    {"asn_dn_to_printable",
     [](text_t in) { print(in, DN_ORDER_DIRECT); },
     der(0x30, rdn("550406", 0x13, "RU") + rdn("55040A", 0x0C, "Example Organization") +
                   rdn("550403", 0x0C, "www.example.org")),
     {many_rdns,
      {"one RDN",
       [](std::size_t n) { return der(0x30, der(0x31, fill(n, attribute("550403", 0x13, "x")))); }},
      {"dotted types",
       [](std::size_t n) { return der(0x30, fill(n, rdn("2A030405", 0x13, "x"))); }},
      {"a long type",
       [](std::size_t n) {
         return der(0x30, der(0x31, der(0x30, der(0x06, fill(n, "\1")) + der(0x13, ""))));
       }},
      {"escapes", [](std::size_t n) { return name_of_value(0x0C, fill(n, ",")); }},
      {"T.61", [](std::size_t n) { return name_of_value(0x14, fill(n, "\xC2x")); }},
      {"BMP", [](std::size_t n) { return name_of_value(0x1E, fill(n, "\x20\xAC")); }},
      {"UCS-4", [](std::size_t n) { return name_of_value(0x1C, fill(n, from_hex("0001F600"))); }},
      {"hex", [](std::size_t n) { return name_of_value(0x1A, fill(n, "A")); }}}},
    {"asn_dn_to_printable, reverse",
     [](text_t in) { print(in, DN_ORDER_REVERSE); },
     der(0x30, rdn("550406", 0x13, "RU") + rdn("55040A", 0x0C, "Example Organization") +
                   rdn("550403", 0x0C, "www.example.org")),
     {many_rdns}},
    {"printable_to_asn_dn",
     [](text_t in) {
       std::string out;
       printable_to_asn_dn(in.c_str(), out, OID_MAP_HANDLE_DEFAULT);
     },
     "C=RU,O=Example Organization,CN=www.example.org", text_attacks},
    {"printable_dn_normalize",
     [](text_t in) {
       std::string out;
       printable_dn_normalize(in, out, nullptr, OID_MAP_HANDLE_DEFAULT);
     },
     "C=RU,O=Example Organization,CN=www.example.org", text_attacks},
    {"printable_dn_get_attr",
     [](text_t in) {
       std::string out;
       printable_dn_get_attr(in.c_str(), "none", out, DN_GET_ATTR_RDN);
     },
     "C=RU,O=Example Organization,CN=www.example.org", text_attacks},
    {"printable_dn_contain_attrs",
     [](text_t in) { printable_dn_contain_attrs(in.c_str(), in.c_str()); },
     "C=RU,O=Example Organization,CN=www.example.org", text_attacks},
    {"printable_dn_reverse", [](text_t in) { printable_dn_reverse(const_cast<char*>(in.c_str())); },
     "C=RU,O=Example Organization,CN=www.example.org", text_attacks},
    {"oid_map_parse",
     [](text_t in) { oid_map_release(oid_map_parse(in.data(), size_of(in))); },
     "2.5.4.3 = CN, commonName\n2.5.4.10 = O, organizationName\n2.5.4.6 = C, countryName\n"
     "0.9.2342.19200300.100.1.25 = DC, domainComponent\n",
     {{"many entries", [](std::size_t n) { return map_lines(n, "1.2."); }},
      {"long common prefix", [](std::size_t n) { return map_lines(n, fill(900, "1.") + "1."); }},
      {"short lines", [](std::size_t n) { return fill(n, "1.2=\n"); }},
      {"junk", [](std::size_t n) { return fill(n, "1.2\n"); }},
      {"a long OID", [](std::size_t n) { return fill(n, "1.") + "1=x"; }}}},
    {"oid_asn_to_str_",
     [](text_t in) {
       std::string out;
       oid_asn_to_str_(data_of(in), data_of(in) + in.size(), out);
     },
     from_hex("2A864886F70D01010B"),
     {{"short arcs", [](std::size_t n) { return fill(n, "\1"); }},
      {"a long arc", [](std::size_t n) { return fill(n, "\x81") + '\1'; }}}},
    {"oid_str_to_asn_",
     [](text_t in) {
       unsigned char out[512];
       oid_str_to_asn_(in.data(), in.data() + in.size(), out);
     },
     "1.2.840.113549.1.1.11",
     {{"zeros", [](std::size_t n) { return "1." + fill(n, "0"); }}}},
    {"ldap_t61s_to_utf8s",
     [](text_t in) {
       std::string out;
       ldap_t61s_to_utf8s(in.data(), size_of(in), out);
     },
     "Universit\xC2"
     "e de Gen\xC1"
     "eve, D\xC8"
     "usseldorf",
     {{"letters",
       [](std::size_t n) {
         return fill(n,
                     "\xC2"
                     "e");
       }},
      {"combining", [](std::size_t n) { return fill(n, "\xC2x"); }}}},
    {"asn_read_pkcs12_easy",
     [](text_t in) { read_and_write(in, false); },
     make_pfx(1, std::string(800, 'c')),
     {{"bags", [](std::size_t n) { return make_pfx(n / 160, "x"); }},
      {"skipped bags",
       [](std::size_t n) { return container(data_info(fill(n, bag(crl_bag, "", "")))); }},
      {"attributes",
       [](std::size_t n) {
         const std::string value = der(0x30, oid(friendly_name) + der(0x31, der(0x1E, "")));
         return container(data_info(bag(crl_bag, "", fill(n, value))));
       }},
      {"ContentInfos", [](std::size_t n) { return container(fill(n, data_info(""))); }}}},
    {"the same, and asn_write_pkcs12_easy",
     [](text_t in) { read_and_write(in, true); },
     make_pfx(1, std::string(800, 'c')),
     {{"bags", [](std::size_t n) { return make_pfx(n / 160, "x"); }},
      {"a long key", [](std::size_t n) { return make_pfx(1, fill(n / 4, "x")); }}}},
    {"asn_read_rsa_pubkey",
     [](text_t in) {
       asn_pubkey_t key;
       asn_rsa_pubkey_t rsa;
       asn_read_pubkey(data_of(in), static_cast<long>(in.size()), key);
       asn_read_rsa_pubkey(key, rsa);
     },
     rsa_key(std::string(257, '\x7F')),
     {{"zeros", [](std::size_t n) { return rsa_key(std::string(n, '\0')); }}}},
    {"asn_read_INTEGER",
     [](text_t in) {
       unsigned value = 0;
       asn_read_INTEGER(in.data(), size_of(in), value, ~0U);
     },
     from_hex("01 00 01"),
     {{"zeros", [](std::size_t n) { return std::string(n, '\0'); }}}},
    {"asn_add_alg_to_digest",
     [](text_t in) {
       std::string digest = in;
       asn_add_alg_to_digest(digest, 0x00040000);
     },
     std::string(32, 'd'),
     {{"a long digest", [](std::size_t n) { return fill(n, "d"); }}}},
    {"CertTimeFromLogStringGMT",
     [](text_t in) { CertTimeFromLogStringGMT(in); },
     "2024.03.05 07:08:09 GMT",
     {{"digits", [](std::size_t n) { return fill(n, "0"); }},
      {"blanks", [](std::size_t n) { return fill(n, " "); }}}},
};

// The least processor time of several runs, in nanoseconds per byte.
double cost(const operation_t& operation, text_t in, int times) {
  const std::size_t runs = 1 + (1U << 16) / in.size();
  std::clock_t least = std::numeric_limits<std::clock_t>::max();
  for (int i = 0; i < times; ++i) {
    const std::clock_t start = std::clock();
    for (std::size_t run = 0; run < runs; ++run) {
      operation.run(in);
    }
    least = std::min(least, std::clock() - start);
  }
  return static_cast<double>(least) * (1e9 / CLOCKS_PER_SEC) /
         static_cast<double>(runs * in.size());
}

}  // namespace

int main(int argc, char**) {
  constexpr std::size_t mebibyte = 1U << 20;
  const bool table = argc > 1;
  // Keeps memory once taken: what the system does to hand out fresh pages is no cost of ours.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  int failures = 0;
  for (const operation_t& operation : operations) {
    const double ordinary = cost(operation, operation.ordinary, 9);
    for (const attack_t& attack : operation.attacks) {
      const double large = cost(operation, attack.build(mebibyte), table ? 9 : 3);
      if (table) {
        std::printf("| `%s` | %s | %.2f | %.2f | %.2f |\n", operation.name, attack.name, ordinary,
                    large, large / ordinary);
      } else if (large >= 2 * cost(operation, attack.build(mebibyte / 8), 3)) {
        std::printf("%s, %s: cost grows faster than its input\n", operation.name, attack.name);
        ++failures;
      }
    }
  }
  return failures == 0 ? 0 : 1;
}
