// pkider name: the names in certificates, requests and CRLs.

#include <string>
#include <vector>

#include "certificate.h"
#include "messages.h"
#include "record.h"
#include "text.h"
#include "verbs.h"

namespace {

void print_names(const std::string& prefix, const std::string& where, const names_t& names,
                 const name_options_t& options) {
  const PrintableDnOrder order = options.reverse ? DN_ORDER_REVERSE : DN_ORDER_DIRECT;
  const bool is_crl = names.subject.size == 0;
  record_t record;
  record.add("file", where);
  std::string line;
  if (!is_crl) {
    const std::string subject = dn_text(where, "subject", names.subject, order);
    record.add("subject", subject);
    line.append(prefix).append(options.issuer ? "subject: " : "").append(subject);
  }
  if (names.issuer.size != 0 && (options.issuer || is_crl)) {
    const std::string issuer = dn_text(where, "issuer", names.issuer, order);
    record.add("issuer", issuer);
    line.append(line.empty() ? "" : "\n").append(prefix);
    line.append(options.issuer ? "issuer:  " : "").append(issuer);
  }
  print(record, line);
}

}  // namespace

void show_names(const name_options_t& options) {
  const std::vector<kind_t> kinds = {kind_t::certificate, kind_t::request, kind_t::crl};
  for_each_file(options.files, [&](const std::string& file) {
    const std::string prefix = options.files.size() > 1 ? printable(file) + ": " : "";
    for_each_object(file, kinds, [&](const std::string& where, const input_block_t& block) {
      names_t names;
      read_names(block.der, names);
      print_names(prefix, where, names, options);
    });
  });
}
