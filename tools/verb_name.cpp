// pkider name: the subject, or subject and issuer, of certificates.

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
  const PrintableDnOrder order = options.reverse ? DN_ORDER_REVERSE : DN_ORDER_DIRECT;
  for_each_file(options.files, [&](const std::string& file) {
    const std::string prefix = options.files.size() > 1 ? printable(file) + ": " : "";
    for_each_certificate(file, [&](const std::string& where, const certificate_t& certificate) {
      const std::string subject = dn_text(where, "subject", certificate.subject, order);
      if (!options.issuer) {
        std::cout << prefix << subject << '\n';
        return;
      }
      const std::string issuer = dn_text(where, "issuer", certificate.issuer, order);
      std::cout << prefix << "subject: " << subject << '\n'
                << prefix << "issuer:  " << issuer << '\n';
    });
  });
}

}  // namespace

void add_name_verb(CLI::App& app) {
  const auto options = std::make_shared<options_t>();
  CLI::App* verb = app.add_subcommand("name", "Show the subject of certificates, one line each");
  verb->add_flag("--issuer", options->issuer, "Show subject and issuer, on a line each");
  verb->add_flag("--reverse", options->reverse, "Write the last part of a name first");
  verb->add_option("FILE", options->files, "Certificates in PEM or DER; - is standard input")
      ->required();
  verb->callback([options] { run(*options); });
}
