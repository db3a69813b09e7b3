// pkider p12 show and verify: what a PKCS#12 container holds, and whether its MAC is right.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <pkider/platform.h>

#include "bytes.h"
#include "certificate.h"
#include "container.h"
#include "messages.h"
#include "opened_container.h"
#include "private_key.h"
#include "record.h"
#include "text.h"
#include "verbs.h"

namespace {

std::string friendly_name_text(const blob_t& name) {
  const CodepageConverter converter(CODEPAGE_UCS2BE, CODEPAGE_UTF8);
  std::string text(converter.output_size(name.data, name.size), '\0');
  if (text.empty()) {
    return hex(name);
  }
  converter.convert(name.data, name.size, text.data(), size32(text));
  return text;
}

record_t head_of(const std::string& file, const container_t& container) {
  record_t record;
  record.add("container", file);
  record.add("version", hex(container.version));
  record.add("mac", container.has_mac ? container.mac.text
                                      : "none: nothing tells whether the container was changed");
  return record;
}

void add_bag(record_t& record, const std::string& file, const pkcs12_bag_t& bag) {
  if (bag.friendly_name.size != 0) {
    record.add("friendly name", friendly_name_text(bag.friendly_name));
  }
  if (bag.local_key_id.size != 0) {
    record.add("local key id", hex(bag.local_key_id));
  }
  if (bag.type == PKCS12_BAG_KEY) {
    add_private_key(record, file, bag.value, false);
    return;
  }
  const std::string der = to_string(bag.value);
  const certificate_t certificate = certificate_in(file, der);
  record.add("subject", dn_text(file, "subject", certificate.subject));
  record.add("issuer", dn_text(file, "issuer", certificate.issuer));
}

void show_content(const p12_options_t& options) {
  const std::string& file = options.file;
  opened_t opened(options.opening.round_limit);
  open_container(options, opened);
  std::vector<record_t> bags;
  for (const opened_bag_t& each :
       open_bags(file, opened.container, opened.password, opened.deriver)) {
    record_t& record = bags.emplace_back();
    record.add("bag", each.kind);
    record.add("protection", each.protection);
    if (each.bag != nullptr) {
      attempt([&] { add_bag(record, file, *each.bag); });
    }
  }
  record_t head = head_of(file, opened.container);
  head.add_json("bags", std::move(bags));
  print(head);
}

// What can be told without the password.
void show_structure(const std::string& file) {
  container_t container;
  split_container(file, read_container(file), container);
  std::vector<record_t> parts;
  for (const safe_part_t& part : container.parts) {
    record_t& record = parts.emplace_back();
    record.add("part", part.text);
    record.add("size", std::to_string(part.data.size()) + " bytes",
               std::uint64_t{part.data.size()});
    std::vector<record_t> bags;
    for (const safe_bag_t& bag : part.bags) {
      const std::string& shrouded = bag.key.encryption.text;
      record_t& bag_record = bags.emplace_back();
      bag_record.add("bag", bag.malformed ? "malformed" : bag_kind(bag.type));
      bag_record.add("protection", shrouded.empty() ? part.text : "encrypted, " + shrouded);
    }
    record.add_json("bags", std::move(bags));
  }
  record_t head = head_of(file, container);
  head.add_json("parts", std::move(parts));
  print(head);
}

}  // namespace

void show_container(const p12_show_options_t& options) {
  options.structure ? show_structure(options.file) : show_content(options);
}

void verify_container(const p12_options_t& options) {
  opened_t opened(options.opening.round_limit);
  open_container(options, opened);
  if (!opened.container.has_mac) {
    throw input_error_t(options.file, "a PKCS#12 file without a MAC: nothing can be verified");
  }
  record_t record;
  record.add("container", options.file);
  record.add("mac", opened.container.mac.text);
  print(record, printable(options.file + ": the MAC is right (" + opened.container.mac.text + ')'));
}
