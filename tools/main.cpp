// pkider: names, object identifiers, certificates and key containers on the command line.

#include <clocale>
#include <iostream>

#include "messages.h"
#include "oid_names.h"
#include "verbs.h"

namespace {

constexpr int status_bad_input = 1;
constexpr int status_wrong_usage = 2;

// To every verb that does something itself.
void add_config_option(CLI::App& app) {
  const auto verbs = app.get_subcommands({});
  for (CLI::App* verb : verbs) {
    add_config_option(*verb);
  }
  if (verbs.empty()) {
    app.add_option("--config", config_files(), "Extend the OID map by the lines of this file")
        ->type_name("FILE")
        ->allow_extra_args(false);
  }
}

int run(int argc, char** argv) {
  CLI::App app("Names, object identifiers, certificates and key containers in DER.", "pkider");
  app.set_version_flag("--version", "pkider " PKIDER_VERSION);
  app.require_subcommand(1);
  add_name_verb(app);
  add_dn_verb(app);
  add_oid_verb(app);
  add_cert_verb(app);
  add_p12_verb(app);
  add_key_verb(app);
  add_config_option(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::RuntimeError& e) {
    return e.get_exit_code();
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? 0 : status_wrong_usage;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  static_cast<void>(std::setlocale(LC_CTYPE, "C.UTF-8"));  // for printable()
  int status = status_bad_input;
  try {
    status = run(argc, argv);
  } catch (const std::exception& e) {
    report(e.what());
  }
  if (!std::cout.flush()) {
    report("standard output: cannot be written");
  }
  return status == 0 && anything_reported() ? status_bad_input : status;
}
