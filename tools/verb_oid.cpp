#include "verbs.h"

void add_oid_verb(CLI::App&) {}
