// pkider dn: a printable distinguished name in its normal form, and as DER.

#include <algorithm>
#include <sstream>
#include <string>

#include <pkider/asn_printable.h>

#include "bytes.h"
#include "input.h"
#include "messages.h"
#include "oid_names.h"
#include "record.h"
#include "text.h"
#include "verbs.h"

namespace {

bool encodes(const std::string& dn) {
  std::string der;
  return printable_to_asn_dn(dn.c_str(), der, oid_map());
}

constexpr char separators[] = ",+";
constexpr char blanks[] = " \t";

bool is_attribute(const std::string& text) {
  return text.find_first_not_of(blanks) != std::string::npos && encodes(text);
}

// What is left of a malformed name after its leading well-formed attributes. A separator inside
// quotes or after a backslash is none: what stands before it does not encode, but a longer piece
// does.
std::string faulty_rest(const std::string& dn) {
  std::size_t begin = 0;
  std::size_t end = dn.find_first_of(separators);
  while (end != std::string::npos) {
    if (is_attribute(dn.substr(begin, end - begin))) {
      begin = end + 1;
    }
    end = dn.find_first_of(separators, end + 1);
  }
  return dn.substr(begin);
}

// Which attribute is at fault, and why.
std::string explain(const std::string& dn) {
  const std::string rest = faulty_rest(dn);
  const std::size_t begin = rest.find_first_not_of(blanks);
  if (begin == std::string::npos) {
    return "an attribute is missing at the end";
  }
  const std::string before_equals = rest.substr(begin, rest.find('=') - begin);
  const std::string first = before_equals.substr(0, before_equals.find_first_of(separators));
  if (begin + first.size() == rest.size() || rest[begin + first.size()] != '=') {
    return "no '=' in \"" + first + '"';
  }
  const std::string name = first.substr(0, first.find_last_not_of(blanks) + 1);
  if (name.empty() || !encodes(name + '=')) {
    return "unknown attribute name in \"" + first + "=\"";
  }
  std::string attribute;
  const bool split = printable_dn_get_attr(rest.c_str(), name.c_str(), attribute, DN_GET_ATTR_RDN);
  return "malformed value in \"" + (split ? attribute : rest) + '"';
}

// `dn` without the blanks before its values, which belong to them: some programs write "C = RU".
std::string without_leading_blanks(const std::string& dn) {
  std::string out;
  bool quoted = false;
  bool in_name = true;
  for (std::size_t i = 0; i < dn.size(); ++i) {
    const char c = dn[i];
    out += c;
    if (c == '\\' && i + 1 < dn.size()) {
      out += dn[++i];
    } else if (c == '"') {
      quoted = !quoted;
    } else if (!quoted && (c == ',' || c == '+')) {
      in_name = true;
    } else if (in_name && c == '=') {
      in_name = false;
      i = std::min(dn.find_first_not_of(blanks, i + 1), dn.size()) - 1;
    }
  }
  return out;
}

// What was probably meant, if it is something else.
std::string suggestion(const std::string& dn) {
  const std::string meant = without_leading_blanks(dn);
  std::string normal;
  return meant != dn && printable_dn_normalize(meant, normal, nullptr, oid_map())
             ? "; perhaps " + normal + " is meant"
             : "";
}

// `where` goes before the text in messages.
void run(const std::string& where, const std::string& text, bool with_der) {
  std::string normal;
  std::string der;
  if (!encodes(text)) {
    throw input_error_t(where + text, explain(text) + suggestion(text));
  }
  if (!printable_dn_normalize(text, normal, &der, oid_map())) {
    throw input_error_t(where + text, "malformed value after \"" + normal + '"');
  }
  if (const std::string meant = suggestion(text); !meant.empty()) {
    note(where + text, "a value begins with a blank" + meant);
  }
  record_t record;
  record.add("input", text);
  record.add("name", normal);
  std::string lines = printable(normal);
  if (with_der) {
    record.add("der", hex(view(der)));
    lines.append("\n").append(hex(view(der)));
  }
  print(record, lines);
}

// A name on each line, until the end of standard input.
void run_lines(bool with_der) {
  std::istringstream input(read_file("-"));
  std::string line;
  for (unsigned number = 1; std::getline(input, line); ++number) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    attempt([&] { run("line " + std::to_string(number) + ": ", line, with_der); });
  }
}

}  // namespace

void normalize_names(const dn_options_t& options) {
  if (options.text == "-") {
    run_lines(options.der);
  } else {
    attempt([&] { run("", options.text, options.der); });
  }
}
