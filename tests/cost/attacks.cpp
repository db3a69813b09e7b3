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
  PlainCrypto crypto;
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

struct operation_t {
  bool is_text;  // its inputs are as they stand in the file, but for ';', or else DER in hex
  void (*run)(text_t in, std::string& out);
  bool sorts = false;
};

const std::map<std::string, operation_t> operations = {
    {"asn_dn_to_printable", {false, print}},
    {"asn_dn_to_printable, reverse", {false, print<DN_ORDER_REVERSE>}},
    {"asn_dn_to_printable, T.61", {false, print}},
    {"asn_dn_to_printable, BMP", {false, print}},
    {"printable_to_asn_dn",
     {true,
      [](auto& in, auto& out) { printable_to_asn_dn(in.c_str(), out, OID_MAP_HANDLE_DEFAULT); }}},
    {"printable_dn_normalize",
     {true, [](auto& in,
               auto& out) { printable_dn_normalize(in, out, nullptr, OID_MAP_HANDLE_DEFAULT); }}},
    {"printable_dn_get_attr",
     {true, [](auto& in,
               auto& out) { printable_dn_get_attr(in.c_str(), "none", out, DN_GET_ATTR_RDN); }}},
    {"printable_dn_contain_attrs",
     {true, [](auto& in, auto&) { printable_dn_contain_attrs(in.c_str(), in.c_str()); }}},
    {"printable_dn_reverse",
     {true, [](auto& in, auto&) { printable_dn_reverse(const_cast<char*>(in.c_str())); }}},
    {"oid_map_parse",
     {true, [](auto& in, auto&) { oid_map_release(oid_map_parse(in.data(), size_of(in))); }, true}},
    {"oid_asn_to_str_",
     {false,
      [](auto& in, auto& out) { oid_asn_to_str_(data_of(in), data_of(in) + in.size(), out); }}},
    {"oid_str_to_asn_",
     {true,
      [](auto& in, auto&) {
        unsigned char out[512];
        oid_str_to_asn_(in.data(), in.data() + in.size(), out);
      }}},
    {"ldap_t61s_to_utf8s",
     {false, [](auto& in, auto& out) { ldap_t61s_to_utf8s(in.data(), size_of(in), out); }}},
    {"asn_read_pkcs12_easy", {false, container<false>}},
    {"asn_write_pkcs12_easy after it", {false, container<true>}},
    {"asn_read_rsa_pubkey", {false, read_key}},
    {"asn_read_INTEGER",
     {false,
      [](auto& in, auto&) {
        unsigned number = 0;
        asn_read_INTEGER(in.data(), size_of(in), number, ~0U);
      }}},
    {"asn_add_alg_to_digest",
     {true, [](auto& in, auto& out) { asn_add_alg_to_digest(out = in, 0x00040000); }}},
    {"CertTimeFromLogStringGMT", {true, [](auto& in, auto&) { CertTimeFromLogStringGMT(in); }}},
};

std::string bytes(const operation_t& operation, std::string text) {
  std::replace(text.begin(), text.end(), ';', '\n');
  return operation.is_text ? text : from_hex(text);
}

}  // namespace

hostile_t attack_t::build(std::size_t size) const {
  const operation_t& taker = operations.at(operation);
  const std::string one = bytes(taker, unit);
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
  all.replace(all.find('@'), 1, taker.is_text ? units : to_hex(units));
  built.text = bytes(taker, all);
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
    next.operation = row.operation + (row.argument.empty() ? "" : " ") + row.argument;
    const operation_t& operation = operations.at(next.operation);
    next.name = row.reason;
    next.run = operation.run;
    next.sorts = operation.sorts;
    if (row.reason == "ordinary") {
      next.elements = static_cast<unsigned>(std::stoul(row.input));
      next.ordinary = bytes(operation, row.expected);
    } else {
      next.unit = row.input;
      next.whole = row.expected;
      attacks.push_back(next);
    }
  }
  return attacks;
}
