// The lines of --config, checked, and the map made of them.

#include "oid_names.h"

#include <cctype>
#include <memory>
#include <sstream>

#include "bytes.h"
#include "input.h"
#include "messages.h"
#include "oid_map.h"

std::vector<std::string>& config_files() {
  static std::vector<std::string> files;
  return files;
}

namespace {

struct map_releaser_t {
  void operator()(OIDmaps_t* map) const { oid_map_release(map); }
};
using map_t = std::unique_ptr<OIDmaps_t, map_releaser_t>;

// In lower case and without blanks.
std::string squeezed(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c != ' ' && c != '\t' && c != '\r') {
      out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  return out;
}

// Whether all of a map's line becomes an entry.
bool is_entry(const std::string& line) {
  const map_t map(oid_map_parse(line.data(), size32(line)));
  if (map->entries.empty()) {
    return false;
  }
  const OIDdescr_t& entry = map->entries.front();
  const std::string names = std::string(entry.oid_str) + '=' + entry.oid_sn;
  return squeezed(line) == squeezed(names) ||
         squeezed(line) == squeezed(names + ',' + entry.oid_ln);
}

// To the library every line that it does not understand is a comment. Here only those are that look
// like one.
void report_malformed_lines(const std::string& file, const std::string& lines) {
  std::istringstream stream(lines);
  std::string line;
  for (unsigned number = 1; std::getline(stream, line); ++number) {
    const std::string text = squeezed(line);
    if (!text.empty() && text[0] != '#' && text[0] != ';' && !is_entry(line)) {
      report(file, "line " + std::to_string(number) + ": not \"OID = SHORT, long\": " + line);
    }
  }
}

// A map cannot be extended once it is built: its entries are written out and parsed again, the
// files' lines after them.
oid_map_handle_t extend(oid_map_handle_t map, const std::vector<std::string>& files) {
  std::string text;
  for (const OIDdescr_t& entry : map->entries) {
    text.append(entry.oid_str).append(" = ").append(entry.oid_sn);
    text.append(", ").append(entry.oid_ln).append("\n");
  }
  for (const std::string& file : files) {
    const std::string lines = read_file(file) + '\n';
    report_malformed_lines(file, lines);
    text += lines;
  }
  return oid_map_parse(text.data(), size32(text));
}

}  // namespace

oid_map_handle_t oid_map() {
  if (config_files().empty()) {
    return OID_MAP_HANDLE_DEFAULT_FILE;
  }
  static const map_t extended(extend(OID_MAP_HANDLE_DEFAULT_FILE, config_files()));
  return extended.get();
}

const OIDdescr_t* find_long_name(std::string_view name) {
  for (const OIDdescr_t& entry : oid_map()->entries) {
    if (entry.oid_ln_size == name.size() &&
        oid_strcmp_t::compare(entry.oid_ln, name.data(), entry.oid_ln_size) == 0) {
      return &entry;
    }
  }
  return nullptr;
}
