// pkider p12 extract: a PKCS#12 container's keys and certificates, as PEM files.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include <pkider/pkcs12_helper.h>

#include "bytes.h"
#include "certificate.h"
#include "container.h"
#include "gost_pbe.h"
#include "key_id.h"
#include "messages.h"
#include "opened_container.h"
#include "output_file.h"
#include "private_key.h"
#include "record.h"
#include "text.h"
#include "verbs.h"

namespace {

// A key or a certificate on its way to a file.
struct extract_t {
  std::string name;  // without the directory
  std::string summary;
  key_id_t id;
  bool is_key;
  output_file_t output;
};

bool is_key(const opened_bag_t& opened) {
  return opened.bag != nullptr && opened.bag->type == PKCS12_BAG_KEY;
}

std::string encrypted_key_pem(const blob_t& der, gost_pbe_t& crypto) {
  pkcs8_encrypted_pki_gost_t info;
  std::string ciphertext;
  crypto.encrypt(der.data, der.size, info.pbe, ciphertext);
  info.encrypted_data = view(ciphertext);
  std::string out;
  asn_write_pkcs8_encrypted_pki_gost(info, out);
  return to_pem(encrypted_key_label, view(out));
}

// `crypto` is null when keys are written as they are.
extract_t key_extract(const std::string& file, const blob_t& der, gost_pbe_t* crypto) {
  const private_key_t key = private_key_at(file, der);
  const std::string pem =
      crypto != nullptr ? encrypted_key_pem(der, *crypto) : to_pem(key_label, der);
  return {"", private_key_summary(key), public_id_of(key), true, {"", pem, private_mode}};
}

extract_t certificate_extract(const std::string& file, const blob_t& der) {
  const std::string owned = to_string(der);
  const certificate_t certificate = certificate_in(file, owned);
  return {"",
          dn_text(file, "subject", certificate.subject),
          id_of_public_key(certificate.public_key),
          false,
          {"", to_pem("CERTIFICATE", der), public_mode}};
}

std::vector<extract_t> extracts_of(const p12_extract_options_t& options, opened_t& opened) {
  const std::string& file = options.file;
  const std::list<opened_bag_t> bags =
      open_bags(file, opened.container, opened.password, opened.deriver);
  if (options.encrypt) {
    const auto keys = std::count_if(bags.begin(), bags.end(), is_key);
    const auto more = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(keys, 1) - 1);
    opened.deriver.expect(more * options.writing.iterations);
  }
  gost_pbe_t crypto(opened.password, opened.deriver, options.writing);
  std::vector<extract_t> extracts;
  unsigned keys = 0;
  unsigned certificates = 0;
  for (const opened_bag_t& each : bags) {
    attempt([&] {
      if (each.bag == nullptr) {
        throw input_error_t(
            file, "left out a " + each.kind + ": only private keys and certificates are written");
      }
      extract_t extract =
          is_key(each) ? key_extract(file, each.bag->value, options.encrypt ? &crypto : nullptr)
                       : certificate_extract(file, each.bag->value);
      extract.name = extract.is_key ? "key-" + std::to_string(++keys)
                                    : "cert-" + std::to_string(++certificates);
      extract.name += ".pem";
      extract.output.name = options.directory + '/' + extract.name;
      extracts.push_back(extract);
    });
  }
  return extracts;
}

// key-N.pem or cert-N.pem.
bool is_extracted_name(const std::string& name) {
  const std::size_t number = name.find('-') + 1;
  const std::size_t end = name.find_first_not_of("0123456789", number);
  const std::string kind = name.substr(0, number);
  return (kind == "key-" || kind == "cert-") && end != number && end != std::string::npos &&
         name.substr(end) == ".pem";
}

// Throws input_error_t when the directory would hold files of two containers.
void check_not_mixed(const std::string& directory, const std::vector<extract_t>& extracts) {
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(directory, none)) {
    const std::string file = entry.path();
    const std::string name = entry.path().filename();
    const bool ours = std::any_of(extracts.begin(), extracts.end(),
                                  [&](const extract_t& extract) { return extract.name == name; });
    if (is_extracted_name(name) && !ours) {
      throw input_error_t(file,
                          "is left from another container, and would be taken for this one's: "
                          "remove it, or extract into another directory");
    }
  }
}

// Makes the directory unless it is there. Returns whether it did.
bool make_directory(const std::string& directory) {
  if (mkdir(directory.c_str(), S_IRWXU) == 0) {
    return true;
  }
  struct stat status = {};
  const int error = errno;
  if (error != EEXIST || stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
    throw input_error_t(directory, std::strerror(error));
  }
  return false;
}

// Tries what will have to work once the container is open.
void check_directory(const p12_extract_options_t& options) {
  const std::string& directory = options.directory;
  if (make_directory(directory)) {
    rmdir(directory.c_str());
    return;
  }
  check_output(directory + "/key-1.pem", options.overwrite);
}

// Null for a certificate, and for a key that has none.
const extract_t* certificate_of_key(const extract_t& key, const std::vector<extract_t>& extracts) {
  const auto own = std::find_if(extracts.begin(), extracts.end(), [&](const extract_t& other) {
    return key.is_key && !other.is_key && compare(key.id, other.id) == match_t::same;
  });
  return own == extracts.end() ? nullptr : &*own;
}

std::string belongs_text(const extract_t& key, const std::vector<extract_t>& extracts) {
  if (const extract_t* own = certificate_of_key(key, extracts)) {
    return ", of " + own->name;
  }
  return key.id.value.empty() ? "; which certificate is its own cannot be told: " + key.id.why_not
                              : ", of none of the certificates";
}

// Makes the directory for them if there is none, and removes it again if they cannot be written.
void write_extracts(const p12_extract_options_t& options, const std::vector<extract_t>& extracts) {
  std::vector<output_file_t> outputs;
  for (const extract_t& each : extracts) {
    check_replaceable(each.output.name, options.overwrite);
    outputs.push_back(each.output);
  }
  check_not_mixed(options.directory, extracts);
  const bool made = make_directory(options.directory);
  try {
    write_outputs(outputs, options.overwrite);
  } catch (const input_error_t&) {
    if (made) {
      rmdir(options.directory.c_str());  // which it lets be unless it is empty
    }
    throw;
  }
}

void print_extract(const extract_t& extract, const std::vector<extract_t>& extracts) {
  const std::string belongs = extract.is_key ? belongs_text(extract, extracts) : "";
  record_t record;
  record.add("file", extract.output.name);
  record.add(extract.is_key ? "private key" : "subject", extract.summary);
  if (const extract_t* own = certificate_of_key(extract, extracts)) {
    record.add("certificate", own->output.name);
  }
  print(record, printable(extract.output.name + ": " + extract.summary + belongs));
}

}  // namespace

void extract_container(const p12_extract_options_t& options) {
  check_directory(options);
  opened_t opened(options.opening.round_limit);
  if (options.encrypt) {
    opened.deriver.expect(options.writing.iterations);  // of one key, as most have
  }
  open_container(options, opened);
  const std::vector<extract_t> extracts = extracts_of(options, opened);
  if (extracts.empty()) {
    throw input_error_t(options.file, "nothing in it could be extracted");
  }
  write_extracts(options, extracts);
  for (const extract_t& each : extracts) {
    print_extract(each, extracts);
  }
}
