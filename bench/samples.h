// What the cases work on: Debian's CA certificates and generated names and containers. All of it is
// made before anything is measured.

#ifndef PKIDER_BENCH_SAMPLES_H
#define PKIDER_BENCH_SAMPLES_H

#include <string>
#include <vector>

#include <pkider/pkcs12_helper.h>

using Bytes = std::vector<unsigned char>;

// OIDs stand here as whole elements: the identifier, one byte of length, then the content octets.
struct Attribute {
  Bytes type;
  std::string type_text;  // dotted
  std::string value;      // UTF-8
};

struct Name {
  Bytes der;
  std::string text;          // as the library prints it
  std::string reverse_text;  // the same, last RDN first
  std::vector<Attribute> attributes;
};

struct Bag {
  Bytes value;
  Bytes friendly_name;  // UTF-16, big-endian
  Bytes local_key_id;
};

struct Container {
  std::vector<Bag> bags;
  Bytes der;  // all of them certificate bags in one plain SafeContents, with a MAC nobody checks
};

struct Samples {
  std::vector<Bytes> certificates;
  std::size_t elements = 0;            // in all certificates
  std::vector<Bytes> oids;             // every OID in them, in order
  std::vector<std::string> oid_text;   // the same, dotted
  std::vector<Bytes> attribute_types;  // as they occur in the names
  std::vector<std::string> attribute_type_text;
  std::vector<Bytes> rsa_keys;  // SubjectPublicKeyInfo
  std::vector<Bytes> names;     // every issuer and subject
  // Those of them that text can carry unchanged: PrintableString, UTF8String and IA5String values.
  std::vector<Name> plain_names;
  std::vector<Name> generated_names;  // of generated_sizes RDNs
  // Both of generated_sizes bags: with values of 128 bytes, and with the certificates, over and
  // over.
  std::vector<Container> containers;
  std::vector<Container> certificate_containers;
};

constexpr unsigned generated_sizes[] = {1, 10, 100, 1000, 10000};

// The model of a container's bags. Its views point into `container` and constants.
pkcs12_easy_t model_of(const Container& container, bool encrypted);

Samples load_samples(const std::string& certificate_directory);

#endif
