// What the cases work on: Debian's CA certificates and generated names and containers. All of it is
// made before anything is measured.

#ifndef PKIDER_BENCH_SAMPLES_H
#define PKIDER_BENCH_SAMPLES_H

#include <string>
#include <vector>

#include <pkider/pkcs12_helper.h>

using bytes_t = std::vector<unsigned char>;

// OIDs stand here as whole elements: the identifier, one byte of length, then the content octets.
struct attribute_t {
  bytes_t type;
  std::string type_text;  // dotted
  std::string value;      // UTF-8
};

struct name_t {
  bytes_t der;
  std::string text;          // as the library prints it
  std::string reverse_text;  // the same, last RDN first
  std::vector<attribute_t> attributes;
};

struct bag_t {
  bytes_t value;
  bytes_t friendly_name;  // UTF-16, big-endian
  bytes_t local_key_id;
};

struct container_t {
  std::vector<bag_t> bags;
  bytes_t der;  // all of them certificate bags in one plain SafeContents, with a MAC nobody checks
};

struct samples_t {
  std::vector<bytes_t> certificates;
  std::size_t elements = 0;              // in all certificates
  std::vector<bytes_t> oids;             // every OID in them, in order
  std::vector<std::string> oid_text;     // the same, dotted
  std::vector<bytes_t> attribute_types;  // as they occur in the names
  std::vector<std::string> attribute_type_text;
  std::vector<bytes_t> rsa_keys;  // SubjectPublicKeyInfo
  std::vector<bytes_t> names;     // every issuer and subject
  // Those of them that text can carry unchanged: PrintableString, UTF8String and IA5String values.
  std::vector<name_t> plain_names;
  std::vector<name_t> generated_names;  // of generated_sizes RDNs
  // Both of generated_sizes bags: with values of 128 bytes, and with the certificates, over and
  // over.
  std::vector<container_t> containers;
  std::vector<container_t> certificate_containers;
};

constexpr unsigned generated_sizes[] = {1, 10, 100, 1000, 10000};

// The model of a container's bags. Its views point into `container` and constants.
pkcs12_easy_t model_of(const container_t& container, bool encrypted);

samples_t load_samples(const std::string& certificate_directory);

#endif
