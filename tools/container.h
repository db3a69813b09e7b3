// Reading a PKCS#12 file made by any program.

#ifndef PKIDER_TOOLS_CONTAINER_H
#define PKIDER_TOOLS_CONTAINER_H

#include <string>

#include <pkider/pkcs12_helper.h>

#include "gost_pbe.h"

struct container_t {
  std::string der;  // as the library reads it: with the parameters that some programs leave out
  std::string original;  // as it stands, which the MAC covers
  blob_t version;        // content octets; views into `original` from here on
  pkcs12_mac_t mac;
  blob_t mac_data;
  unsigned encrypted_parts = 0;  // encrypted SafeContents and shrouded keys in plain ones
  pkcs12_easy_t model;
};

// split_container looks at everything that needs no password. The model stays empty. Throws
// input_error_t, with `where` in front.
container_t split_container(const std::string& where, const std::string& der);

// read_container checks the MAC and reads the model. Throws input_error_t, which tells a wrong
// password from a malformed container. Encrypted parts that cannot be opened are left out.
void read_container(const std::string& where, gost_pbe_t* crypto, container_t* container);

#endif
