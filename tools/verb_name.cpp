// pkider name: the names in certificates, requests and CRLs.

#include <iostream>
#include <memory>

#include "certificate.h"
#include "messages.h"
#include "text.h"
#include "verbs.h"

namespace {

struct options_t {
  std::vector<std::string> files;
  bool issuer = false;
  bool reverse = false;
};

void run(const options_t& options) {
  const std::vector<kind_t> kinds = {kind_t::certificate, kind_t::request, kind_t::crl};
  const PrintableDnOrder order = options.reverse ? DN_ORDER_REVERSE : DN_ORDER_DIRECT;
  for_each_file(options.files, [&](const std::string& file) {
    const std::string prefix = options.files.size() > 1 ? printable(file) + ": " : "";
    for_each_object(file, kinds, [&](const std::string& where, const input_block_t& block) {
      names_t names;
      read_names(block.der, names);
      if (!options.issuer) {
        const bool is_crl = names.subject.size == 0;
        std::cout << prefix
                  << (is_crl ? dn_text(where, "issuer", names.issuer, order)
                             : dn_text(where, "subject", names.subject, order))
                  << '\n';
        return;
      }
      if (names.subject.size != 0) {
        const std::string subject = dn_text(where, "subject", names.subject, order);
        std::cout << prefix << "subject: " << subject << '\n';
      }
      if (names.issuer.size != 0) {
        const std::string issuer = dn_text(where, "issuer", names.issuer, order);
        std::cout << prefix << "issuer:  " << issuer << '\n';
      }
    });
  });
}

}  // namespace

void add_name_verb(CLI::App& app) {
  const auto options = std::make_shared<options_t>();
  CLI::App* verb = app.add_subcommand(
      "name",
      "Show the subject of certificates and requests, and the issuer of CRLs, one line each");
  verb->add_flag("--issuer", options->issuer,
                 "Show subject and issuer, as far as there are both, on a line each");
  verb->add_flag("--reverse", options->reverse, "Write the last part of a name first");
  verb->add_option(
          "FILE", options->files,
          "Certificates, requests, CRLs or PKCS#7 bundles, in PEM or DER; - is standard input")
      ->required();
  verb->callback([options] { run(*options); });
}
