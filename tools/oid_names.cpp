#include "oid_names.h"

#include <memory>

#include "oid_map.h"
#include "bytes.h"
#include "input.h"

std::vector<std::string>& config_files() {
  static std::vector<std::string> files;
  return files;
}

namespace {

struct map_releaser_t {
  void operator()(OIDmaps_t* map) const { oid_map_release(map); }
};

// A map cannot be extended once it is built: its entries are written out and parsed again, the
// files' lines after them.
oid_map_handle_t extend(oid_map_handle_t map, const std::vector<std::string>& files) {
  std::string text;
  for (const OIDdescr_t& entry : map->entries) {
    text.append(entry.oid_str).append(" = ").append(entry.oid_sn);
    text.append(", ").append(entry.oid_ln).append("\n");
  }
  for (const std::string& file : files) {
    text += read_file(file) + '\n';
  }
  return oid_map_parse(text.data(), size32(text));
}

}  // namespace

oid_map_handle_t oid_map() {
  if (config_files().empty()) {
    return OID_MAP_HANDLE_DEFAULT_FILE;
  }
  static const std::unique_ptr<OIDmaps_t, map_releaser_t> extended(
      extend(OID_MAP_HANDLE_DEFAULT_FILE, config_files()));
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
