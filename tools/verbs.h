// The verbs of the command, one file each. Every function adds its verb to `app`; the verb's work
// is done in its callback, which reports a bad input by throwing input_error_t (messages.h).

#ifndef PKIDER_TOOLS_VERBS_H
#define PKIDER_TOOLS_VERBS_H

#include <CLI/CLI.hpp>

void add_name_verb(CLI::App& app);
void add_dn_verb(CLI::App& app);
void add_oid_verb(CLI::App& app);
void add_cert_verb(CLI::App& app);
void add_dump_verb(CLI::App& app);
void add_p12_verb(CLI::App& app);
void add_key_verb(CLI::App& app);

#endif
