// Supplies its own system_config_dir(): CONFIG_DIR of the environment. Shows what the default maps
// find then, without and with the file zeloids.cfg there.

#include <cstdlib>
#include <iostream>
#include <string>

#include <pkider/asn_oidmap.h>
#include <pkider/platform.h>

const char* system_config_dir() {
  return std::getenv("CONFIG_DIR");
}

// What each key finds as a short name or, failing that, as dotted text.
static std::string find(oid_map_handle_t map) {
  std::string found;
  for (const std::string key :
       {"2.5.4.3", "CN", "name", "LAND", "ogrn", "1.2.643.100.1", "1.2.643.100.3"}) {
    const unsigned size = static_cast<unsigned>(key.size());
    const OIDdescr_t* entry = oid_map_find_sn(map, key.data(), size);
    entry = entry == nullptr ? oid_map_find_str(map, key.data(), size) : entry;
    found += entry == nullptr ? "- " : std::string(entry->oid_str) + "=" + entry->oid_sn + " ";
  }
  return found;
}

int main() {
  std::cout << find(OID_MAP_HANDLE_DEFAULT) << ", " << find(OID_MAP_HANDLE_DEFAULT_FILE) << '\n';
}
