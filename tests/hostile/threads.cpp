// Many threads at once over the same maps, names and containers. What one thread alone gets is
// what every thread must get; a thread sanitizer watches the rest.

#include <atomic>
#include <iostream>
#include <thread>
#include <vector>

#include "asn_printable.h"
#include "int2str.h"
#include "samples.h"

namespace {

const std::string pfx = make_pfx(3, "certificate");

std::string work() {
  std::string out;
  std::string der;
  for (const oid_map_handle_t map : {OID_MAP_HANDLE_DEFAULT, OID_MAP_HANDLE_DEFAULT_FILE}) {
    printable_dn_normalize("C=RU,O=\"a,b\"+OU=x,2.5.4.3=#1403C26561,1.2.3=\\41", out, &der, map);
    asn_dn_to_printable(data_of(der), size_of(der), out, DN_ORDER_REVERSE, map);
    out += oid_map_find_sn(map, "uid", 3)->oid_str;
    out += oid_map_find_str(map, "2.5.4.8", 7)->oid_sn;
  }
  const oid_map_handle_t own = oid_map_parse("1.2.3 = X", 9);
  out += oid_map_find_sn(own, "x", 1)->oid_str;
  oid_map_release(own);

  copying_crypto_t crypto;
  pkcs12_easy_t model;
  if (asn_read_pkcs12_easy(data_of(pfx), size_of(pfx), &crypto, model)) {
    asn_write_pkcs12_easy(model, &crypto, der);
    TO_HEX_STD_STRING(data_of(der), size_of(der), out, 0);
  }
  TimeToString(1L, out);
  return CertTimeToString(0x7E80205070809, out);
}

}  // namespace

int main() {
  const std::string expected = work();
  std::atomic<int> wrong{expected.size() < 1000 ? 1 : 0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 100; ++round) {
        wrong += work() == expected ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::cout << wrong << " wrong results\n";
  return wrong == 0 ? 0 : 1;
}
