// The library under test: through its shared object, and once with its header reader inlined.

#include <memory>

#include <pkider/asn_helper.h>
#include <pkider/asn_oidmap.h>
#include <pkider/asn_printable.h>

#include "asn_cursor.h"
#include "cases.h"
#include "plain_crypto.h"
#include "samples.h"

namespace {

constexpr const char* who = "ours";

unsigned size32(const bytes_t& bytes) {
  return static_cast<unsigned>(bytes.size());
}

// ---- W1: every element header ----

// A pointer and an end, as with every peer. That the content fits is for the caller to see.
std::size_t walk_exported(const unsigned char* p, const unsigned char* end) {
  std::size_t elements = 0;
  while (p != end) {
    unsigned size = 0;
    const unsigned char* content =
        asn1_read_tag(asn_tag_t::ANY, p, static_cast<unsigned>(end - p), &size);
    require(content != nullptr && size <= end - content, "asn1_read_tag");
    ++elements;
    if ((*p & 0x20) != 0) {
      elements += walk_exported(content, content + size);
    }
    p = content + size;
  }
  return elements;
}

std::size_t walk_inlined(asn_iter_t cursor) {
  std::size_t elements = 0;
  while (cursor.len != 0) {
    const unsigned char identifier = *cursor.ptr;
    asn_iter_t content;
    require(asn1_read_tag_i_(asn_tag_t::ANY, &cursor, &content), "asn1_read_tag_i_");
    ++elements;
    if ((identifier & 0x20) != 0) {
      elements += walk_inlined(content);
    }
  }
  return elements;
}

// ---- W2 and W3: names ----

// `text` keeps its room from call to call.
std::size_t print(const bytes_t& der, PrintableDnOrder order, std::string& text) {
  text.clear();
  require(asn_dn_to_printable(der.data(), size32(der), text, order, OID_MAP_HANDLE_DEFAULT),
          "asn_dn_to_printable");
  return text.size();
}

std::size_t parse(const std::string& text) {
  static thread_local std::string der;
  require(printable_to_asn_dn(text.c_str(), der, OID_MAP_HANDLE_DEFAULT), "printable_to_asn_dn");
  return der.size();
}

void add_printing(const samples_t& samples, PrintableDnOrder order, const char* workload,
                  const char* fresh_workload, cases_t& cases) {
  const auto reused = [order](const bytes_t& der) {
    static thread_local std::string text;
    return print(der, order, text);
  };
  const auto fresh = [order](const bytes_t& der) {
    std::string text;
    return print(der, order, text);
  };
  const std::size_t names = samples.names.size();
  add_each(cases, {workload, "names", names}, who, samples.names, reused);
  add_each(cases, {fresh_workload, "names", names}, who, samples.names, fresh);
  for (const name_t& name : samples.generated_names) {
    const std::size_t rdns = name.attributes.size();
    add_one(cases, {workload, std::to_string(rdns), rdns}, who, name.der, reused);
    add_one(cases, {fresh_workload, std::to_string(rdns), rdns}, who, name.der, fresh);
  }
}

void add_parsing(const samples_t& samples, cases_t& cases) {
  const auto one = [](const name_t& name) { return parse(name.text); };
  add_each(cases, {"W3", "names", samples.plain_names.size()}, who, samples.plain_names, one);
  for (const name_t& name : samples.generated_names) {
    const std::size_t rdns = name.attributes.size();
    add_one(cases, {"W3", std::to_string(rdns), rdns}, who, name, one);
  }
}

// ---- W4: OIDs ----

std::size_t oid_to_der(const std::string& text) {
  unsigned char der[512];
  const unsigned size = oid_str_to_asn_(text.data(), text.data() + text.size(), der);
  require(size != 0, "oid_str_to_asn_");
  return size;
}

std::size_t oid_to_text(const bytes_t& oid) {
  static std::string text;
  text.clear();
  require(oid_asn_to_str_(oid.data() + 2, oid.data() + oid.size(), text), "oid_asn_to_str_");
  return text.size();
}

// ---- W5: containers ----

std::size_t read_container(const container_t& container) {
  plain_crypto_t crypto;
  pkcs12_easy_t model;
  require(asn_read_pkcs12_easy(container.der.data(), size32(container.der), &crypto, model),
          "asn_read_pkcs12_easy");
  std::size_t sum = 0;
  for (const pkcs12_bag_t& bag : model.plain_bags) {
    sum += bag.friendly_name.size + bag.local_key_id.size;
  }
  return sum;
}

std::size_t write_container(const pkcs12_easy_t& model, std::string& der) {
  plain_crypto_t crypto;
  der.clear();
  asn_write_pkcs12_easy(model, &crypto, der);
  return der.size();
}

void add_reading(const container_t& container, cases_t& cases) {
  const std::size_t bags = container.bags.size();
  add_one(cases, {"W5-read", std::to_string(bags), bags}, who, container, read_container);
}

void add_writing(const container_t& container, cases_t& cases) {
  const std::size_t bags = container.bags.size();
  const auto add = [&](const char* workload, bool encrypted, auto write) {
    const auto model = std::make_shared<pkcs12_easy_t>(model_of(container, encrypted));
    const auto run = [model, write] { return write(*model); };
    cases.push_back({{workload, std::to_string(bags), bags}, who, run, ""});
  };
  const auto reused = [](const pkcs12_easy_t& model) {
    static thread_local std::string der;
    return write_container(model, der);
  };
  const auto fresh = [](const pkcs12_easy_t& model) {
    std::string der;
    return write_container(model, der);
  };
  add("W5-write", false, reused);
  add("W5-write-new", false, fresh);
  add("W5-write-encrypted", true, reused);
}

// ---- W6: public keys ----

std::size_t read_rsa_key(const bytes_t& der) {
  asn_pubkey_t key;
  asn_rsa_pubkey_t rsa;
  require(asn_read_pubkey(der.data(), static_cast<long>(der.size()), key), "asn_read_pubkey");
  require(asn_read_rsa_pubkey(key, rsa), "asn_read_rsa_pubkey");
  require(rsa.exponent.size != 0, "asn_read_rsa_pubkey");
  return rsa.modulus.size;
}

// ---- W7: names of OIDs ----

std::size_t short_name(const bytes_t& oid) {
  const OIDdescr_t* entry =
      oid_map_find_asn(OID_MAP_HANDLE_DEFAULT, oid.data() + 2, size32(oid) - 2);
  require(entry != nullptr, "oid_map_find_asn");
  return entry->oid_sn != nullptr;
}

}  // namespace

// ---- All cases ----

void add_ours(const samples_t& samples, cases_t& cases) {
  add_each(cases, {"W1", "certificates", samples.elements}, who, samples.certificates,
           [](const bytes_t& der) { return walk_exported(der.data(), der.data() + der.size()); });
  add_each(cases, {"W1", "certificates", samples.elements}, "ours-inlined", samples.certificates,
           [](const bytes_t& der) {
             return walk_inlined({der.data(), size32(der)});
           });
  add_printing(samples, DN_ORDER_DIRECT, "W2-direct", "W2-direct-new", cases);
  add_printing(samples, DN_ORDER_REVERSE, "W2-reverse", "W2-reverse-new", cases);
  add_parsing(samples, cases);
  const std::size_t oids = samples.oids.size();
  add_each(cases, {"W4-to-der", "oids", oids}, who, samples.oid_text, oid_to_der);
  add_each(cases, {"W4-to-text", "oids", oids}, who, samples.oids, oid_to_text);
  for (const container_t& container : samples.containers) {
    add_reading(container, cases);
  }
  for (const container_t& container : samples.certificate_containers) {
    add_writing(container, cases);
  }
  add_each(cases, {"W6", "keys", samples.rsa_keys.size()}, who, samples.rsa_keys, read_rsa_key);
  add_each(cases, {"W7", "types", samples.attribute_types.size()}, who, samples.attribute_types,
           short_name);
}
