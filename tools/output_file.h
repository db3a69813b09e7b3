// Output files that are either whole or not there.

#ifndef PKIDER_TOOLS_OUTPUT_FILE_H
#define PKIDER_TOOLS_OUTPUT_FILE_H

#include <sys/types.h>

#include <string>
#include <vector>

#include <pkider/asn_reader.h>

constexpr mode_t public_mode = 0644;
constexpr mode_t private_mode = 0600;

struct output_file_t {
  std::string name;
  std::string content;
  mode_t mode;  // subject to the umask
};

// Writes the files, each under a temporary name that becomes its own once it is whole, and has all
// of them on the disk at the end. A file that exists stays, unless `overwrite`: then a regular
// file's content is replaced, and its mode and owner are kept. SIGINT, SIGTERM and SIGHUP wait for
// the end of a file, so that no part of one is left behind. Throws input_error_t; files written
// before the fault remain.
void write_outputs(const std::vector<output_file_t>& files, bool overwrite);

// Throws input_error_t when `file` exists and may not be replaced.
void check_replaceable(const std::string& file, bool overwrite);

// The same, and when its directory takes no files. To be called before a password is asked.
void check_output(const std::string& file, bool overwrite);

// `der` as a PEM block (RFC 7468).
std::string to_pem(const std::string& label, const blob_t& der);

#endif
