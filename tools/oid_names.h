// The map of object identifiers that --config extends.

#ifndef PKIDER_TOOLS_OID_NAMES_H
#define PKIDER_TOOLS_OID_NAMES_H

#include <string>
#include <string_view>
#include <vector>

#include <pkider/asn_oidmap.h>

// The files of --config, in order; set before any verb runs.
std::vector<std::string>& config_files();

// OID_MAP_HANDLE_DEFAULT_FILE extended by the lines of config_files(). Throws input_error_t when
// one of them cannot be read.
oid_map_handle_t oid_map();

// The map's entry for a long name (ASCII case ignored), or null.
const OIDdescr_t* find_long_name(std::string_view name);

#endif
