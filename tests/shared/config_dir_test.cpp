// Supplies its own system_config_dir(): CONFIG_DIR of the environment. The argument "file" says
// that a zeloids.cfg can be read there; with any other the map must equal the built-in one.

#include <cstdlib>
#include <iostream>
#include <string>

#include "asn_oidmap.h"
#include "platform.h"

const char* system_config_dir() {
  return std::getenv("CONFIG_DIR");
}

namespace {

// The names of the entry found by a short name or, failing that, by dotted text.
std::string find(oid_map_handle_t map, const std::string& key) {
  const unsigned size = static_cast<unsigned>(key.size());
  const OIDdescr_t* entry = oid_map_find_sn(map, key.data(), size);
  entry = entry == nullptr ? oid_map_find_str(map, key.data(), size) : entry;
  return entry == nullptr ? "-" : std::string(entry->oid_str) + "|" + entry->oid_sn;
}

}  // namespace

int main(int, char** argv) {
  const bool extended = argv[1] == std::string("file");
  const struct {
    const char* key;
    const char* built_in;
    const char* with_file;
  } cases[] = {
      {"2.5.4.3", "2.5.4.3|CN", "2.5.4.3|CN"},
      {"CN", "2.5.4.3|CN", "2.5.4.3|CN"},
      {"name", "-", "2.5.4.3|NAME"},
      {"LAND", "-", "2.5.4.6|LAND"},
      {"ogrn", "-", "1.2.643.100.1|OGRN"},
      {"1.2.643.100.1", "-", "1.2.643.100.1|OGRN"},
      {"1.2.643.100.3", "-", "1.2.643.100.3|CN"},
  };
  int failures = 0;
  for (const auto& c : cases) {
    const std::string plain = find(OID_MAP_HANDLE_DEFAULT, c.key);
    const std::string file = find(OID_MAP_HANDLE_DEFAULT_FILE, c.key);
    if (plain != c.built_in || file != (extended ? c.with_file : c.built_in)) {
      std::cerr << c.key << ": " << plain << ", with the file " << file << '\n';
      ++failures;
    }
  }
  return failures;
}
