#include "verbs.h"

void add_dn_verb(CLI::App&) {}
