// pkider: names, object identifiers, certificates and key containers on the command line.

#include <gcrypt.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "messages.h"
#include "oid_names.h"
#include "record.h"
#include "verbs.h"

namespace {

constexpr int status_bad_input = 1;
constexpr int status_wrong_usage = 2;

// To every verb that does something itself.
void add_common_options(CLI::App& app) {
  const auto verbs = app.get_subcommands({});
  for (CLI::App* verb : verbs) {
    add_common_options(*verb);
  }
  if (verbs.empty()) {
    app.add_option("--config", config_files(), "Extend the OID map by the lines of this file")
        ->type_name("FILE")
        ->allow_extra_args(false);
    app.add_flag("--json", json_output(), "Write an object of JSON a line, errors too");
  }
}

// CLI11 takes an argument "[a,b]" of an option with several values for a list. The mark keeps it
// from seeing that; no argument can have such a byte.
constexpr char mark = '\0';

std::vector<std::string> marked_arguments(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  for (std::string& argument : arguments) {
    if (!argument.empty() && argument.front() == '[') {
      argument += mark;
    }
  }
  std::reverse(arguments.begin(), arguments.end());  // as CLI11 wants them
  return arguments;
}

std::string without_mark(std::string argument) {
  if (!argument.empty() && argument.back() == mark) {
    argument.pop_back();
  }
  return argument;
}

void take_marks_off(CLI::App& app) {
  for (CLI::App* verb : app.get_subcommands({})) {
    take_marks_off(*verb);
  }
  for (CLI::Option* option : app.get_options()) {
    if (option->get_items_expected_max() > 0) {
      option->transform(without_mark, "");
    }
  }
}

// What is wrong with the command line, the word that is not understood first.
std::string usage_fault(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* verb = &app;
  std::string path = app.get_name();
  while (!verb->get_subcommands().empty()) {
    verb = verb->get_subcommands().front();
    path += ' ' + verb->get_name();
  }
  std::string fault = without_mark(error.what());
  if (const std::vector<std::string> rest = app.remaining(true); !rest.empty()) {
    const std::string word = without_mark(rest.front());
    const bool wants_verb = !verb->get_subcommands({}).empty();
    const char* const what = word.rfind('-', 0) == 0 && word.size() > 1 ? "unknown option"
                             : wants_verb                               ? "unknown verb"
                                                                        : "unexpected argument";
    fault = what + (" \"" + word) + '"';
  } else if (!verb->get_subcommands({}).empty()) {
    fault = "a verb is missing";
  }
  return fault + "; see " + path + " --help";
}

int run(int argc, char** argv) {
  CLI::App app("Names, object identifiers, certificates and key containers in DER.", "pkider");
  app.set_version_flag("--version", "pkider " PKIDER_VERSION);
  app.require_subcommand(1);
  add_name_verb(app);
  add_dn_verb(app);
  add_oid_verb(app);
  add_cert_verb(app);
  add_dump_verb(app);
  add_p12_verb(app);
  add_key_verb(app);
  add_common_options(app);
  take_marks_off(app);
  try {
    app.parse(marked_arguments(argc, argv));
  } catch (const CLI::Success& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    report(usage_fault(app, e));
    return status_wrong_usage;
  }
  return 0;
}

// Instead of an abort, which is how libgcrypt ends where it finds no memory.
void end_without_memory(void*, int, const char* text) {
  static_cast<void>(std::fprintf(stderr, "pkider: %s\n", text));
  _exit(status_bad_input);
}

}  // namespace

int main(int argc, char** argv) {
  gcry_set_fatalerror_handler(end_without_memory, nullptr);
  static_cast<void>(std::setlocale(LC_CTYPE, "C.UTF-8"));  // for printable()
  std::cout.exceptions(std::ios::badbit);
  int status = status_bad_input;
  try {
    status = run(argc, argv);
    std::cout.flush();
  } catch (const std::ios::failure&) {
    const int why = errno;
    std::cout.exceptions(std::ios::goodbit);  // messages flush it too
    report(std::string("standard output: ") + std::strerror(why));
  } catch (const std::bad_alloc&) {
    report("out of memory");
  } catch (const input_error_t& e) {
    report(e.file(), e.wrong());
  } catch (const std::exception& e) {
    report(e.what());
  }
  return status == 0 && anything_reported() ? status_bad_input : status;
}
