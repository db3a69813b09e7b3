// Certificates read, and names and containers generated.

#include "samples.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <pkider/asn_oidmap.h>
#include <pkider/asn_printable.h>

#include "asn_cursor.h"
#include "cases.h"
#include "plain_crypto.h"

namespace {

unsigned size32(const bytes_t& bytes) {
  return static_cast<unsigned>(bytes.size());
}

bytes_t bytes_of(const std::string& text) {
  return {text.begin(), text.end()};
}

// ---- Certificates ----

// The first certificate of a PEM file.
bytes_t decode_pem(const std::string& text) {
  static const std::string digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::string begin_line = "-----BEGIN CERTIFICATE-----";
  const std::size_t begin = text.find(begin_line);
  require(begin != std::string::npos, "finding a PEM certificate");
  bytes_t der;
  unsigned bits = 0;
  int count = 0;
  for (std::size_t i = begin + begin_line.size(); i < text.size() && text[i] != '='; ++i) {
    const std::size_t digit = digits.find(text[i]);
    if (text[i] == '-') {
      break;
    }
    if (digit == std::string::npos) {
      continue;
    }
    bits = bits << 6 | static_cast<unsigned>(digit);
    count += 6;
    if (count >= 8) {
      count -= 8;
      der.push_back(static_cast<unsigned char>(bits >> count));
    }
  }
  return der;
}

std::vector<bytes_t> load_certificates(const std::string& directory) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  std::vector<bytes_t> certificates;
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    certificates.push_back(decode_pem({std::istreambuf_iterator<char>(file), {}}));
  }
  return certificates;
}

// One element: its content, and all of it.
struct element_t {
  asn_iter_t content;
  bytes_t der;
};

element_t next_element(asn_iter_t& cursor) {
  const unsigned char* begin = cursor.ptr;
  element_t element;
  require(asn1_read_tag_i_(asn_tag_t::ANY, &cursor, &element.content), "reading a sample");
  element.der.assign(begin, cursor.ptr);
  return element;
}

// Counts the elements and collects the OIDs.
void collect_elements(asn_iter_t cursor, samples_t& samples) {
  while (cursor.len != 0) {
    const element_t element = next_element(cursor);
    ++samples.elements;
    if (element.der[0] == asn_tag_t::OID) {
      samples.oids.push_back(element.der);
    }
    if ((element.der[0] & 0x20) != 0) {
      collect_elements(element.content, samples);
    }
  }
}

// TBSCertificate ::= SEQUENCE { version [0], serialNumber, signature, issuer, validity, subject,
//                               subjectPublicKeyInfo, ... }
void collect_fields(const bytes_t& certificate, samples_t& samples) {
  asn_iter_t cursor{certificate.data(), size32(certificate)};
  asn_iter_t outer = next_element(cursor).content;
  asn_iter_t fields = next_element(outer).content;
  if (asn1_next_is_(asn_tag_t::CONTEXT_0, fields)) {
    next_element(fields);
  }
  next_element(fields);
  next_element(fields);
  samples.names.push_back(next_element(fields).der);
  next_element(fields);
  samples.names.push_back(next_element(fields).der);
  element_t key = next_element(fields);
  asn_iter_t algorithm = next_element(key.content).content;
  static const bytes_t rsa = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};
  const asn_iter_t oid = next_element(algorithm).content;
  if (std::equal(oid.ptr, oid.ptr + oid.len, rsa.begin(), rsa.end())) {
    samples.rsa_keys.push_back(key.der);
  }
}

// ---- Names ----

std::string dotted(const bytes_t& oid) {
  std::string text;
  require(oid_asn_to_str_(oid.data() + 2, oid.data() + oid.size(), text), "oid_asn_to_str_");
  return text;
}

std::string printed(const bytes_t& der, PrintableDnOrder order) {
  std::string text;
  require(asn_dn_to_printable(der.data(), size32(der), text, order, OID_MAP_HANDLE_DEFAULT),
          "asn_dn_to_printable");
  return text;
}

std::vector<attribute_t> attributes_of(const bytes_t& der, bool& plain) {
  std::vector<attribute_t> attributes;
  asn_iter_t cursor{der.data(), size32(der)};
  asn_iter_t rdns = next_element(cursor).content;
  while (rdns.len != 0) {
    asn_iter_t rdn = next_element(rdns).content;
    asn_iter_t pair = next_element(rdn).content;
    const bytes_t type = next_element(pair).der;
    const element_t value = next_element(pair);
    attributes.push_back(
        {type, dotted(type), {value.content.ptr, value.content.ptr + value.content.len}});
    constexpr unsigned char utf8_string = 0x0C;
    constexpr unsigned char printable_string = 0x13;
    constexpr unsigned char ia5_string = 0x16;
    const unsigned char tag = value.der[0];
    plain &= tag == utf8_string || tag == printable_string || tag == ia5_string;
    plain &= rdn.len == 0;
  }
  return attributes;
}

// The library reads back what it prints: the same types and values, whatever the string types.
void check_round_trip(const name_t& name) {
  std::string der;
  require(printable_to_asn_dn(name.text.c_str(), der, OID_MAP_HANDLE_DEFAULT),
          "printable_to_asn_dn");
  bool plain = true;
  const std::vector<attribute_t> again = attributes_of(bytes_of(der), plain);
  require(plain && again.size() == name.attributes.size(), "printable_to_asn_dn");
  for (std::size_t i = 0; i < again.size(); ++i) {
    require(again[i].type == name.attributes[i].type && again[i].value == name.attributes[i].value,
            "printable_to_asn_dn");
  }
}

void collect_name(const bytes_t& der, samples_t& samples, std::vector<name_t>& to) {
  bool plain = true;
  name_t name{der, {}, {}, attributes_of(der, plain)};
  for (const attribute_t& attribute : name.attributes) {
    const bytes_t& type = attribute.type;
    if (oid_map_find_asn(OID_MAP_HANDLE_DEFAULT, type.data() + 2, size32(type) - 2) != nullptr) {
      samples.attribute_types.push_back(type);
      samples.attribute_type_text.push_back(attribute.type_text);
    }
  }
  if (!plain) {
    return;
  }
  name.text = printed(der, DN_ORDER_DIRECT);
  name.reverse_text = printed(der, DN_ORDER_REVERSE);
  check_round_trip(name);
  to.push_back(name);
}

bytes_t generated_name(unsigned rdns) {
  static const char* const types[] = {"O", "OU", "CN"};
  std::string text;
  for (unsigned i = 0; i < rdns; ++i) {
    text += (i == 0 ? "" : ",") + std::string(types[i % 3]) + "=Part " + std::to_string(i);
  }
  std::string der;
  require(printable_to_asn_dn(text.c_str(), der, OID_MAP_HANDLE_DEFAULT), "printable_to_asn_dn");
  return bytes_of(der);
}

// ---- Containers ----

bag_t generated_bag(unsigned number, const bytes_t& value) {
  bag_t bag{value, {}, bytes_t(20, static_cast<unsigned char>(number))};
  for (const char c : "Bag " + std::to_string(100000 + number)) {
    bag.friendly_name.push_back(0);
    bag.friendly_name.push_back(static_cast<unsigned char>(c));
  }
  return bag;
}

void encode(container_t& container) {
  plain_crypto_t crypto;
  std::string der;
  asn_write_pkcs12_easy(model_of(container, false), &crypto, der);
  container.der = bytes_of(der);
  pkcs12_easy_t again;
  require(asn_read_pkcs12_easy(container.der.data(), size32(container.der), &crypto, again),
          "asn_read_pkcs12_easy");
  require(again.plain_bags.size() == container.bags.size(), "asn_read_pkcs12_easy");
  auto bag = container.bags.begin();
  for (const pkcs12_bag_t& read : again.plain_bags) {
    require(bytes_t(read.value.data, read.value.data + read.value.size) == bag->value,
            "asn_read_pkcs12_easy");
    ++bag;
  }
}

// A SEQUENCE of 128 bytes in all, as a stand-in for a short certificate.
bytes_t generated_value(unsigned number) {
  bytes_t value(128, static_cast<unsigned char>(number));
  const unsigned char header[] = {0x30, 0x7E, 0x04, 0x7C};
  std::copy(std::begin(header), std::end(header), value.begin());
  return value;
}

container_t container_of(unsigned bags, const std::vector<bytes_t>& values) {
  container_t container;
  for (unsigned i = 0; i < bags; ++i) {
    container.bags.push_back(generated_bag(i, values[i % values.size()]));
  }
  encode(container);
  return container;
}

}  // namespace

// ---- All samples ----

pkcs12_easy_t model_of(const container_t& container, bool encrypted) {
  static const unsigned char salt[] = {1, 2, 3, 4, 5, 6, 7, 8};
  pkcs12_easy_t model;
  model.mac.mac_salt = {sizeof(salt), salt};
  model.mac.mac_iterations = 1;
  std::list<pkcs12_bag_t>& bags = encrypted ? model.encrypted_bags : model.plain_bags;
  const auto view = [](const bytes_t& bytes) { return blob_t{size32(bytes), bytes.data()}; };
  for (const bag_t& bag : container.bags) {
    bags.push_back(
        {PKCS12_BAG_CERT, view(bag.value), view(bag.friendly_name), view(bag.local_key_id)});
  }
  return model;
}

samples_t load_samples(const std::string& certificate_directory) {
  samples_t samples;
  samples.certificates = load_certificates(certificate_directory);
  for (const bytes_t& certificate : samples.certificates) {
    collect_elements({certificate.data(), size32(certificate)}, samples);
    collect_fields(certificate, samples);
  }
  for (const bytes_t& oid : samples.oids) {
    samples.oid_text.push_back(dotted(oid));
  }
  for (const bytes_t& name : samples.names) {
    collect_name(name, samples, samples.plain_names);
  }
  std::vector<bytes_t> short_values;
  for (unsigned i = 0; i < 256; ++i) {
    short_values.push_back(generated_value(i));
  }
  samples_t unused;
  for (const unsigned size : generated_sizes) {
    collect_name(generated_name(size), unused, samples.generated_names);
    samples.containers.push_back(container_of(size, short_values));
    samples.certificate_containers.push_back(container_of(size, samples.certificates));
  }
  return samples;
}
