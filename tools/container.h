// Reading a PKCS#12 file made by any program. What is encrypted is decrypted here, in any scheme
// that is in use, and each bag is then handed to the library as the plain one it is, in a container
// made for it: one reader for all.

#ifndef PKIDER_TOOLS_CONTAINER_H
#define PKIDER_TOOLS_CONTAINER_H

#include <list>
#include <string>
#include <vector>

#include <pkider/pkcs12_helper.h>

#include "derivation.h"
#include "encryption.h"
#include "mac.h"

// A SafeBag. Views point into the container or the plaintext that it stands in.
struct safe_bag_t {
  std::string type;     // dotted bagId
  blob_t id;            // its content octets
  blob_t value;         // content of bagValue
  blob_t attributes;    // what follows it
  encrypted_key_t key;  // of a shrouded key
  bool malformed = false;
};

// A ContentInfo of the authenticated safe.
struct safe_part_t {
  std::string text;     // how it is protected, in words
  std::string why_not;  // why it cannot be opened; empty if it can
  encryption_t encryption;
  bool encrypted = false;
  std::string data;              // ciphertext, or a SafeContents in DER
  std::vector<safe_bag_t> bags;  // of a plain one
};

struct container_t {
  std::string der;
  blob_t version;    // content octets; a view
  std::string safe;  // the authenticated safe as it stands, which the MAC covers
  std::string safe_der;
  bool has_mac = false;
  pkcs12_mac_t mac_data;
  mac_t mac;
  std::list<safe_part_t> parts;
};

// A bag after decryption. Its model holds one bag, or none where the library knows no such kind.
struct opened_bag_t {
  std::string kind;  // "private key"
  std::string protection;
  std::string pfx;  // what the model's views point into
  pkcs12_easy_t model;
  const pkcs12_bag_t* bag = nullptr;
};

// What a bagId stands for: "private key", or its OID.
std::string bag_kind(const std::string& type);

// split_container looks at everything that needs no password. The result is not to be moved. Throws
// input_error_t, with `where` in front.
void split_container(const std::string& where, const std::string& content, container_t& out);

// Has the deriver admit all that is known of so far. Throws input_error_t.
void admit_container(const std::string& where, const container_t& container, deriver_t& deriver);

// Throws input_error_t unless the MAC is right, or there is none.
void check_mac(const std::string& where, const container_t& container, const secret_t& password,
               deriver_t& deriver);

// Opens all parts and bags, in order. Reports what cannot be opened, and leaves it out.
std::list<opened_bag_t> open_bags(const std::string& where, const container_t& container,
                                  const secret_t& password, deriver_t& deriver);

#endif
