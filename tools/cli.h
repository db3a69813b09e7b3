// What the verbs share: inputs, messages, text safe for a terminal, and the OID map.

#ifndef PKIDER_TOOLS_CLI_H
#define PKIDER_TOOLS_CLI_H

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <pkider/asn_oidmap.h>
#include <pkider/asn_printable.h>
#include <pkider/asn_reader.h>

// ---- Messages ----

// A bad input. The message is one line: "FILE: what is wrong".
class input_error : public std::runtime_error {
 public:
  explicit input_error(const std::string& message) : std::runtime_error(message) {}
  input_error(const std::string& file, const std::string& wrong)
      : std::runtime_error(file + ": " + wrong) {}
};

// Writes "pkider: MESSAGE" to standard error, safe for a terminal. The command then ends with
// status 1, whatever else it does.
void report(const std::string& message);
bool anything_reported();

// Does `work`, and reports an input_error that it throws: the command goes on with the next input.
void attempt(const std::function<void()>& work);

// Attempts `handle` with each file name in turn.
void for_each_file(const std::vector<std::string>& files,
                   const std::function<void(const std::string&)>& handle);

// ---- Inputs ----

// The whole content of `file`, or of standard input for "-". Throws input_error.
std::string read_file(const std::string& file);

// One DER input, with the label of its PEM block ("CERTIFICATE"); the label of bare DER is empty.
// A PEM block that is not base64 has no bytes.
struct input_block_t {
  std::string label;
  std::string der;
};

// The PEM blocks in `content`, in order and whatever their labels; or all of it as one block of
// DER. `file` is for messages. Throws input_error when it is neither, or a block has no end.
std::vector<input_block_t> split_input(const std::string& file, const std::string& content);

// split_input of read_file.
std::vector<input_block_t> read_input(const std::string& file);

// ---- DER ----

// The bytes of a string as the library's functions take them.
inline const unsigned char* bytes(const std::string& s) {
  return reinterpret_cast<const unsigned char*>(s.data());
}
inline unsigned size(const std::string& s) {
  return static_cast<unsigned>(s.size());
}
inline std::string to_string(const blob_t& view) {
  return std::string(reinterpret_cast<const char*>(view.data), view.size);
}

// Steps `cur` over one element of `type` and gives the whole of it, header included, in `element`.
bool read_element(asn_tag_t::Type type, asn_iter_t* cur, blob_t* element);

// A certificate (RFC 5280, 4.1), split. Views into the DER it was read from.
struct certificate_t {
  blob_t serial;      // content octets of the INTEGER
  blob_t issuer;      // whole elements from here on
  blob_t not_before;  // UTCTime or GeneralizedTime
  blob_t not_after;
  blob_t subject;
  blob_t public_key;     // SubjectPublicKeyInfo
  blob_t signature_alg;  // AlgorithmIdentifier of the signature
};

bool read_certificate(const std::string& der, certificate_t* out);

// Attempts `handle` with every certificate of `file`, and reports those that are malformed; PEM
// blocks that are something else are passed over. `where` names the certificate in messages.
// Throws input_error when there is none.
void for_each_certificate(
    const std::string& file,
    const std::function<void(const std::string& where, const certificate_t&)>& handle);

// ---- Text ----

// Upper-case hexadecimal, with `separator` between bytes unless it is 0.
std::string hex(const blob_t& view, char separator = 0);

// `text` with every byte that could garble a terminal line (control and direction characters,
// invalid UTF-8) as a backslash and two hexadecimal digits, which a DN reads back as that byte.
std::string printable(std::string_view text);

// Writes "NAME:      VALUE" to standard output, values aligned, made printable.
void print_field(const char* name, const std::string& value);

// The text of a Name, made printable. Throws input_error when it is malformed; `what` says which
// name it is ("subject").
std::string dn_text(const std::string& where, const char* what, const blob_t& name,
                    PrintableDnOrder order = DN_ORDER_DIRECT);

// ---- The OID map ----

// The files of --config, in order; set before any verb runs.
std::vector<std::string>& config_files();

// OID_MAP_HANDLE_DEFAULT_FILE extended by the lines of config_files(). Throws input_error when one
// of them cannot be read.
oid_map_handle_t oid_map();

// The map's entry for a long name (ASCII case ignored), or null.
const OIDdescr_t* find_long_name(std::string_view name);

#endif
