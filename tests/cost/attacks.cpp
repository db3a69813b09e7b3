// Reads attacks.txt, and calls the functions it names.

#include "attacks.h"

#include <stdexcept>

#include <pkider/asn_helper.h>
#include <pkider/asn_printable.h>
#include <pkider/int2str.h>
#include <pkider/t61.h>

#include "plain_crypto.h"
#include "row_file.h"

namespace {

const unsigned char* data_of(text_t s) {
  return reinterpret_cast<const unsigned char*>(s.data());
}
unsigned size_of(text_t s) {
  return static_cast<unsigned>(s.size());
}

template <PrintableDnOrder Order = DN_ORDER_DIRECT>
void print(text_t in, std::string& out) {
  asn_dn_to_printable(data_of(in), size_of(in), out, Order, OID_MAP_HANDLE_DEFAULT);
}
template <bool Write>
void container(text_t in, std::string& out) {
  plain_crypto_t crypto;
  pkcs12_easy_t model;
  asn_read_pkcs12_easy(data_of(in), size_of(in), &crypto, model);
  if (Write) {
    asn_write_pkcs12_easy(model, &crypto, out);
  }
}
void read_key(text_t in, std::string&) {
  asn_pubkey_t key;
  asn_rsa_pubkey_t rsa;
  asn_read_pubkey(data_of(in), static_cast<long>(in.size()), key);
  asn_read_rsa_pubkey(key, rsa);
}

const std::map<std::string, void (*)(text_t in, std::string& out)> operations = {
    {"asn_dn_to_printable", print},
    {"asn_dn_to_printable, reverse", print<DN_ORDER_REVERSE>},
    {"asn_dn_to_printable, T.61", print},
    {"asn_dn_to_printable, BMP", print},
    {"printable_to_asn_dn",
     [](auto& in, auto& out) { printable_to_asn_dn(in.c_str(), out, OID_MAP_HANDLE_DEFAULT); }},
    {"printable_dn_normalize",
     [](auto& in, auto& out) { printable_dn_normalize(in, out, nullptr, OID_MAP_HANDLE_DEFAULT); }},
    {"printable_dn_get_attr",
     [](auto& in, auto& out) { printable_dn_get_attr(in.c_str(), "none", out, DN_GET_ATTR_RDN); }},
    {"printable_dn_contain_attrs",
     [](auto& in, auto&) { printable_dn_contain_attrs(in.c_str(), in.c_str()); }},
    {"printable_dn_reverse",
     [](auto& in, auto&) { printable_dn_reverse(const_cast<char*>(in.c_str())); }},
    {"oid_map_parse",
     [](auto& in, auto&) { oid_map_release(oid_map_parse(in.data(), size_of(in))); }},
    {"oid_asn_to_str_",
     [](auto& in, auto& out) { oid_asn_to_str_(data_of(in), data_of(in) + in.size(), out); }},
    {"oid_str_to_asn_",
     [](auto& in, auto&) {
       unsigned char out[512];
       oid_str_to_asn_(in.data(), in.data() + in.size(), out);
     }},
    {"ldap_t61s_to_utf8s",
     [](auto& in, auto& out) { ldap_t61s_to_utf8s(in.data(), size_of(in), out); }},
    {"asn_read_pkcs12_easy", container<false>},
    {"asn_write_pkcs12_easy after it", container<true>},
    {"asn_read_rsa_pubkey", read_key},
    {"asn_read_INTEGER",
     [](auto& in, auto&) {
       unsigned number = 0;
       asn_read_INTEGER(data_of(in), size_of(in), number, ~0U);
     }},
    {"asn_add_alg_to_digest",
     [](auto& in, auto& out) { asn_add_alg_to_digest(out = in, 0x00040000); }},
    {"CertTimeFromLogStringGMT", [](auto& in, auto&) { CertTimeFromLogStringGMT(in); }},
};

std::string bytes(bool is_der, std::string text) {
  std::replace(text.begin(), text.end(), ';', '\n');
  return is_der ? from_hex(text) : text;
}

}  // namespace

hostile_t attack_t::build(std::size_t size) const {
  const std::string one = bytes(is_der, unit);
  const std::size_t number = one.find("%u");
  hostile_t built{"", 0};
  std::string units;
  while (units.size() < size) {
    ++built.units;
    units += one;
    if (number != std::string::npos) {
      units.replace(units.size() - one.size() + number, 2,
                    std::to_string(built.units * 2654435761U >> 15));
    }
  }
  std::string all = whole;
  all.replace(all.find('@'), 1, is_der ? to_hex(units) : units);
  built.text = bytes(is_der, all);
  return built;
}

std::vector<attack_t> read_attacks() {
  std::vector<attack_t> attacks;
  attack_t next;
  const rows_t file("attacks.txt");
  for (const auto& [line, fault] : file.faults()) {
    throw std::runtime_error(file.path + ":" + std::to_string(line) + ": " + fault);
  }
  for (const row_t& row : file.rows) {
    next.operation = row.argument;
    next.name = row.reason;
    next.run = operations.at(row.argument);
    next.is_der = row.operation == "der";
    next.sorts = row.operation == "map";
    if (!next.is_der && !next.sorts && row.operation != "text") {
      throw std::runtime_error(file.path + ": no such kind: " + row.operation);
    }
    if (row.reason == "ordinary") {
      next.elements = static_cast<unsigned>(std::stoul(row.input));
      next.ordinary = bytes(next.is_der, row.expected);
    } else {
      next.unit = row.input;
      next.whole = row.expected;
      attacks.push_back(next);
    }
  }
  return attacks;
}
