// pkider key: what a PKCS#8 private key is, without giving it away, and whose.

#include <cstdio>
#include <string>

#include "bytes.h"
#include "certificate.h"
#include "derivation.h"
#include "key_id.h"
#include "messages.h"
#include "private_key.h"
#include "record.h"
#include "text.h"
#include "verbs.h"

void show_keys(const key_show_options_t& options) {
  deriver_t deriver(options.opening.round_limit, terminal_progress());
  if (options.reveal) {
    static_cast<void>(std::setvbuf(stdout, nullptr, _IONBF, 0));  // it would keep the digits
  }
  for (const key_file_t& key : open_key_file(options.file, options.opening.password, deriver)) {
    record_t record;
    record.add("private key", key.where);
    record.add("protection", key.protection);
    attempt([&] { add_private_key(record, key.where, view(key.der), options.reveal); });
    print(record);
  }
}

// Tells which certificates of `file` belong to the key, or why none does.
static void match_key(const key_file_t& key, const std::string& file) {
  const key_id_t id = public_id_of(private_key_at(key.where, view(key.der)));
  bool found = false;
  std::string why_not;
  for_each_certificate(file, [&](const std::string& where, const certificate_t& certificate) {
    const key_id_t other = id_of_public_key(certificate.public_key);
    const match_t match = compare(id, other);
    if (match == match_t::same) {
      found = true;
      record_t record;
      record.add("certificate", where);
      record.add("private key", key.where);
      print(record, printable(where + ": belongs to " + key.where));
    } else if (match == match_t::unknown) {
      why_not = id.value.empty() ? id.why_not : other.why_not;
    }
  });
  if (!found) {
    report(key.where, why_not.empty() ? "none of the certificates belongs to this key"
                                      : "cannot be compared: " + why_not);
  }
}

void match_keys(const key_match_options_t& options) {
  deriver_t deriver(options.opening.round_limit, terminal_progress());
  for (const key_file_t& key : open_key_file(options.key, options.opening.password, deriver)) {
    match_key(key, options.certificates);
  }
}
