// Text that is safe for a terminal.

#ifndef PKIDER_TOOLS_TEXT_H
#define PKIDER_TOOLS_TEXT_H

#include <string>
#include <string_view>

#include <pkider/asn_reader.h>

// Upper-case hexadecimal, with `separator` between bytes unless it is 0.
std::string hex(const blob_t& view, char separator = 0);

// `text` with every byte that could garble a terminal line (control, invisible and direction
// characters, invalid UTF-8) as a backslash and two hexadecimal digits, which a DN reads back as
// that byte.
std::string printable(std::string_view text);

// JSON in UTF-8 with such characters as \uXXXX.
std::string printable_json(std::string_view json);

// Writes "NAME:      VALUE" to standard output, values aligned, made printable.
void print_field(const char* name, const std::string& value);

#endif
