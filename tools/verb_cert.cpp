#include "verbs.h"

void add_cert_verb(CLI::App&) {}
