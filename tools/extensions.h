// The extensions of certificates that people look for, as fields.

#ifndef PKIDER_TOOLS_EXTENSIONS_H
#define PKIDER_TOOLS_EXTENSIONS_H

#include <string>

#include <pkider/asn_reader.h>

#include "record.h"

// Adds a field for each extension in the SEQUENCE OF Extension `element` (RFC 5280, 4.2); those
// that are not in the table, or malformed, by name and size. "(critical)" ends the text of a
// critical one. Throws input_error_t after the last extension that can be read.
void add_extensions(record_t& record, const std::string& where, const blob_t& element);

#endif
