// Output files that are either whole or not there.

#ifndef PKIDER_TOOLS_OUTPUT_FILE_H
#define PKIDER_TOOLS_OUTPUT_FILE_H

#include <sys/types.h>

#include <string>

#include <pkider/asn_reader.h>

constexpr mode_t public_mode = 0644;
constexpr mode_t private_mode = 0600;

// Writes `content` beside `file`, to the disk, and gives it that name: atomically, and without
// replacing a file that exists unless `overwrite`. `mode` is subject to the umask. Throws
// input_error_t, and then nothing is left behind.
void write_output(const std::string& file, const std::string& content, mode_t mode, bool overwrite);

// Throws input_error_t when `file` exists, unless `overwrite`.
void check_absent(const std::string& file, bool overwrite);

// `der` as a PEM block (RFC 7468).
std::string to_pem(const std::string& label, const blob_t& der);

#endif
