// Private keys: opening their files, and describing them.

#ifndef PKIDER_TOOLS_PRIVATE_KEY_H
#define PKIDER_TOOLS_PRIVATE_KEY_H

#include <string>
#include <vector>

#include "derivation.h"
#include "key_id.h"
#include "password.h"
#include "record.h"

constexpr char key_label[] = "PRIVATE KEY";
constexpr char encrypted_key_label[] = "ENCRYPTED PRIVATE KEY";

// A key of a file: its PrivateKeyInfo, and how it was protected.
struct key_file_t {
  std::string where;  // the file, and which of its keys
  std::string der;
  std::string protection;
};

// Reads all PKCS#8 keys of `file`, PEM or DER, and asks `source` for a password if any is
// encrypted. Throws input_error_t when there is none, or one cannot be opened.
std::vector<key_file_t> open_key_file(const std::string& file, const password_source_t& source,
                                      deriver_t& deriver);

// read_private_key, of a key that is at `where`. Throws input_error_t when it is none.
private_key_t private_key_at(const std::string& where, const blob_t& der);

// Adds algorithm, parameter sets and size of a key, and with `reveal` its octets: for GOST the
// least significant first. Throws input_error_t after the last field that can be read.
void add_private_key(record_t& record, const std::string& where, const blob_t& der, bool reveal);

// Its algorithm and size in one line.
std::string private_key_summary(const private_key_t& key);

#endif
